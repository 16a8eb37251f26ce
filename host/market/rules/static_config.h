#pragma once

#include <QString>
#include <QVector>

#include "market_rules.h"
#include "quantity_sections.h"

/// A row of the table `static_cfg` of the client's static database.
struct StaticConfigRow {
    QString section;
    QString key;
    QString value;
};

/// The configuration of every market. False with a text when a table cannot be read or
/// staticConfigFault() finds something.
bool makeStaticConfig(const MarketRules& rules, QVector<StaticConfigRow>* rows, QString* error);

/// What is wrong with the rows, by section and key: a quantity that is not a positive number (a
/// client divides by the step), or a key that occurs twice. Empty when the rows are valid.
QString staticConfigFault(const QVector<StaticConfigRow>& rows);
