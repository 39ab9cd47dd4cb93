#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Ttypes.h"
#include "grundel/iff/TiffTag.h"

#include <atomic>
#include <new>
#include <type_traits>

class Tmetaclass;
class TdebugOutput;
class TtypeidArray;
class TtypeDictionary;

/// The object way of making instances of a class, in place of a creator
/// function (Tmetaclass::setCreator).
class GRUNDEL_API TconstructorClass {
public:
    virtual ~TconstructorClass();
    /// A new instance of the class of record, or null.
    virtual void* construct(Tmetaclass* record) = 0;
};

/// The run-time record of one polymorphic class: its name, four-character
/// tag, instance size, creator and up to four parents.
///
/// Every record registers itself in one global class list when it is made,
/// and takes the next 16-bit type id (dense from 0, in registration order).
/// Parents are held as pointers to the places where the parents' record
/// pointers live, so that a class may be registered before its parents
/// during static initialisation; the ancestor table behind istype() is built
/// on first use, when every record exists.
///
/// Records are made during start-up on one thread. The type tests may then be
/// used from any thread: the first one builds the ancestor table safely.
class GRUNDEL_API Tmetaclass {
public:
    /// Makes a new instance of the class (its address as the most derived
    /// class), or null.
    using Tcreator = void* (*)(Tmetaclass* record);
    static constexpr int kMaxParents = 4;

    /// Registers the class, then stores its size and parents. self receives
    /// the record's address; parents are the places where the parents'
    /// record pointers are kept (null for unused slots). The parent count is
    /// the number of leading non-null slots.
    Tmetaclass(Tmetaclass** self, const char* name, TuInt16 size, Tcreator creator, TiffTag tag,
               bool forceId, Tmetaclass** parent1 = nullptr, Tmetaclass** parent2 = nullptr,
               Tmetaclass** parent3 = nullptr, Tmetaclass** parent4 = nullptr) noexcept;
    Tmetaclass(Tmetaclass** self, const char* name, TuInt16 size, TconstructorClass* creator,
               TiffTag tag, bool forceId, Tmetaclass** parent1 = nullptr,
               Tmetaclass** parent2 = nullptr, Tmetaclass** parent3 = nullptr,
               Tmetaclass** parent4 = nullptr) noexcept;
    /// The same with the parent slots as one array (for GRUNDEL_DEFINE_CLASS).
    Tmetaclass(Tmetaclass** self, const char* name, TuInt16 size, Tcreator creator, TiffTag tag,
               bool forceId, Tmetaclass** const (&parents)[kMaxParents]) noexcept;
    /// A copy is registered as a class of its own (a new id).
    Tmetaclass(const Tmetaclass& other) noexcept;
    Tmetaclass& operator=(const Tmetaclass& other) noexcept;
    /// Leaves the class list.
    ~Tmetaclass();

    const char* name() const noexcept { return fName; }
    TiffTag tag() const noexcept { return fTag; }
    TuInt16 size() const noexcept { return fSize; }
    TuInt16 typeId() const noexcept { return fTypeId; }
    /// The size less the sizes of all direct parents.
    int extraSize() const noexcept;
    int superCount() const noexcept { return fParentCount; }
    /// Parent i (0-based), or null.
    Tmetaclass* super(int i) const noexcept;
    /// True without a creator function and without a creator object.
    bool isAbstract() const noexcept { return !fCreator && !fCreatorObject; }
    /// Creates with the object from now on (null: abstract again).
    void setCreator(TconstructorClass* creator) noexcept;

    /// A new instance, or null for an abstract class.
    void* construct() noexcept;
    static void* construct(Tmetaclass* record) noexcept { return record ? record->construct() : nullptr; }

    /// True when other is a proper ancestor (this class itself is not).
    bool istype(const Tmetaclass* other) const noexcept {
        if (fParentCount == 0 || !other)
            return false;
        const TuInt32* table = fTypeTable.load(std::memory_order_acquire);
        if (!table)
            table = buildTypeTable();
        const TuInt32 min = table[0] & 0xFFFFu;
        const TuInt32 offset = TuInt32(other->fTypeId) - min;
        if (offset > (table[0] >> 16) - min)
            return false;
        return (table[1 + offset / 32] >> (offset % 32)) & 1u;
    }
    /// This class or a class derived from other.
    bool isa(const Tmetaclass* other) const noexcept { return other == this || istype(other); }
    bool isnota(const Tmetaclass* other) const noexcept { return !isa(other); }
    bool isexactlya(const Tmetaclass* other) const noexcept { return other == this; }
    bool isnotexactlya(const Tmetaclass* other) const noexcept { return other != this; }
    /// By name: this class's name, or (through the second to last parents
    /// first, then up the first parent) an ancestor's. A null name is false.
    bool isa(const char* name) const noexcept;
    bool isnota(const char* name) const noexcept { return !isa(name); }
    bool isexactlya(const char* name) const noexcept;
    bool isnotexactlya(const char* name) const noexcept { return !isexactlya(name); }

    /// The first registered class of that name, or null.
    static Tmetaclass* findClass(const char* name) noexcept;
    /// The first class of that name among base and the classes derived from it.
    static Tmetaclass* findClass(const char* name, Tmetaclass* base) noexcept;
    /// The first registered class with that tag, or null.
    static Tmetaclass* findClass(TiffTag tag) noexcept;
    /// Fills out with base (at index 0) and every class derived from it, in
    /// registration order.
    static void getDerivedClasses(Tmetaclass* base, TtypeidArray& out);
    /// A dictionary of base and the classes derived from it, by name.
    static void generateDictionaryFor(Tmetaclass* base, TtypeDictionary& out);

