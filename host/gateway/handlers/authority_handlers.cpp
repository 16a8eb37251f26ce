#include <QMap>
#include <QSqlQuery>

#include "handler_families.h"
#include "paged_query.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kStateTable = QStringLiteral("accountAuthority");

bool any(const MarketStore& store, const QString& sql, const QVariantList& values, bool* read) {
    bool found = false;
    *read = store.select(sql, values, [&found](const QSqlQuery&) { found = true; });
    return found;
}

/// The column with the accounts of a kind in the join of seesAccount(); empty for a kind that is
/// not in the tree.
QString columnOf(const QString& kind) {
    static const QMap<QString, QString> columns{
        {AccountType::TradingAccount, QStringLiteral("t.trading_account")},
        {AccountType::AssetAccount, QStringLiteral("a.asset_account")},
        {AccountType::ProductAccount, QStringLiteral("p.product_account")},
        {AccountType::InvestAccount, QStringLiteral("p.investor_account")},
        {AccountType::FundAccount, QStringLiteral("t.fund_account")},
        {AccountType::SecurityAccount, QStringLiteral("s.security_account")},
    };
    return columns.value(kind);
}

/// Whether a user sees an account of a kind.
bool seesAccount(const ServerCall& call, const QString& userId, const QString& kind,
                 const QString& account, bool* read) {
    if (kind == AccountType::UserId) {
        *read = true;
        return account == userId;
    }
    const QString column = columnOf(kind);
    if (column.isEmpty()) {
        *read = true;
        return false;
    }
    const QString sql = QStringLiteral(
                            "SELECT 1 FROM account_authority o"
                            " JOIN trading_account t ON t.trading_account = o.trading_account"
                            " JOIN asset_account a ON a.asset_account = t.asset_account"
                            " JOIN product p ON p.product_account = a.product_account"
                            " LEFT JOIN security_account s ON s.trading_account = t.trading_account"
                            " WHERE o.user_id = ? AND %1 = ? LIMIT 1")
                            .arg(column);
    return any(call.store, sql, {userId, account}, read);
}

/// The fields that reading and changing an authority have in common.
struct AuthorityCall {
    QString userId;
    QString authType;
    QString kind;
    QString account;

    QString stateKey() const {
        return QStringList{userId, authType, account}.join(QLatin1Char('|'));
    }
};

/// Why a field is refused; empty when all of them are valid.
QString readAuthorityCall(const ServerCall& call, AuthorityCall* fields) {
    fields->userId = call.text(UserAccount::userID);
    fields->authType = call.text(UserAccount::authType);
    fields->kind = call.text(UserAccount::accountType);
    fields->account = call.text(UserAccount::account);
    if (!findUser(call.store, fields->userId)) {
        return QStringLiteral("用户%1不存在").arg(fields->userId);
    }
    QString kind;
    bool read = call.store.select(
        QStringLiteral("SELECT account_type FROM authority_type WHERE auth_type = ?"),
        {fields->authType}, [&kind](const QSqlQuery& query) { kind = query.value(0).toString(); });
    if (read && kind.isEmpty()) {
        return QStringLiteral("权限类型%1不存在").arg(fields->authType);
    }
    if (read && kind != fields->kind) {
        return QStringLiteral("权限类型%1不适用于账号类型%2").arg(fields->authType, fields->kind);
    }
    const bool sees = read && seesAccount(call, fields->userId, kind, fields->account, &read);
    if (!read) {
        return HandlerAnswer::storeFailed().refusal;
    }
    return sees ? QString()
                : QStringLiteral("用户%1没有账号%2").arg(fields->userId, fields->account);
}

/// At most one row: the value that a client has written, else the market's own.
HandlerAnswer getAuthority(const ServerCall& call) {
    AuthorityCall fields;
    const QString refusal = readAuthorityCall(call, &fields);
    if (!refusal.isEmpty()) {
        return HandlerAnswer::refused(refusal);
    }
    QVariant value;
    bool read = true;
    if (const auto altered = call.state.record(kStateTable, fields.stateKey())) {
        value = altered->value(UserAccount::authValue);
    } else {
        read = call.store.select(QStringLiteral("SELECT auth_value FROM authority_value"
                                                " WHERE user_id = ? AND auth_type = ?"
                                                " AND account = ?"),
                                 {fields.userId, fields.authType, fields.account},
                                 [&value](const QSqlQuery& query) { value = query.value(0); });
    }
    HandlerAnswer answer;
    if (value.isValid()) {
        answer.rows.append({{UserAccount::userID, fields.userId},
                            {UserAccount::accountType, fields.kind},
                            {UserAccount::account, fields.account},
                            {UserAccount::authType, fields.authType},
                            {UserAccount::authValue, value}});
    }
    return read ? answer : HandlerAnswer::storeFailed();
}

