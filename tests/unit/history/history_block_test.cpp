#include <QElapsedTimer>
#include <QThread>
#include <QtTest>
#include <limits>
#include <thread>

#include "held_close.h"
#include "hist_entrust_deal_query_thread.h"
#include "history_fixture.h"
#include "history_lists.h"
#include "history_records.h"
#include "query_progress.h"
#include "wait_for.h"

namespace {

const QDate kDay(2026, 1, 5);

/// Fetches pages `first` to `last` of two rows each and returns what was merged.
QList<QList<QVariantMap>> runBlock(ZnPresenterClass* presenter, int first, int last,
                                   qint64 expectedTotal = 0) {
    RecordingMerge merge;
    histEntrustDealQueryThread task(presenter, "A1", 20260105, 20260105, kDeals, first, last, 2,
                                    merge);
    task.expectedTotal = expectedTotal;
    task.run();
    return merge.lists;
}

/// An answer of two rows that differ from page to page, with this total.
QVariant fullPage(const QVariant& body, const QVariant& total) {
    const int page = headerOf(body).value(System::pageNo).toInt();
    return makeAnswer(body,
                      {dealRow("A1", "20260105", QString::number(2 * page), "E"),
                       dealRow("A1", "20260105", QString::number(2 * page + 1), "E")},
                      {{System::totalSize, total}});
}

}  // namespace

/// A task of the fan-out, and how the loops end.
class HistoryBlockTest : public QObject {
    Q_OBJECT

private slots:
    void block_withoutPresenter_doesNothing() {
        const LogCapture log;
        QVERIFY(runBlock(nullptr, 1, 2).isEmpty());
        QVERIFY(log.texts().isEmpty());
    }

