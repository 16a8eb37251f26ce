#include "trader_table.h"

#include "data_query.h"
#include "log.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kTimeOutMs = 30000;

/// The request's field for an account of this kind; empty for other kinds.
QString fieldOf(const QString& accountType) {
    static const QMap<QString, QString> fields{
        {AccountType::ProductAccount, UserAccount::productAccount},
        {AccountType::TradingAccount, UserAccount::tradingAccount},
        {AccountType::InvestAccount, UserAccount::investorAccount},
    };
    return fields.value(accountType);
}

}  // namespace

QStringList TraderTable::GetBindTraderListByAccount(ZnPresenterClass* prtClass,
                                                    const QString& account,
                                                    const QString& accountType) const {
    const QString field = fieldOf(accountType);
    if (field.isEmpty()) {
        qCWarning(lcAccounts) << "GetBindTraderListByAccount does not support the account type"
                              << accountType;
        return {};
    }
    const ServerReply reply =
        sendToServer(prtClass, {Velmar_MsgType::getSysUserTradingPermRequest, {{field, account}}});
    if (reply.outcome == ServerReply::Outcome::TimedOut) {
        qCDebug(lcAccounts).noquote() << QStringLiteral("查询账号绑定权限超时。");
    } else if (!reply.isAnswered()) {
        qCDebug(lcAccounts).noquote() << QStringLiteral("查询账号绑定权限失败：") + reply.text;
    }
    QStringList traders;
    for (const QVariantMap& row : reply.rows) {
        traders.append(row.value(UserAccount::userID).toString());
    }
    traders.removeDuplicates();
    return traders;
}

void TraderTable::loadTraders(ZnPresenterClass* prtClass) {
    if (!prtClass) {
        qCWarning(lcAccounts) << "the traders are not loaded: PresenterClass is null";
        return;
    }
    VelmarInitStateMgr& states = VelmarInitStateMgr::instance();
    if (!states.StartInit(InitTypeCode::AllTraderList)) {
        return;
    }
    const QVariantMap request{
        {UserAccount::organCode,
         CBusinessDataBase::GetInstance()->GetLoginAccountDetail().value(UserAccount::organCode)},
        {UserAccount::userStatus, UserStatus::good}};
    const ServerReply reply =
        queryPages(prtClass, Quindar_MsgType::quant_GetUserRequest, request, kTimeOutMs);
    if (!reply.isAnswered()) {
        qCDebug(lcAccounts).noquote() << "the traders are not loaded:" << reply.text;
        states.FinishInit(InitTypeCode::AllTraderList, false, true);
        return;
    }
    {
        const auto tables = m_traderLock.write();
        for (const QVariantMap& row : reply.rows) {
            tables->m_traderInfoMap.insert(row.value(UserAccount::userID).toString(), row);
        }
    }
    states.FinishInit(InitTypeCode::AllTraderList, true, !reply.rows.isEmpty());
}

QMap<QString, QString> TraderTable::GetOrganTraderList(ZnPresenterClass* prtClass) {
    loadTraders(prtClass);
    if (!VelmarInitStateMgr::instance().IsInited(InitTypeCode::AllTraderList)) {
        return {};
    }
    QMap<QString, QString> names;
    const auto tables = m_traderLock.read();
    const auto& traders = tables->m_traderInfoMap;
    for (auto it = traders.cbegin(); it != traders.cend(); ++it) {
        names.insert(it.key(), it->value(UserAccount::userName).toString());
    }
    return names;
}

QList<QVariantMap> TraderTable::GetTraderInfoList(ZnPresenterClass* prtClass,
                                                  const QString& userType) {
    loadTraders(prtClass);
    QList<QVariantMap> rows;
    const auto tables = m_traderLock.read();
    for (const QVariantMap& row : tables->m_traderInfoMap) {
        if (userType.isEmpty() || row.value(UserAccount::userType).toString() == userType) {
            rows.append(row);
        }
    }
    return rows;
}
