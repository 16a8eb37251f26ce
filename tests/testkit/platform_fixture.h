#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <QtTest>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "scripted_link.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "wait_for.h"
#include "znevent/c_event_message_common.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

/// A started platform over a scripted link, closed at the end.
class PlatformFixture {
public:
    /// `change` may set other options than the standing ones.
    explicit PlatformFixture(const std::function<void(LocalPlatform::Options&)>& change = {}) {
        QString error;
        LocalPlatform::Options options = m_home.options();
        if (change) {
            change(options);
        }
        if (!LocalPlatform::instance().start(options, &error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
        auto scripted = std::make_unique<ScriptedLink>();
        link = scripted.get();
        LocalPlatform::instance().setLink(std::move(scripted), nullptr);
    }
    ~PlatformFixture() { LocalPlatform::instance().close(); }

    ScriptedLink* link = nullptr;  // owned by the platform

private:
    TempHome m_home;
};

/// The calls that a presenter received. Outlives the presenter, so that a test may read it later.
class ProbeLog {
public:
    enum class Kind { Push, Event, Other, Response };
    struct Call {
        Kind kind;
        QString first;        ///< first argument of the call
        QString clientMsgId;  ///< of a response
        QVariant type;
        QVariant body;
        std::thread::id thread;
    };

    void add(const Call& call) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
    }
    std::vector<Call> calls() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }
    int count() const { return static_cast<int>(calls().size()); }
    bool waitForCount(int wanted) const {
        return waitFor([&] { return count() >= wanted; });
    }
    QVariantList bodies() const {
        QVariantList bodies;
        for (const Call& call : calls()) {
            bodies.append(call.body);
        }
        return bodies;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Call> m_calls;
};

/// Records the calls that it receives; `onCall` runs after each record, on the message thread.
class ProbePresenter : public ZnPresenterClass {
public:
    explicit ProbePresenter(const QString& name = QStringLiteral("Test.Probe"),
                            std::function<void(const ProbeLog::Call&)> onCall = {})
        : ZnPresenterClass(name, nullptr, IMessageInterface::OwnThreads),
          log(std::make_shared<ProbeLog>()),
          m_onCall(std::move(onCall)) {}

    void ProcSubMsg(QString pid, QVariant type, QVariant body) override {
        record({ProbeLog::Kind::Push, pid, {}, type, body, std::this_thread::get_id()});
    }
    void ProcEventMsg(QString source, QVariant id, QVariant body) override {
        record({ProbeLog::Kind::Event, source, {}, id, body, std::this_thread::get_id()});
    }
    void ProcOtherMsg(QString first, QVariant type, QVariant body) override {
        record({ProbeLog::Kind::Other, first, {}, type, body, std::this_thread::get_id()});
    }
    void ProcResponseMsg(QString pid, QString clientMsgId, QVariant type, QVariant body) override {
        record(
            {ProbeLog::Kind::Response, pid, clientMsgId, type, body, std::this_thread::get_id()});
    }

    const std::shared_ptr<ProbeLog> log;

private:
    void record(const ProbeLog::Call& call) {
        log->add(call);
        if (m_onCall) {
            m_onCall(call);
        }
    }

    const std::function<void(const ProbeLog::Call&)> m_onCall;
};

inline CMessageCommon* makeMessage(ZnPresenterClass* sender, const QString& type,
                                   const QVariantMap& fields = {}) {
    CPackMessageCommon packer;
    packer.AddRowVaule(fields);
    packer.AddVaule(System::msgType, type);
    auto* const message = new CMessageCommon;
    message->SetSrcid(sender->pluginPid());
    message->SetType(type);
    message->SetMsg(packer.GetPackedMsg(false));
    return message;
}

inline CEventMessageCommon* makeEvent(const QVariant& id, const QVariant& body,
                                      const QString& destination = {}) {
    auto* const event = new CEventMessageCommon;
    event->SetType(id);
    event->SetMsg(body);
    event->SetDstid(destination);
    return event;
}

inline QString textOf(const QVariant& body) {
    return headerOf(body).value(System::textDescription).toString();
}
