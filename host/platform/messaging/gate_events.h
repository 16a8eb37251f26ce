#pragma once

#include <QString>
#include <array>

#include "platform_export.h"

/// An event of the bus that reports the state of a gate.
struct GateEvent {
    int id;
    QString gate;
};

/// Never destroyed: a link may still report states while the process exits.
PLATFORM_API const std::array<GateEvent, 4>& gateEvents();
