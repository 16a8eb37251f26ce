#include "recording_link.h"

#include <utility>

#include "message_type.h"
#include "packed_body.h"

RecordingLink::RecordingLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<ScenarioTape> tape)
    : m_below(std::move(below)), m_tape(std::move(tape)) {}

RecordingLink::~RecordingLink() {
    RecordingLink::stop();  // not virtual here: a derived part is destroyed
}

bool RecordingLink::start(GatewayLinkListener* listener, QString* error) {
    m_listener = listener;
    return m_below->start(this, error);
}

void RecordingLink::stop() {
    m_below->stop();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_types.clear();
}

bool RecordingLink::send(const GatewayRequest& request) {
    const QString type = messageTypeOf(request.msgType, rowsOfPackedBody(request.body).first());
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_types.emplace(request.envelopeId, type);
    }
    m_tape->add(RecordKind::Request, type, jsonOfBody(request.body));
    if (m_below->send(request)) {
        return true;
    }
    takeType(request.envelopeId);
    return false;
}

int RecordingLink::underWay() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_types.size());
}

QString RecordingLink::takeType(quint64 envelopeId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_types.find(envelopeId);
    if (found == m_types.end()) {
        return {};
    }
    QString type = found->second;
    m_types.erase(found);
    return type;
}

void RecordingLink::onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) {
    QString type = takeType(envelopeId);
    if (type.isEmpty()) {
        // A second answer, or one after the time-out: only its body still names the type.
        type = messageTypeOf(msgType, rowsOfPackedBody(body).first());
    }
    m_tape->add(RecordKind::Answer, type, jsonOfBody(body));
    m_listener->onAnswer(envelopeId, msgType, body);
}

void RecordingLink::onFailure(quint64 envelopeId, const QString& reason) {
    m_tape->add(RecordKind::Failure, takeType(envelopeId), {{QStringLiteral("reason"), reason}});
    m_listener->onFailure(envelopeId, reason);
}

void RecordingLink::onTimeOut(quint64 envelopeId) {
    m_tape->add(RecordKind::TimeOut, takeType(envelopeId), {});
    m_listener->onTimeOut(envelopeId);
}

void RecordingLink::onPush(const QString& msgType, const QVariant& body) {
    m_tape->add(RecordKind::Push, msgType, jsonOfBody(body));
    m_listener->onPush(msgType, body);
}

void RecordingLink::onGateState(const QString& gate, const QString& netState) {
    m_tape->add(RecordKind::Gate, gate, {{QStringLiteral("state"), netState}});
    m_listener->onGateState(gate, netState);
}
