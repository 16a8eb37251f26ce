#pragma once

#include <QJsonValue>
#include <QString>

#include "scenario.h"

/// The part of a value that a path names, "rows.0.tradingAccount"; undefined when it does not
/// exist.
QJsonValue jsonAt(const QJsonValue& root, const QString& path);
/// A text unchanged, a number in decimal, everything else as JSON; "(nothing)" when undefined.
QString jsonText(const QJsonValue& value);
/// Whether the value passes the check.
bool checkHolds(const ScenarioCheck& check, const QJsonValue& root);
