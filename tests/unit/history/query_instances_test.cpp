#include <QtTest>
#include <functional>

#include "deal_statistics.h"
#include "held_close.h"
#include "hist_entrust_deal_query_thread.h"
#include "history_fixture.h"
#include "history_lists.h"
#include "history_records.h"

namespace {

const QDate kFirst(2026, 1, 5);
const QDate kLast(2026, 1, 9);
inline const QString kSubject =
    QStringLiteral("tradingAccount: A1, startDate: 2026-01-05, endDate: 2026-01-09");
inline const QString kTaskSubject =
    QStringLiteral("tradingAccount: A1, startDate: 20260105, endDate: 20260109");
inline const QString kNoMore = QStringLiteral(" timeout count >=5, no more query");
constexpr int kStandingMs = 0;
constexpr int kLongMs = 30000;

/// One function of the family: what it asks, and what it returned, as a text.
struct Function {
    QString type;
    QList<QVariantMap> rows;  ///< of the server
    int timeOutMs;            ///< kStandingMs for the presenter's own
    std::function<QString(HistoryWorld&, ZnPresenterClass*)> call;
};

QString rowsText(const QList<QVariantMap>& rows) {
    return QStringLiteral("%1 elements").arg(rows.size());
}

QString rowsText(const QList<QVariantMap>& rows, const QString& error) {
    return rowsText(rows) + QLatin1Char('|') + error;
}

Function dealList() {
    return {kDeals, dealRows(1), kStandingMs, [](HistoryWorld& world, ZnPresenterClass* presenter) {
                HistoryLists lists(world.symbols);
                lists.queryHistoryDealList(presenter, "A1", kFirst, kLast);
                world.link().forget(kDeals);
                return rowsText(lists.GetHistoryDealList(nullptr, {"A1"}, kFirst, kLast));
            }};
}

Function entrustList() {
    return {kEntrusts, entrustRows(1), kLongMs,
            [](HistoryWorld& world, ZnPresenterClass* presenter) {
                HistoryLists lists(world.symbols);
                lists.queryHistoryEntrustList(presenter, "A1", kFirst, kLast);
                return rowsText(lists.GetHistoryEntrustList(nullptr, {"A1"}, kFirst, kLast));
            }};
}

/// A block of the first two pages of 2.
Function block() {
    return {kDeals, dealRows(3), kLongMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                RecordingMerge merge;
                histEntrustDealQueryThread task(presenter, "A1", 20260105, 20260109, kDeals, 1, 2,
                                                2, merge);
                task.run();
                QStringList texts;
                for (const QList<QVariantMap>& list : merge.lists) {
                    texts.append(valuesOf(list, Security::orderID).join(','));
                }
                return texts.join('|');
            }};
}

Function dealRecords() {
    return {kDeals, dealRows(1001), kLongMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                QString error = "old";
                const auto rows = HistoryRecords().queryHistoryDealRecordList(presenter, "A1",
                                                                              kFirst, kLast, error);
                return rowsText(rows, error);
            }};
}

Function entrustRecords() {
    return {kEntrusts, entrustRows(1001), kLongMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                QString error = "old";
                const auto rows = HistoryRecords().queryHistoryEntrustRecordList(
                    presenter, "A1", kFirst, kLast, error);
                return rowsText(rows, error);
            }};
}

Function maxDeals() {
    return {kDeals, dealRows(2001), kStandingMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                QVariantMap params{{UserAccount::tradingAccount, "A1"}};
                return rowsText(HistoryRecords().queryHistoryMaxDealRecordList(
                    presenter, params, kFirst, kLast, 5000));
            }};
}

Function maxEntrusts() {
    return {kEntrusts, entrustRows(1001), kLongMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                QVariantMap params{{UserAccount::tradingAccount, "A1"}};
                return rowsText(HistoryRecords().queryHistoryMaxEntrustRecordList(
                    presenter, params, kFirst, kLast, 5000));
            }};
}

Function dealFilter() {
    return {kDeals, dealRows(1), kStandingMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                QVariantMap params{{UserAccount::tradingAccount, "A1"},
                                   {System::pageNo, 1},
                                   {System::pageSize, 100}};
                return rowsText(
                    HistoryRecords().GetHistoryDealRecordList(presenter, params, kFirst, kLast));
            }};
}

