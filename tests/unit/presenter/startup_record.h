#pragma once

#include <QLoggingCategory>
#include <QtTest>
#include <thread>

#include "client_world.h"
#include "core.h"
#include "first_load.h"
#include "host_msg_type.h"
#include "local_platform.h"
#include "log_capture.h"
#include "thread_hand_over.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

// Plays a start-up of the plug-in and keeps what each thread did: its requests, subscriptions and
// events from the platform's traffic log, between the plug-in's own log lines.

/// For waits that end at once on an idle machine.
inline constexpr int kLongMs = 120000;

inline QString eventText(int id) {
    return QStringLiteral("0x") + QString::number(id, 16).toUpper();
}
inline QString subscribes(int event) {
    return "subscribes to event " + eventText(event);
}
inline QString subscribes(const QString& event) {
    return subscribes(VelmarUtils::GetTorviEventMsgIdByStr(event));
}
inline QString publishes(const QString& event) {
    return "publishes event " + eventText(VelmarUtils::GetTorviEventMsgIdByStr(event));
}

/// Compares recorded lines with the beginnings of the expected ones; what the plug-in sends,
/// publishes and subscribes to must be the same as a whole.
inline void compare(const QStringList& recorded, const QStringList& expected) {
    for (int i = 0; i < qMax(recorded.size(), expected.size()); ++i) {
        const QString got = recorded.value(i);
        const QString wanted = expected.value(i);
        const bool isTraffic = wanted.startsWith("sends ") || wanted.startsWith("publishes ") ||
                               wanted.startsWith("subscribes ");
        const bool isSame = isTraffic || wanted.isEmpty() ? got == wanted : got.startsWith(wanted);
        QVERIFY2(
            isSame,
            qPrintable(QString("line %1 is \"%2\" instead of \"%3\"").arg(i + 1).arg(got, wanted)));
    }
}

class StartupRecord {
public:
    explicit StartupRecord(const StaticDbBuilder& staticData = {})
        : m_world(numberedAccounts(1), staticData) {
        QLoggingCategory::setFilterRules(QStringLiteral("velmar.platform.traffic.debug=true"));
    }

    ClientWorld& world() { return m_world; }
    const LogCapture& log() const { return m_log; }

    /// The user logs in, the plug-in starts, and the accounts come. Returns when the start-up has
    /// ended and every thread has done what it led to.
    void play() {
        QString error;
        QVERIFY2(LocalPlatform::instance().loginUser("tester", "secret", &error),
                 qPrintable(error));
        m_log.clear();
        m_world.link().clearRequests();
        InitVelmarBusinessManagePlugin();
        VelmarBusinessDataManagerPresenterClass* const presenter = s_presenter;
        // Behind the start-up and before whatever the other threads queue meanwhile.
        runOnThreadOf(presenter, [this] { end(); });
        QVERIFY(m_log.waitFor("userAccountDataInited check not ready !!!!!!!!!!", kLongMs));
        QVERIFY2(LocalPlatform::instance().loadAccountTree(&error), qPrintable(error));
        QVERIFY(m_log.waitFor(kAllEnd, kLongMs));
        runQueued();
        QVERIFY(m_log.waitFor("VelmarBusiMsgDataBase::run", kLongMs));
    }

    static std::thread::id startingThread() { return std::this_thread::get_id(); }
    std::thread::id objectThread() const { return threadOf(kObjectThreadEnd); }
    std::thread::id messageThread() const { return threadOf(kMessageThreadEnd); }

    /// What a thread did until its part of the start-up had ended.
    QStringList linesOf(std::thread::id thread) const {
        return linesIf([thread](std::thread::id one) { return one == thread; });
    }
    /// The same of all other threads together.
    QStringList linesOfOthers() const {
        return linesIf([this](std::thread::id one) {
            return one != startingThread() && one != objectThread() && one != messageThread();
        });
    }

    /// The requests of the start-up as they reached the server, written like those of linesOf().
    QStringList requestsAtTheServer() const {
        QStringList lines;
        for (const ScriptedLink::Request& request : m_requests) {
            if (request.type == HostMsgType::accountTree) {
                continue;
            }
            lines.append(
                "sends " + request.envelopeType +
                (request.type == request.envelopeType ? QString() : " with " + request.type));
        }
        return lines;
    }

    /// The items of client information that reach the server, as "type value", in their order,
    /// without the number of threads, which follows every minute. Waits until there are `count`.
    QStringList clientInfo(int count) {
        core().UploadAllClientInfo();
        QStringList items;
        waitFor(
            [&] {
                items.clear();
                for (const auto& batch :
                     m_world.link().requests(Velmar_MsgType::ClientInfoUploadRequest)) {
                    for (const QVariantMap& item : batch.rows) {
                        if (item.value(System::itemType) == ClinetInfoUpload::ClientThreadNum) {
                            continue;
                        }
                        items.append(item.value(System::itemType).toString() + ' ' +
                                     item.value(System::itemValue).toString());
                    }
                }
                return items.size() >= count;
            },
            kLongMs);
        return items;
    }

private:
    static constexpr const char* kObjectThreadEnd = "the start-up has ended";
    static constexpr const char* kMessageThreadEnd = "event 0x31002 ignored";
    static constexpr const char* kAllEnd = "no thread has anything left to do";

    /// On the object thread, whose timers cannot fire meanwhile: lets the message thread do what
    /// the answers lead to.
    void end() {
        m_requests = m_world.link().requests();
        qDebug() << kObjectThreadEnd;
        m_world.link().waitUntilIdle(kLongMs);
        LocalPlatform::instance().publishEvent(0x31002, QVariant());  // behind the answers
        m_log.waitFor(kMessageThreadEnd, kLongMs);
        qDebug() << kAllEnd;
    }

    /// Runs what is queued for this thread so far.
    static void runQueued() {
        bool isOver = false;
        QObject context;
        QMetaObject::invokeMethod(
            &context, [&isOver] { isOver = true; }, Qt::QueuedConnection);
        QVERIFY(waitFor([&isOver] { return isOver; }, kLongMs));
    }

    std::thread::id threadOf(const QString& part) const {
        for (const LogCapture::Line& line : m_log.lines()) {
            if (line.text.contains(part)) {
                return line.thread;
            }
        }
        return {};
    }

    template <class Predicate>
    QStringList linesIf(Predicate isWanted) const {
        QStringList lines;
        for (const LogCapture::Line& line : m_log.lines()) {
            if (!isWanted(line.thread)) {
                continue;
            }
            if (line.text.contains(kObjectThreadEnd) || line.text.contains(kMessageThreadEnd)) {
                break;
            }
            const QString text = textOf(line);
            // How often the start-up polls for the accounts is open.
            if (!text.isEmpty() &&
                !(text.startsWith("userAccountDataInited") && lines.value(0) == text)) {
                lines.append(text);
            }
        }
        return lines;
    }

    /// A line of the plug-in as it is, its traffic without its id; empty for a line of the host.
    static QString textOf(const LogCapture::Line& line) {
        static const QString source = QStringLiteral("ZNApp.VelmarBusinessDataManager ");
        if (line.category == "velmar.platform.traffic") {
            return line.text.startsWith(source) ? line.text.mid(source.size()) : QString();
        }
        const bool isOwn =
            line.category.startsWith("velmar.") && !line.category.startsWith("velmar.platform.");
        return isOwn ? line.text : QString();
    }

    QList<ScriptedLink::Request> m_requests;  // written before the end of all is logged
    LogCapture m_log;
    ClientWorld m_world;  // destroyed first: it ends the threads that use the others
};