    void block_pages_areAskedForInOrderAndMergedTogether() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf(dealRows(9)));
        const LogCapture log;
        const auto lists = runBlock(world.presenter, 2, 4);
        QCOMPARE(world.pagesAsked(kDeals), (QList<int>{2, 3, 4}));
        QCOMPARE(lists.size(), 1);
        QCOMPARE(valuesOf(lists.first(), Security::orderID),
                 (QStringList{"O00003", "O00004", "O00005", "O00006", "O00007", "O00008"}));
        QCOMPARE(historyLines(log, QtInfoMsg),
                 QStringList{kDeals + " 20260105 20260105 2 4  thread ended"});
        const QVariantMap expected{{UserAccount::tradingAccount, "A1"},
                                   {System::startDate, 20260105},
                                   {System::endDate, 20260105},
                                   {System::msgType, kDeals},
                                   {System::pageNo, 4},
                                   {System::pageSize, 2}};
        QCOMPARE(world.link().lastRequest().header, expected);
    }

    void block_refusedPages_areNamedInOneWarning() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf(dealRows(14)));
        for (const int request : {2, 4, 5, 6}) {
            world.link().onOccurrence(kDeals, request, ScriptedReply::refusal("no"));
        }
        const LogCapture log;
        QCOMPARE(runBlock(world.presenter, 1, 7).first().size(), 6);
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{kDeals +
                             ", tradingAccount: A1, startDate: 20260105, endDate: 20260105: the "
                             "rows of page 2, 4-6 are lost, reason: no"});
    }

    void block_repeatedFailures_warnAtMostOnceASecond() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf(dealRows(2)));
        for (int request = 1; request <= 8; ++request) {
            // Another text each time.
            world.link().onOccurrence(kDeals, request,
                                      ScriptedReply::failure(QString("down %1").arg(request)));
        }
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(runBlock(world.presenter, 1, 1).size(), 1);
        const qint64 elapsedMs = timer.elapsed();
        QVERIFY(elapsedMs >= 8 * 50);
        const QStringList warnings = log.texts(QtWarningMsg);
        QVERIFY(!warnings.isEmpty());
        QCOMPARE(warnings.first(),
                 kDeals +
                     ", tradingAccount: A1, startDate: 20260105, endDate: 20260105: page 1 is "
                     "requested again: down 1");
        QVERIFY2(warnings.size() <= 1 + elapsedMs / 1000, qPrintable(warnings.join('\n')));
        QCOMPARE(historyLines(log).size(), 8);
    }

    void block_presenterCloses_endsWithoutMerging() {
        HistoryWorld world;
        RecordingPresenter* const closing = new RecordingPresenter("Test.Closing");
        closing->initPresenter();
        world.link().on(kDeals, pagesOf(dealRows(6)));
        world.link().onOccurrence(kDeals, 2, ScriptedReply::never());
        const LogCapture log;
        QList<QList<QVariantMap>> lists;
        std::thread task([&] { lists = runBlock(closing, 1, 3); });
        const bool asked = world.link().waitForRequestCount(kDeals, 2);
        {
            const HeldClose close(closing);
            task.join();
        }
        QVERIFY(asked);
        QVERIFY(lists.isEmpty());
        QCOMPARE(world.link().requestCount(kDeals), 2);
        QCOMPARE(historyLines(log, QtInfoMsg),
                 QStringList{kDeals + " 20260105 20260105 1 3  thread ended without its rows"});
    }

    void everyLoop_presenterIsClosing_sendsNothing() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const HistoryRecords records;
        for (const QString& type : {kDeals, kEntrusts}) {
            world.link().on(type, pagesOf({}));
        }
        // The second page never comes, and the presenter closes while it is waited for.
        const auto closesAt = [&](const QString& type, const QList<QVariantMap>& rows,
                                  const std::function<void(ZnPresenterClass*)>& query) {
            auto* const closing = new RecordingPresenter("Test.Closing");
            closing->initPresenter();
            world.link().clearRequests();
            world.link().on(type, pagesOf(rows));
            world.link().onOccurrence(type, 2, ScriptedReply::never());
            std::thread caller([&] { query(closing); });
            const bool asked = world.link().waitForRequestCount(type, 2);
            {
                const HeldClose close(closing);
                caller.join();
            }
            return asked && world.link().requestCount(type) == 2;
        };
        QString error;
        QVERIFY(closesAt(kDeals, dealRows(3000), [&](ZnPresenterClass* closing) {
            QVERIFY(records.queryHistoryDealRecordList(closing, "A1", kDay, kDay, error).isEmpty());
        }));
        QCOMPARE(error, QString("the query was broken off: its presenter is closing"));
        QVERIFY(closesAt(kEntrusts, entrustRows(3000), [&](ZnPresenterClass* closing) {
            QVariantMap params;
            QCOMPARE(
                records.queryHistoryMaxEntrustRecordList(closing, params, kDay, kDay, 9999).size(),
                1001);
        }));
    }

    void block_fullPageTwice_endsWithoutMergingAndWarns() {
        HistoryWorld world;
        world.link().on(kDeals, [](const QVariant& body) {
            return makeAnswer(body, dealRows(2), {{System::totalSize, 2000000000}});
        });
        const LogCapture log;
        QVERIFY(runBlock(world.presenter, 1, 1000000000, 2000000000).isEmpty());
        QCOMPARE(world.link().requestCount(kDeals), 2);
        QCOMPARE(
            log.texts(QtWarningMsg),
            QStringList{kDeals +
                        ", tradingAccount: A1, startDate: 20260105, endDate: 20260105: the "
                        "query ends early, the rows of page 1-1000000000 are lost: page 2 is the "
                        "same as the one before"});
    }

    void block_emptyPageBelowTheTotal_endsWithoutMergingAndWarns_data() {
        QTest::addColumn<QVariant>("total");
        QTest::newRow("the answer's total") << QVariant(2000000000);
        QTest::newRow("the total of the probe") << QVariant();
    }
    void block_emptyPageBelowTheTotal_endsWithoutMergingAndWarns() {
        QFETCH(QVariant, total);
        HistoryWorld world;
        world.link().on(kDeals, [total](const QVariant& body) {
            return headerOf(body).value(System::pageNo).toInt() < 3
                       ? fullPage(body, total)
                       : makeAnswer(body, {}, {{System::totalSize, total}});
        });
        const LogCapture log;
        QVERIFY(runBlock(world.presenter, 1, 1000000000, 2000000000).isEmpty());
        QCOMPARE(world.link().requestCount(kDeals), 3);
        QVERIFY(log.contains(QtWarningMsg, "page 3 is empty, the total is 2000000000"));
    }

    void block_shortPageTwice_endsWithoutMergingAndWarns() {
        HistoryWorld world;
        world.link().on(kDeals, [](const QVariant& body) {
            return makeAnswer(body, dealRows(1), {{System::totalSize, 2000000000}});
        });
        const LogCapture log;
        QVERIFY(runBlock(world.presenter, 1, 1000000000, 2000000000).isEmpty());
        QCOMPARE(world.link().requestCount(kDeals), 2);
        QVERIFY(log.contains(QtWarningMsg, "page 2 is the same as the one before"));
    }

    void block_shortPage_isMergedAndNamedInAWarning() {
        HistoryWorld world;
        // Page 2 lacks a row, the last page has the one that remains.
        world.link().on(kDeals, [](const QVariant& body) {
            const int page = headerOf(body).value(System::pageNo).toInt();
            const int size = page == 2 || page == 3 ? 1 : 2;
            QList<QVariantMap> rows = dealRows(6).mid(2 * (page - 1), size);
            return makeAnswer(body, rows, {{System::totalSize, 5}});
        });
        const LogCapture log;
        QCOMPARE(runBlock(world.presenter, 1, 3, 5).first().size(), 4);
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{kDeals +
                             ", tradingAccount: A1, startDate: 20260105, endDate: 20260105: page 2 "
                             "lacks 1 rows that the total promises"});
    }

    void block_everyPageRefused_endsAfterAHundred() {
        HistoryWorld world;
        world.link().on(kDeals, ScriptedReply::refusal({}));
        const LogCapture log;
        QVERIFY(runBlock(world.presenter, 1, 1000000000, 2000000000).isEmpty());
        QCOMPARE(world.link().requestCount(kDeals), 100);
        QVERIFY(log.contains(
            QtWarningMsg, "the rows of page 1-1000000000 are lost: 100 pages in a row are lost"));
    }

    void block_refusedPagesWithAnswersBetween_goesOn() {
        HistoryWorld world;
        const QList<QVariantMap> rows = dealRows(204);
        // The 100 refused pages have an answered one among them.
        world.link().on(kDeals, [rows](const QVariant& body) {
            const int page = headerOf(body).value(System::pageNo).toInt();
            return page == 50 || page == 102 ? pageOf(body, rows) : makeRefusal(body, {});
        });
        const LogCapture log;
        QCOMPARE(runBlock(world.presenter, 1, 102, 204).first().size(), 4);
        QCOMPARE(world.link().requestCount(kDeals), 102);
        QVERIFY(
            log.contains(QtWarningMsg, "page 1-49, 51-101 are lost, reason: the server gave none"));
    }

    void block_refusedPage_countsAsDone() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf(dealRows(4)));
        world.link().onOccurrence(kDeals, 1, ScriptedReply::refusal("no"));
        std::atomic<int> done{0};
        // The time is read once for each page that is done.
        QueryProgress progress(world.presenter, "f", [&done] {
            ++done;
            return qint64(0);
        });
        progress.beginPart("A1", kDay, kDay);
        RecordingMerge merge;
        histEntrustDealQueryThread task(world.presenter, "A1", 20260105, 20260105, kDeals, 1, 2, 2,
                                        merge);
        task.progress = &progress;
        task.run();
        QCOMPARE(done.load(), 2);
    }

    void list_sameFirstPageForEveryNumber_warns() {
        if (QThread::idealThreadCount() < 2) {
            QSKIP("one thread fetches both pages");
        }
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, ScriptedReply::rows(dealRows(2000), {{System::totalSize, 4000}}));
        const LogCapture log;
        QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay).size(), 2000);
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"ZnBusinessDataManager::queryHistoryDealList, tradingAccount: A1, "
                             "startDate: 2026-01-05, endDate: 2026-01-05: page 2 begins with the "
                             "same row as page 1, rows of the list are probably missing"});
    }

    void list_onePageWithFewerRowsThanItsTotal_isMergedWithAWarning() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, ScriptedReply::rows(dealRows(3), {{System::totalSize, 5}}));
        const LogCapture log;
        QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay).size(), 3);
        QVERIFY(log.contains(QtWarningMsg,
                             "startDate: 2026-01-05, endDate: 2026-01-05: page 1 lacks 2 rows"));
    }

    void list_fullPageWithAnUnusableTotal_isMergedWithAWarning() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, ScriptedReply::rows(dealRows(2000), {{System::totalSize, -1}}));
        const LogCapture log;
        QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay).size(), 2000);
        QVERIFY(log.contains(QtWarningMsg, "the first page is full, the total \"-1\" is unusable"));
    }

    void list_pageLost_isReturnedWithItsHoleWithoutARequest() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const QList<QVariantMap> rows = dealRows(2500);
        world.link().on(kDeals, [rows](const QVariant& body) {
            return headerOf(body).value(System::pageNo).toInt() == 2 ? makeRefusal(body, "no")
                                                                     : pageOf(body, rows);
        });
        const auto first = lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(first.size(), 2000);
        world.link().clearRequests();
        world.link().on(kDeals, pagesOf(rows));
        QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay), first);
        QCOMPARE(world.link().requestCount(kDeals), 0);
    }

    void block_listBecameShorter_mergesWhatThereIs() {
        HistoryWorld world;
        world.link().on(kDeals, pagesOf(dealRows(3)));
        const auto lists = runBlock(world.presenter, 1, 1000000000, 2000000000);
        QCOMPARE(lists.size(), 1);
        QCOMPARE(lists.first().size(), 3);
        QCOMPARE(world.link().requestCount(kDeals), 3);
    }

    void list_absurdTotals_endWithFewRequests_data() {
        QTest::addColumn<QVariant>("total");
        QTest::addColumn<int>("held");
        QTest::newRow("negative") << QVariant(-5) << 2;
        QTest::newRow("no number") << QVariant("many") << 2;
        QTest::newRow("missing") << QVariant() << 2;
        QTest::newRow("below the rows") << QVariant(1) << 2;
        QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN()) << 2;
        QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity()) << 2;
        QTest::newRow("beyond 64 bits") << QVariant(1e300) << 2;
        QTest::newRow("a fraction") << QVariant(2000.5) << 2;
        QTest::newRow("2 billion") << QVariant(2000000000) << 0;
        QTest::newRow("beyond 32 bits") << QVariant(4000000000000LL) << 0;
    }
    void list_absurdTotals_endWithFewRequests() {
        QFETCH(QVariant, total);
        QFETCH(int, held);
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, [total](const QVariant& body) {
            return headerOf(body).value(System::pageNo).toInt() == 1
                       ? fullPage(body, total)
                       : makeAnswer(body, {}, {{System::totalSize, total}});
        });
        const auto rows = lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay);
        // A block that begins behind the rows ends with its first answer.
        const int threads = QThread::idealThreadCount();
        if (held > 0) {
            QCOMPARE(rows.size(), held);
            QCOMPARE(world.link().requestCount(kDeals), 1);
        } else {
            QVERIFY(rows.isEmpty());
            QVERIFY(world.link().requestCount(kDeals) <= 2 + threads);
        }
    }

    void list_accountsEmptyTwiceOrVeryMany_areAnsweredInTheirOrder() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, [](const QVariant& body) {
            const QString account = headerOf(body).value(UserAccount::tradingAccount).toString();
            return makeAnswer(body, {dealRow(account, "20260105", "O1", "E")},
                              {{System::totalSize, 1}});
        });
        QStringList accounts{"", "A1", "A1"};
        for (int i = 0; i < 10000; ++i) {
            accounts.append(QString("M%1").arg(i));
        }
        const auto rows = lists.GetHistoryDealList(world.presenter, accounts, kDay, kDay);
        QCOMPARE(valuesOf(rows, UserAccount::tradingAccount), accounts);
        QCOMPARE(world.link().requestCount(kDeals), accounts.size() - 1);
        QVERIFY(lists.GetHistoryDealList(world.presenter, {}, kDay, kDay).isEmpty());
    }
};

QTEST_GUILESS_MAIN(HistoryBlockTest)
#include "history_block_test.moc"
