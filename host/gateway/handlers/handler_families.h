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
void addMessageHandlers(ServerHandlers& handlers);
void addMenuHandlers(ServerHandlers& handlers);
void addRiskHandlers(ServerHandlers& handlers);
void addHistoryHandlers(ServerHandlers& handlers);
void addFundHandlers(ServerHandlers& handlers);
void addReportHandlers(ServerHandlers& handlers);
void addAnnualHandlers(ServerHandlers& handlers);
void addCalendarHandlers(ServerHandlers& handlers);
void addSystemItemHandlers(ServerHandlers& handlers);
void addPatchHandlers(ServerHandlers& handlers);
void addClientInfoHandlers(ServerHandlers& handlers);
void addHeartBeatHandlers(ServerHandlers& handlers);

/// The handlers of every family, by message type.
inline ServerHandlers standardHandlers() {
    ServerHandlers handlers;
    for (const auto& addFamily :
         {addSessionHandlers, addAccountHandlers, addAuthorityHandlers, addSubscriptionHandlers,
          addProfileHandlers, addCageHandlers, addMessageHandlers, addMenuHandlers, addRiskHandlers,
          addHistoryHandlers, addFundHandlers, addReportHandlers, addAnnualHandlers,
          addCalendarHandlers, addSystemItemHandlers, addPatchHandlers, addClientInfoHandlers,
          addHeartBeatHandlers}) {
        addFamily(handlers);
    }
    return handlers;
}
