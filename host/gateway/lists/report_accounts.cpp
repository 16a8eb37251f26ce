#include "report_accounts.h"

#include <QSqlQuery>

#include "fund_book.h"
#include "server_users.h"
#include "vocabulary/fields.h"

namespace {

// Accounts "t" of a user.
inline const QString kOfUser = QStringLiteral(
    " CROSS JOIN account_authority o ON o.user_id = ? AND o.trading_account = t.trading_account");

ReportAccount accountOf(const QSqlQuery& query) {
    return {query.value(0).toString(), query.value(1).toString(), query.value(2).toString()};
}

}  // namespace

bool readReportUser(const ServerCall& call, QString* user, QString* refusal) {
    *user = call.text(UserAccount::loginUserId);
    if (user->isEmpty()) {
        *user = call.subscriptions.user(call.session);
    }
    const bool known = findUser(call.store, *user).has_value();
    if (!known) {
        *refusal = QStringLiteral("用户%1不存在").arg(*user);
    }
    return known;
}

bool readReportAccounts(const MarketStore& store, const QString& user, const QStringList& accounts,
                        QHash<QString, ReportAccount>* found) {
    const QString sql = QStringLiteral(
                            "SELECT t.trading_account, t.name, t.fund_account_type"
                            " FROM json_each(?) j CROSS JOIN trading_account t"
                            " ON t.trading_account = j.value") +
                        kOfUser;
    return store.select(sql, {FundBook::listOf(accounts), user}, [found](const QSqlQuery& query) {
        const ReportAccount one = accountOf(query);
        found->insert(one.account, one);
    });
}

bool readProductAccounts(const MarketStore& store, const QString& user, const QString& product,
                         QVector<ReportAccount>* found, QString* productName) {
    const QString sql = QStringLiteral(
                            "SELECT t.trading_account, t.name, t.fund_account_type, p.name"
                            " FROM product p JOIN asset_account a"
                            " ON a.product_account = p.product_account"
                            " JOIN trading_account t ON t.asset_account = a.asset_account") +
                        kOfUser + QStringLiteral(" WHERE p.product_account = ? ORDER BY t.seq");
    return store.select(sql, {user, product}, [&](const QSqlQuery& query) {
        found->append(accountOf(query));
        *productName = query.value(3).toString();
    });
}
