#pragma once

#include <QLoggingCategory>

// Never destroyed, since a link may still log while static objects are destroyed.
inline const QLoggingCategory& lcGateway() {
    static const auto* category = new QLoggingCategory("velmar.gateway");
    return *category;
}

/// Every statement of a market's store, at debug level; a logging rule enables it.
inline const QLoggingCategory& lcGatewaySql() {
    static const auto* category = new QLoggingCategory("velmar.gateway.sql", QtInfoMsg);
    return *category;
}
