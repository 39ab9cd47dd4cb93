#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/object/TapiPtrBase.h"
#include "grundel/object/Tmetaclass.h"
#include "grundel/object/Tname.h"

class TfootprintInfo;
class TkeyWordHashTable;

/// The root of every named object: a name, and whether it is reserved
/// (entered in its namespace, where no other object may take it).
///
/// While not reserved the name is a plain string; reserveName() moves it
/// into the namespace and releaseName() takes it back out. A new object
/// belongs to the current namespace. Destroying a reserved object takes its
/// name out of the namespace. Used on the application's main thread only.
class GRUNDEL_API TnameObject : public TapiPtrBase {
    GRUNDEL_ROOT_CLASS(TnameObject)

public:
    TnameObject() noexcept;
    /// Named name (converted as setName does), not yet reserved; without a
    /// name when setName would refuse it.
    explicit TnameObject(const Tstring& name);
    ~TnameObject() override;
    TnameObject(const TnameObject&) = delete;
    TnameObject& operator=(const TnameObject&) = delete;

    TapiType apiType() const noexcept override { return kApiNamedObject; }
    /// Reports the object's own size.
    virtual void _getFootprint(TfootprintInfo& info) const;
    /// Renames the object, which either lands where name says or stays
    /// where it was. name is converted as Tname::validateName does; a
    /// namespace path in it ("lights:bulb", ":scene:bulb") is resolved from
    /// the current namespace and names the namespace to move to, while a
    /// simple name keeps the object's namespace; a trailing "#" asks for a
    /// running number there. A reserved object is entered under the new
    /// name, also when it was not registered before. False, with nothing
    /// changed, when the converted name is empty, the path names no
    /// namespace, or (reserved) the name is taken there by another object
    /// or a namespace would move into itself, below itself or deeper than
    /// Tnamespace::kMaxDepth.
    [[nodiscard]] virtual bool setName(const Tstring& name);

    /// The simple name.
    Tstring name() const;
    /// The name without its trailing digits.
    Tstring baseName() const;
    /// The name with its namespace path from the root (":a:ball").
    Tstring fullName() const;
    /// The name seen from the current namespace.
    Tstring relativeName() const;

    /// True when no other object in the namespace has this name.
    bool hasUniqueName() const;
    /// Gives the name the next running number of its stem (callers test
    /// hasUniqueName() first).
    void makeNameUnique();
    /// Empties the name (taking it out of the namespace when reserved).
    void clearName();
    /// Enters the name in its namespace. False when already reserved, or
    /// when the namespace refuses it (the object then counts as reserved
    /// with its name unregistered, until releaseName()).
    bool reserveName();
    /// Takes the name back out of the namespace into the plain string.
    /// False when not reserved, or when it was not registered.
    bool releaseName();
    bool isReserved() const noexcept { return fReserved != 0; }

    Tname& nameObj() noexcept { return fName; }
    const Tname& nameObj() const noexcept { return fName; }

    /// Enters each string of a null-terminated list as a keyword. The
    /// strings are not copied and must live as long as the process.
    static void registerKeywords(const char* const* keywords);
    /// True for a registered keyword (null is looked up as "").
    static bool isKeyword(const char* word);
    /// The keyword table, made on first use.
    static TkeyWordHashTable* sKeywordTable();

    /// Calls nest: true counts up, false counts down (not below 0).
    static void setUsingRelativeNames(bool on) noexcept;
    static bool isUsingRelativeNames() noexcept { return fsRelativeNames > 0; }
    static TuInt32 fsRelativeNames;

private:
    /// The object's name as a Tname: the registered one while reserved, the
    /// plain string in the object's namespace otherwise.
    Tname currentName() const;

    Tname fName;
    Tstring fPlainName;
    TuInt8 fReserved = 0;
};
