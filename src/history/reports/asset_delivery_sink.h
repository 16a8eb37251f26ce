#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

/// Where the tasks of a delivery query put what they fetched. Any thread, several at once.
class AssetDeliverySink {
public:
    virtual ~AssetDeliverySink() = default;

    /// `request` is the task's request with its dates; `reqExeStatus` success, the time-out status
    /// or the server's text.
    virtual void QueryAssetDileveryResponse(const QString& msgType, const QVariantMap& request,
                                            const QString& reqExeStatus,
                                            const QList<QVariantMap>& response) = 0;
};
