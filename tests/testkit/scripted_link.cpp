#include "scripted_link.h"

#include <algorithm>

#include "packed_body.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

bool isOfType(const ScriptedLink::Request& request, const QString& type) {
    return type.isEmpty() || request.type == type || request.envelopeType == type;
}

/// As a server answers: with the envelope's type, a heartbeat with a type of its own.
QString answerTypeOf(const ScriptedLink::Request& request) {
    return request.type == Velmar_MsgType::BusiHeartBeatRequest
               ? Velmar_MsgType::BusiHeartBeatResponse
               : request.envelopeType;
}

QVariant withClientMsgId(const QVariant& body, const QVariant& requestBody) {
    const QVariantMap requestHeader = headerOf(requestBody);
    if (!isPackedBody(body) || !requestHeader.contains(System::clientMsgID)) {
        return body;
    }
    QVariantMap header = headerOf(body);
    if (header.contains(System::clientMsgID)) {
        return body;
    }
    header.insert(System::clientMsgID, requestHeader.value(System::clientMsgID));
    return packRows(header, rowsOf(body));
}

}  // namespace

QVariant packRows(const QVariantMap& header, const QList<QVariantMap>& rows) {
    QVariantMap first = header;
    if (!first.contains(System::subGroupNumber)) {
        first.insert(System::subGroupNumber, rows.size());
    }
    QVariantList body{first};
    for (const QVariantMap& row : rows) {
        body.append(row);
    }
    return body;
}

QVariant makeAnswer(const QVariant& requestBody, const QList<QVariantMap>& rows,
                    const QVariantMap& header) {
    QVariantMap first{{System::requestExeStatus, RequestExeStatus::success}};
    const QVariantMap requestHeader = headerOf(requestBody);
    for (const QString& key : {System::msgType, System::clientMsgID}) {
        if (requestHeader.contains(key)) {
            first.insert(key, requestHeader.value(key));
        }
    }
    for (auto it = header.cbegin(); it != header.cend(); ++it) {
        first.insert(it.key(), it.value());
    }
    return packRows(first, rows);
}

QVariant makeRefusal(const QVariant& requestBody, const QString& text, const QString& status) {
    return makeAnswer(requestBody, {},
                      {{System::requestExeStatus, status}, {System::textDescription, text}});
}

QVariantMap headerOf(const QVariant& body) {
    return isPackedBody(body) ? body.toList().first().toMap() : QVariantMap();
}

QList<QVariantMap> rowsOf(const QVariant& body) {
    QList<QVariantMap> rows;
    if (isPackedBody(body)) {
        const QVariantList all = body.toList();
        for (int i = 1; i < all.size(); ++i) {
            rows.append(all.at(i).toMap());
        }
    }
    return rows;
}

ScriptedReply ScriptedReply::rows(const QList<QVariantMap>& rows, const QVariantMap& header) {
    return with([rows, header](const QVariant& requestBody) {
        return makeAnswer(requestBody, rows, header);
    });
}

ScriptedReply ScriptedReply::with(Function makeBody) {
    ScriptedReply reply;
    reply.m_kind = Kind::Answer;
    reply.m_makeBody = std::move(makeBody);
    return reply;
}

ScriptedReply ScriptedReply::refusal(const QString& text, const QString& status) {
    return with([text, status](const QVariant& requestBody) {
        return makeRefusal(requestBody, text, status);
    });
}

ScriptedReply ScriptedReply::failure(const QString& text) {
    ScriptedReply reply;
    reply.m_kind = Kind::Failure;
    reply.m_text = text;
    return reply;
}

ScriptedReply ScriptedReply::timeOut() {
    ScriptedReply reply;
    reply.m_kind = Kind::TimeOut;
    return reply;
}

ScriptedReply ScriptedReply::garbage(const QVariant& body) {
    return with([body](const QVariant&) { return body; });
}

ScriptedReply ScriptedReply::disconnect() {
    ScriptedReply reply;
    reply.m_kind = Kind::Disconnect;
    return reply;
}

ScriptedReply ScriptedReply::never() {
    return ScriptedReply();
}

ScriptedReply ScriptedReply::held() const {
    ScriptedReply reply = *this;
    reply.m_held = true;
    return reply;
}

ScriptedReply ScriptedReply::twice() const {
    ScriptedReply reply = *this;
    reply.m_twice = true;
    return reply;
}

ScriptedReply ScriptedReply::late() const {
    ScriptedReply reply = *this;
    reply.m_late = true;
    return reply;
}

ScriptedLink::ScriptedLink() = default;

ScriptedLink::~ScriptedLink() {
    ScriptedLink::stop();
}

bool ScriptedLink::start(GatewayLinkListener* listener, QString* error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_startFailure.isEmpty()) {
        if (error) {
            *error = m_startFailure;
        }
        return false;
    }
    m_listener = listener;
    m_stopped = false;
    m_thread = std::thread([this] { run(); });
    return true;
}

void ScriptedLink::stop() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void ScriptedLink::run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopped || !m_actions.empty(); });
        if (m_stopped) {
            return;
        }
        const Action action = std::move(m_actions.front());
        m_actions.pop_front();
        m_busy = true;
        lock.unlock();
        action(*m_listener);
        lock.lock();
        m_busy = false;
    }
}

