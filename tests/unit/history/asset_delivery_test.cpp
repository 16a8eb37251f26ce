#include "asset_delivery.h"

#include <QtTest>
#include <algorithm>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "report_fixture.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kType = Velmar_MsgType::queryHistoryAssetDeliveryRequest;
inline const QString kTimedOut = QStringLiteral("查询交割报表超时！");
inline const QString kFailed = QStringLiteral("查询交割报表失败！");
const QDate kFirst(2024, 1, 1);

QString text(const QDate& day) {
    return day.toString("yyyyMMdd");
}

QVariantMap deliveryRow(const QDate& day, const QVariantMap& more = {}) {
    QVariantMap row{
        {UserAccount::tradeDate, text(day)},    {System::businessDate, text(day.addDays(1))},
        {AssetDeliver::BusinessTime, "093015"}, {Security::securityID, "600000"},
        {UserAccount::securityExchange, "SH"},  {Security::symbol, "of the server"}};
    for (auto field = more.cbegin(); field != more.cend(); ++field) {
        row.insert(field.key(), field.value());
    }
    return row;
}

/// A row for each first of a month in the request's days.
QVariant monthly(const QVariant& body) {
    const QVariantMap request = headerOf(body);
    QList<QVariantMap> rows;
    const QDate last = QDate::fromString(request.value(System::endDate).toString(), "yyyyMMdd");
    for (QDate day = QDate::fromString(request.value(System::startDate).toString(), "yyyyMMdd");
         day <= last; day = day.addDays(1)) {
        if (day.day() == 1) {
            rows.append(deliveryRow(day));
        }
    }
    return makeAnswer(body, rows);
}

QStringList daysOf(const QList<QVariantMap>& rows) {
    QStringList days;
    for (const QVariantMap& row : rows) {
        days.append(row.value(UserAccount::tradingAccount).toString() + " " +
                    text(row.value(UserAccount::tradeDate).toDate()));
    }
    return days;
}

}  // namespace

class AssetDeliveryTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ReportWorld>();
        m_delivery = std::make_unique<AssetDelivery>(m_symbols);
        link().on(kType, monthly);
    }
    void cleanup() {
        m_delivery.reset();
        m_world.reset();
    }

    void chunks_data() {
        QTest::addColumn<int>("days");
        QTest::addColumn<QList<int>>("sizes");
        QTest::newRow("none") << 0 << QList<int>{};
        QTest::newRow("1") << 1 << QList<int>{1};
        QTest::newRow("30") << 30 << QList<int>{30};
        QTest::newRow("31") << 31 << QList<int>{31};
        QTest::newRow("32") << 32 << QList<int>{30, 2};
        QTest::newRow("61") << 61 << QList<int>{30, 31};
        QTest::newRow("62") << 62 << QList<int>{30, 30, 2};
        QTest::newRow("91") << 91 << QList<int>{30, 30, 31};
    }
    void chunks() {
        QFETCH(int, days);
        QFETCH(QList<int>, sizes);
        const QDate last = kFirst.addDays(days - 1);
        QDate next = kFirst;
        QList<int> found;
        for (const auto& chunk : deliveryChunks(kFirst, last)) {
            QCOMPARE(chunk.first, next);
            found.append(int(chunk.first.daysTo(chunk.second)) + 1);
            next = chunk.second.addDays(1);
        }
        QCOMPARE(found, sizes);
        QCOMPARE(next, last.addDays(1));
        QVERIFY(deliveryChunks(QDate(), last).isEmpty());
        QVERIFY(deliveryChunks(kFirst, QDate()).isEmpty());
        // The same as requests of a query.
        query({"A"}, kFirst, last);
        QCOMPARE(link().requestCount(), sizes.size());
    }

    void request_fields() {
        query({"A"}, kFirst, kFirst.addDays(31));
        QList<ScriptedLink::Request> sent = link().requests();
        QCOMPARE(sent.size(), 2);
        std::sort(sent.begin(), sent.end(), [](const auto& one, const auto& other) {
            return one.header.value(System::startDate).toString() <
                   other.header.value(System::startDate).toString();
        });
        QVariantMap expected{{UserAccount::tradingAccount, "A"}, {System::positionStr, ""},
                             {System::requestNumber, 1000},      {System::msgType, kType},
                             {System::startDate, "20240101"},    {System::endDate, "20240130"}};
        QCOMPARE(sent.at(0).header, expected);
        expected.insert(System::startDate, "20240131");
        expected.insert(System::endDate, "20240201");
        QCOMPARE(sent.at(1).header, expected);
        QCOMPARE(sent.at(0).header.value(System::startDate).userType(), int(QMetaType::QString));
        QCOMPARE(sent.at(0).timeOutMs, m_world->presenter()->getRequestTimeOut() * 1000);
    }

    void row_fieldsAreParsed() {
        const QList<QVariantMap> rows = query({"A"}, kFirst, kFirst);
        QCOMPARE(
            rows,
            (QList<QVariantMap>{deliveryRow(kFirst, {{UserAccount::tradingAccount, "A"},
                                                     {UserAccount::tradeDate, kFirst},
                                                     {System::businessDate, kFirst.addDays(1)},
                                                     {AssetDeliver::BusinessTime, QTime(9, 30, 15)},
                                                     {Security::symbol, "600000.SH"}})}));
    }

    void row_valuesThatDoNotParse_areInvalid() {
        link().on(
            kType,
            ScriptedReply::rows({deliveryRow(
                kFirst, {{System::businessDate, "soon"}, {AssetDeliver::BusinessTime, "25:99"}})}));
        const QList<QVariantMap> rows = query({"A"}, kFirst, kFirst);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.first().value(System::businessDate), QVariant(QDate()));
        QCOMPARE(rows.first().value(AssetDeliver::BusinessTime), QVariant(QTime()));
    }

    void row_dateThatDoesNotParseOrWasNotRequested_isDroppedWithAWarning() {
        link().on(kType, ScriptedReply::rows(
                             {deliveryRow(kFirst), deliveryRow(kFirst.addDays(1)),
                              deliveryRow(kFirst, {{UserAccount::tradeDate, "2024-01-01"}}),
                              deliveryRow(kFirst, {{UserAccount::tradeDate, QVariant()}})}));
        const LogCapture log;
        QCOMPARE(query({"A"}, kFirst, kFirst).size(), 1);
        QCOMPARE(log.count(QtDebugMsg, "本次查询获取到4条记录"), 1);
        QVERIFY(log.contains(QtWarningMsg, "3 have a date that does not parse"));
    }

    void secondCall_startsNoTask_evenForDaysWithoutRows() {
        const QDate last = kFirst.addDays(99);
        const QStringList expected{"A 20240101", "A 20240201", "A 20240301", "A 20240401"};
        QCOMPARE(daysOf(query({"A"}, kFirst, last)), expected);
        QCOMPARE(link().requestCount(), 4);
        QCOMPARE(daysOf(query({"A"}, kFirst, last)), expected);
        QCOMPARE(daysOf(query({"A"}, kFirst.addDays(1), kFirst.addDays(30))), QStringList());
        QCOMPARE(link().requestCount(), 4);
    }

    void heldDaysInTheMiddle_leaveTwoRuns() {
        query({"A"}, kFirst.addDays(3), kFirst.addDays(5));
        link().clearRequests();
        query({"A"}, kFirst, kFirst.addDays(9));
        QStringList ranges;
        for (const ScriptedLink::Request& request : link().requests()) {
            ranges.append(request.header.value(System::startDate).toString() + "-" +
                          request.header.value(System::endDate).toString());
        }
        ranges.sort();
        QCOMPARE(ranges, (QStringList{"20240101-20240103", "20240107-20240110"}));
    }

    void reports_keepTheRowsTheyHad() {
        QList<QVariantMap> reports{{{"own", 1}}};
        QCOMPARE(m_delivery->GetHistoryAssetDeliveryReports(m_world->presenter(), {"A"}, kFirst,
                                                            kFirst, reports),
                 0);
        QCOMPARE(reports.size(), 2);
        QCOMPARE(reports.first(), (QVariantMap{{"own", 1}}));
    }

    void rows_comeByAccountAsGivenAndByDay() {
        link().on(kType, [](const QVariant& body) {
            return makeAnswer(body, {deliveryRow(kFirst.addDays(2)), deliveryRow(kFirst),
                                     deliveryRow(kFirst.addDays(1))});
        });
        QCOMPARE(daysOf(query({"B", "A"}, kFirst, kFirst.addDays(2))),
                 (QStringList{"B 20240101", "B 20240102", "B 20240103", "A 20240101", "A 20240102",
                              "A 20240103"}));
    }

    void rows_ofOneDay_keepTheServersOrder() {
        link().on(kType, ScriptedReply::rows(
                             {deliveryRow(kFirst, {{"n", 2}}), deliveryRow(kFirst, {{"n", 1}})}));
        const QList<QVariantMap> rows = query({"A"}, kFirst, kFirst);
        QCOMPARE(rows.at(0).value("n").toInt(), 2);
        QCOMPARE(rows.at(1).value("n").toInt(), 1);
    }

    void repeatedAccount_countsOnce() {
        QCOMPARE(daysOf(query({"A", "A", "A"}, kFirst, kFirst)), QStringList{"A 20240101"});
        QCOMPARE(link().requestCount(), 1);
    }

    void failedChunk_isMissingAndRequestedAgain_data() {
        QTest::addColumn<bool>("timesOut");
        QTest::newRow("refusal") << false;
        QTest::newRow("time-outs") << true;
    }
    void failedChunk_isMissingAndRequestedAgain() {
        QFETCH(bool, timesOut);
        link().on(kType, ScriptedReply::with([](const QVariant& body) {
                      const bool isSecond =
                          headerOf(body).value(System::startDate).toString() == "20240131";
                      return isSecond ? makeRefusal(body, "closed") : monthly(body);
                  }));
        const LogCapture log;
        const QDate last = kFirst.addDays(89);
        if (timesOut) {
            link().on(kType, ScriptedReply::timeOut());
            QCOMPARE(query({"A"}, kFirst, last), QList<QVariantMap>());
            QCOMPARE(log.count(QtDebugMsg, kTimedOut), 3);
            QCOMPARE(log.count(QtDebugMsg, kFailed), 0);
            QCOMPARE(link().requestCount(), 15);
        } else {
            QCOMPARE(daysOf(query({"A"}, kFirst, last)), (QStringList{"A 20240101", "A 20240301"}));
            QCOMPARE(log.count(QtDebugMsg, kFailed), 1);
            QCOMPARE(log.count(QtDebugMsg, kTimedOut), 0);
        }
        QVERIFY(log.contains(
            QtWarningMsg, timesOut ? "the delivery report lacks a run of days, the first: account "
                                     "A, 2024-01-01 to 2024-03-30; the next"
                                   : "the delivery report lacks a run of days, the first: account "
                                     "A, 2024-01-31 to 2024-02-29; the next"));
        link().on(kType, monthly);
        link().clearRequests();
        QCOMPARE(daysOf(query({"A"}, kFirst, last)),
                 (QStringList{"A 20240101", "A 20240201", "A 20240301"}));
        QCOMPARE(link().requestCount(), timesOut ? 3 : 1);
    }

    void days_invalidOrReversed_requestNothing() {
        for (const auto& range :
             {qMakePair(QDate(), kFirst), qMakePair(kFirst, QDate()), qMakePair(QDate(), QDate()),
              qMakePair(kFirst, kFirst.addDays(-1))}) {
            QVERIFY(query({"A"}, range.first, range.second).isEmpty());
        }
        QVERIFY(query({}, kFirst, kFirst).isEmpty());
        QCOMPARE(link().requestCount(), 0);
    }

    void reversedRange_readsNoHeldDay() {
        query({"A"}, kFirst, kFirst.addDays(40));
        QVERIFY(query({"A"}, kFirst.addDays(40), kFirst).isEmpty());
        QVERIFY(query({"A"}, QDate(), kFirst.addDays(40)).isEmpty());
    }

    void rangeBeyondAHundredYears_isRefused() {
        const LogCapture log;
        QVERIFY(query({"A"}, QDate(1, 1, 1), QDate(9999, 12, 31)).isEmpty());
        QCOMPARE(link().requestCount(), 0);
        QVERIFY(log.contains(QtWarningMsg, "GetHistoryAssetDeliveryReports"));
    }

    void end_isLoggedWithAccountsAndSize() {
        const LogCapture log;
        query({"A", "B"}, kFirst, kFirst);
        const QStringList lines =
            log.texts(QtDebugMsg).filter("ZnBusinessDataManager::GetHistoryAssetDeliveryReports");
        QCOMPARE(lines.size(), 1);
        const QRegularExpression form(
            "^## ZnBusinessDataManager::GetHistoryAssetDeliveryReports iRet 0 tradingAccountList "
            " \\(\"A\", \"B\"\\) , return list size: 2  took  \\d+ ms$");
        QVERIFY2(form.match(lines.first()).hasMatch(), qPrintable(lines.first()));
    }

    void noPresenter_returnsWhatIsHeldAndWarns() {
        query({"A"}, kFirst, kFirst);
        const LogCapture log;
        QList<QVariantMap> reports;
        QCOMPARE(m_delivery->GetHistoryAssetDeliveryReports(nullptr, {"A"}, kFirst,
                                                            kFirst.addDays(1), reports),
                 0);
        QCOMPARE(daysOf(reports), QStringList{"A 20240101"});
        QCOMPARE(log.count(QtDebugMsg, kFailed), 1);
        QVERIFY(log.contains(QtWarningMsg, "lacks a run of days"));
        reports.clear();
        m_delivery->GetHistoryAssetDeliveryReports(nullptr, {"A", "B"}, kFirst, kFirst.addDays(1),
                                                   reports);
        QVERIFY(
            log.contains(QtWarningMsg, "lacks 2 runs of days, the first: account A, 2024-01-02"));
    }

    void closingPresenter_holdsNothing() {
        link().on(kType, ScriptedReply::with(monthly).held());
        ZnPresenterClass* const presenter = m_world->presenter();
        QList<QVariantMap> reports;
        const LogCapture log;
        std::thread caller([&] {
            m_delivery->GetHistoryAssetDeliveryReports(presenter, {"A"}, kFirst, kFirst.addDays(99),
                                                       reports);
        });
        const bool isSent = link().waitForRequestCount(kType, 1);
        m_world->whileClosing([&] { caller.join(); });
        QVERIFY(isSent);
        QVERIFY(reports.isEmpty());
        QVERIFY(!log.contains(kFailed) && !log.contains(kTimedOut));
        QVERIFY(!log.contains(QtWarningMsg, "the delivery report lacks"));
    }

    void veryManyChunks_doNotAllWaitAtOnce() {
        // One request stays under way; a closing presenter ends the tasks that were started.
        link().on(kType, ScriptedReply::never());
        QStringList accounts;
        for (int i = 0; i < 10; ++i) {
            accounts.append(QStringLiteral("A%1").arg(i));
        }
        ZnPresenterClass* const presenter = m_world->presenter();
        QList<QVariantMap> reports;
        LogCapture log;
        std::thread caller([&] {
            m_delivery->GetHistoryAssetDeliveryReports(presenter, accounts, QDate(1924, 1, 1),
                                                       QDate(2023, 12, 31), reports);
        });
        const bool isSent = link().waitForRequestCount(kType, 1);
        m_world->whileClosing([&] { caller.join(); });
        QVERIFY(isSent);
        const int tasks = log.texts(QtDebugMsg).filter(" query finished, msgType = ").size();
        QVERIFY2(tasks > 0 && tasks < 1000, qPrintable(QString::number(tasks)));
    }

    void response_ofAnotherType_isLeftAlone() {
        const LogCapture log;
        m_delivery->QueryAssetDileveryResponse("other", requestOf(kFirst, kFirst),
                                               RequestExeStatus::timeout, {});
        QVERIFY(log.texts().isEmpty());
    }

    void response_setsTheDaysOfItsRequest() {
        m_delivery->QueryAssetDileveryResponse(
            kType, requestOf(kFirst, kFirst.addDays(1)), RequestExeStatus::success,
            {deliveryRow(kFirst), deliveryRow(kFirst.addDays(1))});
        // A later one replaces the day, also by nothing.
        m_delivery->QueryAssetDileveryResponse(kType, requestOf(kFirst, kFirst),
                                               RequestExeStatus::success, {});
        QCOMPARE(daysOf(query({"A"}, kFirst, kFirst.addDays(1))), QStringList{"A 20240102"});
        QCOMPARE(link().requestCount(), 0);
    }

    void response_withoutValidDates_holdsNothing() {
        const LogCapture log;
        m_delivery->QueryAssetDileveryResponse(
            kType, {{UserAccount::tradingAccount, "A"}, {System::startDate, "2024-01-01"}},
            RequestExeStatus::success, {deliveryRow(kFirst)});
        QVERIFY(log.contains(QtWarningMsg, "without valid dates are dropped"));
        query({"A"}, kFirst, kFirst);
        QCOMPARE(link().requestCount(), 1);
    }

    void longList_isFetchedByPosition() {
        link().on(kType, [](const QVariant& body) {
            const int first = headerOf(body).value(System::positionStr).toInt();
            QList<QVariantMap> rows;
            for (int i = first; i < qMin(first + 1000, 2500); ++i) {
                rows.append(deliveryRow(kFirst.addDays(i % 3), {{"n", i}}));
            }
            return makeAnswer(body, rows, {{System::positionStr, QString::number(first + 1000)}});
        });
        QCOMPARE(query({"A"}, kFirst, kFirst.addDays(2)).size(), 2500);
        QCOMPARE(link().requestCount(), 3);
    }

    void longList_laterPageFails_holdsNothingOfTheChunk() {
        const auto page = [](const QVariant& body) {
            const int first = headerOf(body).value(System::positionStr).toInt();
            QList<QVariantMap> rows;
            for (int i = first; i < qMin(first + 1000, 1500); ++i) {
                rows.append(deliveryRow(kFirst, {{"n", i}}));
            }
            return makeAnswer(body, rows, {{System::positionStr, QString::number(first + 1000)}});
        };
        link().on(kType, page);
        link().onOccurrence(kType, 2, ScriptedReply::refusal("closed"));
        QVERIFY(query({"A"}, kFirst, kFirst.addDays(2)).isEmpty());
        QCOMPARE(link().requestCount(), 2);
        QCOMPARE(query({"A"}, kFirst, kFirst).size(), 1500);
        QCOMPARE(link().requestCount(), 4);
    }

    void tenThousandAccounts_haveATaskEach() {
        QStringList accounts;
        for (int i = 0; i < 10000; ++i) {
            accounts.append(QStringLiteral("A%1").arg(i));
        }
        QCOMPARE(query(accounts, kFirst, kFirst).size(), 10000);
        QCOMPARE(link().requestCount(), 10000);
        const QList<QVariantMap> rows = query(accounts, kFirst, kFirst);
        QCOMPARE(rows.size(), 10000);
        QCOMPARE(rows.last().value(UserAccount::tradingAccount).toString(), accounts.last());
        QCOMPARE(link().requestCount(), 10000);
    }

    void twoCallersAtOnce_overlappingDays_holdEachRowOnce() {
        const auto daily = [](const QVariant& body) {
            const QVariantMap request = headerOf(body);
            QList<QVariantMap> rows;
            const QDate last =
                QDate::fromString(request.value(System::endDate).toString(), "yyyyMMdd");
            for (QDate day =
                     QDate::fromString(request.value(System::startDate).toString(), "yyyyMMdd");
                 day <= last; day = day.addDays(1)) {
                rows.append(deliveryRow(day));
            }
            return makeAnswer(body, rows);
        };
        link().on(kType, ScriptedReply::with(daily).held());
        QList<QVariantMap> results[2];
        std::thread first([&, this] { results[0] = query({"A"}, kFirst, kFirst.addDays(9)); });
        std::thread second(
            [&, this] { results[1] = query({"A"}, kFirst.addDays(5), kFirst.addDays(14)); });
        // Both have found the same days missing.
        const bool bothWait = link().waitForRequestCount(kType, 2);
        link().release();
        first.join();
        second.join();
        QVERIFY(bothWait);
        QCOMPARE(results[0].size(), 10);
        QCOMPARE(results[1].size(), 10);
        const QStringList all = daysOf(query({"A"}, kFirst, kFirst.addDays(14)));
        QCOMPARE(all.size(), 15);
        QCOMPARE(daysOf(results[0]), all.mid(0, 10));
        QCOMPARE(daysOf(results[1]), all.mid(5));
        QCOMPARE(link().requestCount(), 2);
    }

    void manyCallersAtOnce_holdEachRowOnce() {
        const QDate last = kFirst.addDays(365);
        std::vector<QList<QVariantMap>> results(4);
        std::vector<std::thread> callers;
        for (auto& result : results) {
            callers.emplace_back([&, this] { result = query({"A", "B"}, kFirst, last); });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        for (const auto& result : results) {
            QCOMPARE(result.size(), 24);
            QCOMPARE(result, results.front());
        }
        link().clearRequests();
        QCOMPARE(query({"A", "B"}, kFirst, last), results.front());
        QCOMPARE(link().requestCount(), 0);
    }

private:
    ScriptedLink& link() { return m_world->link(); }

    QList<QVariantMap> query(const QStringList& accounts, const QDate& first, const QDate& last) {
        QList<QVariantMap> reports;
        m_delivery->GetHistoryAssetDeliveryReports(m_world->presenter(), accounts, first, last,
                                                   reports);
        return reports;
    }

    static QVariantMap requestOf(const QDate& first, const QDate& last) {
        return {{UserAccount::tradingAccount, "A"},
                {System::startDate, text(first)},
                {System::endDate, text(last)}};
    }

    const DottedSymbols m_symbols{};
    std::unique_ptr<ReportWorld> m_world;
    std::unique_ptr<AssetDelivery> m_delivery;
};

QTEST_GUILESS_MAIN(AssetDeliveryTest)
#include "asset_delivery_test.moc"
