#pragma once

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

#include "client.h"

/// Milliseconds that a call takes.
template <class Work>
double millisecondsOf(Work&& work) {
    const auto began = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began)
        .count();
}

inline double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The options of a client that lives in a folder of its own.
inline Client::Options benchClient(const QTemporaryDir& home) {
    Client::Options options;
    options.homeDir = home.path();
    options.pluginsDir = QCoreApplication::applicationDirPath() + QStringLiteral("/../plugins");
    options.user = QStringLiteral("demo01");
    return options;
}
