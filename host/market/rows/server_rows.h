#pragma once

#include <QDate>
#include <QList>
#include <QVariantMap>

#include "account_rows.h"
#include "market_rules.h"
#include "trade_calendar.h"

/// The trade days of every kind of calendar.
QList<TableRow> makeCalendarRows(const TradeCalendar& calendar);

/// The price bands of Hong Kong, for shares and for funds.
QList<TableRow> makeSpreadRows(const MarketRules& rules);

/// The menus and who has them. False with a text when the built-in table cannot be read.
bool makeMenuRows(QList<TableRow>* rows, QString* error);

/// The business messages of both logins; those of the last trade days up to the given one.
QList<TableRow> makeMessageRows(const AccountTree& tree, const TradeCalendar& calendar,
                                const QDate& lastDay);

/// What the accounts hold, as their kinds allow: shares, funds, bonds and Hong Kong shares for cash
/// and margin, contracts and gold for the others.
QList<TableRow> makePositionRows(quint32 seed, const AccountTree& tree,
                                 const QList<QVariantMap>& securities);

/// The money of each account at the beginning of the day: some millions of yuan, more for kinds of
/// account whose contracts are large.
QList<TableRow> makeCashRows(quint32 seed, const AccountTree& tree);
