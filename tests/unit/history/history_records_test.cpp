#include "history_records.h"

#include <QtTest>
#include <limits>

#include "history_fixture.h"

namespace {

const QDate kFirst(2026, 1, 5);
const QDate kLast(2026, 1, 9);

/// A world whose static configuration has this "MaxNum"; without one when it is empty.
StaticDbBuilder withMaxNum(const QString& maxNum) {
    StaticDbBuilder builder;
    if (!maxNum.isEmpty()) {
        builder.section("ProductReports", {{"MaxNum", maxNum}});
    }
    return builder;
}

}  // namespace

/// Orders and deals by a filter and for exports.
class HistoryRecordsTest : public QObject {
    Q_OBJECT

private slots:
    void filter_request_hasTheCallersFieldsFlagsAndDates_data() {
        QTest::addColumn<bool>("isDeals");
        QTest::newRow("deals") << true;
        QTest::newRow("orders") << false;
    }
    void filter_request_hasTheCallersFieldsFlagsAndDates() {
        QFETCH(bool, isDeals);
        HistoryWorld world;
        const QString type = isDeals ? kDeals : kEntrusts;
        world.link().on(type, pagesOf(isDeals ? dealRows(3) : entrustRows(3)));
        QVariantMap params{{UserAccount::tradingAccount, "A1"},
                           {System::pageNo, 2},
                           {System::pageSize, 2},
                           {System::msgType, "another"},
                           {System::startDate, "another"}};
        QVariantMap expectedParams = params;
        expectedParams.insert(AppraisementCalculate::IsIncludeCancel, "1");
        if (isDeals) {
            expectedParams.insert(AppraisementCalculate::IsIncludeDischarge, "1");
        }
        const HistoryRecords records;
        const auto list =
            isDeals ? records.GetHistoryDealRecordList(world.presenter, params, kFirst, kLast)
                    : records.GetHistoryEntrustRecordList(world.presenter, params, kFirst, kLast);
        QCOMPARE(params, expectedParams);
        QVariantMap sent = expectedParams;
        sent.insert(System::msgType, type);
        sent.insert(System::startDate, 20260105);
        sent.insert(System::endDate, 20260109);
        QCOMPARE(world.link().lastRequest().header, sent);
        // The header comes first, then the rows.
        QCOMPARE(list.size(), 2);
        QCOMPARE(list.first().value(System::totalSize).toInt(), 3);
        QCOMPARE(list.last().value(Security::orderID).toString(), QString("O00003"));
    }

    void filter_pageNumberMissing_onlyOrdersSendOne() {
        HistoryWorld world;
        for (const QString& type : {kDeals, kEntrusts}) {
            world.link().on(type, ScriptedReply::rows({}));
        }
        QVariantMap params{{System::pageSize, 5}};
        const HistoryRecords records;
        // A list of one element: the header.
        QCOMPARE(records.GetHistoryDealRecordList(world.presenter, params, kFirst, kLast).size(),
                 1);
        QCOMPARE(records.GetHistoryEntrustRecordList(world.presenter, params, kFirst, kLast).size(),
                 1);
        QVERIFY(!world.link().lastRequest(kDeals).header.contains(System::pageNo));
        QCOMPARE(world.link().lastRequest(kEntrusts).header.value(System::pageNo).toInt(), 0);
    }

