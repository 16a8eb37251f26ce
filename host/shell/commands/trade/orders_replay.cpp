#include "orders_replay.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "exact_json.h"
#include "figures_text.h"
#include "order_cross_check.h"
#include "text_table.h"
#include "vocabulary/fields.h"

using OrderCrossCheck::Verdict;

struct OrdersReplay::Step {
    bool isAsked = false;
    bool isStored = false;
    QString reason;
    QVariantMap stored;  ///< afterwards
};

namespace {

QString text(const QVariantMap& record, const QString& field) {
    return record.value(field).toString();
}

QString jsonText(const QVariantMap& record) {
    return QString::fromUtf8(QJsonDocument(exactJsonObject(record)).toJson(QJsonDocument::Compact));
}

QString answerText(bool isAsked, bool isStored) {
    if (!isAsked) {
        return isStored ? QStringLiteral("stored") : QStringLiteral("not stored");
    }
    return isStored ? QStringLiteral("replaced") : QStringLiteral("refused");
}

}  // namespace

OrdersReplay::OrdersReplay(const FacadeLibrary& library, const FacadeAsk& ask,
                           const Successors& successors)
    : m_facade(library, ask), m_successors(successors) {}

OrdersReplay::Step OrdersReplay::take(const QVariantMap& update) {
    const QString id = text(update, Security::orderID);
    Step step;
    if (id.isEmpty()) {
        step.reason = OrderCrossCheck::reasonOf(Verdict::NoOrderId, {}, update, {});
        return step;
    }
    const auto known = m_stored.find(id);
    if (known == m_stored.end()) {
        m_stored.insert(id, update);
        step.isStored = true;
        step.reason = OrderCrossCheck::reasonOf(Verdict::FirstReport, {}, update, {});
        step.stored = update;
        return step;
    }
    step.isAsked = true;
    step.isStored =
        m_facade.ask(QStringLiteral("CanOrderUpdate"), {jsonText(*known), jsonText(update)})
            .toBool();
    const QString successors = m_successors(text(*known, Security::orderStatus));
    const Verdict verdict = OrderCrossCheck::judge(*known, update, successors);
    step.reason = OrderCrossCheck::reasonOf(verdict, *known, update, successors);
    if (OrderCrossCheck::isStored(verdict) != step.isStored) {
        step.reason =
            QStringLiteral("unclear: the status table and the quantities as read give: %1")
                .arg(step.reason);
    }
    if (step.isStored) {
        *known = update;
    }
    step.stored = *known;
    return step;
}

CommandAnswer OrdersReplay::replay(const RecordFile& file, int columns) {
    TextTable table({QStringLiteral("Line"), QStringLiteral("Order"), QStringLiteral("Status"),
                     QStringLiteral("Dealt"), QStringLiteral("Cancelled"), QStringLiteral("Answer"),
                     QStringLiteral("Why"), QStringLiteral("Stored"), QStringLiteral("Dealt"),
                     QStringLiteral("Cancelled")});
    QJsonArray updates;
    int stored = 0;
    for (const FileRecord& record : file.records) {
        const QVariantMap& update = record.fields;
        const Step step = take(update);
        if (m_facade.interrupted()) {
            break;
        }
        stored += step.isStored ? 1 : 0;
        table.addRow({QString::number(record.line), text(update, Security::orderID),
                      text(update, Security::orderStatus), text(update, Security::cumQty),
                      text(update, Security::cancelledQty), answerText(step.isAsked, step.isStored),
                      step.reason, text(step.stored, Security::orderStatus),
                      text(step.stored, Security::cumQty),
                      text(step.stored, Security::cancelledQty)});
        updates.append(
            QJsonObject{{QStringLiteral("line"), record.line},
                        {QStringLiteral("update"), exactJsonObject(update)},
                        {QStringLiteral("answer"),
                         step.isAsked ? QJsonValue(step.isStored) : QJsonValue(QJsonValue::Null)},
                        {QStringLiteral("isStored"), step.isStored},
                        {QStringLiteral("reason"), step.reason},
                        {QStringLiteral("stored"), exactJsonObject(step.stored)}});
    }
    CommandAnswer answer;
    answer.lines = table.lines(columns);
    answer.lines.append(
        QStringLiteral("%1 of %2, %3 stored")
            .arg(countText(file.records.size(), "update"), countText(m_stored.size(), "order"))
            .arg(stored));
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(QStringLiteral("%1 is not exported").arg(function));
    }
    answer.lines += faultLines(file);
    answer.json = QJsonObject{{QStringLiteral("updates"), updates},
                              {QStringLiteral("faults"), faultsAsJson(file)}};
    answer.isFault = !isUsable(file) || !m_facade.absent().isEmpty();
    answer.interrupted = m_facade.interrupted();
    return answer;
}

QJsonValue faultsAsJson(const RecordFile& file) {
    QJsonArray faults;
    for (const RecordFault& fault : file.faults) {
        faults.append(QJsonObject{{QStringLiteral("line"), fault.line},
                                  {QStringLiteral("column"), fault.column},
                                  {QStringLiteral("text"), fault.text}});
    }
    return faults;
}

bool isUsable(const RecordFile& file) {
    return file.faults.isEmpty() && !file.records.isEmpty();
}

QStringList faultLines(const RecordFile& file) {
    QStringList lines;
    for (const RecordFault& fault : file.faults) {
        lines.append(harmlessText(fault.toString()));
    }
    if (!lines.isEmpty()) {
        lines.append(countText(lines.size(), "bad line"));
    }
    if (file.records.isEmpty()) {
        lines.append(QStringLiteral("no records"));
    }
    return lines;
}
