#pragma once

#include <QDate>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// The texts that warn a user of a symbol's risk marks.

/// The symbols of one check that are reported, in the order of the request.
struct RiskFindings {
    QStringList stSymbols;
    QList<QPair<QString, QString>> reminders;  ///< symbol, and what is said of it
    QStringList breakers;  ///< below issue price or net value; only for instructions
};

/// Whether a module's name stands for an instruction.
bool isInstruction(const QString& moduleName);

/// The messages of a check: one for the risk-warning symbols, one for each reminder, one for the
/// breakers. A message that lists symbols contains the first three of them.
QStringList riskMessages(const RiskFindings& findings, const QString& moduleName);

/// What is said of a symbol whose last trading day is known.
QString delistReminder(const QDate& lastTradingDay, const QDate& today);

/// The warning for a symbol with a flag; empty for a flag without a text.
QString stTypeText(const QString& stFlag, const QString& firstExchange);
