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

/// The kind of an authority type; a definition that names none is of the user himself.
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
        qCWarning(lcAccounts) << "no keys are known of accounts of the type" << type;
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
    // Asked before the keys are: the fund accounts come row by row with the account load, and are
    // all there once this is set. The keys of every other kind come with the log-in, at once.
    const bool loaded = m_state.m_fundAccountInited;
    QString kind;
    QStringList keys;
    {
        const auto tables = m_authorityLock.read();
        const auto defined = tables->m_authorityDefineMap.constFind(authType);
        if (defined == tables->m_authorityDefineMap.cend()) {
            return {};
        }
        kind = kindOf(*defined);
        keys = allKeysOfAccountType(kind);
        const auto held = tables->m_userAuthorityMap.constFind(authType);
        if (held != tables->m_userAuthorityMap.cend()) {
            return *held;
        }
    }
    if (!prtClass) {
        qCWarning(lcAccounts) << "GetUserAuthority PresenterClass is null";
        return {};
    }
    // Held across the requests: whoever asks meanwhile waits for their answers, and a second
    // question about the type finds them here. The platform's side never needs this lock.
    const auto tables = m_authorityLock.write();
    const auto held = tables->m_userAuthorityMap.constFind(authType);
    if (held != tables->m_userAuthorityMap.cend()) {
        return *held;
    }
    const QVariantMap authority = queryAuthority(prtClass, authType, kind, keys);
    // Kept even when it is empty, whether no row came or there was nobody to ask about. Not kept is
    // what may lack accounts that nobody was asked about: it would stay so for the whole session.
    const bool whole = !prtClass->isClosing() && (loaded || kind != AccountType::FundAccount);
    if (whole) {
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
            qCWarning(lcAccounts).noquote() << QStringLiteral("查询账号权限超时");
        } else if (!reply.isAnswered()) {
            qCWarning(lcAccounts).noquote()
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
            qCWarning(lcAccounts).noquote()
                << QStringLiteral("尝试设置不存在的authType：%1，请去相应配置文件提前配置")
                       .arg(authType);
            return false;
        }
        kind = kindOf(*defined);
    }
    if (!allKeysOfAccountType(kind).contains(key)) {
        qCWarning(lcAccounts).noquote()
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
        qCWarning(lcAccounts).noquote() << QStringLiteral("用户权限修改超时");
        return false;
    }
    if (!reply.isAnswered()) {
        qCWarning(lcAccounts).noquote()
            << QStringLiteral("用户权限修改失败，失败原因：%1").arg(reply.text);
        return false;
    }
    const auto tables = m_authorityLock.write();
    tables->m_userAuthorityMap[authType].insert(key, value);
    return true;
}