HandlerAnswer alterAuthority(const ServerCall& call) {
    AuthorityCall fields;
    const QString refusal = readAuthorityCall(call, &fields);
    if (!refusal.isEmpty()) {
        return HandlerAnswer::refused(refusal);
    }
    const QString action = call.text(System::alterType);
    if (action != Velmar_Values::AlterType::Add) {
        return HandlerAnswer::refused(QStringLiteral("不支持的修改方式：\"%1\"").arg(action));
    }
    const QVariant value = call.value(UserAccount::authValue);
    if (value.isNull()) {
        return HandlerAnswer::refused(QStringLiteral("权限修改请求缺少权限值"));
    }
    QString error;
    if (!call.state.write(kStateTable, fields.stateKey(), {{UserAccount::authValue, value}},
                          &error)) {
        return HandlerAnswer::refused(QStringLiteral("权限修改未能保存"));
    }
    return {};
}

/// The traders bound to the one account that the request names.
HandlerAnswer boundTraders(const ServerCall& call) {
    static const QList<QPair<QString, QString>> kinds{
        {UserAccount::productAccount, AccountType::ProductAccount},
        {UserAccount::tradingAccount, AccountType::TradingAccount},
        {UserAccount::investorAccount, AccountType::InvestAccount},
    };
    QString account;
    QString kind;
    int named = 0;
    for (const auto& one : kinds) {
        const QString text = call.text(one.first);
        if (!text.isEmpty()) {
            account = text;
            kind = one.second;
            ++named;
        }
    }
    if (named != 1) {
        return HandlerAnswer::refused(
            QStringLiteral("绑定权限查询须指定一个产品、交易或投资者账号，请求了%1个").arg(named));
    }
    static const QMap<QString, QString> tables{
        {AccountType::ProductAccount,
         QStringLiteral("SELECT 1 FROM product WHERE product_account = ?")},
        {AccountType::TradingAccount,
         QStringLiteral("SELECT 1 FROM trading_account WHERE trading_account = ?")},
        {AccountType::InvestAccount,
         QStringLiteral("SELECT 1 FROM investor WHERE investor_account = ?")},
    };
    bool read = true;
    if (!any(call.store, tables.value(kind), {account}, &read)) {
        return read ? HandlerAnswer::refused(QStringLiteral("账号%1不存在").arg(account))
                    : HandlerAnswer::storeFailed();
    }
    static const StoreColumns columns{
        {QStringLiteral("u.user_id"), UserAccount::userID},
        {QStringLiteral("u.user_name"), UserAccount::userName},
        {QStringLiteral("u.user_type"), UserAccount::userType},
    };
    HandlerAnswer answer;
    read = call.store.select(
        QStringLiteral("SELECT %1 FROM trader_binding b JOIN organ_user u USING(user_id)"
                       " WHERE b.account_type = ? AND b.account = ? ORDER BY b.position")
            .arg(columnList(columns)),
        {kind, account},
        [&answer](const QSqlQuery& query) { answer.rows.append(recordOf(query, columns)); });
    return read ? answer : HandlerAnswer::storeFailed();
}

/// The users of an organisation; only those of one state when the request names it.
HandlerAnswer organUsers(const ServerCall& call) {
    using Kind = PagedFilter::Kind;
    static const PagedSource source{
        userColumns(),
        QStringLiteral("organ_user"),
        QStringLiteral("rowid"),
        {{Kind::Equal, UserAccount::organCode, QStringLiteral("organ_code"), true},
         {Kind::Equal, UserAccount::userStatus, QStringLiteral("user_status")}}};
    HandlerAnswer answer = answerPaged(call, source);
    if (!answer.refusal.isEmpty()) {
        answer.refusal.prepend(QStringLiteral("用户查询："));
    }
    return answer;
}

}  // namespace

void addAuthorityHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::getAccountAuthPermRequest, getAuthority);
    handlers.insert(Velmar_MsgType::alterAccountAuthPermRequest, alterAuthority);
    handlers.insert(Velmar_MsgType::getSysUserTradingPermRequest, boundTraders);
    handlers.insert(Quindar_MsgType::quant_GetUserRequest, organUsers);
}
