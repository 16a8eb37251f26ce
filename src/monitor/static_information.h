#pragma once

#include <functional>

#include "clock.h"

/// Writes what the machine and the client are to the board and to the system monitor: processor,
/// screens, system, skin, scale, disk, dump files and usage. What the system does not give is left
/// as it was. `isBrokenOff` is called for each dump file; when it returns true the dump files and
/// what comes behind them are left out. Any thread; reads files.
void publishStaticInformation(const Clock& clock, const std::function<bool()>& isBrokenOff);
