#include "faulty_link.h"

#include <algorithm>
#include <utility>

#include "fault_control.h"
#include "gateway_log.h"
#include "host_msg_type.h"
#include "message_type.h"
#include "packed_body.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"

namespace {

constexpr int kStandardHoldMs = 1000;

inline const QString kClosed = QStringLiteral("与服务端的连接已关闭");

QString textOr(const QString& text, const QString& standard) {
    return text.isEmpty() ? standard : text;
}

/// A refusal as the server writes it: with the request's type and id.
QVariant refusalOf(const QString& msgType, const QVariantMap& request, const QString& text) {
    QVariantList rows = makeErrorBody(text).toList();
    QVariantMap header = rows.first().toMap();
    header.insert(System::msgType, answerHeaderTypeOf(msgType));
    header.insert(System::subGroupNumber, 0);
    header.insert(System::totalSize, 0);
    if (request.contains(System::clientMsgID)) {
        header.insert(System::clientMsgID, request.value(System::clientMsgID));
    }
    return QVariantList{header};
}

/// The body with its header unchanged and with fewer rows.
QVariant truncated(const QVariant& body, int wanted) {
    if (!isPackedBody(body)) {
        return body;
    }
    const QVariantList rows = body.toList();
    const int data = rows.size() - 1;
    return rows.mid(0, 1 + std::min(data, wanted < 0 ? data / 2 : wanted));
}

/// The body with one more row; its header states the new number of rows.
QVariant extended(const QVariant& body, const QVariantMap& row) {
    if (!isPackedBody(body)) {
        return body;
    }
    QVariantList rows = body.toList();
    QVariantMap header = rows.first().toMap();
    header.insert(System::subGroupNumber, rows.size());
    rows.first() = header;
    rows.append(row);
    return rows;
}

int dataRowsOf(const QVariant& body) {
    return isPackedBody(body) ? body.toList().size() - 1 : 0;
}

}  // namespace

FaultyLink::FaultyLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<FaultPlan> plan)
    : m_below(std::move(below)), m_plan(std::move(plan)) {}

FaultyLink::~FaultyLink() {
    FaultyLink::stop();  // not virtual here: a derived part is destroyed
}

bool FaultyLink::start(GatewayLinkListener* listener, QString* error) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_running || !listener) {
            *error = m_running ? QStringLiteral("the faulty link is running already")
                               : QStringLiteral("the faulty link has no listener");
            return false;
        }
        m_running = true;
        m_ending = false;
        m_heldGates.clear();
        m_gatesBelow.clear();
    }
    m_listener = listener;
    m_thread = std::thread([this] { run(); });
    if (m_below->start(this, error)) {
        return true;
    }
    stop();
    return false;
}

void FaultyLink::stop() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) {
            return;
        }
        m_running = false;
    }
    // The last outcomes of the link below are passed on meanwhile.
    m_below->stop();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

bool FaultyLink::send(const GatewayRequest& request) {
    const QVariantMap header = rowsOfPackedBody(request.body).first();
    const QString type = messageTypeOf(request.msgType, header);
    if (type == HostMsgType::control) {
        const QVariant answer = answerFaultControl(*m_plan, request.body);
        return postOutcome(request.envelopeId, 0, [=](GatewayLinkListener& to) {
            to.onAnswer(request.envelopeId, request.msgType, answer);
        });
    }
    bool gateIsDown = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        gateIsDown = m_heldGates.contains(NetGateType::TradeGate);
    }
    if (gateIsDown) {
        return postOutcome(request.envelopeId, 0, [id = request.envelopeId](auto& to) {
            to.onFailure(id, QStringLiteral("%1 is disconnected").arg(NetGateType::TradeGate));
        });
    }
    const std::optional<Fault> fault = m_plan->take(type);
    if (!fault) {
        return m_below->send(request);
    }
    qCInfo(lcGateway).noquote() << "fault" << faultText(*fault) << "for request" << type;
    return intercept(request, type, header, *fault);
}