    void records_pagesOfAThousand_areJoined() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf(dealRows(2000)));
        world.link().on(kEntrusts, pagesOf(entrustRows(0)));
        QString error = "old";
        const HistoryRecords records;
        const auto rows =
            records.GetHistoryDealExportList(world.presenter, {"A1", "A2"}, kFirst, kLast, error);
        QCOMPARE(rows, dealRows(2000));
        QVERIFY(error.isEmpty());
        QCOMPARE(world.pagesAsked(kDeals), (QList<int>{1, 2}));
        const QVariantMap expected{{UserAccount::tradingAccount, "A1,A2"},
                                   {System::startDate, 20260105},
                                   {System::endDate, 20260109},
                                   {AppraisementCalculate::IsIncludeCancel, "1"},
                                   {AppraisementCalculate::IsIncludeDischarge, "1"},
                                   {System::msgType, kDeals},
                                   {System::pageNo, 2},
                                   {System::pageSize, 1000}};
        QCOMPARE(world.link().lastRequest(kDeals).header, expected);
        // Orders have no second flag; no accounts are one empty text.
        QVERIFY(records.GetHistoryEntrustExportList(world.presenter, {}, kFirst, kLast, error)
                    .isEmpty());
        const QVariantMap sent = world.link().lastRequest(kEntrusts).header;
        QVERIFY(!sent.contains(AppraisementCalculate::IsIncludeDischarge));
        QCOMPARE(sent.value(UserAccount::tradingAccount), QVariant(QString()));
        QVERIFY(error.isEmpty());
    }

    void records_pagesAreCountedInThousands_notByTheirRows() {
        HistoryWorld world;
        // Pages of one row each, with a total of two pages.
        world.link().on(kDeals, [](const QVariant& body) {
            const QString page = headerOf(body).value(System::pageNo).toString();
            return makeAnswer(body, {dealRow("A1", "20260105", page, "E")},
                              {{System::totalSize, 1001}});
        });
        QString error;
        const auto rows = HistoryRecords().queryHistoryDealRecordList(world.presenter, "A1", kFirst,
                                                                      kLast, error);
        QCOMPARE(valuesOf(rows, Security::orderID), (QStringList{"1", "2"}));
    }

    void records_thatGetNowhere_failWithAText_data() {
        QTest::addColumn<int>("rowsPerPage");
        QTest::addColumn<int>("requests");
        QTest::addColumn<QString>("error");
        QTest::newRow("the same full page") << 1000 << 2 << "page 2 is the same as the one before";
        QTest::newRow("empty page") << 0 << 1 << "page 1 is empty, the total is 2000000000";
    }
    void records_thatGetNowhere_failWithAText() {
        QFETCH(int, rowsPerPage);
        QFETCH(int, requests);
        QFETCH(QString, error);
        HistoryWorld world;
        world.link().on(
            kDeals, ScriptedReply::rows(dealRows(rowsPerPage), {{System::totalSize, 2000000000}}));
        const LogCapture log;
        QString text;
        QVERIFY(HistoryRecords()
                    .queryHistoryDealRecordList(world.presenter, "A1", kFirst, kLast, text)
                    .isEmpty());
        QCOMPARE(text, error);
        QVERIFY(log.contains(QtWarningMsg, error));
        QCOMPARE(world.link().requestCount(kDeals), requests);
    }

    void records_fullPageWithAnUnusableTotal_failWithAText_data() {
        QTest::addColumn<QVariant>("total");
        QTest::addColumn<QString>("shown");
        QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN()) << "nan";
        QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity()) << "inf";
        QTest::newRow("very large") << QVariant(1e300) << "1e+300";
        QTest::newRow("no number") << QVariant("many") << "many";
        QTest::newRow("negative") << QVariant(-1) << "-1";
        QTest::newRow("true") << QVariant(true) << "true";
    }
    void records_fullPageWithAnUnusableTotal_failWithAText() {
        QFETCH(QVariant, total);
        QFETCH(QString, shown);
        HistoryWorld world;
        world.link().on(kDeals, ScriptedReply::rows(dealRows(1000), {{System::totalSize, total}}));
        const HistoryRecords records;
        QString error;
        const LogCapture log;
        QVERIFY(records.GetHistoryDealExportList(world.presenter, {"A1"}, kFirst, kLast, error)
                    .isEmpty());
        QCOMPARE(error, "the total \"" + shown + "\" is unusable");
        QVERIFY(log.contains(QtWarningMsg, error));
        QCOMPARE(world.link().requestCount(kDeals), 1);
        // A page that is not full is the last one all the same.
        world.link().on(kDeals, ScriptedReply::rows(dealRows(999), {{System::totalSize, total}}));
        QCOMPARE(
            records.GetHistoryDealExportList(world.presenter, {"A1"}, kFirst, kLast, error).size(),
            999);
        QVERIFY(error.isEmpty());
    }

    void maxRows_fullPageWithAnUnusableTotal_areTheRowsSoFarWithAWarning() {
        HistoryWorld world;
        world.link().on(kEntrusts,
                        ScriptedReply::rows(entrustRows(1000), {{System::totalSize, "many"}}));
        QVariantMap params;
        const LogCapture log;
        QCOMPARE(HistoryRecords()
                     .queryHistoryMaxEntrustRecordList(world.presenter, params, kFirst, kLast, 5000)
                     .size(),
                 1001);
        QVERIFY(log.contains(QtWarningMsg, "the query ends early: the total \"many\" is unusable"));
    }

    void records_totalMissingOrZero_endAfterOnePage_data() {
        QTest::addColumn<QVariant>("total");
        QTest::newRow("missing") << QVariant();
        QTest::newRow("zero") << QVariant(0);
    }
    void records_totalMissingOrZero_endAfterOnePage() {
        QFETCH(QVariant, total);
        HistoryWorld world;
        QVariantMap header;
        if (total.isValid()) {
            header.insert(System::totalSize, total);
        }
        world.link().on(kDeals, ScriptedReply::rows(dealRows(1000), header));
        QString error;
        QCOMPARE(HistoryRecords()
                     .GetHistoryDealExportList(world.presenter, {"A1"}, kFirst, kLast, error)
                     .size(),
                 1000);
        QCOMPARE(world.link().requestCount(kDeals), 1);
    }

    void everyQuery_invalidDate_isEmptyWithAWarningAndNoRequest() {
        HistoryWorld world;
        const HistoryRecords records;
        for (const auto& [first, last] :
             QList<QPair<QDate, QDate>>{{QDate(), kLast}, {kFirst, QDate()}}) {
            const LogCapture log;
            QVariantMap params{{System::pageNo, 1}, {System::pageSize, 5}};
            QVERIFY(
                records.GetHistoryDealRecordList(world.presenter, params, first, last).isEmpty());
            QVERIFY(records.GetHistoryEntrustRecordList(world.presenter, params, first, last)
                        .isEmpty());
            QVERIFY(records.GetHistoryDealGatherRecordList(world.presenter, params, first, last, 9)
                        .isEmpty());
            QVERIFY(!params.contains(System::pageNo) && !params.contains(System::pageSize));
            QString error;
            QVERIFY(records.GetHistoryDealExportList(world.presenter, {"A1"}, first, last, error)
                        .isEmpty());
            QCOMPARE(error, QString("a date of the range is invalid"));
            error.clear();
            QVERIFY(records.GetHistoryEntrustExportList(world.presenter, {"A1"}, first, last, error)
                        .isEmpty());
            QCOMPARE(error, QString("a date of the range is invalid"));
            QCOMPARE(log.texts(QtWarningMsg).filter("refuses an invalid date").size(), 5);
        }
        QCOMPARE(world.link().requestCount(), 0);
    }

    void everyQuery_reversedRange_isSentAsItIs() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf({}));
        QString error;
        HistoryRecords().GetHistoryDealExportList(world.presenter, {"A1"}, kLast, kFirst, error);
        const QVariantMap sent = world.link().lastRequest(kDeals).header;
        QCOMPARE(sent.value(System::startDate).toInt(), 20260109);
        QCOMPARE(sent.value(System::endDate).toInt(), 20260105);
        QVERIFY(error.isEmpty());
    }

    void filter_numbersBeyond32Bits_stayWhole() {
        HistoryWorld world(withMaxNum("50"));
        world.link().on(kEntrusts, ScriptedReply::rows({}));
        const qint64 large = (1LL << 32) + 50;
        QVariantMap params{{System::pageNo, large}, {System::pageSize, large}};
        HistoryRecords().GetHistoryEntrustRecordList(world.presenter, params, kFirst, kLast);
        const QVariantMap sent = world.link().lastRequest().header;
        QCOMPARE(sent.value(System::pageNo).toLongLong(), large);
        QCOMPARE(sent.value(System::pageSize).toLongLong(), large);
    }

    void records_withoutPresenterOrBeyondAHundredYears_haveAnErrorText() {
        HistoryWorld world;
        const HistoryRecords records;
        QString error;
        records.GetHistoryDealExportList(nullptr, {"A1"}, kFirst, kLast, error);
        QVERIFY2(error.contains("needs a presenter"), qPrintable(error));
        error.clear();
        records.GetHistoryEntrustExportList(nullptr, {"A1"}, kFirst, kLast, error);
        QVERIFY2(error.contains("needs a presenter"), qPrintable(error));
        error.clear();
        const QDate far = kFirst.addYears(10000);
        QVERIFY(records.GetHistoryDealExportList(world.presenter, {"A1"}, kFirst, far, error)
                    .isEmpty());
        QCOMPARE(error, QString("the range of days is too long"));
        QVariantMap params;
        QVERIFY(records.GetHistoryDealRecordList(world.presenter, params, kFirst, far).isEmpty());
        QVERIFY(records.GetHistoryDealGatherRecordList(world.presenter, params, kFirst, far, 10)
                    .isEmpty());
        QCOMPARE(world.link().requestCount(), 0);
    }

    void maxRows_limit_countsTheHeader_data() {
        QTest::addColumn<bool>("isDeals");
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("maxNum");
        QTest::addColumn<int>("elements");
        QTest::addColumn<int>("requests");
        QTest::newRow("deals, on the first page") << true << 2001 << 10 << 11 << 1;
        QTest::newRow("deals, the last page runs past the limit")
            << true << 2500 << 2100 << 2501 << 2;
        QTest::newRow("deals, one page runs past the limit") << true << 30 << 10 << 31 << 1;
        QTest::newRow("deals, limit 0, one page") << true << 30 << 0 << 31 << 1;
        QTest::newRow("deals, limit 0, more") << true << 2001 << 0 << 2 << 1;
        QTest::newRow("deals, below the limit") << true << 30 << 100 << 31 << 1;
        QTest::newRow("deals, none") << true << 0 << 100 << 1 << 1;
        QTest::newRow("orders, on the first page") << false << 1001 << 10 << 11 << 1;
        QTest::newRow("orders, the last page stops at the limit")
            << false << 1500 << 1100 << 1101 << 2;
        QTest::newRow("orders, one page stops at the limit") << false << 30 << 10 << 11 << 1;
        QTest::newRow("orders, limit 0") << false << 30 << 0 << 2 << 1;
        QTest::newRow("orders, negative limit") << false << 30 << -1 << 2 << 1;
    }
    void maxRows_limit_countsTheHeader() {
        QFETCH(bool, isDeals);
        QFETCH(int, total);
        QFETCH(int, maxNum);
        QFETCH(int, elements);
        QFETCH(int, requests);
        HistoryWorld world;
        const QString type = isDeals ? kDeals : kEntrusts;
        world.link().on(type, pagesOf(isDeals ? dealRows(total) : entrustRows(total)));
        QVariantMap params{{"x", 1}, {System::pageNo, 9}, {System::pageSize, 7}};
        const HistoryRecords records;
        const auto list = isDeals ? records.GetHistoryDealGatherRecordList(world.presenter, params,
                                                                           kFirst, kLast, maxNum)
                                  : records.queryHistoryMaxEntrustRecordList(
                                        world.presenter, params, kFirst, kLast, maxNum);
        QCOMPARE(list.size(), elements);
        QCOMPARE(list.first().value(System::totalSize).toInt(), total);
        QVERIFY(!list.first().contains(Security::orderID));
        QCOMPARE(world.link().requestCount(type), requests);
        QCOMPARE(params, (QVariantMap{{"x", 1}}));
        const QVariantMap sent = world.link().requests(type).first().header;
        QCOMPARE(sent.value(System::pageNo).toInt(), 1);
        QCOMPARE(sent.value(System::pageSize).toInt(), isDeals ? 2000 : 1000);
        QCOMPARE(sent.value("x").toInt(), 1);
    }

    void maxRows_thatGetNowhere_returnTheRowsSoFar() {
        HistoryWorld world;
        world.link().on(kDeals,
                        ScriptedReply::rows(dealRows(2000), {{System::totalSize, 2000000000}}));
        QVariantMap params;
        QCOMPARE(HistoryRecords()
                     .queryHistoryMaxDealRecordList(world.presenter, params, kFirst, kLast, 1000000)
                     .size(),
                 2001);
        QCOMPARE(world.link().requestCount(kDeals), 2);
    }

    void filter_configuredLargestSize_readsAllRows_data() {
        QTest::addColumn<bool>("isDeals");
        QTest::addColumn<QString>("configured");
        QTest::addColumn<QVariant>("pageSize");
        QTest::addColumn<int>("sentSize");
        QTest::addColumn<int>("elements");
        QTest::newRow("orders, the size") << false << "50" << QVariant(50) << 1000 << 51;
        QTest::newRow("orders, as a text") << false << "50" << QVariant("50") << 1000 << 51;
        QTest::newRow("orders, another size") << false << "50" << QVariant(49) << 49 << 50;
        QTest::newRow("orders, not configured, size 0") << false << "" << QVariant(0) << 1000 << 2;
        QTest::newRow("orders, not configured, no size") << false << "" << QVariant() << 1000 << 2;
        // The last page of deals runs past the limit.
        QTest::newRow("deals, the size") << true << "50" << QVariant(50) << 2000 << 61;
        QTest::newRow("deals, another size") << true << "50" << QVariant(49) << 49 << 50;
        QTest::newRow("deals, not configured, size 0") << true << "" << QVariant(0) << 2000 << 61;
    }
    void filter_configuredLargestSize_readsAllRows() {
        QFETCH(bool, isDeals);
        QFETCH(QString, configured);
        QFETCH(QVariant, pageSize);
        QFETCH(int, sentSize);
        QFETCH(int, elements);
        HistoryWorld world(withMaxNum(configured));
        world.link().on(kEntrusts, pagesOf(entrustRows(60)));
        world.link().on(kDeals, pagesOf(dealRows(60)));
        QVariantMap params{{System::pageNo, 1}};
        if (pageSize.isValid()) {
            params.insert(System::pageSize, pageSize);
        }
        const HistoryRecords records;
        const auto list =
            isDeals ? records.GetHistoryDealRecordList(world.presenter, params, kFirst, kLast)
                    : records.GetHistoryEntrustRecordList(world.presenter, params, kFirst, kLast);
        QCOMPARE(world.link().lastRequest().header.value(System::pageSize).toInt(), sentSize);
        QCOMPARE(list.size(), elements);
        QCOMPARE(params.contains(System::pageSize), sentSize < 1000);
    }
};

QTEST_GUILESS_MAIN(HistoryRecordsTest)
#include "history_records_test.moc"
