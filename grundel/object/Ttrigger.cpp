#include "grundel/object/Ttrigger.h"

#include "grundel/core/Tarrays.h"
#include "grundel/object/TobjectArrays.h"

GRUNDEL_DEFINE_CLASS(Ttrigger, "", TclientServer)

namespace {

// Never destroyed: triggers that are static objects leave it during exit.
TtriggerPtrArray& triggers() {
    static TtriggerPtrArray* array = new TtriggerPtrArray;
    return *array;
}

bool slotOf(const Ttrigger* trigger, TuInt32& index) noexcept {
    const TtriggerPtrArray& all = triggers();
    for (index = 0; index < all.length(); ++index)
        if (all[index] == trigger)
            return true;
    return false;
}

Ttrigger* makeTriggerStandIn(const Tstring& name, TuInt32) { return new Ttrigger(name, true); }

} // namespace

Ttrigger::Ttrigger(const Tstring& name, bool temporary) : Ttrigger(name, temporary, TdeferEntry()) {
    if (!temporary)
        enterArray();
}

Ttrigger::Ttrigger(const Tstring& name, bool temporary, TdeferEntry) noexcept
    : fFlags(temporary ? kTemporary : 0), fName(name) {}

Ttrigger::~Ttrigger() { leaveArray(&makeTriggerStandIn); }

void Ttrigger::trigger() { notifyClients(TtriggerMsg()); }

void Ttrigger::enterArray() {
    TtriggerPtrArray& all = triggers();
    TuInt32 index;
    for (index = 0; index < all.length(); ++index)
        if (all[index]->fName == fName)
            break;
    if (index == all.length()) {
        all.addLast(this);
        return;
    }
    Ttrigger* existing = all[index];
    if (!existing->isTemp())
        return;
    existing->transferClients(this);
    // replaceServer() may have changed the array.
    if (slotOf(existing, index))
        all[index] = this;
    else
        all.addLast(this);
    delete existing;
    trigger();
}

void Ttrigger::leaveArray(Ttrigger* (*makeStandIn)(const Tstring& name, TuInt32 flags)) {
    TuInt32 index;
    if (!slotOf(this, index))
        return;
    TtriggerPtrArray& all = triggers();
    if (isTemp() || !hasClients()) {
        all.removeAt(index);
        return;
    }
    Ttrigger* standIn = makeStandIn(fName, fFlags | kTemporary);
    transferClients(standIn);
    if (slotOf(this, index))
        all[index] = standIn;
    else
        all.addLast(standIn);
}

Ttrigger* Ttrigger::findListed(const Tstring& name) noexcept {
    const TtriggerPtrArray& all = triggers();
    for (TuInt32 i = 0; i < all.length(); ++i)
        if (all[i]->fName == name)
            return all[i];
    return nullptr;
}

void Ttrigger::addToArray(Ttrigger* trigger) { triggers().addLast(trigger); }

Ttrigger* Ttrigger::find(const Tstring& name, bool create) {
    Ttrigger* found = findListed(name);
    if (found || !create)
        return found;
    found = new Ttrigger(name, true);
    addToArray(found);
    return found;
}

const TtriggerPtrArray& Ttrigger::triggerArray() { return triggers(); }

TuInt32 Ttrigger::numTriggers() noexcept { return triggers().length(); }

Ttrigger* Ttrigger::triggerAtIndex(TuInt32 i) noexcept {
    const TtriggerPtrArray& all = triggers();
    return i < all.length() ? all[i] : nullptr;
}
