#pragma once

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <cstdio>

#include "bench_timing.h"
#include "client.h"

/// The options of a client that lives in a folder of its own.
inline Client::Options benchClient(const QTemporaryDir& home) {
    Client::Options options;
    options.homeDir = home.path();
    options.pluginsDir = QCoreApplication::applicationDirPath() + QStringLiteral("/../plugins");
    options.user = QStringLiteral("demo01");
    return options;
}
