#pragma once

#include <QVariantMap>
#include <functional>

#include "znwidget/zn_presenter_class.h"

/// A presenter of the shell's own that gets the plug-in's announcements about messages. Created
/// with new; disposed of by deleteLater() or by the platform's close().
class MessageListener : public ZnPresenterClass {
    Q_OBJECT

public:
    /// `onMessage` is called on the message thread with the record of each message that arrives or
    /// is marked read.
    explicit MessageListener(std::function<void(const QVariantMap& record)> onMessage);

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

private:
    const std::function<void(const QVariantMap& record)> m_onMessage;
    const int m_updatedEvent;
};
