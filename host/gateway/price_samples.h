#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

/// What the sample server knows about prices beyond its market: the defaults of the price cage and
/// the exchange rates of Hong Kong. The rates are invented, the cages are the exchanges' own.
namespace PriceSamples {

/// The value of a configuration item as text; empty when there is none of that name.
QString systemItem(const QString& itemName);
/// Exchange rates, a row per exchange of Hong Kong connect.
QList<QVariantMap> hongKongRates();

}  // namespace PriceSamples