    /// Every registered class, in registration order (null before the first).
    static const TtypeidArray* classList() noexcept;

    /// Prints the class tree: every class without parents, then the classes
    /// naming it as a parent, one ". " of indent per level, as
    /// "name:  +extra = size" and "    (abstract)" where it applies.
    static void dumpAllClasses();
    static void dumpAllClasses(TdebugOutput& out);
    static void dumpAllClassesDerivedFrom(Tmetaclass* base, int depth);
    static void dumpAllClassesDerivedFrom(TdebugOutput& out, Tmetaclass* base, int depth);
    /// One line: name, tag, id, size and parents.
    void debug(TdebugOutput& out, unsigned int flags = 0) const;
    static void debugMe(const Tmetaclass& record, unsigned int flags = 0);

private:
    void registerClass(bool forceId) noexcept;
    void storeParents(TuInt16 size, Tmetaclass** const (&parents)[kMaxParents]) noexcept;
    const TuInt32* buildTypeTable() const noexcept;
    void unregister() noexcept;

    // Ancestor ids: word 0 holds min (low 16 bits) and max (high 16 bits),
    // the words after it one bit per id from min. Built on first use.
    mutable std::atomic<const TuInt32*> fTypeTable{nullptr};
    Tmetaclass** fParents[kMaxParents] = {};
    const char* fName = nullptr;
    TiffTag fTag;
    Tcreator fCreator = nullptr;
    TconstructorClass* fCreatorObject = nullptr;
    TuInt16 fSize = 0;
    TuInt16 fTypeId = 0;
    TuInt8 fParentCount = 0;
};

namespace grundel::detail {

/// The record-bearing parents of a class, as a type list.
template <class... P>
struct TparentList {};

template <class C>
constexpr bool kCreatable = std::is_default_constructible<C>::value && !std::is_abstract<C>::value;

template <class C>
void* newInstance() noexcept {
    if constexpr (kCreatable<C>)
        return new (std::nothrow) C();
    else
        return nullptr;
}

template <class C>
constexpr Tmetaclass::Tcreator creatorOf() noexcept {
    if constexpr (kCreatable<C>)
        return &C::construct;
    else
        return nullptr;
}

template <class... P>
struct TparentSlots {
    Tmetaclass** slot[Tmetaclass::kMaxParents];
};

template <class... P>
constexpr TparentSlots<P...> parentSlots(TparentList<P...>) noexcept {
    static_assert(sizeof...(P) <= Tmetaclass::kMaxParents, "at most four parents");
    return TparentSlots<P...>{{&P::fsMetaclassPtr...}};
}

/// cast() of class C: the object itself for C's own record, the subobject of
/// the parent that leads to an ancestor, null for anything else.
template <class C, class... P>
void* castClass(TparentList<P...>, C* self, const Tmetaclass* type) noexcept {
    if (type == &C::fsMetaclass)
        return self;
    if (!C::fsMetaclass.istype(type))
        return nullptr;
    void* result = nullptr;
    ((result = result ? result : (P::fsMetaclass.isa(type) ? static_cast<P*>(self)->P::cast(const_cast<Tmetaclass*>(type)) : nullptr)), ...);
    return result;
}

} // namespace grundel::detail

/// Declares a class's run-time record and its typeof(), cast() and static
/// construct(). One line, first in the class body of a class whose parents
/// have no record (GRUNDEL_ROOT_CLASS) or have one (GRUNDEL_CLASS). Leaves
/// the access public.
#define GRUNDEL_CLASS_MEMBERS_(Class, Override)                                                    \
public:                                                                                            \
    static Tmetaclass fsMetaclass;                                                                 \
    static Tmetaclass* fsMetaclassPtr;                                                             \
    static Tmetaclass* sMetaclass() noexcept { return &fsMetaclass; }                              \
    virtual Tmetaclass* typeof() const noexcept Override { return &fsMetaclass; }                  \
    virtual void* cast(Tmetaclass* type) noexcept Override;                                        \
    static void* construct(Tmetaclass* record);

#define GRUNDEL_ROOT_CLASS(Class) GRUNDEL_CLASS_MEMBERS_(Class, )
#define GRUNDEL_CLASS(Class) GRUNDEL_CLASS_MEMBERS_(Class, override)

/// Defines what GRUNDEL_CLASS declares, in the class's source file: the
/// record (named after the class, with tag, a four-character text or ""),
/// registered at static initialisation, and the record-bearing parents in
/// order. A class that cannot be default-constructed is abstract.
#define GRUNDEL_DEFINE_CLASS(Class, Tag, ...)                                                      \
    static_assert(sizeof(Class) <= 0xFFFF, "instance sizes are 16-bit");                          \
    Tmetaclass* Class::fsMetaclassPtr = nullptr;                                                   \
    Tmetaclass Class::fsMetaclass(                                                                 \
        &Class::fsMetaclassPtr, #Class, static_cast<TuInt16>(sizeof(Class)),                       \
        grundel::detail::creatorOf<Class>(), TiffTag(Tag), false,                                  \
        grundel::detail::parentSlots(grundel::detail::TparentList<__VA_ARGS__>{}).slot);           \
    void* Class::cast(Tmetaclass* type) noexcept {                                                 \
        return grundel::detail::castClass(grundel::detail::TparentList<__VA_ARGS__>{}, this, type);\
    }                                                                                              \
    [[maybe_unused]] void* Class::construct(Tmetaclass*) { return grundel::detail::newInstance<Class>(); }
