#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/TmtRefCounter.h"

class Tmetaclass;
class TdebugOutput;
class TfootprintInfo;

/// Base of the intrusively reference-counted objects that several owners
/// share (the letters of typed data, among others).
///
/// A new object has no references: the first owner calls reference(), every
/// owner calls unreference() when it lets go, and the object deletes itself
/// when the last reference goes. Counts are atomic, so owners on different
/// threads may share one object; the object's value itself is not locked.
///
/// Copy-on-write is on request: an owner that wants to change a shared
/// object calls sMakeUnique(), which gives it a private copy when others
/// still hold the object. A writer count lets an owner announce that it
/// writes through its reference, so that others copy rather than share.
class GRUNDEL_API TmultiSharedObject {
public:
    virtual ~TmultiSharedObject();
    /// One line describing the object.
    virtual void debug(TdebugOutput& out, unsigned int flags = 0) const;
    /// Back to the state of a newly made object; the default does nothing.
    virtual void reset();
    /// A new object of the same class and value with no references, owned
    /// by the caller; null when the class cannot copy itself.
    [[nodiscard]] virtual TmultiSharedObject* copy() const = 0;
    virtual Tmetaclass* typeof() const noexcept = 0;
    virtual void* cast(Tmetaclass* type) noexcept = 0;
    /// Adds the object's own bytes to info.
    virtual void _getFootprint(TfootprintInfo& info) const;

    /// Takes one more reference; the new count.
    int reference() const noexcept { return fReferences.add(); }
    /// Gives one reference back; deletes the object when it was the last.
    /// The count left (0 once deleted). Never call it without a reference.
    int unreference() const noexcept;
    int referenceCount() const noexcept { return fReferences.value(); }
    /// More than one owner holds a reference.
    bool isShared() const noexcept { return fReferences.value() > 1; }

    /// Owners that announced they write through their reference.
    int writerCount() const noexcept { return fWriters.value(); }
    int addWriter() noexcept { return fWriters.add(); }
    /// Never below 0.
    int removeWriter() noexcept;

    /// Copy-on-write for an owner holding one reference on held: when
    /// others hold it too, replaces held by a copy with one reference (the
    /// original loses this owner's reference). Returns held; null, with held
    /// unchanged, when the class cannot copy itself. A null held stays null.
    template <class T>
    static T* sMakeUnique(T*& held) noexcept {
        if (!held || !held->isShared())
            return held;
        T* fresh = static_cast<T*>(held->copy());
        if (!fresh)
            return nullptr;
        fresh->reference();
        held->unreference();
        held = fresh;
        return held;
    }

protected:
    TmultiSharedObject() noexcept = default;
    /// A copy starts with no references and no writers of its own.
    TmultiSharedObject(const TmultiSharedObject&) noexcept {}
    TmultiSharedObject& operator=(const TmultiSharedObject&) noexcept { return *this; }

private:
    mutable TmtRefCounter fReferences;
    TmtRefCounter fWriters;
};
