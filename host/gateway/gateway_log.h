#pragma once

#include <QLoggingCategory>

// Never destroyed: a link may still end while static objects go.
inline const QLoggingCategory& lcGateway() {
    static const auto* category = new QLoggingCategory("velmar.gateway");
    return *category;
}
