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

/// A link around another one that applies the faults of a plan to requests. Every accepted request
/// gets one outcome, except after a silent time-out, which gives none; a duplicate or late answer
/// comes in addition. Requests under way when it stops fail.
///
/// Requests with a time-out, failure, refusal, garbage or disconnect fault do not reach the link
/// below; the other faults change the answer. While this link holds the trade gate down, every
/// request fails. HostMsgType::control is answered here.
class FaultyLink : public GatewayLink, private GatewayLinkListener {
public:
    FaultyLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<FaultPlan> plan);
    /// Calls stop().
    ~FaultyLink() override;
    Q_DISABLE_COPY(FaultyLink)

    bool start(GatewayLinkListener* listener, QString* error) override;
    /// Must not be called by the listener.
    void stop() override;
    bool send(const GatewayRequest& request) override;

    void loseGate(const QString& gate) override { m_below->loseGate(gate); }

    /// Reports a gate's state as a server would. A state other than CONNECTED holds, whatever the
    /// link below reports, until CONNECTED is set here; the gate then gets the state that the link
    /// below reported last, CONNECTED by default. With such a state the link below loses the gate,
    /// before it is reported. Any thread; no effect while the link is stopped.
    void setGate(const QString& gate, const QString& netState);

    /// The number of requests whose answers it waits for or holds back, and of other queued reports
    /// to the listener. A silent time-out does not count. Any thread.
    int openCount() const;

private:
    using Clock = std::chrono::steady_clock;
    using Report = std::function<void(GatewayLinkListener&)>;

    /// A call of the listener that is due at some time.
    struct Due {
        quint64 envelopeId = 0;  ///< the request that it ends; 0 when it ends none
        Report report;
    };
    /// Answers that are held until there are enough of them.
    struct Group {
        int wanted = 0;
        quint64 number = 0;  ///< differs from that of a later group with the same key
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
    bool postOutcome(quint64 envelopeId, int afterMs, Report report);
    bool postAnswer(const Fault& fault, qint64 afterMs, const Due& answer);

    /// Removes and returns the fault that waits for the answer, if there is one.
    std::optional<Fault> takeChanged(quint64 envelopeId);
    void postLocked(qint64 afterMs, Due due);
    void setGateLocked(const QString& gate, const QString& netState);
    bool disconnect(quint64 envelopeId, const Fault& fault);
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
        m_mutex;  // guards what follows; not held while a link or the listener is called
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
    QHash<QString, QString> m_gatesBelow;  // last reports of the link below
};
