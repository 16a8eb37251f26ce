#pragma once

#include <QVariantMap>

/// Takes client information items, the records that the client reports about itself.
class ClientInfoSink {
public:
    virtual ~ClientInfoSink() = default;

    /// Fields: System::itemType, itemValue, itemValueEx, operType, timeStamp ("hh:mm:ss.zzz") and
    /// Strategy::logTriggerTime; all of them may be missing. Any thread; does not block.
    virtual void collectClientInfo(const QVariantMap& item) = 0;
};
