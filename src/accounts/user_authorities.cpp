#include "user_authorities.h"

#include <functional>

#include "account_state.h"
#include "log.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"
#include "znwidget/zn_presenter_class.h"

namespace {

const CBusinessDataBase& businessData() {
    return *CBusinessDataBase::GetInstance();
}

QStringList tradableAccounts() {
    return businessData().GetTradeAccountList({AuthorityType::AccountTrade});
}

QStringList securityAccounts() {
    QStringList accounts;
    for (const QString& tradingAccount : tradableAccounts()) {
        const QList<QVariantMap> rows =
            businessData().GetSecurityAccountListByTradeAccount(tradingAccount, QString());
        for (const QVariantMap& row : rows) {
            accounts.append(row.value(UserAccount::securityAccount).toString());
        }
    }
    return accounts;
}

/// The account kind of an authority type; a definition without a kind applies to the user.
QString kindOf(const QString& defined) {
    return defined.isEmpty() ? AccountType::UserId : defined;
}

}  // namespace

QStringList UserAuthorities::allKeysOfAccountType(const QString& type) const {
    using Keys = std::function<QStringList(const AccountState&)>;
    static const QMap<QString, Keys> kinds{
        {AccountType::UserId,
         [](const AccountState&) { return QStringList{businessData().GetLoginAccount()}; }},
        {AccountType::TradingAccount, [](const AccountState&) { return tradableAccounts(); }},
        {AccountType::InvestAccount,
         [](const AccountState&) { return businessData().GetInvestorAccountList(); }},
        {AccountType::ProductAccount,
         [](const AccountState&) { return businessData().GetProductAccountList(); }},
        {AccountType::AssetAccount,
         [](const AccountState&) { return businessData().GetAssetAccountList(); }},
        {AccountType::FundAccount,
         [](const AccountState& state) {
             const auto tables = state.m_accountLock.read();
             return QStringList(tables->m_fundAccounts.keys());
         }},
        {AccountType::SecurityAccount, [](const AccountState&) { return securityAccounts(); }},
        {AccountType::ExternUserAccount, [](const AccountState&) { return QStringList(); }},
    };
    const auto found = kinds.constFind(type);
    if (found == kinds.cend()) {
        qCWarning(lcAccounts) << "no keys for the account type" << type;
        return {};
    }
    return (*found)(m_state);
}

void UserAuthorities::loadDefinitions() {
    {
        const auto tables = m_authorityLock.read();
        if (!tables->m_authorityDefineMap.isEmpty()) {
            return;
        }
    }
    const auto tables = m_authorityLock.write();
    tables->m_authorityDefineMap =
        CDataBase::GetInstance()->GetStaticValuesBySection(UserAccount::authType);
}

QVariantMap UserAuthorities::GetUserAuthority(ZnPresenterClass* prtClass, const QString& authType) {
    loadDefinitions();
    QString kind;
    {
        const auto tables = m_authorityLock.read();
        const auto defined = tables->m_authorityDefineMap.constFind(authType);
        if (defined == tables->m_authorityDefineMap.cend()) {
            return {};
        }
        const auto kept = tables->m_userAuthorityMap.constFind(authType);
        if (kept != tables->m_userAuthorityMap.cend()) {
            return *kept;
        }
        kind = kindOf(*defined);
    }
    if (!prtClass) {
        qCWarning(lcAccounts) << "GetUserAuthority PresenterClass is null";
        return {};
    }
    // Read before the keys: the account load adds fund accounts row by row, and the list is
    // complete once this flag is set. The keys of every other kind are complete after the log-in.
    const bool loaded = m_state.m_fundAccountInited;
    const QStringList keys = allKeysOfAccountType(kind);
    qCDebug(lcAccounts) << "GetUserAuthority queries" << authType << "for" << keys.size() << "keys";
    // Held across the requests: other callers wait for the answers, and a second call for the type
    // finds them here. The platform never needs this lock.
    const auto tables = m_authorityLock.write();
    const auto kept = tables->m_userAuthorityMap.constFind(authType);
    if (kept != tables->m_userAuthorityMap.cend()) {
        return *kept;
    }
    const QVariantMap authority = queryAuthority(prtClass, authType, kind, keys);
    // An empty result is kept too. A result that may lack accounts because they were not queried is
    // not, since it would stay for the whole session.
    const bool complete = !prtClass->isClosing() && (loaded || kind != AccountType::FundAccount);
    if (complete) {
        tables->m_userAuthorityMap.insert(authType, authority);
    }
    return authority;
}

QVariantMap UserAuthorities::queryAuthority(ZnPresenterClass* prtClass, const QString& authType,
                                            const QString& kind, const QStringList& keys) {
    ServerRequest request;
    request.msgType = Velmar_MsgType::getAccountAuthPermRequest;
    request.fields = {{UserAccount::userID, businessData().GetLoginAccount()},
                      {UserAccount::accountType, kind},
                      {UserAccount::authType, authType}};
    request.send = SendKind::SyncBlock;
    QVariantMap authority;
    for (const QString& key : keys) {
        request.fields.insert(UserAccount::account, key);
        const ServerReply reply = sendToServer(prtClass, request);
        if (reply.outcome == ServerReply::Outcome::TimedOut) {
            qCDebug(lcAccounts).noquote() << QStringLiteral("查询账号权限超时");
        } else if (!reply.isAnswered()) {
            qCDebug(lcAccounts).noquote()
                << QStringLiteral("查询账号权限失败，原因：%1").arg(reply.text);
        }
        for (const QVariantMap& row : reply.rows) {
            authority.insert(row.value(UserAccount::account).toString(),
                             row.value(UserAccount::authValue));
        }
        if (prtClass->isClosing()) {
            break;
        }
    }
    return authority;
}

bool UserAuthorities::SetUserAuthority(ZnPresenterClass* prtClass, const QString& authType,
                                       const QString& key, const QVariant& value) {
    loadDefinitions();
    QString kind;
    {
        const auto tables = m_authorityLock.read();
        const auto defined = tables->m_authorityDefineMap.constFind(authType);
        if (defined == tables->m_authorityDefineMap.cend()) {
            qCDebug(lcAccounts).noquote()
                << QStringLiteral("尝试设置不存在的authType：%1，请去相应配置文件提前配置")
                       .arg(authType);
            return false;
        }
        kind = kindOf(*defined);
    }
    if (!allKeysOfAccountType(kind).contains(key)) {
        qCDebug(lcAccounts).noquote()
            << QStringLiteral("当前authType：%1，不支持传入的key：%2").arg(authType, key);
        return false;
    }
    ServerRequest request;
    request.msgType = Velmar_MsgType::alterAccountAuthPermRequest;
    request.fields = {{UserAccount::userID, businessData().GetLoginAccount()},
                      {UserAccount::accountType, kind},
                      {UserAccount::account, key},
                      {UserAccount::authType, authType},
                      {UserAccount::authValue, value},
                      {System::alterType, Velmar_Values::AlterType::Add}};
    request.answer = AnswerForm::NamedStatus;
    const ServerReply reply = sendToServer(prtClass, request);
    if (reply.outcome == ServerReply::Outcome::TimedOut) {
        qCDebug(lcAccounts).noquote() << QStringLiteral("用户权限修改超时");
        return false;
    }
    if (!reply.isAnswered()) {
        qCDebug(lcAccounts).noquote()
            << QStringLiteral("用户权限修改失败，失败原因：%1").arg(reply.text);
        return false;
    }
    const auto tables = m_authorityLock.write();
    tables->m_userAuthorityMap[authType].insert(key, value);
    return true;
}
