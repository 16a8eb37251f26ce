#pragma once

#include "server_call.h"

/// The families of message types, one file each: NAME_handlers.cpp defines addNameHandlers(). This
/// is the one place that lists them.
#define VELMAR_HANDLER_FAMILIES(FAMILY) \
    FAMILY(Session)                     \
    FAMILY(Account)                     \
    FAMILY(Authority)                   \
    FAMILY(Subscription)                \
    FAMILY(Profile)                     \
    FAMILY(Cage)

#define VELMAR_DECLARE_FAMILY(name) void add##name##Handlers(ServerHandlers& handlers);
VELMAR_HANDLER_FAMILIES(VELMAR_DECLARE_FAMILY)
#undef VELMAR_DECLARE_FAMILY

/// Adds the handlers of every family.
inline void addHandlerFamilies(ServerHandlers& handlers) {
#define VELMAR_ADD_FAMILY(name) add##name##Handlers(handlers);
    VELMAR_HANDLER_FAMILIES(VELMAR_ADD_FAMILY)
#undef VELMAR_ADD_FAMILY
}
