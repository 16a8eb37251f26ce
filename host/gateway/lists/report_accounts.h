#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

#include "server_call.h"

/// An account that a report is about.
struct ReportAccount {
    QString account;
    QString name;
    QString fundAccountType;
};

/// Reads the user whose accounts a request may see: its UserAccount::loginUserId, or the one who
/// logged in on its session. False with a text for an unknown one.
bool readReportUser(const ServerCall& call, QString* user, QString* refusal);

/// Those of the accounts that exist and that the user may see. False when the store cannot be read.
bool readReportAccounts(const MarketStore& store, const QString& user, const QStringList& accounts,
                        QHash<QString, ReportAccount>* found);

/// The accounts below a product that the user may see, in the tree's order, and the product's name.
/// False when the store cannot be read.
bool readProductAccounts(const MarketStore& store, const QString& user, const QString& product,
                         QVector<ReportAccount>* found, QString* productName);
