#pragma once

#include <QString>
#include <QVariant>

#include "platform_export.h"

/// A message of the event bus between plug-ins. Allocated on the heap and passed to
/// ZnPresenterClass::PutEvent, which takes the ownership. Not shared by threads.
class PLATFORM_API CEventMessageCommon {
public:
    CEventMessageCommon();
    virtual ~CEventMessageCommon();
    Q_DISABLE_COPY(CEventMessageCommon)

    /// The body: a packed body, a record, a list or a text, as the event's readers expect.
    void SetMsg(QVariant msg);
    /// The event id, an integer.
    void SetType(QVariant type);
    /// The publisher: its pluginPid().
    void SetSrcid(QString srcId);
    /// The only plug-in that gets the event; empty means every subscriber.
    void SetDstid(QString dstId);

    QVariant GetMsg() const;
    QVariant GetType() const;
    QString GetSrcid() const;
    QString GetDstid() const;

private:
    QVariant m_msg;
    QVariant m_type;
    QString m_srcId;
    QString m_dstId;
};
