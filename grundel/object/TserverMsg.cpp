#include "grundel/object/TserverMsg.h"

GRUNDEL_DEFINE_CLASS(TserverMsg, "")
GRUNDEL_DEFINE_CLASS(TserverModifiedMsg, "", TserverMsg)
GRUNDEL_DEFINE_CLASS(TserverDeletedMsg, "", TserverMsg)
GRUNDEL_DEFINE_CLASS(TtriggerMsg, "", TserverMsg)
GRUNDEL_DEFINE_CLASS(TconditionOnMsg, "", TserverMsg)
GRUNDEL_DEFINE_CLASS(TconditionOffMsg, "", TserverMsg)
GRUNDEL_DEFINE_CLASS(TconditionChangedMsg, "", TserverMsg)

TserverMsg::~TserverMsg() = default;

bool TserverMsg::merge(const TserverMsg&) { return true; }

void TserverMsg::copy(const TserverMsg&) {}
