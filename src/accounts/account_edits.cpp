#include "account_edits.h"

#include "account_state.h"
#include "fund_abbr_names.h"
#include "log.h"
#include "vocabulary/names.h"
#include "zncore/zn_core.h"

bool AccountEdits::SetAccountOrderList(const QStringList& orderList) {
    {
        const auto tables = m_state.m_accountLock.read();
        qCDebug(lcAccounts) << "ZnBusinessDataManager::SetAccountOrderList" << orderList
                            << tables->m_accountInfoMap.keys();
        if (orderList.size() > tables->m_accountInfoMap.size()) {
            return false;
        }
    }
    // Held for both steps, so that of two orders at once the file and the table keep the same one.
    const std::lock_guard<std::mutex> save(m_state.m_saveLock);
    ZnCore::instance()->saveSetting(SettingFieldName::AccountListOrder,
                                    orderList.join(QLatin1Char(',')));
    const auto order = m_state.m_accountOrderLock.write();
    order->assign(orderList);
    return true;
}

void AccountEdits::SetFundAbbrName(const QMap<QString, QString>& abbrMap) {
    // The load publishes a row under this lock too: it either reads the new name from the file, or
    // its row is in the table by the time the name is set there.
    const std::lock_guard<std::mutex> save(m_state.m_saveLock);
    m_abbrNames.setAbbrNames(abbrMap);
    const auto tables = m_state.m_accountLock.write();
    for (auto it = abbrMap.cbegin(); it != abbrMap.cend(); ++it) {
        const bool known = tables->m_accountInfoMap.contains(it.key());
        if (!known && !m_state.m_fundAccountInited) {
            // A record entered now would keep the load from entering the account's own one.
            continue;
        }
        tagUserAccountInfo& record = tables->m_accountInfoMap[it.key()];
        record.tradingAccount = it.key();
        record.abbrName = it.value();
        record.accountName =
            record.abbrName.isEmpty() ? record.counterAccountName : record.abbrName;
    }
}

void AccountEdits::UpdateFundAccountInfo(const QString& tradingAccount, const QString& name,
                                         const QString& fundAccountType) {
    const auto tables = m_state.m_accountLock.write();
    qCDebug(lcAccounts) << "ZnBusinessDataManager::UpdateFundAccountInfo"
                        << " detected";
    const auto found = tables->m_accountInfoMap.find(tradingAccount);
    if (found == tables->m_accountInfoMap.end()) {
        return;
    }
    found->accountName = name;
    found->fundAccountType = fundAccountType;
    const QStringList sharing = tables->m_fundAccounts.value(found->fundAccount);
    if (sharing.size() <= 1) {
        return;
    }
    // At the counter they are one fund.
    for (const QString& account : sharing) {
        const auto other = tables->m_accountInfoMap.find(account);
        if (other != tables->m_accountInfoMap.end()) {
            other->accountName = name;
            other->fundAccountType = fundAccountType;
        }
    }
}
