#pragma once

#include <QMap>
#include <QReadWriteLock>
#include <QString>

#include "guarded.h"

/// Event ids of message types, counted from 136449 in the order of their first use; valid in this
/// run of the process. Any thread. Lock: m_linkageLock.
class LinkageEvents {
public:
    static constexpr int firstId = 136449;

    LinkageEvents() = default;
    Q_DISABLE_COPY(LinkageEvents)

    /// The id of a message type, the same for every caller; an empty text is a type like any other.
    int GetLinkageEventID(const QString& msgType);

private:
    struct Tables {
        QMap<QString, int> m_linkageEventMap;
    };
    Guarded<Tables> m_linkageLock{"m_linkageLock", LockRank::Leaf};
};
