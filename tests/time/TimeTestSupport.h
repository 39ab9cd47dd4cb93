#pragma once

#include "grundel/object/TserverMsg.h"
#include "grundel/object/Ttrigger.h"

namespace grundel_test {

/// Counts the firings of one trigger while it lives.
class Firings : public Tclient {
public:
    explicit Firings(Ttrigger& trigger) : fTrigger(trigger) {
        fTrigger.addClient(this, TtriggerMsg::sMetaclass(), nullptr);
    }
    ~Firings() override { fTrigger.removeClient(this); }
    void serverModified(TclientServer*, const TserverMsg&) override { ++count; }
    int count = 0;

private:
    Ttrigger& fTrigger;
};

} // namespace grundel_test
