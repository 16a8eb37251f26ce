#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <mutex>

#include "push_subscriptions.h"
#include "run_on_thread.h"
#include "server_item_fixture.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"

inline const QString kType = Quindar_MsgType::subscribeTopicRequest;
inline const QString kTrade = NetGateType::TradeGate;
inline const QString kInfo = NetGateType::InfoGate;
inline const QVariantMap kUser{{"userID", "tester"}};

/// Keeps the retries until the test runs them.
class HandTimedSubscriptions : public PushSubscriptions {
public:
    ~HandTimedSubscriptions() override = default;

    /// The delays of the retries that wait, in order.
    QList<int> delays() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        QList<int> delays;
        for (const Waiting& waiting : m_waiting) {
            delays.append(waiting.delayMs);
        }
        return delays;
    }
    /// Runs the retry that waits longest on its presenter's thread, as a timer does.
    void fireFirst() {
        const Waiting first = takeFirst();
        runOnThreadAndWait(first.presenter, [first] { first.retry(); });
    }
    /// Runs it on the calling thread.
    void fireFirstHere() { takeFirst().retry(); }
    void dropAll() {
        QList<Waiting> dropped;
        const std::lock_guard<std::mutex> guard(m_lock);
        dropped.swap(m_waiting);
    }

protected:
    void startTimer(ZnPresenterClass* presenter, int delayMs,
                    const std::function<void()>& retry) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_waiting.append({presenter, delayMs, retry});
    }

private:
    struct Waiting {
        ZnPresenterClass* presenter = nullptr;
        int delayMs = 0;
        std::function<void()> retry;
    };
    Waiting takeFirst() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_waiting.takeFirst();
    }

    mutable std::mutex m_lock;  // guards the retries
    QList<Waiting> m_waiting;
};

/// A base, since the subscriptions must outlive the presenter.
struct OwnedSubscriptions {
    HandTimedSubscriptions push;
};

struct PushFixture : OwnedSubscriptions, ServerItemFixture {
    PushFixture() { link().on(kType, ScriptedReply::rows({})); }
    ~PushFixture() { push.dropAll(); }

    bool subscribe(const QString& topic, const QVariantMap& content = kUser,
                   const QString& gate = kTrade) {
        return push.SubscribePushMsgFromServer(presenter, topic, content, gate);
    }
};
