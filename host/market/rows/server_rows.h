#pragma once

#include <QList>
#include <QVariantMap>

#include "account_rows.h"
#include "market_rules.h"
#include "trade_calendar.h"

/// The trade days of every kind of calendar.
QList<TableRow> makeCalendarRows(const TradeCalendar& calendar);

/// The price bands of Hong Kong, for shares and for funds.
QList<TableRow> makeSpreadRows(const MarketRules& rules);

/// What the accounts hold, as their kinds allow: shares, funds, bonds and Hong Kong shares for cash
/// and margin, contracts and gold for the others.
QList<TableRow> makePositionRows(quint32 seed, const AccountTree& tree,
                                 const QList<QVariantMap>& securities);

/// The money of each account at the beginning of the day: some millions of yuan, more for kinds of
/// account whose contracts are large.
QList<TableRow> makeCashRows(quint32 seed, const AccountTree& tree);
