#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TnameString.h"
#include "grundel/object/TnameObject.h"

#include <map>

namespace grundel::detail {
/// Natural order of names: "ball9" before "ball10", and a stem followed by
/// "@" after every numbered form of that stem.
struct TnameOrder {
    bool operator()(const TnameString& a, const TnameString& b) const noexcept {
        return TnameString::strnumcmp(a.asC(), b.asC()) < 0;
    }
};
} // namespace grundel::detail

/// A namespace: a named object that holds the names of other named objects,
/// ordered naturally, in a tree under one root. A namespace owns the
/// namespaces created in it (createNamespace, TnamespaceUtil) and deletes
/// them with itself; other objects it only names: when it goes, they stay,
/// unregistered and without a namespace.
///
/// Three namespaces are global: the root, the current one (names without a
/// path are resolved there; the root at first) and the user-interface one,
/// all made on first use and torn down by cleanup(). The tree is at most
/// maxDepth levels below its top. Used on the application's main thread
/// only.
class GRUNDEL_API Tnamespace : public TnameObject {
    GRUNDEL_CLASS(Tnamespace)

public:
    using Table = std::map<TnameString, TnameObject*, grundel::detail::TnameOrder>;

    /// The deepest level a namespace may have below the top of its tree;
    /// making or moving a namespace deeper is refused, which keeps the work
    /// on the tree (paths, teardown) bounded.
    static constexpr TuInt32 maxDepth = 256;

    /// An unnamed namespace without a parent.
    Tnamespace() noexcept;
    /// A namespace named name, entered in parent when given.
    explicit Tnamespace(const TnameString& name, Tnamespace* parent = nullptr);
    ~Tnamespace() override;

    TapiType apiType() const noexcept override { return kApiNamespace; }

    /// Enters object under its name. False when object is null, its name is
    /// empty, or the name is taken here.
    virtual bool addObject(TnameObject* object);
    /// Takes object out. False when it is not the object entered under its name.
    virtual bool removeObject(TnameObject* object);
    /// Empties the namespace: owned namespaces are deleted, other objects
    /// are left unregistered.
    virtual void reset();
    /// Moves the object entered here as from to the name to in target (this
    /// namespace when null), keeping its registration. False when from is
    /// not here, to is empty or taken in target, or the object is a
    /// namespace that would land in itself, below itself or deeper than
    /// maxDepth.
    virtual bool mapObject(const TnameString& from, const TnameString& to, Tnamespace* target);
    /// Undoes mapObject: moves the object entered in target as to back here
    /// as from.
    virtual bool removeMapObject(const TnameString& from, const TnameString& to, Tnamespace* target);
    virtual void setParent(Tnamespace* parent) noexcept { fParent = parent; }
    virtual Tnamespace* parent() const noexcept { return fParent; }
    virtual TuInt32 size() const noexcept { return static_cast<TuInt32>(fTable.size()); }
    virtual bool isEmpty() const noexcept { return fTable.empty(); }
    /// The object entered as name, or null.
    virtual TnameObject* findName(const TnameString& name) const;
    virtual bool inNamespace(const TnameString& name) const { return findName(name) != nullptr; }
    /// True when no object here has the name.
    virtual bool isUnique(const TnameString& name) const { return !inNamespace(name); }
    /// The highest running number in use here with the stem: the number of
    /// the last name that begins with it ("ball7" for "ball" among ball1 and
    /// ball7); 0 when there is none.
    virtual TuInt64 getNextIncrement(const Tstring& stem) const;
    /// Deletes the owned namespaces below this one that hold nothing.
    virtual void removeEmptyNamespaces();

    /// Makes a namespace in this one that this one owns; null when the name
    /// is invalid or taken, or this one is maxDepth levels deep.
    Tnamespace* createChild(const TnameString& name);
    /// Whether this namespace deletes space with itself.
    bool owns(const Tnamespace* space) const noexcept;
    const Table& table() const noexcept { return fTable; }

