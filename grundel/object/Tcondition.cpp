#include "grundel/object/Tcondition.h"

GRUNDEL_DEFINE_CLASS(Tcondition, "", Ttrigger)
GRUNDEL_DEFINE_CLASS(TclientCondition, "", Tcondition, Tclient)

namespace {

Ttrigger* makeConditionStandIn(const Tstring& name, TuInt32 flags) {
    return new Tcondition(name, (flags & Ttrigger::kState) != 0, true);
}

} // namespace

Tcondition::Tcondition(const Tstring& name, bool state, bool temporary)
    : Tcondition(name, state, temporary, TdeferEntry()) {
    if (!temporary)
        enterArray();
}

Tcondition::Tcondition(const Tstring& name, bool state, bool temporary, TdeferEntry) noexcept
    : Ttrigger(name, temporary, TdeferEntry()) {
    if (state)
        fFlags |= kState;
}

Tcondition::~Tcondition() { leaveArray(&makeConditionStandIn); }

Tcondition* Tcondition::find(const Tstring& name, bool create) {
    if (Ttrigger* found = findListed(name))
        return found->typeof()->isa(Tcondition::sMetaclass()) ? static_cast<Tcondition*>(found) : nullptr;
    if (!create)
        return nullptr;
    Tcondition* made = new Tcondition(name, false, true);
    addToArray(made);
    return made;
}

void Tcondition::setState(bool on) {
    if (on == state())
        return;
    if (on)
        fFlags |= kState;
    else
        fFlags &= ~kState;
    trigger();
}

void Tcondition::trigger() {
    if (state())
        notifyClients(TconditionOnMsg());
    else
        notifyClients(TconditionOffMsg());
}

TclientCondition::TclientCondition(const Tstring& name, bool state) : Tcondition(name, state, false) {}

TclientCondition::~TclientCondition() = default;
