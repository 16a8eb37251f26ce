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

/// What a table of users tells of each, UserAccount fields.
const StoreColumns& userColumns();

/// A login's row; nothing when there is no such login or, with a log line, when the store fails.
std::optional<ServerUser> findUser(const MarketStore& store, const QString& userId);
