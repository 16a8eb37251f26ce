#include "history_lists.h"

#include <QLoggingCategory>
#include <QThread>
#include <QtTest>
#include <cmath>
#include <limits>

#include "history_fixture.h"

namespace {

const QDate kDay(2026, 1, 5);
constexpr int kDealPage = 2000;
constexpr int kEntrustPage = 1000;

QPair<int, int> datesOf(const ScriptedLink::Request& request) {
    return {request.header.value(System::startDate).toInt(),
            request.header.value(System::endDate).toInt()};
}

}  // namespace

/// The cached lists of past orders and deals.
class HistoryListsTest : public QObject {
    Q_OBJECT

private:
    using Dates = QList<QPair<int, int>>;

    static Dates datesAsked(HistoryWorld& world, const QString& type) {
        Dates dates;
        for (const ScriptedLink::Request& request : world.link().requests(type)) {
            dates.append(datesOf(request));
        }
        return dates;
    }

private slots:
    void probe_namesAccountDatesAndPage() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, pagesOf({}));
        world.link().on(kEntrusts, pagesOf({}));
        lists.queryHistoryDealList(world.presenter, "A1", kDay, kDay.addDays(1));
        lists.queryHistoryEntrustList(world.presenter, "A1", kDay, kDay.addDays(1));
        for (const QString& type : {kDeals, kEntrusts}) {
            QVariantMap expected{{UserAccount::tradingAccount, "A1"},
                                 {System::startDate, 20260105},
                                 {System::endDate, 20260106},
                                 {System::msgType, type},
                                 {System::pageNo, 1},
                                 {System::pageSize, type == kDeals ? kDealPage : kEntrustPage}};
            const QVariantMap sent = world.link().lastRequest(type).header;
            for (auto field = expected.cbegin(); field != expected.cend(); ++field) {
                QCOMPARE(sent.value(field.key()), field.value());
            }
            QCOMPARE(sent.size(), expected.size());
            // A number, not a text.
            QCOMPARE(int(sent.value(System::startDate).type()), int(QVariant::Int));
        }
    }

    void total_uptoThePageSize_staysOneRequest_data() {
        QTest::addColumn<bool>("isDeals");
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("requests");
        QTest::newRow("deals, none") << true << 0 << 1;
        QTest::newRow("deals, a page") << true << 2000 << 1;
        QTest::newRow("deals, one more") << true << 2001 << 3;
        QTest::newRow("orders, none") << false << 0 << 1;
        QTest::newRow("orders, a page") << false << 1000 << 1;
        QTest::newRow("orders, one more") << false << 1001 << 3;
        QTest::newRow("orders, 7 pages") << false << 6001 << 8;
    }
    void total_uptoThePageSize_staysOneRequest() {
        QFETCH(bool, isDeals);
        QFETCH(int, total);
        QFETCH(int, requests);
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const QString type = isDeals ? kDeals : kEntrusts;
        world.link().on(type, pagesOf(isDeals ? dealRows(total) : entrustRows(total)));
        const LogCapture log;
        const auto rows = isDeals
                              ? lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay)
                              : lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(rows.size(), total);
        QCOMPARE(world.link().requestCount(type), requests);
        const int blocks = requests == 1 ? 0 : qMin(requests - 1, QThread::idealThreadCount());
        QCOMPARE(log.texts(QtInfoMsg).filter(" thread started").size(), blocks);
        QCOMPARE(log.texts(QtInfoMsg).filter(QRegularExpression(" thread ended$")).size(), blocks);
        const QString function = isDeals ? "queryHistoryDealList" : "queryHistoryEntrustList";
        QCOMPARE(log.count(QtInfoMsg, "ZnBusinessDataManager::" + function + " thread pool ended"),
                 blocks > 0 ? 1 : 0);
        // The first page is asked for again: the rows of the probe are not used.
        QCOMPARE(world.pagesAsked(type).count(1), blocks > 0 ? 2 : 1);
    }

    void probe_rowsOfAnotherSizeThanThePages_areNotUsed() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const QList<QVariantMap> rows = dealRows(2001);
        world.link().on(kDeals, pagesOf(rows));
        world.link().onOccurrence(kDeals, 1,
                                  ScriptedReply::rows({dealRow("A1", "20260105", "probe", "E")},
                                                      {{System::totalSize, 2001}}));
        const auto held = lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(held.size(), 2001);
        QVERIFY(!valuesOf(held, Security::orderID).contains("probe"));
    }

    void merge_cancelOrdersAndUnfilledDeals_areLeftOut() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        // Each of the two lists has a cancel value of its own.
        QVariantMap upper = entrustRow("A1", "20260105", "upper");
        upper.insert(Security::entrustType, EntrustType::CancelOrder);
        QVariantMap lower = entrustRow("A1", "20260105", "lower");
        lower.insert(Security::entrustType, EntrustType::cancelOrder);
        world.link().on(kEntrusts, pagesOf({upper, lower, entrustRow("A1", "20260105", "plain")}));
        QCOMPARE(valuesOf(lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay, kDay),
                          Security::orderID),
                 (QStringList{"lower", "plain"}));

        const auto deal = [](const QString& id, const QString& type, const QString& status) {
            QVariantMap row = dealRow("A1", "20260105", id, "E");
            row.insert(UserAccount::ExchangeExecType, type);
            row.insert(UserAccount::ExchangeExecStat, status);
            return row;
        };
        QVariantMap noStatus = dealRow("A1", "20260105", "noStatus", "E");
        noStatus.remove(UserAccount::ExchangeExecStat);
        world.link().on(
            kDeals, pagesOf({deal("upper", EntrustType::CancelOrder, ExchangeExeStat::filled),
                             deal("lower", EntrustType::cancelOrder, ExchangeExeStat::filled),
                             deal("inner", ExchangeExeType::innerCancel, ExchangeExeStat::filled),
                             deal("open", "0", "1"), noStatus,
                             deal("plain", "0", ExchangeExeStat::filled)}));
        QCOMPARE(valuesOf(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay),
                          Security::orderID),
                 (QStringList{"plain", "upper"}));
    }

    void merge_records_getSymbolAndOpenQuantity() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QVariantMap entrust = entrustRow("A1", "20260105", "O1");
        entrust.insert(Security::symbol, "wrong");
        entrust.insert(Security::leaveQty, 7);
        entrust.insert(Security::orderQty, "1000");  // a text counts as its number
        QVariantMap deal = dealRow("A1", "20260105", "O1", "E1");
        deal.insert(Security::symbol, "wrong");
        deal.insert(Security::leaveQty, 7);
        world.link().on(kEntrusts, pagesOf({entrust}));
        world.link().on(kDeals, pagesOf({deal}));
        const auto entrusts = lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay, kDay);
        entrust.insert(Security::symbol, "600000.SH");
        entrust.insert(Security::leaveQty, 500.0);
        QCOMPARE(entrusts, QList<QVariantMap>{entrust});
        QCOMPARE(int(entrusts.first().value(Security::leaveQty).type()), int(QVariant::Double));
        deal.insert(Security::symbol, "600000.SH");
        QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay),
                 QList<QVariantMap>{deal});
    }

    void merge_quantitiesThatAreNoNumbers_keepTheOrder_data() {
        QTest::addColumn<QVariant>("quantity");
        QTest::addColumn<double>("leaveQty");
        const double notANumber = std::numeric_limits<double>::quiet_NaN();
        const double infinity = std::numeric_limits<double>::infinity();
        QTest::newRow("NaN") << QVariant(notANumber) << notANumber;
        QTest::newRow("infinity") << QVariant(infinity) << infinity;
        QTest::newRow("very large") << QVariant(1e300) << 1e300;
        QTest::newRow("no number") << QVariant("many") << -500.0;
    }
    void merge_quantitiesThatAreNoNumbers_keepTheOrder() {
        QFETCH(QVariant, quantity);
        QFETCH(double, leaveQty);
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QVariantMap row = entrustRow("A1", "20260105", "O1");
        row.insert(Security::orderQty, quantity);
        world.link().on(kEntrusts, pagesOf({row}));
        const auto rows = lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(rows.size(), 1);
        const double left = rows.first().value(Security::leaveQty).toDouble();
        QVERIFY2(left == leaveQty || (std::isnan(left) && std::isnan(leaveQty)),
                 qPrintable(QString::number(left)));
    }

    void rowCount_noUsableNumber_isAFailureWithoutRows_data() {
        QTest::addColumn<QVariant>("count");
        QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity());
        QTest::newRow("very large") << QVariant(1e300);
        QTest::newRow("negative") << QVariant(-1);
    }
    void rowCount_noUsableNumber_isAFailureWithoutRows() {
        QFETCH(QVariant, count);
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kDeals, ScriptedReply::rows(dealRows(1), {{System::subGroupNumber, count},
                                                                  {System::totalSize, 1}}));
        const LogCapture log;
        QVERIFY(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay).isEmpty());
        QVERIFY(log.contains(QtDebugMsg, "holds 1 rows, its row count is"));
        QCOMPARE(world.link().requestCount(kDeals), 1);
    }

    void merge_manyRows_lookEachSymbolUpOnce() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QList<QVariantMap> rows = dealRows(1000);
        for (int i = 0; i < rows.size(); i += 2) {
            rows[i].insert(Security::securityID, "000001");
        }
        lists.AssembleHistoryEntrustDealList(kDeals, rows);
        QCOMPARE(world.symbols.lookups.load(), 2);
    }

    void merge_sameOrder_executionsAreEntriesOfTheirOwn() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QVariantMap newer = dealRow("A1", "20260105", "O1", "E1");
        newer.insert("x", 2);
        world.link().on(kDeals, pagesOf({dealRow("A1", "20260105", "O1", "E2"),
                                         dealRow("A1", "20260105", "O1", "E1"), newer}));
        const auto rows = lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(valuesOf(rows, Security::execID), (QStringList{"E1", "E2"}));
        QCOMPARE(rows.first().value("x").toInt(), 2);
    }

    void merge_otherMessageType_isIgnored() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        lists.AssembleHistoryEntrustDealList("other", dealRows(1));
        QVERIFY(lists.GetHistoryDealList(nullptr, {"A1"}, kDay, kDay).isEmpty());
        QVERIFY(lists.GetHistoryEntrustList(nullptr, {"A1"}, kDay, kDay).isEmpty());
    }

    void merge_unusableDates_areLeftOutWithAWarning() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QVariantMap number = dealRow("A1", "", "number", "E");
        number.insert(UserAccount::tradeDate, 20260105);
        world.link().on(kDeals, pagesOf({dealRow("A1", "2026-01-05", "dashes", "E"),
                                         dealRow("A1", "", "none", "E"),
                                         dealRow("A1", "20260230", "noDay", "E"), number}));
        const LogCapture log;
        QCOMPARE(valuesOf(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay),
                          Security::orderID),
                 QStringList{"number"});
        QVERIFY(
            log.contains(QtWarningMsg, "3 of 4 rows are left out: they have no usable trade date"));
    }

    void list_order_isAccountsThenDatesThenKeys() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        lists.AssembleHistoryEntrustDealList(
            kEntrusts, {entrustRow("A2", "20260106", "9"), entrustRow("A1", "20260106", "10"),
                        entrustRow("A1", "20260106", "9"), entrustRow("A1", "20260105", "99"),
                        entrustRow("A2", "20260105", "1"), entrustRow("A3", "20260105", "x"),
                        entrustRow("A1", "20260104", "early")});
        world.link().on(kEntrusts, pagesOf({}));
        const auto rows =
            lists.GetHistoryEntrustList(world.presenter, {"A2", "A1", "A2"}, kDay, kDay.addDays(1));
        QCOMPARE(valuesOf(rows, Security::orderID),
                 (QStringList{"1", "9", "99", "10", "9", "1", "9"}));
        QCOMPARE(world.link().requestCount(kEntrusts), 0);
    }

    void days_withRows_areNotAskedForAgain_othersAre() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const QDate last = kDay.addDays(4);
        world.link().on(kDeals, pagesOf({dealRow("A1", "20260107", "O1", "E")}));
        QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, last).size(), 1);
        QCOMPARE(datesAsked(world, kDeals), (Dates{{20260105, 20260109}}));
        world.link().clearRequests();
        for (int call = 0; call < 2; ++call) {
            QCOMPARE(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, last).size(), 1);
        }
        const Dates twoRuns{{20260105, 20260106}, {20260108, 20260109}};
        QCOMPARE(datesAsked(world, kDeals), twoRuns + twoRuns);
        world.link().clearRequests();
        // Orders and deals are held apart.
        world.link().on(kEntrusts, pagesOf({}));
        lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay.addDays(2), kDay.addDays(2));
        QCOMPARE(datesAsked(world, kEntrusts), (Dates{{20260107, 20260107}}));
    }

    void list_failedQuery_returnsWhatIsHeld() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        lists.AssembleHistoryEntrustDealList(kDeals, {dealRow("A1", "20260106", "held", "E")});
        world.link().on(kDeals, ScriptedReply::refusal("no"));
        QCOMPARE(valuesOf(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay.addDays(2)),
                          Security::orderID),
                 QStringList{"held"});
        QCOMPARE(datesAsked(world, kDeals), (Dates{{20260105, 20260105}, {20260107, 20260107}}));
    }

    void list_startAfterEndOrInvalid_isEmptyWithoutARequest() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        lists.AssembleHistoryEntrustDealList(kDeals, dealRows(1));
        const QList<QPair<QDate, QDate>> ranges{{kDay.addDays(1), kDay.addDays(-1)},
                                                {QDate(), kDay},
                                                {kDay, QDate()},
                                                {QDate(), QDate()}};
        for (const auto& range : ranges) {
            QVERIFY(lists.GetHistoryDealList(world.presenter, {"A1"}, range.first, range.second)
                        .isEmpty());
            QVERIFY(lists.GetHistoryEntrustList(world.presenter, {"A1"}, range.first, range.second)
                        .isEmpty());
        }
        QCOMPARE(world.link().requestCount(), 0);
    }

    void list_beyondAHundredYears_isRefused() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const QDate far = kDay.addYears(10000);
        lists.AssembleHistoryEntrustDealList(kDeals, dealRows(1));
        const LogCapture log;
        QVERIFY(lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, far).isEmpty());
        QVERIFY(lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay, far).isEmpty());
        lists.queryHistoryDealList(world.presenter, "A1", kDay, far);
        lists.queryHistoryEntrustList(world.presenter, "A1", kDay, far);
        QCOMPARE(world.link().requestCount(), 0);
        QCOMPARE(log.texts(QtWarningMsg).filter("refuses the range").size(), 4);
    }

    void list_infoLines_ofDeals() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QLoggingCategory::setFilterRules("velmar.history.cache=false");
        world.link().on(kDeals, pagesOf({dealRow("A1", "20260106", "O1", "E1"),
                                         dealRow("A1", "20260106", "O2", "E1")}));
        const LogCapture log;
        lists.GetHistoryDealList(world.presenter, {"A1"}, kDay, kDay.addDays(1));
        QLoggingCategory::setFilterRules({});
        QStringList lines = historyLines(log, QtInfoMsg);
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.at(0).startsWith("ZnBusinessDataManager::GetHistoryDealList"));
        QVERIFY(lines.at(0).contains("A1") && lines.at(0).contains("2026-01-05") &&
                lines.at(0).contains("2026-01-06"));
        QCOMPARE(lines.at(1), QString("A1 QPair(2026-01-05,2026-01-06)"));
        QCOMPARE(lines.at(2), QString("ZnBusinessDataManager::GetHistoryDealList tradingAccount: "
                                      "A1 , date: 2026-01-06 , deal size: 2"));
        const QRegularExpression last(
            "^ZnBusinessDataManager::GetHistoryDealList dealListSize:2 "
            "takes [0-9]+ ms$");
        QVERIFY2(last.match(lines.at(3)).hasMatch(), qPrintable(lines.at(3)));
    }

    void list_cacheCategoryOn_putsTheWholeCacheIntoTheLastLine() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        lists.AssembleHistoryEntrustDealList(kDeals, {dealRow("A2", "20260106", "O1", "E1")});
        const LogCapture log;
        lists.GetHistoryDealList(world.presenter, {}, kDay, kDay);
        const QString last = historyLines(log, QtInfoMsg).last();
        QVERIFY2(last.contains(" ms QMap((\"A2\", QMap((QDate(\"2026-01-06\"), QMap((\"O1E1\", "
                               "QMap("),
                 qPrintable(last));
    }

    void list_infoLines_ofOrders_countThemAsDeals() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        world.link().on(kEntrusts, pagesOf({entrustRow("A1", "20260105", "O1")}));
        const LogCapture log;
        lists.GetHistoryEntrustList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(historyLines(log, QtInfoMsg),
                 QStringList{"ZnBusinessDataManager::GetHistoryEntrustList tradingAccount: A1 , "
                             "date: 2026-01-05 , deal size: 1"});
    }

    void oneOrder_withoutAccount_searchesOnlyTheHeldRows() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        QVariantMap first = entrustRow("A1", "20260105", "O1");
        lists.AssembleHistoryEntrustDealList(
            kEntrusts, {entrustRow("A2", "20260105", "O1"), first,
                        entrustRow("A2", "20260105", "O2"), entrustRow("A1", "20260106", "O3")});
        const auto find = [&](const QString& id) {
            return lists.GetHistoryEntrustByTradeDateAndOrderID(world.presenter, kDay, id, {})
                .value(UserAccount::tradingAccount)
                .toString();
        };
        QCOMPARE(find("O1"), QString("A1"));
        QCOMPARE(find("O2"), QString("A2"));
        QCOMPARE(find("O3"), QString());
        QCOMPARE(world.link().requestCount(), 0);
    }

    void oneOrder_invalidDate_isEmptyWithAWarningAndNoRequest() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const LogCapture log;
        QVERIFY(lists.GetHistoryEntrustByTradeDateAndOrderID(world.presenter, QDate(), "O1", "A1")
                    .isEmpty());
        QVERIFY(log.contains(QtWarningMsg,
                             "queryHistoryEntrustByTradeDateAndOrderID refuses an invalid date"));
        QCOMPARE(world.link().requestCount(), 0);
    }

    void oneOrder_dayHeld_isNotAskedFor() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        lists.AssembleHistoryEntrustDealList(kEntrusts, entrustRows(1));
        QCOMPARE(lists.GetHistoryEntrustByTradeDateAndOrderID(world.presenter, kDay, "O00001", "A1")
                     .value(Security::leaveQty)
                     .toDouble(),
                 500.0);
        QVERIFY(lists.GetHistoryEntrustByTradeDateAndOrderID(world.presenter, kDay, "other", "A1")
                    .isEmpty());
        QCOMPARE(world.link().requestCount(), 0);
    }

    void oneOrder_dayNotHeld_isTheServersRowAndNotKept() {
        HistoryWorld world;
        HistoryLists lists(world.symbols);
        const QVariantMap row = entrustRow("A1", "20260105", "O1");
        world.link().on(kEntrusts, ScriptedReply::rows({row}));
        for (int call = 1; call <= 2; ++call) {
            QCOMPARE(
                lists.GetHistoryEntrustByTradeDateAndOrderID(world.presenter, kDay, "O1", "A1"),
                row);
            QCOMPARE(world.link().requestCount(kEntrusts), call);
        }
        QCOMPARE(world.symbols.lookups.load(), 0);
        const QVariantMap expected{{UserAccount::tradingAccount, "A1"},
                                   {System::startDate, 20260105},
                                   {System::endDate, 20260105},
                                   {System::msgType, kEntrusts},
                                   {System::pageNo, 1},
                                   {System::pageSize, 1},
                                   {Security::orderID, "O1"}};
        QCOMPARE(world.link().lastRequest().header, expected);
        world.link().on(kEntrusts, ScriptedReply::rows({}));
        QVERIFY(lists.GetHistoryEntrustByTradeDateAndOrderID(world.presenter, kDay, "O1", "A1")
                    .isEmpty());
    }
};

QTEST_GUILESS_MAIN(HistoryListsTest)
#include "history_lists_test.moc"
