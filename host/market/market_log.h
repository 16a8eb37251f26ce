#pragma once

#include <QLoggingCategory>

// Never destroyed, like every category of the host.
inline const QLoggingCategory& lcMarket() {
    static const auto* category = new QLoggingCategory("velmar.market");
    return *category;
}
