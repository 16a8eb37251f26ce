#pragma once

#include <memory>

#include "holding_link.h"
#include "recording_link.h"
#include "scenario_tape.h"

/// A server whose links record a tape, as in a client that plays a scenario.
template <class Server>
class RecordedServer : public Server {
public:
    std::shared_ptr<GatewayLink> makeLink() override {
        return std::make_shared<RecordingLink>(std::make_unique<HoldingLink>(Server::makeLink()),
                                               std::make_shared<ScenarioTape>());
    }
};
