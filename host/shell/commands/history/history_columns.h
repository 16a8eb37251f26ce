#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include "row_writer.h"

// What the commands about the past can list, and the columns of each list. The columns and their
// order are part of what the commands promise: files of two days can be put together.

/// The lists of `history`, in the order of the help text.
const QStringList& historyLists();
/// The columns of a list, of "calendar", "announcement", "report" or "config".
QVector<RowColumn> historyColumns(const QString& list);

/// The words for exchanges that `calendar` takes; the first one is the default.
const QStringList& calendarExchanges();
/// The code of such a word; empty for every other one.
QString calendarExchange(const QString& word);
