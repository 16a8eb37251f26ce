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
    const auto order = m_state.m_accountOrderLock.write();
    order->setList(orderList);
    // Under the lock, so that of two orders at once the later one is the one saved.
    ZnCore::instance()->saveSetting(SettingFieldName::AccountListOrder,
                                    orderList.join(QLatin1Char(',')));
    return true;
}

void AccountEdits::SetFundAbbrName(const QMap<QString, QString>& abbrMap) {
    // The load reads the file under this lock too, so no row misses what is written here.
    const auto tables = m_state.m_accountLock.write();
    for (auto it = abbrMap.cbegin(); it != abbrMap.cend(); ++it) {
        const bool known = tables->m_accountInfoMap.contains(it.key());
        if (!known && !m_state.m_fundAccountInited) {
            // A record made now would keep the load's own one out.
            continue;
        }
        tagUserAccountInfo& record = tables->m_accountInfoMap[it.key()];
        record.abbrName = it.value();
        record.accountName =
            record.abbrName.isEmpty() ? record.counterAccountName : record.abbrName;
    }
    m_abbrNames.setAbbrNames(abbrMap);
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
    // They are one fund at the counter.
    for (const QString& account : sharing) {
        const auto other = tables->m_accountInfoMap.find(account);
        if (other != tables->m_accountInfoMap.end()) {
            other->accountName = name;
            other->fundAccountType = fundAccountType;
        }
    }
}
