#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

/// Where the tasks of a history query put their rows. Any thread, several at once.
class HistoryMerge {
public:
    virtual ~HistoryMerge() = default;

    /// Enters orders or deals, by the message type that they answer; ignores every other type.
    /// Pass rows that nobody else holds, or each one is copied.
    virtual void AssembleHistoryEntrustDealList(const QString& msgType,
                                                QList<QVariantMap> detailList) = 0;
};