    static Tnamespace* rootNamespace();
    static Tnamespace* currentNamespace();
    /// Null is ignored.
    static void setCurrentNamespace(Tnamespace* space) noexcept;
    static Tnamespace* UINamespace();
    /// Makes (or finds) the namespace named by a path from the current one.
    /// Null when a level cannot be made (the levels above it stay).
    static Tnamespace* createNamespace(const TnameString& path);
    /// Deletes the global namespaces and everything they own.
    static void cleanup();

    /// The names of one namespace, in order.
    class GRUNDEL_API NameIterator {
    public:
        explicit NameIterator(const Tnamespace& space) noexcept;
        /// To the first name (stored in name); false when there is none.
        bool first(TnameString& name);
        void next() noexcept;
        bool isDone() const noexcept;
        /// The object at the current name (null when done).
        TnameObject* item() const noexcept;
        /// The current name.
        const TnameString* name() const noexcept;

    private:
        const Tnamespace* fSpace;
        Table::const_iterator fAt;
    };

private:
    friend class TnamespaceUtil;
    /// Leaves the object's Tname as it would be after a removal.
    static void unregister(TnameObject* object) noexcept;
    /// Rebuilds the stored paths of everything below this namespace.
    void rebuildPaths();
    /// Levels above this namespace: 0 for the top of a tree.
    TuInt32 depth() const noexcept;
    /// Levels of namespaces below this one: 0 when it holds none.
    TuInt32 height() const;

    Table fTable;
    Tnamespace* fParent = nullptr;
    Tnamespace* fOwner = nullptr; // the namespace that deletes this one, if any
};

/// How renaming treats a name that is taken.
enum TclashResolution : int {
    kClashRefuse = 0,   ///< leave things as they are and report failure
    kClashMakeUnique    ///< give the moved object the next running number
};

/// How moving a namespace treats a namespace of the same name at its goal.
enum TnamespaceResolution : int {
    kNamespaceRefuse = 0,    ///< report failure
    kNamespaceMerge,         ///< move the contents into the existing one
    kNamespaceMakeUnique     ///< rename the moved namespace
};

/// Operations that keep the namespace tree consistent.
class GRUNDEL_API TnamespaceUtil {
public:
    /// Makes (or finds) the namespace named by path, from the current one;
    /// null when a level cannot be made.
    static Tnamespace* createNewNamespace(const TnameString& path);
    /// Deletes space (never a global one). With moveContents its objects
    /// and namespaces move to its parent first (a taken name gets a running
    /// number, a namespace of the same name is merged); otherwise they are
    /// left unregistered and its namespaces deleted. False for null or a
    /// global namespace.
    static bool removeNamespace(Tnamespace* space, bool moveContents);

private:
    static bool renameNameObject(TnameObject* object, Tnamespace* target, const TnameString& name,
                                 TclashResolution clash);
    static bool renameNamespace(Tnamespace* space, Tnamespace* target, const TnameString& name,
                                TclashResolution clash, TnamespaceResolution resolution);
    static void rebuildNamespacePaths(Tnamespace* space);
    /// Moves every object and namespace of space into target.
    static void moveAll(Tnamespace* space, Tnamespace* target, TclashResolution clash,
                        TnamespaceResolution resolution);
};

/// Finds namespaces from paths ("a:b", ":a:b" from the root).
class GRUNDEL_API TfindNamespace {
public:
    /// The namespace named by path from start (the current one when null);
    /// an empty path names start. False (result null) when a level is
    /// missing or is not a namespace.
    static bool findNamespace(const Tstring& path, Tnamespace** result, Tnamespace* start = nullptr);
    /// The same, making the missing levels. False when a level's name is
    /// taken by an object that is not a namespace.
    static bool findAndCreateNamespace(const Tstring& path, Tnamespace** result,
                                       Tnamespace* start = nullptr);
};
