#pragma once

#include <QHash>
#include <QString>
#include <QVector>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_map>

#include "fault_plan.h"
#include "gateway_link.h"

/// A link over another one that lets requests go wrong as a plan says. Every request that it took
/// gets one outcome, but for a silent time-out, which gets none, and for answers that come twice or
/// late, which come besides. What is under way when it stops fails.
///
/// Time-out, failure, refusal, garbage and disconnect never let the request reach the link below;
/// the others change the way of its answer. While the trade gate is down through this link, every
/// request fails. HostMsgType::control is answered here.
class FaultyLink : public GatewayLink, private GatewayLinkListener {
public:
    FaultyLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<FaultPlan> plan);
    /// Stops.
    ~FaultyLink() override;
    Q_DISABLE_COPY(FaultyLink)

    bool start(GatewayLinkListener* listener, QString* error) override;
    /// Never from inside a call of the listener.
    void stop() override;
    bool send(const GatewayRequest& request) override;

    /// Tells a gate's state as a server would. A gate that is not CONNECTED keeps the state,
    /// whatever the link below says of it, until it is told CONNECTED here; then it has the state
    /// that the link below told last, CONNECTED when it told none. Any thread; nothing happens
    /// while the link is stopped.
    void setGate(const QString& gate, const QString& netState);

    /// What it still has to do: requests whose answers it waits for or holds back, and whatever
    /// else it has to tell. A silent time-out is none of it. Any thread.
    int openCount() const;

private:
    using Clock = std::chrono::steady_clock;
    using Tell = std::function<void(GatewayLinkListener&)>;

    /// Something to be told at a time.
    struct Due {
        quint64 envelopeId = 0;  ///< of an outcome; 0 for what is no outcome
        Tell tell;
    };
    /// Answers that wait for each other.
    struct Group {
        int wanted = 0;
        quint64 number = 0;  ///< tells it from a later one of the same type
        QVector<Due> held;
    };

    void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override;
    void onFailure(quint64 envelopeId, const QString& reason) override;
    void onTimeOut(quint64 envelopeId) override;
    void onPush(const QString& msgType, const QVariant& body) override;
    void onGateState(const QString& gate, const QString& netState) override;

    bool intercept(const GatewayRequest& request, const QString& type, const QVariantMap& header,
                   const Fault& fault);
    bool passOn(const GatewayRequest& request, const Fault& fault);
    bool postOutcome(quint64 envelopeId, int afterMs, Tell tell);
    bool postAnswer(const Fault& fault, qint64 afterMs, const Due& answer);

    /// The fault that waits for an answer, taken out of the table; nothing for an untouched one.
    std::optional<Fault> takeChanged(quint64 envelopeId);
    void postLocked(qint64 afterMs, Due due);
    void setGateLocked(const QString& gate, const QString& netState);
    void disconnectLocked(quint64 envelopeId, const Fault& fault);
    void reconnect(const QString& gate, quint64 number);
    void holdLocked(const Fault& fault, Due due);
    void releaseLocked(const QString& groupKey);
    void run();
    void failRest(GatewayLinkListener& listener);

    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<FaultPlan> m_plan;
    GatewayLinkListener* m_listener = nullptr;  // written before the link below starts
    std::thread m_thread;

    mutable std::mutex
        m_mutex;  // guards what follows; never held while a link or the listener is called
    std::condition_variable m_wake;
    bool m_running = false;
    bool m_ending = false;
    std::multimap<Clock::time_point, Due> m_due;
    std::unordered_map<quint64, Fault> m_changed;  // requests under way below
    QHash<QString, Group> m_groups;                // by the fault's text
    quint64 m_lastGroup = 0;
    QHash<QString, quint64> m_reconnects;  // the last disconnection of a gate, until it is over
    quint64 m_lastReconnect = 0;
    QHash<QString, QString> m_heldGates;   // gates that are not CONNECTED through this link
    QHash<QString, QString> m_gatesBelow;  // what the link below told of its gates
};
