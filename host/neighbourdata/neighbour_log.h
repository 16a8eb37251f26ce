#pragma once

#include <QLoggingCategory>

// Never destroyed, like every category of the host.
inline const QLoggingCategory& lcNeighbour() {
    static const auto* category = new QLoggingCategory("velmar.neighbour");
    return *category;
}
