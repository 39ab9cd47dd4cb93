#include "grundel/object/TmessageCenter.h"

GRUNDEL_DEFINE_CLASS(TmessageCenter, "", TclientServer)

TmessageCenter::TmessageCenter() noexcept = default;

TmessageCenter::~TmessageCenter() = default;

TmessageCenter* TmessageCenter::messageBoard() {
    // Never destroyed: at exit it would notify clients that may be gone.
    static TmessageCenter* board = new TmessageCenter;
    return board;
}
