#pragma once

#include <QString>
#include <QVariantMap>

/// Delivers ticks to the readers of CommonQuotaHandler. Any thread.
namespace TickDelivery {

/// Emits the tick on the application's thread; dropped before the handler's Init(), and with a log
/// line while ten thousand ticks wait for that thread. The last price is known when it returns.
/// Ticks that are emitted are counted in MessageTotals, with the time that they waited.
void publish(const QString& symbol, const QVariantMap& tick, const QString& source);
/// Undoes Init() and forgets the last prices and the subscriptions.
void reset();

}  // namespace TickDelivery
