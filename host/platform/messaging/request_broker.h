#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <vector>

#include "body_size.h"
#include "gateway_link.h"
#include "presenter_channel.h"

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
    /// The answer goes to the channel's queue. Nobody waits for it, so the request has no deadline:
    /// it ends by an answer, by a failure or time-out that the link reports, when its gate is
    /// disconnected, or when the presenter or the host closes; without an answer with a log line.
    /// False when the request could not be handed over, and while as many as setMostAsync() allows
    /// are under way.
    bool sendAsync(const std::shared_ptr<PresenterChannel>& channel, const GatewayRequest& request);

    void failAll(const QString& reason);
    /// Fails the synchronous requests alone.
    void failSync(const QString& reason);
    void failOf(const PresenterChannel* channel, const QString& reason);

    /// Enough for days of heartbeats that a silent server never answers.
    static constexpr int kStandingMostAsync = 50000;

    /// Closing refuses every synchronous request from here on; it does not fail the pending ones.
    void setClosing(bool closing);
    /// Refuses asynchronous requests too, until setClosing(false).
    void refuseAsync() { m_refusesAsync = true; }
    bool refusesAsync() const { return m_refusesAsync; }
    /// The id of the newest request so far.
    quint64 lastEnvelopeId() const { return m_lastEnvelopeId; }
    /// Blocks until every asynchronous request after this id has an outcome; false when some have
    /// none by then.
    bool waitForAsync(quint64 afterEnvelopeId, std::chrono::steady_clock::time_point until);
    /// The asynchronous requests that may be under way at once, of all presenters; further ones are
    /// refused, with one log line until half of them have ended.
    void setMostAsync(int requests) { m_mostAsync = requests; }
    /// A body of more bytes than this, as bodySize() counts them, is refused: a request and an
    /// answer fail with a text, a push is dropped with a log line.
    void setBodyLimit(qint64 bytes) { m_bodyLimit = bytes; }
    /// The address of the server, empty without a link.
    QString linkAddress() const;
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
    using PendingList = std::vector<std::shared_ptr<Pending>>;

    RequestBroker();
    ~RequestBroker() override = default;

    std::shared_ptr<Pending> enter(const std::shared_ptr<PresenterChannel>& channel, bool isSync,
                                   GatewayRequest& request, QString* refusal);
    /// Reports every gate whose state is known as disconnected, since the link was taken down.
    void disconnectGates();
    bool handOver(const GatewayRequest& request, qint64 bytes, QString* reason);
    /// False, with a text that names the body, when it is above the limit. `bytes` gets its size.
    bool fits(const QString& what, const QVariant& body, qint64* bytes, QString* reason) const;
    bool mayEnterAsyncLocked(QString* refusal);
    PendingTable::iterator eraseLocked(PendingTable::iterator found);
    void complete(quint64 envelopeId, const Outcome& outcome);
    static void finishSyncLocked(Pending& pending, const Outcome& outcome);
    static void finishAsync(const Pending& pending, const Outcome& outcome);
    template <class Predicate>
    void failWhere(Predicate predicate, const QString& reason);
    static void logUnanswered(const PendingList& unanswered, const QString& reason);

    std::atomic<bool> m_closing{false};
    std::atomic<bool> m_refusesAsync{false};
    std::atomic<quint64> m_lastEnvelopeId{0};
    std::atomic<qint64> m_bodyLimit{kStandingBodyLimit};
    std::atomic<int> m_mostAsync{kStandingMostAsync};

    mutable std::shared_mutex
        m_linkMutex;  // shared while a request is handed over; alone to change the link
    std::unique_ptr<GatewayLink> m_link;

    mutable std::mutex m_mutex;  // guards everything below
    std::condition_variable m_asyncEnded;
    PendingTable m_pending;
    int m_asyncCount = 0;  // those of m_pending on which no caller waits
    bool m_refusalLogged = false;
    QHash<QString, QString> m_gateStates;
};
