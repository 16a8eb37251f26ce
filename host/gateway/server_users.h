#pragma once

#include <QString>
#include <optional>

#include "market_store.h"

/// A login of the store.
struct ServerUser {
    QString salt;
    QString passwordHash;
    QVariantMap record;  ///< UserAccount fields
};

/// The columns of a table of users, as UserAccount fields.
const StoreColumns& userColumns();

/// A login's row; empty when there is no such login or, with a log line, when the store fails.
std::optional<ServerUser> findUser(const MarketStore& store, const QString& userId);