Function entrustFilter() {
    return {kEntrusts, entrustRows(1), kStandingMs, [](HistoryWorld&, ZnPresenterClass* presenter) {
                QVariantMap params{{UserAccount::tradingAccount, "A1"},
                                   {System::pageNo, 1},
                                   {System::pageSize, 100}};
                return rowsText(
                    HistoryRecords().GetHistoryEntrustRecordList(presenter, params, kFirst, kLast));
            }};
}

Function statistics() {
    QVariantMap row{{UserAccount::tradeDate, "20260105"}};
    return {kStatistics, {row}, kStandingMs, [](HistoryWorld& world, ZnPresenterClass* presenter) {
                DealStatistics statistics(world.symbols);
                const int result =
                    statistics.queryHistoryDealStatisticList(presenter, "A1", kFirst, kLast);
                return QString::number(result) + '|' +
                       rowsText(statistics.GetHistoryDealStatisticsList(nullptr, {"A1"}, kFirst,
                                                                        kFirst));
            }};
}

Function oneEntrust() {
    return {kEntrusts, entrustRows(1), kStandingMs,
            [](HistoryWorld& world, ZnPresenterClass* presenter) {
                HistoryLists lists(world.symbols);
                return lists
                    .queryHistoryEntrustByTradeDateAndOrderID(presenter, kFirst, "O00001", "A1")
                    .value(Security::orderID)
                    .toString();
            }};
}

/// Replies to the requests with these numbers.
struct Fault {
    ScriptedReply reply;
    QList<int> requests;
};

ScriptedReply timeOut() {
    return ScriptedReply::timeOut();
}
ScriptedReply failure() {
    return ScriptedReply::failure(QStringLiteral("down"));
}
ScriptedReply refusal() {
    return ScriptedReply::refusal(QStringLiteral("no"));
}
/// Two rows promised, one sent.
ScriptedReply wrongCount() {
    return ScriptedReply::rows({{{"x", 1}}}, {{System::subGroupNumber, 2}});
}
const QList<int> kAll{1, 2, 3, 4, 5, 6, 7};

QString wrongCountText(const QString& type) {
    return QStringLiteral("the answer to %1 holds 1 rows, its row count is \"2\"").arg(type);
}

QStringList times(int count, const QString& line) {
    QStringList lines;
    for (int i = 0; i < count; ++i) {
        lines.append(line);
    }
    return lines;
}

}  // namespace

Q_DECLARE_METATYPE(Function)
Q_DECLARE_METATYPE(QList<Fault>)

/// What each function does when sends time out, fail or are refused: its requests, log lines and
/// result.
class QueryInstancesTest : public QObject {
    Q_OBJECT

private:
    static void row(const char* name, const Function& function, const QList<Fault>& faults,
                    int requests, const QString& result, const QStringList& lines) {
        QTest::newRow(name) << function << faults << requests << result << lines;
    }

    static void probeRows(const char* name, const Function& function) {
        const QString head = QStringLiteral("ZnBusinessDataManager::") + name;
        const QString late = head + " timeout, " + kSubject;
        const QString bad = head + " error, " + kSubject + ", reason: ";
        const auto named = [name](const char* what) { return QByteArray(name) + ", " + what; };
        row(named("5 time-outs"), function, {{timeOut(), kAll}}, 5, "0 elements",
            times(5, late) << head + kNoMore);
        row(named("4 time-outs"), function, {{timeOut(), {1, 2, 3, 4}}}, 5, "1 elements",
            times(4, late));
        row(named("failure"), function, {{failure(), {1}}}, 1, "0 elements", {bad});
        row(named("refusal"), function, {{refusal(), {1}}}, 1, "0 elements", {bad + "no"});
        row(named("wrong row count"), function, {{wrongCount(), {1}}}, 1, "0 elements",
            {bad + wrongCountText(function.type)});
    }

