#pragma once

#include <QDate>
#include <QList>
#include <QVariantMap>

#include "market_file.h"

/// Writes the daily funds of all accounts and what the margin accounts owe. SQL statements compute
/// them from the accounts' deals, money and positions, so the file already contains those. The last
/// day of an account ends with its opening cash and its positions at closing prices; where the days
/// before would then be below zero, the account had more until a transfer on its last day.
/// `opening` is the day before the first deals. False on failure, see MarketFile::error().
bool writeFundRows(MarketFile& file, const QList<QVariantMap>& securities, const QDate& opening);
