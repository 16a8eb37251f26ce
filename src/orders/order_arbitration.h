#pragma once

#include <QVariantMap>

/// Whether an incoming order record may replace the stored one: both are of one order, the status
/// table of the static configuration lists the status change, and the quantities Security::cumQty
/// and cancelledQty do not shrink. With the same status one of them must have grown. Quantities
/// within 1e-10 are equal; new ones that are not finite are refused. Has no state; any thread;
/// reads the static configuration in memory. Refusals are logged at debug level, except those for
/// the order's id.
bool canOrderUpdate(const QVariantMap& oldOrder, const QVariantMap& newOrder);