/// Applies a fault to a request.
bool FaultyLink::intercept(const GatewayRequest& request, const QString& type,
                           const QVariantMap& header, const Fault& fault) {
    const quint64 id = request.envelopeId;
    const QString answerType = answerTypeOf(request.msgType, type);
    switch (fault.kind) {
        case FaultKind::TimeOut:
            if (fault.silent) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                return m_running;
            }
            return postOutcome(id, fault.ms, [id](auto& to) { to.onTimeOut(id); });
        case FaultKind::Failure:
            return postOutcome(
                id, fault.ms,
                [id, text = textOr(fault.text, QStringLiteral("the request failed"))](auto& to) {
                    to.onFailure(id, text);
                });
        case FaultKind::Refusal: {
            const QVariant body =
                refusalOf(type, header, textOr(fault.text, QStringLiteral("服务端拒绝了请求")));
            return postOutcome(id, fault.ms, [=](auto& to) { to.onAnswer(id, answerType, body); });
        }
        case FaultKind::Garbage:
            return postOutcome(id, fault.ms, [=](auto& to) {
                to.onAnswer(id, answerType, QStringLiteral("garbage"));
            });
        case FaultKind::Disconnect:
            return disconnect(id, fault);
        default:
            return passOn(request, fault);
    }
}

/// Passes the request to the link below and keeps the fault for its answer.
bool FaultyLink::passOn(const GatewayRequest& request, const Fault& fault) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) {
            return false;
        }
        m_changed.emplace(request.envelopeId, fault);
    }
    if (fault.kind == FaultKind::Late) {
        // Before the answer can arrive. From here on the request has its outcome.
        const quint64 id = request.envelopeId;
        if (!postOutcome(id, 0, [id](auto& to) { to.onTimeOut(id); })) {
            takeChanged(id);
            return false;
        }
    }
    if (m_below->send(request)) {
        return true;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_changed.erase(request.envelopeId);
    return fault.kind == FaultKind::Late;
}

bool FaultyLink::postOutcome(quint64 envelopeId, int afterMs, Report report) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running) {
        postLocked(afterMs, {envelopeId, std::move(report)});
    }
    return m_running;
}

void FaultyLink::setGate(const QString& gate, const QString& netState) {
    if (netState != NET_STATE::CONNECTED) {
        m_below->loseGate(gate);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running) {
        m_reconnects.remove(gate);
        setGateLocked(gate, netState);
    }
}

/// Ends a disconnection, unless the gate has changed since.
void FaultyLink::reconnect(const QString& gate, quint64 number) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running && m_reconnects.value(gate) == number) {
        m_reconnects.remove(gate);
        setGateLocked(gate, NET_STATE::CONNECTED);
    }
}

void FaultyLink::setGateLocked(const QString& gate, const QString& netState) {
    QString reported = netState;
    if (netState == NET_STATE::CONNECTED) {
        m_heldGates.remove(gate);
        // Reports of the link below were held back meanwhile, and it does not repeat them.
        reported = m_gatesBelow.value(gate, netState);
    } else {
        m_heldGates.insert(gate, netState);
    }
    postLocked(0, {0, [=](auto& to) { to.onGateState(gate, reported); }});
}

bool FaultyLink::disconnect(quint64 envelopeId, const Fault& fault) {
    m_below->loseGate(fault.gate);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running) {
        return false;
    }
    setGateLocked(fault.gate, NET_STATE::NOCONNECT);
    postLocked(0, {envelopeId, [envelopeId, gate = fault.gate](auto& to) {
                       to.onFailure(envelopeId, QStringLiteral("%1 is disconnected").arg(gate));
                   }});
    const quint64 number = ++m_lastReconnect;
    m_reconnects.insert(fault.gate, number);
    if (fault.reconnectMs >= 0) {
        postLocked(fault.reconnectMs,
                   {0, [this, gate = fault.gate, number](auto&) { reconnect(gate, number); }});
    }
    return true;
}

void FaultyLink::postLocked(qint64 afterMs, Due due) {
    m_due.emplace(Clock::now() + std::chrono::milliseconds(afterMs), std::move(due));
    m_wake.notify_one();
}

std::optional<Fault> FaultyLink::takeChanged(quint64 envelopeId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_changed.find(envelopeId);
    if (found == m_changed.end()) {
        return std::nullopt;
    }
    const Fault fault = found->second;
    m_changed.erase(found);
    return fault;
}

