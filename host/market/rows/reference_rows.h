#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include "account_tree.h"
#include "market_stop.h"

/// A row of the table `reference` of the client's static database.
struct ReferenceRow {
    QString kind;
    QString key;
    QVariantMap record;
};

/// The rows of every kind: of the securities, what belongs to them, and of the accounts.
QList<ReferenceRow> makeReferenceRows(const QList<QVariantMap>& securities, const AccountTree& tree,
                                      const MarketStop& stop = MarketStop());
