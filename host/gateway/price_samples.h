#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

/// The sample server's defaults of the price cage, which are the exchanges' own, and its exchange
/// rates of the Hong Kong dollar, which are invented.
namespace PriceSamples {

/// The value of one of the cage's configuration items as a text; empty for another name.
QString systemItem(const QString& itemName);
/// Exchange rates, one row for each exchange of Hong Kong connect.
QList<QVariantMap> hongKongRates();

}  // namespace PriceSamples
