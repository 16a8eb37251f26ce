#pragma once

#include <QVariantMap>

/// Whether an incoming order record may replace the stored one. Has no state; any thread.
bool canOrderUpdate(const QVariantMap& oldOrder, const QVariantMap& newOrder);
