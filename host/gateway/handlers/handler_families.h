#pragma once

#include "server_call.h"

// The families of message types; NAME_handlers.cpp defines addNameHandlers(). A new family is
// entered in both lists below.
void addSessionHandlers(ServerHandlers& handlers);
void addAccountHandlers(ServerHandlers& handlers);
void addAuthorityHandlers(ServerHandlers& handlers);
void addSubscriptionHandlers(ServerHandlers& handlers);
void addProfileHandlers(ServerHandlers& handlers);
void addCageHandlers(ServerHandlers& handlers);

/// The handlers of every family, by message type.
inline ServerHandlers standardHandlers() {
    ServerHandlers handlers;
    for (const auto& addFamily : {addSessionHandlers, addAccountHandlers, addAuthorityHandlers,
                                  addSubscriptionHandlers, addProfileHandlers, addCageHandlers}) {
        addFamily(handlers);
    }
    return handlers;
}
