#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TnameString.h"
#include "grundel/core/Tstring.h"

class Tnamespace;
class TnameObject;

/// The name of one named object: the text, the namespace it belongs to, and
/// (while its object is entered there) the namespace it is registered in
/// with its path from the root.
///
/// Names hold letters, digits, "_", ":" and bytes 192 to 255, and do not
/// start with a digit. ":" separates namespace levels: "a:b:ball" is ball in
/// namespace b of namespace a, relative to a given namespace (or the current
/// one); a leading ":" starts from the root. Paths are written from the root
/// as ":a:b". Used on the application's main thread only.
class GRUNDEL_API Tname {
public:
    Tname() noexcept = default;
    /// The text as given, in no namespace.
    Tname(const char* text);
    Tname(const Tstring& text);
    Tname(const char* text, Tnamespace* space);
    Tname(const Tstring& text, Tnamespace* space);
    /// With resolvePath, a path inside the text picks the namespace (from
    /// the current one) and the text keeps the simple name; without, as above.
    Tname(const Tstring& text, bool resolvePath);

    const TnameString& asString() const noexcept { return fName; }
    const char* asC() const noexcept { return fName.asC(); }
    /// True when the name has text.
    bool isSet() const noexcept { return !fName.isEmpty(); }
    void setText(const Tstring& text) noexcept { fName = text; }

    /// The namespace the name belongs to (may be null).
    Tnamespace* nameSpace() const noexcept { return fNamespace; }
    void setNamespace(Tnamespace* space) noexcept { fNamespace = space; }
    /// The namespace the object is entered in, while isRegistered().
    Tnamespace* registeredNamespace() const noexcept { return fRegisteredNamespace; }
    bool isRegistered() const noexcept { return fRegistered; }

    /// True without a namespace, or when no object there has this name.
    bool isUnique() const;
    /// The stem followed by one more than the highest running number in use
    /// with it in the namespace ("ball" with ball1 and ball7 there gives
    /// ball8). Nothing happens without a namespace. Does not first test
    /// whether the name is already unique.
    void makeUnique();
    /// Empties the text and the path (not the namespace).
    void clear() noexcept;

    /// Enters object under this name in the namespace. False when object is
    /// null, the name is already registered, it has no namespace, or the
    /// namespace refuses (an empty or taken name).
    bool addObject(TnameObject* object);
    /// Takes object out of the namespace it is registered in. False when it
    /// is not registered there.
    bool removeObject(TnameObject* object);
    /// Rebuilds the stored path from the root.
    void buildNamespacePath();

    /// The path of the namespace from the root (":a:b"; "" for the root).
    const Tstring& asNamespacePath() const noexcept { return fNamespacePath; }
    /// The path and the name (":a:b:ball", ":ball" in the root).
    Tstring asFullNamespacePath() const;
    /// The name seen from the current namespace: "b:ball" from ":a", the
    /// full path when the name is not below the current namespace.
    Tstring asRelativeNamespacePath() const;

    /// Equal text and namespace.
    friend bool operator==(const Tname& a, const Tname& b) noexcept {
        return a.fNamespace == b.fNamespace && static_cast<const Tstring&>(a.fName) == static_cast<const Tstring&>(b.fName);
    }
    friend bool operator!=(const Tname& a, const Tname& b) noexcept { return !(a == b); }

    /// The converted form of a name (see convertName). A trailing "#" asks
    /// for a running number, given in space (or the current namespace).
    static Tstring validateName(const Tstring& name, Tnamespace* space = nullptr);
    /// Stores the converted form in out; false when it is empty, else
    /// whether name was already valid.
    static bool validateNameAndReport(const Tstring& name, Tstring& out, Tnamespace* space = nullptr);
    /// The same with the rules for names read from files (a trailing "#" is
    /// an invalid character there, not a request); returns whether name was
    /// valid, empty or not.
    static bool validateNameForFileIO(const Tstring& name, Tstring& out, Tnamespace* space = nullptr);

    /// The path of space from the root: "" for the root or null.
    static Tstring pathOf(const Tnamespace* space);

protected:
    /// Cuts trailing white space and then a trailing "#" (which sets
    /// makeUnique, unless fileIO), drops leading characters that cannot
    /// start a name, turns white space and "-" into "_" and drops any other
    /// invalid character. valid tells whether nothing had to change.
    static Tstring convertName(const Tstring& name, bool& valid, bool& makeUnique, bool fileIO);
    /// convertName, then resolves a namespace path inside the name from
    /// space (or the current namespace): space becomes the namespace named
    /// (null when it does not exist) and the result is the simple name.
    static Tstring parseAndConvertName(const Tstring& name, Tnamespace*& space, bool& valid,
                                       bool& makeUnique, bool fileIO);

private:
    friend class Tnamespace;
    friend class TnameObject;

    TnameString fName;
    Tstring fNamespacePath;
    Tnamespace* fNamespace = nullptr;
    Tnamespace* fRegisteredNamespace = nullptr;
    bool fRegistered = false;
};
