#include "linkage_events.h"

#include "log.h"

int LinkageEvents::GetLinkageEventID(const QString& msgType) {
    {
        const auto tables = m_linkageLock.read();
        const auto known = tables->m_linkageEventMap.constFind(msgType);
        if (known != tables->m_linkageEventMap.cend()) {
            return *known;
        }
    }
    int id = 0;
    {
        const auto tables = m_linkageLock.write();
        // Another first caller may have come between the two locks.
        const auto known = tables->m_linkageEventMap.constFind(msgType);
        if (known != tables->m_linkageEventMap.cend()) {
            return *known;
        }
        id = firstId + tables->m_linkageEventMap.size();
        tables->m_linkageEventMap.insert(msgType, id);
    }
    qCInfo(lcMonitor) << "ZnBusinessDataManager::GetLinkageEventID"
                      << " new linkage type generated, msg type:" << msgType << ", id:" << id;
    return id;
}
