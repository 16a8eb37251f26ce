#include <QSqlQuery>

#include "handler_families.h"
#include "host_msg_type.h"
#include "password_hash.h"
#include "server_users.h"
#include "vocabulary/fields.h"

namespace {

HandlerAnswer login(const ServerCall& call) {
    const QString userId = call.text(UserAccount::loginUserId);
    const auto user = findUser(call.store, userId);
    // One text for both, so that nobody learns which user ids exist.
    if (!user || passwordHash(user->salt, call.text(HostField::password)) != user->passwordHash) {
        return HandlerAnswer::refused(QStringLiteral("用户名或密码错误"));
    }
    call.subscriptions.setUser(call.session, userId);
    HandlerAnswer answer;
    answer.rows.append(user->record);
    return answer;
}

const StoreColumns& treeColumns() {
    static const StoreColumns columns{
        {QStringLiteral("i.name"), UserAccount::investorName},
        {QStringLiteral("p.name"), UserAccount::productName},
        {QStringLiteral("a.name"), UserAccount::assetAccountName},
        {QStringLiteral("t.name"), UserAccount::tradingAccountName},
        {QStringLiteral("i.investor_account"), UserAccount::investorAccount},
        {QStringLiteral("p.product_account"), UserAccount::productAccount},
        {QStringLiteral("a.asset_account"), UserAccount::assetAccount},
        {QStringLiteral("t.trading_account"), UserAccount::tradingAccount},
        {QStringLiteral("s.security_account"), UserAccount::securityAccount},
        {QStringLiteral("s.exchange"), UserAccount::securityExchange},
        {QStringLiteral("s.is_main"), UserAccount::isMainAccount},
        {QStringLiteral("t.seat_no"), UserAccount::seatNo},
        {QStringLiteral("t.invest_type"), UserAccount::investType},
        {QStringLiteral("t.asset_account_list"), UserAccount::assetAccountList},
        {QStringLiteral("t.user_type"), UserAccount::userType},
        {QStringLiteral("t.organ_code"), UserAccount::organCode},
        {QStringLiteral("o.authority_types"), HostField::authorityTypes},
    };
    return columns;
}

const StoreColumns& securityColumns() {
    static const StoreColumns columns{
        {QStringLiteral("s.security_account"), UserAccount::securityAccount},
        {QStringLiteral("s.exchange"), UserAccount::securityExchange},
        {QStringLiteral("s.is_main"), UserAccount::isMainAccount},
    };
    return columns;
}

/// The security accounts that a user may see, by trading account.
bool readSecurityAccounts(const ServerCall& call, const QString& userId,
                          QHash<QString, QVariantList>* accounts) {
    static const QString sql =
        QStringLiteral(
            "SELECT %1, s.trading_account FROM security_account s"
            " JOIN account_authority o ON o.trading_account = s.trading_account AND o.user_id = ?"
            " ORDER BY s.trading_account, s.position")
            .arg(columnList(securityColumns()));
    return call.store.select(sql, {userId}, [accounts](const QSqlQuery& query) {
        const QString tradingAccount = query.value(securityColumns().size()).toString();
        (*accounts)[tradingAccount].append(recordOf(query, securityColumns()));
    });
}

/// An account's own fields describe its first security account; a further field lists all of them.
HandlerAnswer accountTree(const ServerCall& call) {
    const QString userId = call.text(UserAccount::loginUserId);
    if (!findUser(call.store, userId)) {
        return HandlerAnswer::refused(QStringLiteral("用户%1不存在").arg(userId));
    }
    static const QString sql =
        QStringLiteral(
            "SELECT %1 FROM trading_account t"
            " JOIN account_authority o ON o.trading_account = t.trading_account AND o.user_id = ?"
            " JOIN asset_account a ON a.asset_account = t.asset_account"
            " JOIN product p ON p.product_account = a.product_account"
            " JOIN investor i ON i.investor_account = p.investor_account"
            " LEFT JOIN security_account s"
            " ON s.trading_account = t.trading_account AND s.position = 0"
            " ORDER BY t.seq")
            .arg(columnList(treeColumns()));
    QHash<QString, QVariantList> securityAccounts;
    if (!readSecurityAccounts(call, userId, &securityAccounts)) {
        return HandlerAnswer::storeFailed();
    }
    HandlerAnswer answer;
    const bool read = call.store.select(sql, {userId}, [&](const QSqlQuery& query) {
        QVariantMap row = recordOf(query, treeColumns());
        row.insert(HostField::securityAccounts,
                   securityAccounts.value(row.value(UserAccount::tradingAccount).toString()));
        answer.rows.append(row);
    });
    return read ? answer : HandlerAnswer::storeFailed();
}

}  // namespace

void addSessionHandlers(ServerHandlers& handlers) {
    handlers.insert(HostMsgType::login, login);
    handlers.insert(HostMsgType::accountTree, accountTree);
}
