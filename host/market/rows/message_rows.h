#pragma once

#include <QList>
#include <QVariantMap>

#include "account_rows.h"

/// The business messages that the logins get on each day, at their time of day. They name accounts
/// that the login sees: the first one those of `tree`, the second one those of `ofSecond`. False
/// with a text when a built-in table cannot be read.
bool makeMessageRows(quint32 seed, const AccountTree& tree, const AccountTree& ofSecond,
                     const QList<QVariantMap>& securities, QList<TableRow>* rows, QString* error);
