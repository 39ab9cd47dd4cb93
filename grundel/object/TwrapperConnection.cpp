#include "grundel/object/TwrapperConnection.h"

GRUNDEL_DEFINE_CLASS(TwrapperConnection, "")

TwrapperConnection::~TwrapperConnection() = default;
