#include "account_state.h"

#include <QThread>

#include "log.h"
#include "priority_rows.h"
#include "zncore/zn_core.h"

void AccountOrder::setList(const QStringList& list) {
    m_accountOrderList = list;
    m_places.clear();
    m_places.reserve(list.size());
    for (int place = 0; place < list.size(); ++place) {
        // An account that stands twice counts by its first place.
        if (!m_places.contains(list.at(place))) {
            m_places.insert(list.at(place), place);
        }
    }
}

void AccountState::blockCheckFundInited() const {
    while (!m_fundAccountInited) {
        if (ZnCore::instance()->isClosing()) {
            return;
        }
        qCDebug(lcAccounts) << "GetFundAccountList wait for FundAccountInit";
        QThread::msleep(10);
    }
}

std::shared_ptr<const PriorityRows> AccountState::priorityRows(
    const Guarded<AccountTables>::ReadHandle& tables) const {
    const auto order = m_accountOrderLock.read();
    // Held while the rows are made: whoever else needs them waits instead of making them too.
    const auto cache = m_priorityRowsLock.lock();
    if (!cache->rows || cache->tablesRevision != tables.revision() ||
        cache->orderRevision != order.revision()) {
        cache->rows = std::make_shared<const PriorityRows>(*tables, *order);
        cache->tablesRevision = tables.revision();
        cache->orderRevision = order.revision();
    }
    return cache->rows;
}
