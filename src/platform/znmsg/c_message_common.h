#pragma once

#include <QString>
#include <QVariant>

#include "platform_export.h"

/// The envelope that goes to the server: source id, message type, packed body.
/// Allocated on the heap. Sending it passes the ownership to the platform. Not shared by threads.
class PLATFORM_API CMessageCommon {
public:
    CMessageCommon();
    virtual ~CMessageCommon();
    Q_DISABLE_COPY(CMessageCommon)

    /// The message type, a text of the vocabulary.
    void SetType(QVariant type);
    /// The sender: always the presenter's pluginPid().
    void SetSrcid(QString srcId);
    /// The packed body, see CPackMessageCommon::GetPackedMsg.
    void SetMsg(QVariant msg);

    QVariant GetType() const;
    QString GetSrcid() const;
    QVariant GetMsg() const;

private:
    QVariant m_type;
    QString m_srcId;
    QVariant m_msg;
};
