#include "scenario_tape.h"

#include <QJsonArray>
#include <QtGlobal>
#include <algorithm>
#include <atomic>
#include <cstddef>

#include "exact_json.h"
#include "packed_body.h"

namespace {

std::atomic<const std::shared_ptr<ScenarioTape>*> s_logTape{nullptr};
std::atomic<QtMessageHandler> s_handlerBefore{nullptr};

QString levelName(QtMsgType type) {
    switch (type) {
        case QtDebugMsg:
            return QStringLiteral("debug");
        case QtInfoMsg:
            return QStringLiteral("info");
        case QtWarningMsg:
            return QStringLiteral("warn");
        case QtCriticalMsg:
            return QStringLiteral("error");
        case QtFatalMsg:
            return QStringLiteral("fatal");
    }
    return QString();
}

void keepLine(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const QString level = levelName(type);
    (*s_logTape.load())
        ->add(RecordKind::Log, level,
              {{QStringLiteral("level"), level},
               {QStringLiteral("category"), QString::fromLatin1(context.category)},
               {QStringLiteral("text"), text}});
    if (const QtMessageHandler before = s_handlerBefore) {
        before(type, context, text);
    }
}

}  // namespace

void ScenarioTape::add(RecordKind kind, const QString& name, const QJsonObject& fields) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_records.push_back({kind, name, fields});
}

std::vector<TapeRecord> ScenarioTape::from(size_t first) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const size_t begin = std::min(first, m_records.size());
    return {m_records.begin() + static_cast<std::ptrdiff_t>(begin), m_records.end()};
}

void ScenarioTape::keepLog(std::shared_ptr<ScenarioTape> tape) {
    // Static objects log to the very end, so this holder is never destroyed.
    s_logTape = new std::shared_ptr<ScenarioTape>(std::move(tape));
    s_handlerBefore = qInstallMessageHandler(keepLine);
}

QJsonObject jsonOfBody(const QVariant& body) {
    if (!isPackedBody(body)) {
        return {{QStringLiteral("body"), exactJson(body)}};
    }
    QList<QVariantMap> rows = rowsOfPackedBody(body);
    const QJsonObject header = exactJsonObject(rows.takeFirst());
    QJsonArray data;
    for (const QVariantMap& row : qAsConst(rows)) {
        data.append(exactJsonObject(row));
    }
    return {{QStringLiteral("header"), header}, {QStringLiteral("rows"), data}};
}
