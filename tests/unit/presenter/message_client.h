#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "client_world.h"
#include "log_capture.h"
#include "message_flow.h"
#include "run_on_thread.h"
#include "velmar_business_data_manager.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

/// A message with a text and a type, and with what is given beyond these.
inline QVariantMap notice(const QString& text, const QVariantMap& more = {}) {
    QVariantMap fields{
        {System::textDescription, text}, {System::BusiMsgType, "7"}, {System::BusiMsgLevel, "2"}};
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        fields.insert(it.key(), it.value());
    }
    return fields;
}

/// A message as the server sends it.
inline QVariantMap serverRow(const QString& serverId, const QString& position) {
    return notice("服务端" + serverId, {{BusiMsgCenter::ServerMsgId, serverId},
                                        {System::positionStr, position},
                                        {System::createTime, QDateTime::currentMSecsSinceEpoch()}});
}

inline QStringList textsOf(const QList<QVariantMap>& records) {
    QStringList texts;
    for (const QVariantMap& record : records) {
        texts.append(record.value(System::textDescription).toString());
    }
    return texts;
}

/// A client that has started up, with another plug-in's presenter that listens to the events of
/// messages. One in a process.
class MessageClient {
public:
    using Event = RecordingPresenter::Event;

    explicit MessageClient(const StaticDbBuilder& staticData = {})
        : world(numberedAccounts(1), staticData), listener(new RecordingPresenter) {
        for (const QString& name :
             {EventMsgName::BUSI_MSG_UPDATED, EventMsgName::BUSI_MSG_LOADED}) {
            listener->SubEvent(listener->pluginPid(), idOf(name), 1);
        }
        listener->initPresenter();
        world.login();
    }

    /// Starts the plug-in and waits until the catch-up query has ended.
    bool start() {
        object.initialize();
        return waitFor([this] { return events(EventMsgName::BUSI_MSG_LOADED).size() == 1; }) &&
               settle();
    }

    VelmarBusinessDataManagerPresenterClass* presenter() const { return object.presenter(); }
    MessageFlow& messages() const { return ZnBusinessDataManager::instance()->messages(); }

    static int idOf(const QString& event) { return VelmarUtils::GetTorviEventMsgIdByStr(event); }

    QList<Event> events(const QString& name) const {
        QList<Event> found;
        for (const Event& event : listener->events()) {
            if (event.id == idOf(name)) {
                found.append(event);
            }
        }
        return found;
    }
    /// The records of the updates that were announced so far.
    QList<QVariantMap> updates() const {
        QList<QVariantMap> records;
        for (const Event& event : events(EventMsgName::BUSI_MSG_UPDATED)) {
            records.append(headerOf(event.body));
        }
        return records;
    }
    bool waitForUpdates(int count) const {
        return waitFor([this, count] { return updates().size() >= count; });
    }

    void push(const QVariantMap& fields) {
        world.link().push(Velmar_MsgType::MessageCenterPushMsg, packRows(fields, {}));
    }
    /// Publishes a notice as another plug-in does.
    static void notify(const QVariantMap& fields) {
        LocalPlatform::instance().publishEvent(idOf(EventMsgName::BUSI_MSG_ADD),
                                               packRows(fields, {}));
    }
    /// Waits until everything that was sent to the presenters, and what they announced, has been
    /// processed.
    bool settle(const QList<VelmarBusinessDataManagerPresenterClass*>& others = {}) {
        const QString mark = QStringLiteral("mark%1").arg(++m_marks);
        const auto processed = [&] {
            return log.texts(QtInfoMsg).filter("::ProcEventMsg").filter(mark).size() >
                   others.size();
        };
        if (!world.link().waitUntilIdle()) {
            return false;
        }
        constexpr int kSettingsChanged = 0x1000A;
        LocalPlatform::instance().publishEvent(kSettingsChanged, QVariantMap{{mark, 1}});
        if (!waitFor(processed)) {
            return false;
        }
        runOnThreadAndWait(presenter(), [] {});
        for (auto* const other : others) {
            runOnThreadAndWait(other, [] {});
        }
        const int before = events(EventMsgName::BUSI_MSG_LOADED).size();
        LocalPlatform::instance().publishEvent(idOf(EventMsgName::BUSI_MSG_LOADED), {});
        return waitFor([&] { return events(EventMsgName::BUSI_MSG_LOADED).size() > before; });
    }

    const LogCapture log;
    ClientWorld world;
    VelmarBusinessDataManager object;
    RecordingPresenter* const listener;

private:
    int m_marks = 0;
};
