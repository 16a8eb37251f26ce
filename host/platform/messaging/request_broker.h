#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "body_size.h"
#include "gateway_link.h"
#include "presenter_channel.h"
#include "request_deadlines.h"

/// The outcome of a request, as the send operations return it.
enum class RequestResult { Answer = 0, TimeOut = 1, Failure = 2 };

/// Hands requests to the link and returns outcomes to their senders. Each request has an envelope
/// id of its own, so that requests pending at the same time never get each other's answers. Any
/// thread.
class RequestBroker : public GatewayLinkListener {
public:
    /// Never destroyed.
    static RequestBroker& instance();

    /// Stops the former link, fails the requests pending on it, starts the new one. Null
    /// disconnects.
    bool setLink(std::unique_ptr<GatewayLink> link, QString* error);

    /// Blocks up to the time-out. `channel` is the sender, null for the host itself. `response`
    /// always gets a body: the answer, or one that describes the failure.
    RequestResult sendSync(const std::shared_ptr<PresenterChannel>& channel,
                           const GatewayRequest& request, QVariant& response);
    /// The answer goes to the channel's queue. One that has no outcome within the presenter's
    /// standing time-out is given up with a log line. False when the request could not be handed
    /// over.
    bool sendAsync(const std::shared_ptr<PresenterChannel>& channel, const GatewayRequest& request);

    void failAll(const QString& reason);
    void failOf(const PresenterChannel* channel, const QString& reason);

    /// Closing refuses every request from here on; it does not fail the pending ones.
    void setClosing(bool closing);
    /// Ends the thread that gives up asynchronous requests; setClosing(false) allows it again.
    void stopDeadlines() { m_deadlines.stop(); }
    /// A body of more bytes than this, as bodySize() counts them, is refused: a request and an
    /// answer fail with a text, a push is dropped with a log line.
    void setBodyLimit(qint64 bytes) { m_bodyLimit = bytes; }
    bool isClosing() const { return m_closing; }
    int pendingCount() const;
    /// The last reported state of a gate; empty before the first report.
    QString gateState(const QString& gate) const;

    void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override;
    void onFailure(quint64 envelopeId, const QString& reason) override;
    void onTimeOut(quint64 envelopeId) override;
    void onPush(const QString& msgType, const QVariant& body) override;
    void onGateState(const QString& gate, const QString& netState) override;

private:
    struct Pending;
    struct Outcome;
    using PendingTable = std::unordered_map<quint64, std::shared_ptr<Pending>>;

    RequestBroker();
    ~RequestBroker() override = default;

    std::shared_ptr<Pending> enter(const std::shared_ptr<PresenterChannel>& channel, bool isSync,
                                   GatewayRequest& request, QString* refusal);
    /// Reports every gate whose state is known as disconnected, since the link was taken down.
    void disconnectGates();
    bool handOver(const GatewayRequest& request, QString* reason);
    /// False, with a text that names the body, when it is above the limit.
    bool fits(const QString& what, const QVariant& body, QString* reason) const;
    void complete(quint64 envelopeId, const Outcome& outcome);
    template <class Predicate>
    void failWhere(Predicate predicate, const QString& reason);
    static void finishAsync(const Pending& pending, const Outcome& outcome);

    std::atomic<bool> m_closing{false};
    std::atomic<quint64> m_lastEnvelopeId{0};
    std::atomic<qint64> m_bodyLimit{kStandingBodyLimit};
    RequestDeadlines m_deadlines;  // locked while m_mutex is held; calls back without a lock

    std::shared_mutex
        m_linkMutex;  // shared while a request is handed over; alone to change the link
    std::unique_ptr<GatewayLink> m_link;

    mutable std::mutex m_mutex;  // guards everything below
    PendingTable m_pending;
    QHash<QString, QString> m_gateStates;
};
