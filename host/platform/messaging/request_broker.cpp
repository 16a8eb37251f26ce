#include "request_broker.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "envelope_gate.h"
#include "event_bus.h"
#include "gate_events.h"
#include "message_log.h"
#include "message_totals.h"
#include "never_destroyed.h"
#include "packed_body.h"
#include "row_count.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"

namespace {

/// The request for the log: its type, and that of the body where it differs.
QString textOf(const GatewayRequest& request) {
    const QString ownType =
        request.body.toList().value(0).toMap().value(System::msgType).toString();
    return ownType.isEmpty() || ownType == request.msgType
               ? request.msgType
               : QStringLiteral("%1 with %2").arg(request.msgType, ownType);
}

}  // namespace

struct RequestBroker::Outcome {
    RequestResult result = RequestResult::Failure;
    QString msgType;
    QVariant body;     ///< the answer, or a body that describes the failure
    qint64 bytes = 0;  ///< size of an answer

    static Outcome failure(const QString& reason) {
        return {RequestResult::Failure, {}, makeErrorBody(reason)};
    }
    static Outcome timeOut() {
        return {RequestResult::TimeOut, {}, makeErrorBody(QStringLiteral("the request timed out"))};
    }
};

struct RequestBroker::Pending {
    std::shared_ptr<PresenterChannel> channel;  // null for the host
    bool isSync = true;
    QString msgType;
    qint64 bytes = 0;  // size of the request
    bool done = false;
    Outcome outcome;
    std::condition_variable ready;
};

RequestBroker& RequestBroker::instance() {
    return neverDestroyed([] { return new RequestBroker; });
}

RequestBroker::RequestBroker() = default;

void RequestBroker::setClosing(bool closing) {
    m_closing = closing;
    if (!closing) {
        m_refusesAsync = false;
    }
}

bool RequestBroker::setLink(std::unique_ptr<GatewayLink> link, QString* error) {
    std::unique_ptr<GatewayLink> before;
    {
        const std::lock_guard<std::shared_mutex> lock(m_linkMutex);
        before.swap(m_link);
    }
    if (before) {
        before->stop();
        failAll(QStringLiteral("the link to the server was taken down"));
        before.reset();
        disconnectGates();
    }
    if (!link) {
        return true;
    }
    // Held during the start: a request sent in reply to the link's first report waits here until it
    // can be handed over.
    const std::lock_guard<std::shared_mutex> lock(m_linkMutex);
    QString why;
    if (!link->start(this, &why)) {
        qCWarning(lcRequest) << "the link to the server does not start:" << why;
        if (error) {
            *error = why;
        }
        return false;
    }
    m_link = std::move(link);
    return true;
}

void RequestBroker::disconnectGates() {
    QStringList gates;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (auto it = m_gateStates.cbegin(); it != m_gateStates.cend(); ++it) {
            if (it.value() != NET_STATE::NOCONNECT) {
                gates.append(it.key());
            }
        }
    }
    for (const QString& gate : gates) {
        onGateState(gate, NET_STATE::NOCONNECT);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_gateStates.clear();
}

RequestResult RequestBroker::sendSync(const std::shared_ptr<PresenterChannel>& channel,
                                      const GatewayRequest& request, QVariant& response) {
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(request.timeOutMs);
    GatewayRequest sent = request;
    QString reason;
    const std::shared_ptr<Pending> pending = enter(channel, true, sent, &reason);
    if (!pending) {
        response = makeErrorBody(reason);
        return RequestResult::Failure;
    }
    if (!handOver(sent, pending->bytes, &reason)) {
        complete(sent.envelopeId, Outcome::failure(reason));
    }
    Outcome outcome;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!pending->ready.wait_until(lock, deadline, [&pending] { return pending->done; })) {
            m_pending.erase(sent.envelopeId);
            pending->outcome = Outcome::timeOut();
        }
        outcome = std::move(pending->outcome);
    }
    response = outcome.body;
    return outcome.result;
}

bool RequestBroker::sendAsync(const std::shared_ptr<PresenterChannel>& channel,
                              const GatewayRequest& request) {
    GatewayRequest sent = request;
    QString reason;
    const std::shared_ptr<Pending> pending = enter(channel, false, sent, &reason);
    if (pending && handOver(sent, pending->bytes, &reason)) {
        return true;
    }
    if (pending) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_pending.find(sent.envelopeId);
        if (found != m_pending.end()) {
            eraseLocked(found);
        }
    }
    // The caller logs that the request failed; only the reason is known here.
    qCDebug(lcRequest) << "request" << sent.msgType << "not sent:" << reason;
    return false;
}

