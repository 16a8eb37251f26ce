#pragma once

#include <QDate>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QVariantMap>
#include <QtTest>
#include <atomic>
#include <mutex>

#include "client_world.h"
#include "history_merge.h"
#include "log_capture.h"
#include "scripted_link.h"
#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

inline const QString kDeals = Velmar_MsgType::queryHistoryExecutionRequest;
inline const QString kEntrusts = Velmar_MsgType::queryHistoryExchangeOrderRequest;
inline const QString kStatistics = Velmar_MsgType::salesTradeRealGatherHistoryRequest;

/// Symbols are "<securityID>.<exchange>"; counts the look-ups. Any thread.
class FakeSymbols : public SymbolDataReader {
public:
    QString symbolOf(const QString& securityID, const QString& exchange) const override {
        ++lookups;
        return securityID + QLatin1Char('.') + exchange;
    }
    QVariantMap detailsOf(const QString&) const override { return {}; }
    QString securityTypeOf(const QString&) const override { return {}; }
    int displayFactorOf(const QString& symbol) const override { return factors.value(symbol, 1); }
    QMap<QString, QVariantMap> hongKongRates() const override { return {}; }

    mutable std::atomic<int> lookups{0};
    QHash<QString, int> factors;
};

/// Keeps the merged lists instead of entering them. Any thread.
class RecordingMerge : public HistoryMerge {
public:
    void AssembleHistoryEntrustDealList(const QString& msgType,
                                        QList<QVariantMap> detailList) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        types.append(msgType);
        lists.append(detailList);
    }

    QStringList types;
    QList<QList<QVariantMap>> lists;

private:
    std::mutex m_lock;
};

inline QVariantMap dealRow(const QString& account, const QString& date, const QString& orderID,
                           const QString& execID) {
    return {{UserAccount::tradingAccount, account},
            {UserAccount::tradeDate, date},
            {Security::orderID, orderID},
            {Security::execID, execID},
            {Security::securityID, "600000"},
            {UserAccount::securityExchange, "SH"},
            {UserAccount::ExchangeExecType, "0"},
            {UserAccount::ExchangeExecStat, ExchangeExeStat::filled}};
}

inline QVariantMap entrustRow(const QString& account, const QString& date, const QString& orderID) {
    return {{UserAccount::tradingAccount, account},
            {UserAccount::tradeDate, date},
            {Security::orderID, orderID},
            {Security::securityID, "600000"},
            {UserAccount::securityExchange, "SH"},
            {Security::orderQty, 1000},
            {Security::cumQty, 300},
            {Security::cancelledQty, 200}};
}

/// Deals "O00001E" on, one order each, all of account A1 on 2026-01-05.
inline QList<QVariantMap> dealRows(int count) {
    QList<QVariantMap> rows;
    for (int i = 1; i <= count; ++i) {
        rows.append(
            dealRow("A1", "20260105", QStringLiteral("O%1").arg(i, 5, 10, QChar('0')), "E"));
    }
    return rows;
}

inline QList<QVariantMap> entrustRows(int count) {
    QList<QVariantMap> rows;
    for (int i = 1; i <= count; ++i) {
        rows.append(entrustRow("A1", "20260105", QStringLiteral("O%1").arg(i, 5, 10, QChar('0'))));
    }
    return rows;
}

/// The page that a request by number names, with the true total.
inline QVariant pageOf(const QVariant& requestBody, const QList<QVariantMap>& all) {
    const QVariantMap request = headerOf(requestBody);
    const int size = request.value(System::pageSize).toInt();
    const int first = (request.value(System::pageNo).toInt() - 1) * size;
    return makeAnswer(requestBody, all.mid(first, size), {{System::totalSize, all.size()}});
}

inline ScriptedReply pagesOf(const QList<QVariantMap>& all) {
    return ScriptedReply::with([all](const QVariant& body) { return pageOf(body, all); });
}

/// A scripted server, a presenter and symbols, for one test function.
class HistoryWorld {
public:
    explicit HistoryWorld(const StaticDbBuilder& staticData = {})
        : m_world({}, staticData), presenter(new RecordingPresenter) {
        presenter->initPresenter();
    }
    ~HistoryWorld() { presenter->deleteLater(); }
    Q_DISABLE_COPY(HistoryWorld)

    ScriptedLink& link() { return m_world.link(); }
    /// The numbers of the pages that the requests of the type named, in order of arrival.
    QList<int> pagesAsked(const QString& type) {
        QList<int> pages;
        for (const ScriptedLink::Request& request : link().requests(type)) {
            pages.append(request.header.value(System::pageNo).toInt());
        }
        return pages;
    }

private:
    ClientWorld m_world;

public:
    FakeSymbols symbols;
    RecordingPresenter* const presenter;
};

/// The debug lines of the history, in order.
inline QStringList historyLines(const LogCapture& log, QtMsgType type = QtDebugMsg) {
    QStringList texts;
    for (const LogCapture::Line& line : log.lines()) {
        if (line.type == type && line.category == QLatin1String("velmar.history")) {
            texts.append(line.text);
        }
    }
    return texts;
}

inline QStringList valuesOf(const QList<QVariantMap>& rows, const QString& field) {
    QStringList values;
    for (const QVariantMap& row : rows) {
        values.append(row.value(field).toString());
    }
    return values;
}