    static void blockRows() {
        const Function function = block();
        const QString bad = kDeals + " error, " + kTaskSubject + ", reason: ";
        const QString all = "O00001,O00002,O00003";
        row("block, 4 time-outs", function, {{timeOut(), {1, 2, 3, 4}}}, 6, all,
            times(4, bad + "time out"));
        row("block, 6 time-outs", function, {{timeOut(), {1, 2, 3, 4, 5, 6}}}, 8, all,
            times(5, bad + "time out") << kDeals + kNoMore << bad + "time out" << kDeals + kNoMore);
        // The count of time-outs goes over the whole block, the failures are not counted.
        row("block, time-outs on both pages", function, {{timeOut(), {1, 2, 4, 5, 6}}}, 7, all,
            times(5, bad + "time out") << kDeals + kNoMore);
        row("block, 6 failures", function, {{failure(), {1, 2, 3, 4, 5, 6}}}, 8, all,
            times(6, bad + "down"));
        row("block, first page refused", function, {{refusal(), {1}}}, 2, "O00003", {bad + "no"});
        row("block, last page refused", function, {{refusal(), {2}}}, 2, "O00001,O00002",
            {bad + "no"});
        row("block, wrong row count", function, {{wrongCount(), {1}}}, 2, "O00003",
            {bad + wrongCountText(kDeals)});
    }

    static void recordRows(const char* name, const Function& function, const QStringList& limit,
                           const QString& lateError, const QString& badError) {
        const QString head = QStringLiteral("ZnBusinessDataManager::") + name;
        const QString late = head + " timeout, " + kSubject;
        const QString bad = head + " error, " + kSubject + ", reason: ";
        const QString none = "0 elements|";
        const auto named = [name](const char* what) { return QByteArray(name) + ", " + what; };
        row(named("no fault"), function, {}, 2, "1001 elements|", {});
        row(named("5 time-outs"), function, {{timeOut(), kAll}}, 5, none + lateError,
            times(5, late) + limit);
        row(named("5 failures"), function, {{failure(), kAll}}, 5, none + badError,
            times(5, bad) + limit);
        row(named("5 refusals"), function, {{refusal(), kAll}}, 5, none + badError + "no",
            times(5, bad + "no") + limit);
        row(named("5 wrong row counts"), function, {{wrongCount(), kAll}}, 5,
            none + badError + wrongCountText(function.type),
            times(5, bad + wrongCountText(function.type)) + limit);
        row(named("all kinds are counted, the last one decides"), function,
            {{refusal(), {1, 2}}, {failure(), {3, 4}}, {timeOut(), {5}}}, 5, none + lateError,
            QStringList{bad + "no", bad + "no", bad, bad, late} + limit);
        row(named("each page has a count"), function,
            {{timeOut(), {1, 2, 3, 4}}, {refusal(), {6, 7, 8, 9}}}, 10, "1001 elements|",
            times(4, late) + times(4, bad + "no"));
        row(named("second page fails"), function, {{failure(), {2, 3, 4, 5, 6}}}, 6,
            none + badError, times(5, bad) + limit);
    }

    static void maxRows(const char* name, const Function& function, int pageSize) {
        const QString head = QStringLiteral("ZnBusinessDataManager::") + name;
        const QString late = head + " timeout, " + kSubject;
        const QString bad = head + " error, " + kSubject + ", reason: ";
        const QString first = QStringLiteral("%1 elements").arg(pageSize + 1);
        const QString all = QStringLiteral("%1 elements").arg(pageSize + 2);
        const auto named = [name](const char* what) { return QByteArray(name) + ", " + what; };
        row(named("no fault"), function, {}, 2, all, {});
        row(named("5 time-outs"), function, {{timeOut(), kAll}}, 5, "0 elements",
            times(5, late) << head + kNoMore);
        row(named("the count goes over the call"), function, {{timeOut(), {1, 2, 4, 5, 6}}}, 6,
            first, times(5, late) << head + kNoMore);
        row(named("4 time-outs"), function, {{timeOut(), {1, 2, 4, 5}}}, 6, all, times(4, late));
        row(named("failure"), function, {{failure(), {2}}}, 2, first, {bad});
        row(named("refusal"), function, {{refusal(), {2}}}, 2, first, {bad + "no"});
        row(named("wrong row count"), function, {{wrongCount(), {2}}}, 2, first,
            {bad + wrongCountText(function.type)});
    }