bool ScriptedLink::send(const GatewayRequest& sent) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_refuseSends || m_stopped || !m_listener) {
        return false;
    }
    Request request;
    request.envelopeType = sent.msgType;
    request.sourceId = sent.sourceId;
    request.envelopeId = sent.envelopeId;
    request.header = headerOf(sent.body);
    request.rows = rowsOf(sent.body);
    request.body = sent.body;
    request.timeOutMs = sent.timeOutMs;
    request.type = request.header.value(System::msgType).toString();
    if (request.type.isEmpty()) {
        request.type = sent.msgType;
    }
    request.occurrence = ++m_occurrences[request.type];
    m_requests.append(request);
    const ScriptedReply reply = replyLocked(request);
    if (reply.m_held) {
        m_held.push_back({request, reply});
    } else {
        playLocked(request, reply);
    }
    return true;
}

ScriptedReply ScriptedLink::replyLocked(const Request& request) const {
    for (const QString& type : {request.type, request.envelopeType}) {
        const auto numbered = m_numbered.find({type, request.occurrence});
        if (numbered != m_numbered.end()) {
            return numbered->second;
        }
        const auto chooser = m_choosers.find(type);
        if (chooser != m_choosers.end()) {
            return chooser->second(request);
        }
        const auto standing = m_standing.find(type);
        if (standing != m_standing.end()) {
            return standing->second;
        }
    }
    return ScriptedReply::refusal(
        QStringLiteral("no script for message type %1").arg(request.type));
}

void ScriptedLink::playLocked(const Request& request, const ScriptedReply& reply) {
    using Kind = ScriptedReply::Kind;
    if (reply.m_late) {
        postLocked([id = request.envelopeId](GatewayLinkListener& to) { to.onTimeOut(id); });
    }
    for (int i = 0; i < (reply.m_twice ? 2 : 1); ++i) {
        postLocked([request, reply](GatewayLinkListener& to) {
            switch (reply.m_kind) {
                case Kind::Answer:
                    to.onAnswer(request.envelopeId, answerTypeOf(request),
                                withClientMsgId(reply.m_makeBody(request.body), request.body));
                    break;
                case Kind::Failure:
                    to.onFailure(request.envelopeId, reply.m_text);
                    break;
                case Kind::TimeOut:
                    to.onTimeOut(request.envelopeId);
                    break;
                case Kind::Disconnect:
                    to.onGateState(NetGateType::TradeGate, NET_STATE::NOCONNECT);
                    break;
                case Kind::Never:
                    break;
            }
        });
    }
}

void ScriptedLink::postLocked(Action action) {
    m_actions.push_back(std::move(action));
    m_changed.notify_all();
}

void ScriptedLink::on(const QString& type, const ScriptedReply& reply) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_choosers.erase(type);
    m_standing[type] = reply;
}

void ScriptedLink::on(const QString& type, ScriptedReply::Function makeBody) {
    on(type, ScriptedReply::with(std::move(makeBody)));
}

void ScriptedLink::onEach(const QString& type,
                          std::function<ScriptedReply(const Request&)> choose) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_choosers[type] = std::move(choose);
}

void ScriptedLink::onOccurrence(const QString& type, int occurrence, const ScriptedReply& reply) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_numbered[{type, occurrence}] = reply;
}

void ScriptedLink::forget(const QString& type) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_standing.erase(type);
    m_choosers.erase(type);
    for (auto it = m_numbered.begin(); it != m_numbered.end();) {
        it = it->first.first == type ? m_numbered.erase(it) : std::next(it);
    }
}

int ScriptedLink::releaseHeld(const QString& type, bool reversed) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto rest =
        std::stable_partition(m_held.begin(), m_held.end(),
                              [&type](const Held& held) { return !isOfType(held.request, type); });
    std::vector<Held> released(rest, m_held.end());
    m_held.erase(rest, m_held.end());
    if (reversed) {
        std::reverse(released.begin(), released.end());
    }
    for (const Held& held : released) {
        playLocked(held.request, held.reply);
    }
    return static_cast<int>(released.size());
}

int ScriptedLink::release(const QString& type) {
    return releaseHeld(type, false);
}

int ScriptedLink::releaseReversed(const QString& type) {
    return releaseHeld(type, true);
}

int ScriptedLink::heldCount(const QString& type) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(std::count_if(m_held.begin(), m_held.end(), [&type](const Held& held) {
        return isOfType(held.request, type);
    }));
}

void ScriptedLink::push(const QString& msgType, const QVariant& body) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    postLocked([msgType, body](GatewayLinkListener& to) { to.onPush(msgType, body); });
}

void ScriptedLink::gateState(const QString& gate, const QString& netState) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    postLocked([gate, netState](GatewayLinkListener& to) { to.onGateState(gate, netState); });
}

void ScriptedLink::refuseSends(bool refuse) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_refuseSends = refuse;
}

void ScriptedLink::failStart(const QString& text) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_startFailure = text;
}

QList<ScriptedLink::Request> ScriptedLink::requests(const QString& type) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    QList<Request> found;
    for (const Request& request : m_requests) {
        if (isOfType(request, type)) {
            found.append(request);
        }
    }
    return found;
}

int ScriptedLink::requestCount(const QString& type) const {
    return requests(type).size();
}

ScriptedLink::Request ScriptedLink::lastRequest(const QString& type) const {
    const QList<Request> found = requests(type);
    return found.isEmpty() ? Request() : found.last();
}

void ScriptedLink::clearRequests() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.clear();
    m_occurrences.clear();
}

bool ScriptedLink::waitForRequestCount(const QString& type, int count, int limitMs) const {
    return waitFor([&] { return requestCount(type) >= count; }, limitMs);
}

bool ScriptedLink::waitUntilIdle(int limitMs) const {
    return waitFor(
        [this] {
            const std::lock_guard<std::mutex> lock(m_mutex);
            return m_actions.empty() && !m_busy;
        },
        limitMs);
}
