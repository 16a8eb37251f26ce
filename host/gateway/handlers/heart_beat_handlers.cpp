#include "handler_families.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

/// The client measures how long the answer takes; its figures about itself are not kept. A beat
/// needs no login, since the gates measure before anybody has logged in.
HandlerAnswer heartBeat(const ServerCall&) {
    return {};
}

}  // namespace

void addHeartBeatHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::BusiHeartBeatRequest, heartBeat);
}