void FaultyLink::onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) {
    const std::optional<Fault> fault = takeChanged(envelopeId);
    if (!fault) {
        m_listener->onAnswer(envelopeId, msgType, body);
        return;
    }
    QVariant changed = body;
    if (fault->kind == FaultKind::Truncate) {
        changed = truncated(body, fault->rows);
    } else if (fault->kind == FaultKind::Extra) {
        changed = extended(body, fault->row);
    }
    const Due answer{envelopeId, [=](auto& to) { to.onAnswer(envelopeId, msgType, changed); }};
    if (!postAnswer(*fault, heldMs(*fault, dataRowsOf(body)), answer) &&
        fault->kind != FaultKind::Late) {
        answer.report(*m_listener);
    }
}

/// Queues an answer according to its fault; false once the link is stopping.
bool FaultyLink::postAnswer(const Fault& fault, qint64 afterMs, const Due& answer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running) {
        return false;
    }
    if (fault.kind == FaultKind::Reorder) {
        holdLocked(fault, answer);
        return true;
    }
    const bool late = fault.kind == FaultKind::Late;
    postLocked(afterMs, {late ? 0 : answer.envelopeId, answer.report});
    if (fault.kind == FaultKind::Duplicate) {
        postLocked(afterMs, {0, answer.report});
    }
    return true;
}

void FaultyLink::onFailure(quint64 envelopeId, const QString& reason) {
    const std::optional<Fault> fault = takeChanged(envelopeId);
    if (!fault || fault->kind != FaultKind::Late) {
        m_listener->onFailure(envelopeId, reason);
    }
}

void FaultyLink::onTimeOut(quint64 envelopeId) {
    const std::optional<Fault> fault = takeChanged(envelopeId);
    if (!fault || fault->kind != FaultKind::Late) {
        m_listener->onTimeOut(envelopeId);
    }
}

void FaultyLink::onPush(const QString& msgType, const QVariant& body) {
    m_listener->onPush(msgType, body);
}

void FaultyLink::onGateState(const QString& gate, const QString& netState) {
    // Queued, so that states arrive in the order in which they were reported.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running) {
        return;
    }
    m_gatesBelow.insert(gate, netState);
    if (!m_heldGates.contains(gate)) {
        postLocked(0, {0, [=](auto& to) { to.onGateState(gate, netState); }});
    }
}

/// Holds an answer until its group is full or its time is up.
void FaultyLink::holdLocked(const Fault& fault, Due due) {
    const QString key = faultText(fault);
    Group& group = m_groups[key];
    if (group.held.isEmpty()) {
        group.wanted = fault.count;
        group.number = ++m_lastGroup;
        const quint64 number = group.number;
        postLocked(fault.ms > 0 ? fault.ms : kStandardHoldMs,
                   {0, [this, key, number](auto&) {
                        const std::lock_guard<std::mutex> lock(m_mutex);
                        const auto found = m_groups.constFind(key);
                        if (found != m_groups.cend() && found->number == number) {
                            releaseLocked(key);
                        }
                    }});
    }
    group.held.append(std::move(due));
    if (group.held.size() >= group.wanted) {
        releaseLocked(key);
    }
}

void FaultyLink::releaseLocked(const QString& groupKey) {
    QVector<Due> held = m_groups.take(groupKey).held;
    std::reverse(held.begin(), held.end());
    for (Due& due : held) {
        postLocked(0, std::move(due));
    }
}

int FaultyLink::openCount() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    size_t count = m_due.size() + m_changed.size();
    for (const Group& group : m_groups) {
        count += static_cast<size_t>(group.held.size());
    }
    return static_cast<int>(count);
}

void FaultyLink::run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_ending) {
        // Once the link is stopping, failRest() ends what is left.
        if (!m_running || m_due.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto first = m_due.begin();
        if (first->first > Clock::now()) {
            m_wake.wait_until(lock, Clock::time_point(first->first));
            continue;
        }
        const Due due = std::move(first->second);
        m_due.erase(first);
        lock.unlock();
        due.report(*m_listener);
        lock.lock();
    }
    lock.unlock();
    failRest(*m_listener);
}

/// On the link's thread, after the link below has stopped and nothing is added any more.
void FaultyLink::failRest(GatewayLinkListener& listener) {
    QVector<quint64> open;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [time, due] : m_due) {
            open.append(due.envelopeId);
        }
        for (const Group& group : qAsConst(m_groups)) {
            for (const Due& due : group.held) {
                open.append(due.envelopeId);
            }
        }
        m_due.clear();
        m_groups.clear();
        m_changed.clear();
    }
    for (const quint64 id : qAsConst(open)) {
        if (id != 0) {
            listener.onFailure(id, kClosed);
        }
    }
}
