#include "server_users.h"

#include <QSqlQuery>

#include "vocabulary/fields.h"

const StoreColumns& userColumns() {
    static const StoreColumns columns{
        {QStringLiteral("user_id"), UserAccount::userID},
        {QStringLiteral("user_name"), UserAccount::userName},
        {QStringLiteral("user_type"), UserAccount::userType},
        {QStringLiteral("user_status"), UserAccount::userStatus},
        {QStringLiteral("organ_code"), UserAccount::organCode},
    };
    return columns;
}

std::optional<ServerUser> findUser(const MarketStore& store, const QString& userId) {
    const StoreColumns& columns = userColumns();
    static const QString sql =
        QStringLiteral("SELECT %1, salt, password_hash FROM login WHERE user_id = ?")
            .arg(columnList(columns));
    std::optional<ServerUser> user;
    store.select(sql, {userId}, [&user, &columns](const QSqlQuery& query) {
        user = ServerUser{query.value(columns.size()).toString(),
                          query.value(columns.size() + 1).toString(), recordOf(query, columns)};
    });
    return user;
}
