#include "history_export.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <utility>

#include "vocabulary/fields.h"

namespace {

constexpr int kDaysOfPart = 30;

QString asJson(const QStringList& texts) {
    return QString::fromUtf8(
        QJsonDocument(QJsonArray::fromStringList(texts)).toJson(QJsonDocument::Compact));
}

QString isoText(const QDate& date) {
    return date.toString(Qt::ISODate);
}

qint64 wholeNumber(const QJsonValue& value) {
    return value.toVariant().toLongLong();
}

/// The accounts and each chunk of the days, as arguments.
QList<QStringList> chunksOf(const HistoryRequest& request) {
    QList<QStringList> chunks;
    for (QDate first = request.from; first <= request.to; first = first.addDays(kDaysOfPart)) {
        const QDate last = std::min(first.addDays(kDaysOfPart - 1), request.to);
        chunks.append({asJson(request.accounts), isoText(first), isoText(last)});
    }
    return chunks;
}

QStringList isoTradeDays(const HistoryRequest& request) {
    QStringList days;
    for (const QString& day : request.tradeDays) {
        days.append(isoText(QDate::fromString(day, QStringLiteral("yyyyMMdd"))));
    }
    return days;
}

}  // namespace

HistoryExport::HistoryExport(FacadeQuestions& facade, RowWriter& writer, OnProgress onProgress,
                             TakeLost takeLost)
    : m_facade(facade),
      m_writer(writer),
      m_onProgress(std::move(onProgress)),
      m_takeLost(std::move(takeLost)) {}

HistoryExport::Outcome HistoryExport::run(const HistoryRequest& request) {
    const bool isPaged =
        request.list == QLatin1String("orders") || request.list == QLatin1String("deals");
    return isPaged ? runPages(request) : runParts(partsOf(request));
}

bool HistoryExport::wasCalled(const QString& function, Outcome* outcome) const {
    outcome->isInterrupted = m_facade.interrupted();
    if (m_facade.absent().contains(function)) {
        outcome->fault = QStringLiteral("the plug-in has no function %1").arg(function);
    }
    return outcome->isComplete();
}

bool HistoryExport::isWhole(int part, int parts, Outcome* outcome) const {
    const QStringList lost = m_takeLost ? m_takeLost() : QStringList();
    if (!lost.isEmpty()) {
        outcome->fault = QStringLiteral("section %1 of %2 was not received whole: %3 is missing")
                             .arg(part)
                             .arg(parts)
                             .arg(lost.join(QStringLiteral("; ")));
    }
    return lost.isEmpty();
}

bool HistoryExport::write(const QJsonArray& rows, int from, Outcome* outcome) {
    for (int i = from; i < rows.size(); ++i) {
        if (!m_writer.add(rows.at(i).toObject())) {
            outcome->fault = QStringLiteral("the rows could not be written");
            return false;
        }
    }
    return true;
}

HistoryExport::Outcome HistoryExport::runPages(const HistoryRequest& request) {
    const QString function = request.list == QLatin1String("orders")
                                 ? QStringLiteral("GetHistoryEntrustRecordList")
                                 : QStringLiteral("GetHistoryDealRecordList");
    Outcome outcome;
    qint64 done = 0;
    for (qint64 pageNo = 1;; ++pageNo) {
        const QJsonObject params{
            {UserAccount::tradingAccount, request.accounts.join(QLatin1Char(','))},
            {System::pageNo, pageNo},
            {System::pageSize, request.pageSize}};
        const QString text =
            QString::fromUtf8(QJsonDocument(params).toJson(QJsonDocument::Compact));
        const QJsonArray page =
            m_facade.ask(function, {text, isoText(request.from), isoText(request.to)}).toArray();
        if (!wasCalled(function, &outcome)) {
            return outcome;
        }
        const qint64 total = wholeNumber(page.at(0).toObject().value(System::totalSize));
        const int rows = page.size() - 1;
        // The first element is the header of the answer, and comes with every success.
        if (rows < 0 || (rows == 0 && done < total)) {
            outcome.fault = QStringLiteral("page %1 was not received").arg(pageNo);
            return outcome;
        }
        if (!write(page, 1, &outcome)) {
            return outcome;
        }
        done += rows;
        m_onProgress(done, total);
        if (pageNo * request.pageSize >= total) {
            if (done != total) {
                outcome.fault =
                    QStringLiteral("%1 rows were received, the total is %2").arg(done).arg(total);
            }
            return outcome;
        }
    }
}

QList<HistoryExport::Part> HistoryExport::partsOf(const HistoryRequest& request) const {
    QList<Part> parts;
    if (request.list == QLatin1String("delivery")) {
        for (const QStringList& chunk : chunksOf(request)) {
            parts.append({QStringLiteral("GetHistoryAssetDeliveryReports"), chunk, Place::Output});
        }
    } else if (request.list == QLatin1String("statistics")) {
        for (const QStringList& chunk : chunksOf(request)) {
            parts.append({QStringLiteral("GetHistoryDealStatisticsList"), chunk, Place::Result});
        }
    } else if (request.list == QLatin1String("funds")) {
        for (const QStringList& chunk : chunksOf(request)) {
            parts.append({QStringLiteral("GetHistoryNormalFundInfo"), chunk, Place::Result});
        }
        for (const QString& day :
             request.hasMarginAccount ? isoTradeDays(request) : QStringList()) {
            parts.append({QStringLiteral("GetHistoryMarginFundInfo"),
                          {asJson(request.accounts), day},
                          Place::ResultMap});
        }
    } else {
        for (const QString& day : isoTradeDays(request)) {
            for (const QString& product : request.accounts) {
                parts.append({QStringLiteral("GetHistoryAppraisementInfo"),
                              {asJson({product}), day, isoText(request.today)},
                              Place::Result});
            }
        }
    }
    return parts;
}

HistoryExport::Outcome HistoryExport::runParts(const QList<Part>& parts) {
    Outcome outcome;
    if (m_takeLost) {
        m_takeLost();  // what others asked for before
    }
    for (int i = 0; i < parts.size(); ++i) {
        const Part& part = parts.at(i);
        const QJsonObject answer = m_facade.call(part.function, part.arguments);
        if (!wasCalled(part.function, &outcome) || !isWhole(i + 1, parts.size(), &outcome)) {
            return outcome;
        }
        const QJsonValue result = answer.value(QLatin1String("result"));
        QJsonArray rows = result.toArray();
        if (part.place == Place::ResultMap) {
            for (const auto& row : result.toObject()) {
                rows.append(row);
            }
        } else if (part.place == Place::Output) {
            rows = answer.value(QLatin1String("out"))
                       .toArray()
                       .at(0)
                       .toObject()
                       .value(QLatin1String("value"))
                       .toArray();
        }
        if (!write(rows, 0, &outcome)) {
            return outcome;
        }
        m_onProgress(i + 1, parts.size());
    }
    return outcome;
}