/// Enters the request in the table and gives it its envelope id; null with a reason when it is too
/// large, one too many, or something is closing.
std::shared_ptr<RequestBroker::Pending> RequestBroker::enter(
    const std::shared_ptr<PresenterChannel>& channel, bool isSync, GatewayRequest& request,
    QString* refusal) {
    auto pending = std::make_shared<Pending>();
    if (!fits(QStringLiteral("request %1").arg(request.msgType), request.body, &pending->bytes,
              refusal)) {
        return nullptr;
    }
    pending->channel = channel;
    pending->isSync = isSync;
    pending->msgType = request.msgType;
    request.envelopeId = ++m_lastEnvelopeId;
    // Closing first sets its mark and then fails the requests in the table under this lock, so a
    // request cannot be entered after that.
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool isHostClosing = isSync ? m_closing : m_refusesAsync;
    if (isHostClosing || (channel && channel->isClosing())) {
        *refusal = isHostClosing ? QStringLiteral("the host is closing")
                                 : QStringLiteral("the presenter is closing");
        return nullptr;
    }
    if (!isSync && !mayEnterAsyncLocked(refusal)) {
        return nullptr;
    }
    m_pending.emplace(request.envelopeId, pending);
    m_asyncCount += isSync ? 0 : 1;
    return pending;
}

bool RequestBroker::mayEnterAsyncLocked(QString* refusal) {
    const int most = m_mostAsync;
    if (m_asyncCount < most) {
        return true;
    }
    *refusal = QStringLiteral("%1 asynchronous requests are under way").arg(m_asyncCount);
    if (!std::exchange(m_refusalLogged, true)) {
        qCWarning(lcRequest) << "asynchronous requests are refused:" << m_asyncCount
                             << "are under way and have no outcome";
    }
    return false;
}

RequestBroker::PendingTable::iterator RequestBroker::eraseLocked(PendingTable::iterator found) {
    if (!found->second->isSync) {
        --m_asyncCount;
        m_refusalLogged = m_refusalLogged && m_asyncCount > m_mostAsync / 2;
        m_asyncEnded.notify_all();
    }
    return m_pending.erase(found);
}

bool RequestBroker::fits(const QString& what, const QVariant& body, qint64* bytes,
                         QString* reason) const {
    const qint64 limit = m_bodyLimit;
    *bytes = bodySize(body, limit);
    if (*bytes <= limit) {
        return true;
    }
    *reason =
        QStringLiteral("the body of %1 is too large: more than %2 bytes").arg(what).arg(limit);
    return false;
}

bool RequestBroker::handOver(const GatewayRequest& request, qint64 bytes, QString* reason) {
    const std::shared_lock<std::shared_mutex> lock(m_linkMutex);
    if (!m_link) {
        *reason = QStringLiteral("no link to the server");
        return false;
    }
    qCDebug(lcTraffic).noquote() << request.sourceId << "sends" << textOf(request);
    if (!m_link->send(request)) {
        *reason = QStringLiteral("the link did not take request %1").arg(request.msgType);
        return false;
    }
    MessageTotals::instance().countMessage(gateOf(request.msgType), bytes);
    return true;
}

QString RequestBroker::linkAddress() const {
    const std::shared_lock<std::shared_mutex> lock(m_linkMutex);
    return m_link ? m_link->address() : QString();
}

void RequestBroker::complete(quint64 envelopeId, const Outcome& outcome) {
    std::shared_ptr<Pending> pending;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_pending.find(envelopeId);
        if (found == m_pending.end()) {
            qCDebug(lcRequest) << "late or duplicate outcome of request" << envelopeId << "dropped";
            return;
        }
        pending = found->second;
        eraseLocked(found);
        if (outcome.result == RequestResult::Answer) {
            // Before the sender goes on, which may look at the totals.
            MessageTotals::instance().countMessage(gateOf(pending->msgType), outcome.bytes);
        }
        if (pending->isSync) {
            finishSyncLocked(*pending, outcome);
            return;
        }
    }
    finishAsync(*pending, outcome);
}

void RequestBroker::finishSyncLocked(Pending& pending, const Outcome& outcome) {
    pending.outcome = outcome;
    pending.done = true;
    pending.ready.notify_all();
}

void RequestBroker::finishAsync(const Pending& pending, const Outcome& outcome) {
    const QVariantMap header = rowsOfPackedBody(outcome.body).first();
    if (outcome.result != RequestResult::Answer) {
        qCWarning(lcRequest) << "asynchronous request" << pending.msgType << "without an answer:"
                             << header.value(System::textDescription).toString();
        return;
    }
    pending.channel->enqueue({IncomingMessage::Kind::Response,
                              {},
                              header.value(System::clientMsgID).toString(),
                              outcome.msgType,
                              outcome.body});
}

template <class Predicate>
void RequestBroker::failWhere(Predicate predicate, const QString& reason) {
    const Outcome outcome = Outcome::failure(reason);
    PendingList unanswered;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (auto it = m_pending.begin(); it != m_pending.end();) {
            const std::shared_ptr<Pending> pending = it->second;
            if (!predicate(*pending)) {
                ++it;
                continue;
            }
            it = eraseLocked(it);
            if (pending->isSync) {
                finishSyncLocked(*pending, outcome);
            } else {
                unanswered.push_back(pending);
            }
        }
    }
    logUnanswered(unanswered, reason);
}

