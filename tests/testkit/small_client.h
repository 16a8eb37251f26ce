#pragma once

#include <QTemporaryDir>

#include "client.h"
#include "small_market.h"
#include "test_paths.h"

/// The options of a client in this process, over a small market and without ticks.
inline Client::Options smallClient(const QTemporaryDir& home) {
    Client::Options options;
    options.homeDir = home.path();
    options.pluginsDir = QStringLiteral(VELMAR_BINARY_DIR "/plugins");
    options.user = SampleLogin::user;
    options.market = smallMarket();
    options.ticksPerSecond = 0;
    return options;
}
