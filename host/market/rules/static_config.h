#pragma once

#include <QString>
#include <QVector>

#include "market_rules.h"

/// A row of the table `static_cfg` of the client's static database.
struct StaticConfigRow {
    QString section;
    QString key;
    QString value;
};

/// Sections of the quantity rules. A key of steps and minimums is a sub-type, a type or "*"; a key
/// of maximums may go on with "_" and conditions, FIELD:VALUE,FIELD:VALUE. Units: shares and fund
/// units, bonds of 100 yuan face value, contracts, lots of gold.
namespace QuantitySection {
inline const QString step = QStringLiteral("StepQtyRule");
inline const QString min = QStringLiteral("MinQtyRule");
inline const QString max = QStringLiteral("MaxQtyRule");
}  // namespace QuantitySection

/// The sections that a client is delivered with; the same for every market. False with a text on
/// failure, which a table that cannot be read and a row that staticConfigFault() names are.
bool makeStaticConfig(const MarketRules& rules, QVector<StaticConfigRow>* rows, QString* error);

/// What of the rows no client may be given, by section and key: a quantity rule that is no positive
/// number (a client divides by the step), a key that stands twice. Empty when all is well.
QString staticConfigFault(const QVector<StaticConfigRow>& rows);
