#include <QSqlQuery>

#include "handler_families.h"
#include "host_msg_type.h"
#include "paged_query.h"
#include "server_users.h"
#include "vocabulary/fields.h"

namespace {

// This message is older than the others: its keys are numeric tags, its status is a number.
inline const QString kExternalAccounts = QStringLiteral("120006");
inline const QString kQueryKind = QStringLiteral("10094");
constexpr int kKnownQueryKind = 2;
constexpr int kMaxAccounts = 100;

const StoreColumns& externalColumns() {
    static const StoreColumns columns{
        {QStringLiteral("t.trading_account"), UserAccount::tradingAccount},
        {QStringLiteral("fund_account"), QStringLiteral("10081")},
        {QStringLiteral("fund_account_type"), QStringLiteral("10086")},
        {QStringLiteral("counter_account_name"), QStringLiteral("11354")},
        {QStringLiteral("ext_counter_code"), QStringLiteral("10078")},
        {QStringLiteral("client_no"), QStringLiteral("10079")},
        {QStringLiteral("ext_node_no"), QStringLiteral("10083")},
        {QStringLiteral("branch_no"), QStringLiteral("10087")},
        {QStringLiteral("ext_org_code"), QStringLiteral("11352")},
        {QStringLiteral("pass_status"), UserAccount::passStatus},
        {QStringLiteral("otc_fund_account"), UserAccount::OTCFundAccount},
        {QStringLiteral("counter_site_type"), UserAccount::counterSiteType},
        {QStringLiteral("account_status"), UserAccount::accountStatus},
    };
    return columns;
}

/// The counter's side of the requested accounts, in the tree's order. Accounts that do not exist or
/// that the login may not see are missing from the answer.
HandlerAnswer externalAccounts(const ServerCall& call) {
    const QString userId = call.text(UserAccount::loginUserId);
    if (!findUser(call.store, userId)) {
        return HandlerAnswer::refused(QStringLiteral("用户%1不存在").arg(userId));
    }
    if (call.value(kQueryKind).toInt() != kKnownQueryKind) {
        return HandlerAnswer::refused(
            QStringLiteral("不支持的查询类别：%1").arg(call.text(kQueryKind)));
    }
    const QStringList accounts =
        call.text(UserAccount::tradingAccount).split(QLatin1Char(','), Qt::SkipEmptyParts);
    if (accounts.size() > kMaxAccounts) {
        return HandlerAnswer::refused(QStringLiteral("一次最多查询%1个交易账号，请求了%2个")
                                          .arg(kMaxAccounts)
                                          .arg(accounts.size()));
    }
    HandlerAnswer answer;
    answer.successStatus = RequestExeStatus::success.toInt();
    if (accounts.isEmpty()) {
        return answer;
    }
    QVariantList values{userId};
    for (const QString& account : accounts) {
        values.append(account);
    }
    const QString sql =
        QStringLiteral(
            "SELECT %1 FROM trading_account t"
            " JOIN account_authority o ON o.trading_account = t.trading_account AND o.user_id = ?"
            " WHERE t.trading_account IN (%2) ORDER BY t.seq")
            .arg(columnList(externalColumns()), placeholders(accounts.size()));
    const bool read = call.store.select(sql, values, [&answer](const QSqlQuery& query) {
        answer.rows.append(recordOf(query, externalColumns()));
    });
    return read ? answer : HandlerAnswer::storeFailed();
}

const PagedSource& securityAccountSource() {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {
            {QStringLiteral("s.trading_account"), UserAccount::tradingAccount},
            {QStringLiteral("s.security_account"), UserAccount::securityAccount},
            {QStringLiteral("s.exchange"), UserAccount::securityExchange},
            {QStringLiteral("s.is_main"), UserAccount::isMainAccount},
        };
        // A cross join keeps SQLite from walking the tables in another order.
        made.from = QStringLiteral(
            "trading_account t CROSS JOIN account_authority o"
            " ON o.trading_account = t.trading_account AND o.user_id = ?"
            " CROSS JOIN security_account s ON s.trading_account = t.trading_account");
        // No account has nearly a thousand of them.
        made.position = QStringLiteral("(t.seq * 1000 + s.position)");
        made.order = QStringLiteral("t.seq, s.position");
        made.seek = QStringLiteral("t.seq >= ? / 1000");
        made.filters = {{PagedFilter::Kind::OneOf, UserAccount::tradingAccount,
                         QStringLiteral("t.trading_account")}};
        return made;
    }();
    return source;
}

HandlerAnswer securityAccounts(const ServerCall& call) {
    const QString userId = call.text(UserAccount::loginUserId);
    if (!findUser(call.store, userId)) {
        return HandlerAnswer::refused(QStringLiteral("用户%1不存在").arg(userId));
    }
    return answerPaged(call, securityAccountSource(), {userId});
}

}  // namespace

void addAccountHandlers(ServerHandlers& handlers) {
    handlers.insert(HostMsgType::securityAccounts, securityAccounts);
    handlers.insert(kExternalAccounts, externalAccounts);
}