    static void filterRows(const char* name, const Function& function) {
        const QString head = QStringLiteral("ZnBusinessDataManager::") + name;
        const QString bad = head + " error, " + kSubject + ", reason: ";
        const auto named = [name](const char* what) { return QByteArray(name) + ", " + what; };
        row(named("5 time-outs"), function, {{timeOut(), kAll}}, 5, "0 elements",
            {head + " timeout, " + kSubject, head + kNoMore});
        row(named("4 time-outs"), function, {{timeOut(), {1, 2, 3, 4}}}, 5, "2 elements", {});
        row(named("failure"), function, {{failure(), {1}}}, 1, "0 elements", {bad});
        row(named("refusal"), function, {{refusal(), {1}}}, 1, "0 elements", {bad + "no"});
        row(named("wrong row count"), function, {{wrongCount(), {1}}}, 1, "0 elements",
            {bad + wrongCountText(function.type)});
    }

    static void statisticRows() {
        const Function function = statistics();
        const QString late = "向柜台同步查询历史成交统计超时";
        const QString bad = "向柜台同步查询历史成交统计失败，失败原因：";
        const QString limit = "向柜台同步查询历史成交统计失败超过5次，不再查询";
        row("statistics, 5 time-outs", function, {{timeOut(), kAll}}, 5, "-1|0 elements",
            times(5, late) << limit);
        row("statistics, 5 failures", function, {{failure(), kAll}}, 5, "-1|0 elements",
            times(5, bad + "down") << limit);
        row("statistics, 5 refusals", function, {{refusal(), kAll}}, 5, "-1|0 elements",
            times(5, bad + "no") << limit);
        row("statistics, 4 of all kinds", function,
            {{timeOut(), {1}}, {failure(), {2}}, {refusal(), {3}}, {wrongCount(), {4}}}, 5,
            "0|1 elements",
            {late, bad + "down", bad + "no", bad + wrongCountText(kStatistics),
             "本次查询获取到1条记录"});
    }

    /// Of two pages; what the first one brought must not stay when the second one fails.
    static void statisticPagesRows() {
        Function function = statistics();
        function.rows.clear();
        for (int i = 0; i < 1001; ++i) {
            function.rows.append({{UserAccount::tradeDate, "20260105"}});
        }
        const QString bad = "向柜台同步查询历史成交统计失败，失败原因：down";
        const QStringList firstPage{bad, bad, "本次查询获取到1000条记录"};
        row("statistics, the count goes over the call", function, {{failure(), {1, 2, 4, 5, 6}}}, 6,
            "-1|0 elements",
            firstPage + times(3, bad) +
                QStringList{"向柜台同步查询历史成交统计失败超过5次，不再查询"});
        row("statistics, 4 failures on both pages", function, {{failure(), {1, 2, 4, 5}}}, 6,
            "0|1001 elements", firstPage + times(2, bad) + QStringList{"本次查询获取到1条记录"});
    }

    static void oneEntrustRows() {
        const Function function = oneEntrust();
        const QString head = "ZnBusinessDataManager::queryHistoryEntrustByTradeDateAndOrderID";
        const QString subject = "tradingAccount: A1, tradeDate: 2026-01-05";
        const QString bad = head + " error, " + subject + ", reason: ";
        row("one order, time-out", function, {{timeOut(), {1}}}, 1, "",
            {head + " timeout, " + subject});
        row("one order, failure", function, {{failure(), {1}}}, 1, "", {bad});
        row("one order, refusal", function, {{refusal(), {1}}}, 1, "", {bad + "no"});
        row("one order, wrong row count", function, {{wrongCount(), {1}}}, 1, "",
            {bad + wrongCountText(kEntrusts)});
        row("one order, found", function, {}, 1, "O00001", {});
    }

