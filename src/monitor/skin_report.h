#pragma once

#include "client_info_sink.h"

/// Reports the skin that the client shows, once in an installation: the setting "skinInitState" is
/// false afterwards. Any thread; does not block.
void uploadSkinChangeInfo(ClientInfoSink& sink);
