#include "grundel/object/TclientResult.h"

TclientResult& TclientResult::instance() noexcept {
    static TclientResult result;
    return result;
}
