#pragma once

#include "grundel/core/Tapi.h"
#include "grundel/core/Tstring.h"
#include "grundel/object/Tclient.h"
#include "grundel/object/Ttrigger.h"

/// A named boolean that tells its clients of each change of state: trigger()
/// sends TconditionOnMsg while on and TconditionOffMsg while off, and
/// setState() fires only when the state changes.
///
/// Conditions share the triggers' process-wide array and its rules: a
/// permanent condition named like a temporary trigger takes over its
/// clients and fires with its own state; a destroyed permanent condition
/// with clients leaves a temporary condition in its state behind.
class GRUNDEL_API Tcondition : public Ttrigger {
    GRUNDEL_CLASS(Tcondition)

public:
    explicit Tcondition(const Tstring& name, bool state = false, bool temporary = false);
    ~Tcondition() override;

    /// The listed condition of that name; null when the trigger of that name
    /// is not a condition. When there is none: with create a new temporary
    /// condition, off, entered in the array; without, null.
    static Tcondition* find(const Tstring& name, bool create = false);

    bool state() const noexcept { return (fFlags & kState) != 0; }
    /// Sets the state and fires when it changes; the same state sends
    /// nothing.
    void setState(bool on);
    Tcondition& operator=(bool on) {
        setState(on);
        return *this;
    }
    operator bool() const noexcept { return state(); }
    bool operator!() const noexcept { return !state(); }
    bool operator==(bool on) const noexcept { return state() == on; }
    bool operator!=(bool on) const noexcept { return state() != on; }

    /// Sends TconditionOnMsg or TconditionOffMsg, after the state.
    void trigger() override;

protected:
    /// See Ttrigger: for subclasses that enter the array themselves.
    Tcondition(const Tstring& name, bool state, bool temporary, TdeferEntry) noexcept;
};

/// A permanent condition that is also a client, so that it can watch
/// servers (and set its state from what they report).
class GRUNDEL_API TclientCondition : public Tcondition, public Tclient {
    GRUNDEL_CLASS(TclientCondition)

public:
    explicit TclientCondition(const Tstring& name, bool state = false);
    ~TclientCondition() override;
    using Tcondition::operator=;
};
