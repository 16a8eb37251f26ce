#pragma once

#include <QVariantMap>

/// Announces what happens to business messages.
class BusiMsgSink {
public:
    virtual ~BusiMsgSink() = default;

    /// A notice of this client is raised; it is not stored yet. The receiver may change the record.
    /// Returns false when there is no open presenter, which loses it.
    virtual bool busiMsgAdded(QVariantMap& busiMsg) = 0;
    /// A message was marked read. Called with m_busiMsgLock held for writing.
    virtual void busiMsgRead(const QVariantMap& busiMsg) = 0;
};
