#pragma once

#include "vocabulary/text_constant.h"

/// Connection states of a gate, as the body of a gate state event carries them.
namespace NET_STATE {

VELMAR_TEXT(CONNECTED, "CONNECTED");
VELMAR_TEXT(CONNECTTING, "CONNECTTING");
VELMAR_TEXT(NOCONNECT, "NOCONNECT");

}  // namespace NET_STATE