/// A line for each, as finishAsync() writes it, but one for the rest of a large number: a server
/// that was silent for a day leaves thousands.
void RequestBroker::logUnanswered(const PendingList& unanswered, const QString& reason) {
    constexpr size_t kMostLines = 100;
    const Outcome outcome = Outcome::failure(reason);
    const size_t lines = std::min(unanswered.size(), kMostLines);
    for (size_t i = 0; i < lines; ++i) {
        finishAsync(*unanswered.at(i), outcome);
    }
    if (lines < unanswered.size()) {
        qCWarning(lcRequest).noquote() << unanswered.size() - lines
                                       << "more asynchronous requests without an answer:" << reason;
    }
}

void RequestBroker::failAll(const QString& reason) {
    failWhere([](const Pending&) { return true; }, reason);
}

void RequestBroker::failSync(const QString& reason) {
    failWhere([](const Pending& pending) { return pending.isSync; }, reason);
}

void RequestBroker::failOf(const PresenterChannel* channel, const QString& reason) {
    failWhere([channel](const Pending& pending) { return pending.channel.get() == channel; },
              reason);
}

bool RequestBroker::waitForAsync(quint64 afterEnvelopeId,
                                 std::chrono::steady_clock::time_point until) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_asyncEnded.wait_until(lock, until, [this, afterEnvelopeId] {
        return std::none_of(m_pending.cbegin(), m_pending.cend(), [=](const auto& entry) {
            return !entry.second->isSync && entry.first > afterEnvelopeId;
        });
    });
}

int RequestBroker::pendingCount() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_pending.size());
}

QString RequestBroker::gateState(const QString& gate) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_gateStates.value(gate);
}

void RequestBroker::onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) {
    if (!isPackedBody(body)) {
        complete(envelopeId, Outcome::failure(QStringLiteral("the answer of type %1 is garbage, "
                                                             "not a packed body")
                                                  .arg(msgType)));
        return;
    }
    QString reason;
    qint64 bytes = 0;
    if (!fits(QStringLiteral("the answer of type %1").arg(msgType), body, &bytes, &reason)) {
        complete(envelopeId, Outcome::failure(reason));
        return;
    }
    complete(envelopeId, {RequestResult::Answer, msgType, body, bytes});
}

void RequestBroker::onFailure(quint64 envelopeId, const QString& reason) {
    complete(envelopeId, Outcome::failure(reason));
}

void RequestBroker::onTimeOut(quint64 envelopeId) {
    complete(envelopeId, Outcome::timeOut());
}

void RequestBroker::onPush(const QString& msgType, const QVariant& body) {
    QString reason;
    qint64 bytes = 0;
    if (!isPackedBody(body)) {
        qCWarning(lcRequest) << "push dropped: the push of type" << msgType
                             << "is garbage, not a packed body";
        return;
    }
    if (!fits(QStringLiteral("the push of type %1").arg(msgType), body, &bytes, &reason)) {
        qCWarning(lcRequest).noquote() << "push dropped:" << reason;
        return;
    }
    const QVariantList all = body.toList();
    const QVariantMap header = all.first().toMap();
    const int held = all.size() - 1;
    const RowCount count = readRowCount(header, held, nullptr);
    // A push without rows to read need not state their number.
    if (count == RowCount::Invalid || count == RowCount::TooLarge) {
        qCWarning(lcRequest).noquote()
            << QStringLiteral("push dropped: the push of type %1 states \"%2\" rows and holds %3")
                   .arg(msgType, header.value(System::subGroupNumber).toString())
                   .arg(held);
        return;
    }
    // The link does not report the gate of a push. The topics of the client's messages, by far the
    // most of them, are subscribed through the info gate.
    MessageTotals::instance().countMessage(NetGateType::InfoGate, bytes);
    EventBus::instance().push(msgType, body);
}

void RequestBroker::onGateState(const QString& gate, const QString& netState) {
    const auto event = std::find_if(gateEvents().cbegin(), gateEvents().cend(),
                                    [&gate](const GateEvent& it) { return it.gate == gate; });
    if (event == gateEvents().cend()) {
        qCWarning(lcRequest) << "state" << netState << "of an unknown gate:" << gate;
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_gateStates.insert(gate, netState);
    }
    if (gate == NetGateType::TradeGate && netState == NET_STATE::NOCONNECT) {
        failAll(QStringLiteral("%1 is disconnected").arg(gate));
    } else if (gate == NetGateType::InfoGate && netState == NET_STATE::NOCONNECT) {
        // A caller that waits ends by its time-out; the others have nothing else that ends them.
        failWhere(
            [](const Pending& pending) {
                return !pending.isSync && gateOf(pending.msgType) == NetGateType::InfoGate;
            },
            QStringLiteral("%1 is disconnected").arg(gate));
    }
    EventBus::instance().publish(PluginID::PLUGINNET_GLOBALID, event->id, netState);
}
