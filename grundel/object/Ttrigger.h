#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/core/Ttypes.h"
#include "grundel/object/TclientServer.h"

class TtriggerPtrArray;

/// A named server that fires: trigger() sends a TtriggerMsg to its clients.
///
/// Every permanent trigger is listed by name in one process-wide array, so
/// that clients can find it (find()) and register before its owner makes
/// it: find(name, true) makes a temporary stand-in, and the permanent
/// trigger made later under that name takes over the stand-in's clients,
/// takes its place in the array, destroys it and fires once so that the
/// inherited clients learn of it. A permanent trigger named like an existing
/// permanent one stays out of the array. When a listed permanent trigger
/// that still has clients is destroyed, a temporary stand-in of the same
/// name takes its clients and its place; without clients its place goes.
///
/// Temporary triggers in the array are made by find() (on the heap) and are
/// destroyed by the permanent trigger that takes over; one destroyed
/// otherwise takes itself out of the array. A temporary trigger made
/// directly is never listed. The array and the triggers are used on the
/// application's main thread only.
class GRUNDEL_API Ttrigger : public TclientServer {
    GRUNDEL_CLASS(Ttrigger)

public:
    /// Bits of the flags word.
    static constexpr TuInt32 kTemporary = 1u << 0;
    static constexpr TuInt32 kState = 1u << 1; ///< a condition's state

    /// A trigger named name. A permanent one enters the array as described
    /// above (and may fire at once, to clients it takes over); a temporary
    /// one is not entered.
    explicit Ttrigger(const Tstring& name, bool temporary = false);
    Ttrigger(const Ttrigger&) = delete;
    Ttrigger& operator=(const Ttrigger&) = delete;
    ~Ttrigger() override;

    /// Sends a TtriggerMsg to the clients.
    virtual void trigger();

    const Tstring& name() const noexcept { return fName; }
    bool isTemp() const noexcept { return (fFlags & kTemporary) != 0; }
    TuInt32 flags() const noexcept { return fFlags; }

    /// The listed trigger of that name. When there is none: with create a
    /// new temporary trigger of that name, entered in the array; without,
    /// null.
    static Ttrigger* find(const Tstring& name, bool create = false);
    /// Every listed trigger, in the order of entry.
    static const TtriggerPtrArray& triggerArray();
    static TuInt32 numTriggers() noexcept;
    /// The trigger at index i of the array, null when out of range.
    static Ttrigger* triggerAtIndex(TuInt32 i) noexcept;

protected:
    struct TdeferEntry {};
    /// For subclasses that enter the array themselves, with enterArray()
    /// at the end of their constructor, so that the firing on take-over
    /// reaches their own trigger().
    Ttrigger(const Tstring& name, bool temporary, TdeferEntry) noexcept;
    /// Enters a permanent trigger in the array (see the class comment).
    void enterArray();
    /// Leaves the array on destruction, handing clients to a temporary
    /// stand-in that makeStandIn(name, flags) makes. Each destructor of a
    /// class with its own kind of stand-in calls it; the first call does
    /// the work.
    void leaveArray(Ttrigger* (*makeStandIn)(const Tstring& name, TuInt32 flags));

    /// The listed trigger named name, or null.
    static Ttrigger* findListed(const Tstring& name) noexcept;
    /// Appends a trigger to the array (which then lists it).
    static void addToArray(Ttrigger* trigger);

    TuInt32 fFlags;

private:
    Tstring fName;
};
