#include "request_broker.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "event_bus.h"
#include "gate_events.h"
#include "message_log.h"
#include "never_destroyed.h"
#include "packed_body.h"
#include "row_count.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"

struct RequestBroker::Outcome {
    RequestResult result = RequestResult::Failure;
    QString msgType;
    QVariant body;  ///< the answer, or a body that describes the failure

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
    RequestDeadlines::Clock::time_point deadline;
    bool done = false;
    Outcome outcome;
    std::condition_variable ready;
};

RequestBroker& RequestBroker::instance() {
    return neverDestroyed([] { return new RequestBroker; });
}

RequestBroker::RequestBroker()
    : m_deadlines([this](quint64 envelopeId) { onTimeOut(envelopeId); }) {}

void RequestBroker::setClosing(bool closing) {
    m_closing = closing;
    if (!closing) {
        m_deadlines.open();
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
    GatewayRequest sent = request;
    QString reason;
    const std::shared_ptr<Pending> pending = enter(channel, true, sent, &reason);
    if (!pending) {
        response = makeErrorBody(reason);
        return RequestResult::Failure;
    }
    if (!handOver(sent, &reason)) {
        complete(sent.envelopeId, Outcome::failure(reason));
    }
    Outcome outcome;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!pending->ready.wait_until(lock, pending->deadline,
                                       [&pending] { return pending->done; })) {
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
    if (pending && handOver(sent, &reason)) {
        return true;
    }
    if (pending) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_pending.erase(sent.envelopeId);
        m_deadlines.remove(sent.envelopeId, pending->deadline);
    }
    // The caller logs that the request failed; only the reason is known here.
    qCDebug(lcRequest) << "request" << sent.msgType << "not sent:" << reason;
    return false;
}

/// Enters the request in the table and gives it its envelope id; null with a reason when it is too
/// large or something is closing.
std::shared_ptr<RequestBroker::Pending> RequestBroker::enter(
    const std::shared_ptr<PresenterChannel>& channel, bool isSync, GatewayRequest& request,
    QString* refusal) {
    if (!fits(QStringLiteral("request %1").arg(request.msgType), request.body, refusal)) {
        return nullptr;
    }
    constexpr int kMsPerSecond = 1000;
    const qint64 waitMs =
        isSync ? request.timeOutMs : qint64(channel->timeOut.seconds()) * kMsPerSecond;
    auto pending = std::make_shared<Pending>();
    pending->channel = channel;
    pending->deadline = RequestDeadlines::Clock::now() + std::chrono::milliseconds(waitMs);
    pending->isSync = isSync;
    pending->msgType = request.msgType;
    request.envelopeId = ++m_lastEnvelopeId;
    // Closing first sets its mark and then fails the requests in the table under this lock, so a
    // request cannot be entered after that.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closing || (channel && channel->isClosing())) {
        *refusal = m_closing ? QStringLiteral("the host is closing")
                             : QStringLiteral("the presenter is closing");
        return nullptr;
    }
    m_pending.emplace(request.envelopeId, pending);
    if (!isSync) {
        m_deadlines.add(request.envelopeId, pending->deadline);
    }
    return pending;
}

bool RequestBroker::fits(const QString& what, const QVariant& body, QString* reason) const {
    const qint64 limit = m_bodyLimit;
    if (bodySize(body, limit) <= limit) {
        return true;
    }
    *reason =
        QStringLiteral("the body of %1 is too large: more than %2 bytes").arg(what).arg(limit);
    return false;
}

bool RequestBroker::handOver(const GatewayRequest& request, QString* reason) {
    const std::shared_lock<std::shared_mutex> lock(m_linkMutex);
    if (!m_link) {
        *reason = QStringLiteral("no link to the server");
        return false;
    }
    if (!m_link->send(request)) {
        *reason = QStringLiteral("the link did not take request %1").arg(request.msgType);
        return false;
    }
    return true;
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
        m_pending.erase(found);
        if (pending->isSync) {
            pending->outcome = outcome;
            pending->done = true;
            pending->ready.notify_all();
            return;
        }
        m_deadlines.remove(envelopeId, pending->deadline);
    }
    finishAsync(*pending, outcome);
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
    std::vector<quint64> ids;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [id, pending] : m_pending) {
            if (predicate(*pending)) {
                ids.push_back(id);
            }
        }
    }
    const Outcome outcome = Outcome::failure(reason);
    for (const quint64 id : ids) {
        complete(id, outcome);
    }
}

void RequestBroker::failAll(const QString& reason) {
    failWhere([](const Pending&) { return true; }, reason);
}

void RequestBroker::failOf(const PresenterChannel* channel, const QString& reason) {
    failWhere([channel](const Pending& pending) { return pending.channel.get() == channel; },
              reason);
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
    if (!fits(QStringLiteral("the answer of type %1").arg(msgType), body, &reason)) {
        complete(envelopeId, Outcome::failure(reason));
        return;
    }
    complete(envelopeId, {RequestResult::Answer, msgType, body});
}

void RequestBroker::onFailure(quint64 envelopeId, const QString& reason) {
    complete(envelopeId, Outcome::failure(reason));
}

void RequestBroker::onTimeOut(quint64 envelopeId) {
    complete(envelopeId, Outcome::timeOut());
}

void RequestBroker::onPush(const QString& msgType, const QVariant& body) {
    QString reason;
    if (!isPackedBody(body)) {
        qCWarning(lcRequest) << "push dropped: the push of type" << msgType
                             << "is garbage, not a packed body";
        return;
    }
    if (!fits(QStringLiteral("the push of type %1").arg(msgType), body, &reason)) {
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
    }
    EventBus::instance().publish(PluginID::PLUGINNET_GLOBALID, event->id, netState);
}
