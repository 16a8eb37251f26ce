#pragma once

#include <QLoggingCategory>

// Never destroyed: a link may still end while static objects go.
inline const QLoggingCategory& lcGateway() {
    static const auto* category = new QLoggingCategory("velmar.gateway");
    return *category;
}

/// Every statement that the market's store is asked, at debug level, where a rule switches it on.
inline const QLoggingCategory& lcGatewaySql() {
    static const auto* category = new QLoggingCategory("velmar.gateway.sql", QtInfoMsg);
    return *category;
}