    static bool isOfTheLookIntoTheCache(const QString& line, const QString& type) {
        return line.endsWith(", reason: " + type + " needs a presenter to be sent") ||
               line.endsWith("：" + type + " needs a presenter to be sent");
    }

private slots:
    void query_presenterIsClosing_sendsAndLogsNothing_data() {
        QTest::addColumn<Function>("function");
        QTest::addColumn<QString>("result");
        const QString none = "0 elements";
        const QString brokenOff = none + "|the query was broken off: its presenter is closing";
        QTest::newRow("probe of deals") << dealList() << none;
        QTest::newRow("probe of orders") << entrustList() << none;
        QTest::newRow("block") << block() << QString();
        QTest::newRow("deal records") << dealRecords() << brokenOff;
        QTest::newRow("order records") << entrustRecords() << brokenOff;
        QTest::newRow("deals up to a number") << maxDeals() << none;
        QTest::newRow("orders up to a number") << maxEntrusts() << none;
        QTest::newRow("filtered deals") << dealFilter() << none;
        QTest::newRow("filtered orders") << entrustFilter() << none;
        QTest::newRow("statistics") << statistics() << "-1|" + none;
    }
    void query_presenterIsClosing_sendsAndLogsNothing() {
        QFETCH(Function, function);
        QFETCH(QString, result);
        HistoryWorld world;
        world.link().on(function.type, pagesOf(function.rows));
        auto* const closing = new RecordingPresenter("Test.Closing");
        closing->initPresenter();
        QString got;
        QStringList logged;
        {
            const HeldClose close(closing);
            QVERIFY(close.isClosing());
            const LogCapture log;
            got = function.call(world, closing);
            logged = historyLines(log);
        }
        QCOMPARE(got, result);
        QCOMPARE(world.link().requestCount(function.type), 0);
        // The platform would refuse a send as well, and the query would log that.
        for (const QString& line : logged) {
            QVERIFY2(isOfTheLookIntoTheCache(line, function.type), qPrintable(line));
        }
    }

    void query_faults_requestsLinesAndResult_data() {
        QTest::addColumn<Function>("function");
        QTest::addColumn<QList<Fault>>("faults");
        QTest::addColumn<int>("requests");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QStringList>("lines");
        probeRows("queryHistoryDealList", dealList());
        probeRows("queryHistoryEntrustList", entrustList());
        blockRows();
        recordRows("queryHistoryDealRecordList", dealRecords(), {}, "历史成交查询超时5次",
                   "历史成交查询失败5次，失败原因：");
        recordRows("queryHistoryEntrustRecordList", entrustRecords(),
                   {"ZnBusinessDataManager::queryHistoryEntrustRecordList" + kNoMore},
                   "历史委托查询超时5次，停止查询！", "历史委托查询失败5次，失败原因：");
        maxRows("queryHistoryMaxDealRecordList", maxDeals(), 2000);
        maxRows("queryHistoryMaxEntrustRecordList", maxEntrusts(), 1000);
        filterRows("GetHistoryDealRecordList", dealFilter());
        filterRows("GetHistoryEntrustRecordList", entrustFilter());
        statisticRows();
        statisticPagesRows();
        oneEntrustRows();
    }
    void query_faults_requestsLinesAndResult() {
        QFETCH(Function, function);
        QFETCH(QList<Fault>, faults);
        QFETCH(int, requests);
        QFETCH(QString, result);
        QFETCH(QStringList, lines);
        HistoryWorld world;
        world.link().on(function.type, pagesOf(function.rows));
        for (const Fault& fault : faults) {
            for (const int number : fault.requests) {
                world.link().onOccurrence(function.type, number, fault.reply);
            }
        }
        const int standing = world.presenter->getRequestTimeOut();
        QString got;
        QStringList logged;
        {
            const LogCapture log;
            got = function.call(world, world.presenter);
            logged = historyLines(log);
        }
        QCOMPARE(got, result);
        // The look into the cache afterwards has no presenter and logs that.
        QCOMPARE(logged.mid(0, lines.size()), lines);
        for (const QString& more : logged.mid(lines.size())) {
            QVERIFY2(isOfTheLookIntoTheCache(more, function.type), qPrintable(more));
        }
        QCOMPARE(world.link().requestCount(function.type), requests);
        const int expectedMs =
            function.timeOutMs == kStandingMs ? standing * 1000 : function.timeOutMs;
        for (const ScriptedLink::Request& request : world.link().requests(function.type)) {
            QCOMPARE(request.timeOutMs, expectedMs);
        }
        QCOMPARE(world.presenter->getRequestTimeOut(), standing);
    }
};

QTEST_GUILESS_MAIN(QueryInstancesTest)
#include "query_instances_test.moc"
