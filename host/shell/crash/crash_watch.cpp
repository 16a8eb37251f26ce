#include "crash_watch.h"

#include <QVariantMap>
#include <utility>

#include "message_type.h"
#include "packed_body.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

CrashSight::CrashSight(const QString& dump, std::function<void()> onChange)
    : m_dump(dump), m_onChange(std::move(onChange)) {}

void CrashSight::changed(QString* line, const QString& text) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        *line = text;
    }
    m_onChange();
}

void CrashSight::takeItem(const QVariantMap& item) {
    if (item.value(System::itemType).toString() != ClinetInfoUpload::ClientErrorInfo) {
        return;
    }
    const QString kind = item.value(System::itemValue).toString();
    const QString name = item.value(OwnKeys::dumpFileName).toString();
    if (kind == ClientErrorType::DmpInfoError && name == m_dump) {
        changed(&m_dumpLine, QStringLiteral("at the gateway: %1, %2 of %3, class %4")
                                 .arg(kind, name, item.value(QStringLiteral("size")).toString(),
                                      item.value(System::operType).toString()));
    } else if (kind == ClientErrorType::ExceptionExitError) {
        changed(&m_exitLine, QStringLiteral("at the gateway: %1").arg(kind));
    }
}

void CrashSight::takeLogRequest(const QString& title) {
    changed(&m_logLine,
            QStringLiteral("on the event bus: the logs are requested as %1").arg(title));
}

bool CrashSight::hasDump() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_dumpLine.isEmpty();
}

bool CrashSight::hasExit() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_exitLine.isEmpty();
}

bool CrashSight::hasLogRequest() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_logLine.isEmpty();
}

QStringList CrashSight::lines() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    QStringList lines{m_dumpLine, m_exitLine, m_logLine};
    lines.removeAll(QString());
    return lines;
}

CrashWatchLink::CrashWatchLink(std::unique_ptr<GatewayLink> below,
                               std::shared_ptr<CrashSight> sight)
    : m_below(std::move(below)), m_sight(std::move(sight)) {}

bool CrashWatchLink::start(GatewayLinkListener* listener, QString* error) {
    return m_below->start(listener, error);
}

void CrashWatchLink::stop() {
    m_below->stop();
}

bool CrashWatchLink::send(const GatewayRequest& request) {
    if (!m_below->send(request)) {
        return false;
    }
    const QList<QVariantMap> rows = rowsOfPackedBody(request.body);
    if (messageTypeOf(request.msgType, rows.first()) == Velmar_MsgType::ClientInfoUploadRequest) {
        for (const QVariantMap& item : rows.mid(1)) {
            m_sight->takeItem(item);
        }
    }
    return true;
}

void CrashWatchLink::loseGate(const QString& gate) {
    m_below->loseGate(gate);
}

QString CrashWatchLink::address() const {
    return m_below->address();
}

CrashWatchPresenter::CrashWatchPresenter(std::shared_ptr<CrashSight> sight)
    : ZnPresenterClass(QStringLiteral("ZNApp.CrashWatch"), nullptr, IMessageInterface::OwnThreads),
      m_sight(std::move(sight)),
      m_event(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::LogUploadEvent)) {
    constexpr int kSubscribe = 1;
    SubEvent(pluginPid(), m_event, kSubscribe);
}

void CrashWatchPresenter::ProcEventMsg(QString, QVariant eventId, QVariant body) {
    if (eventId.toInt() == m_event) {
        m_sight->takeLogRequest(
            rowsOfPackedBody(body).first().value(QuantMsgField::textTitle).toString());
    }
}
