#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include "account_tree.h"

/// A row of the table `reference` of the client's static database.
struct ReferenceRow {
    QString kind;
    QString key;
    QVariantMap record;
};

/// Every row: the securities, and what hangs on them and on the accounts.
QList<ReferenceRow> makeReferenceRows(const QList<QVariantMap>& securities,
                                      const AccountTree& tree);
