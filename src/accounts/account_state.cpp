#include "account_state.h"

#include <QThread>

#include "account_rows.h"
#include "log.h"
#include "zncore/zn_core.h"

void AccountOrder::assign(const QStringList& orderList) {
    m_accountOrderList = orderList;
    m_places.clear();
    m_places.reserve(orderList.size());
    for (int place = 0; place < orderList.size(); ++place) {
        // An account that is listed twice has its first place.
        if (!m_places.contains(orderList.at(place))) {
            m_places.insert(orderList.at(place), place);
        }
    }
}

void AccountState::blockCheckFundInited(const std::function<bool()>& isGivenUp) const {
    while (!m_fundAccountInited) {
        if (ZnCore::instance()->isClosing() || (isGivenUp && isGivenUp())) {
            return;
        }
        qCDebug(lcAccounts) << "GetFundAccountList wait for FundAccountInit";
        QThread::msleep(10);
    }
}

std::shared_ptr<const AccountRows> AccountState::accountRows(
    const Guarded<AccountTables>::ReadHandle& tables) const {
    const auto order = m_accountOrderLock.read();
    // Held while the rows are built, so that others wait for them instead of building them too.
    const auto cache = m_accountRowsLock.lock();
    if (!cache->rows || cache->tablesRevision != tables.revision() ||
        cache->orderRevision != order.revision()) {
        cache->rows = std::make_shared<const AccountRows>(*tables, *order);
        cache->tablesRevision = tables.revision();
        cache->orderRevision = order.revision();
    }
    return cache->rows;
}
