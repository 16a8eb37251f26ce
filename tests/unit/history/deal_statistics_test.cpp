#include "deal_statistics.h"

#include <QtTest>
#include <cmath>
#include <limits>

#include "fake_clock.h"
#include "history_fixture.h"

namespace {

const QDate kDay(2026, 1, 5);

QVariantMap statisticRow(const QString& date, const QVariant& quantity = 3,
                         const QVariant& price = 50) {
    return {{UserAccount::tradingAccount, "server"},
            {UserAccount::tradeDate, date},
            {Security::securityID, "600000"},
            {UserAccount::securityExchange, "SH"},
            {Security::cumQty, quantity},
            {Security::avgPx, price}};
}

/// The rows among `all` whose date is in the request's range, in one page.
ScriptedReply daysOf(const QList<QVariantMap>& all) {
    return ScriptedReply::with([all](const QVariant& body) {
        const QVariantMap request = headerOf(body);
        QList<QVariantMap> rows;
        for (const QVariantMap& row : all) {
            const int date = row.value(UserAccount::tradeDate).toInt();
            if (date >= request.value(System::startDate).toInt() &&
                date <= request.value(System::endDate).toInt()) {
                rows.append(row);
            }
        }
        return makeAnswer(body, rows);
    });
}

}  // namespace

class DealStatisticsTest : public QObject {
    Q_OBJECT

private:
    static QStringList rangesAsked(HistoryWorld& world) {
        QStringList ranges;
        for (const ScriptedLink::Request& request : world.link().requests(kStatistics)) {
            ranges.append(request.header.value(System::startDate).toString() + '-' +
                          request.header.value(System::endDate).toString());
        }
        world.link().clearRequests();
        return ranges;
    }

private slots:
    void request_datesAreTexts() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.link().on(kStatistics, ScriptedReply::rows({}));
        QCOMPARE(
            statistics.queryHistoryDealStatisticList(world.presenter, "A1", kDay, kDay.addDays(1)),
            0);
        const QVariantMap expected{{UserAccount::tradingAccount, "A1"},
                                   {System::startDate, "20260105"},
                                   {System::endDate, "20260106"},
                                   {System::pageNo, 1},
                                   {System::pageSize, 1000},
                                   {System::msgType, kStatistics}};
        const QVariantMap sent = world.link().lastRequest().header;
        QCOMPARE(sent, expected);
        QCOMPARE(int(sent.value(System::startDate).type()), int(QVariant::String));
    }

    void rows_getAccountSymbolDateAndPieces() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.symbols.factors.insert("600000.SH", 10);
        world.link().on(kStatistics, daysOf({statisticRow("20260105")}));
        const auto rows =
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay);
        QVariantMap expected = statisticRow("20260105");
        expected.insert(UserAccount::tradingAccount, "A1");
        expected.insert(Security::symbol, "600000.SH");
        expected.insert(UserAccount::tradeDate, kDay);
        expected.insert(Security::cumQty, 30.0);
        expected.insert(Security::avgPx, 5.0);
        QCOMPARE(rows, QList<QVariantMap>{expected});
        QCOMPARE(int(rows.first().value(UserAccount::tradeDate).type()), int(QVariant::Date));
        QCOMPARE(int(rows.first().value(Security::cumQty).type()), int(QVariant::Double));
    }

    void rows_displayFactorZero_countsAsOne() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.symbols.factors.insert("600000.SH", 0);
        world.link().on(kStatistics, daysOf({statisticRow("20260105")}));
        const auto rows =
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(rows.first().value(Security::avgPx).toDouble(), 50.0);
    }

    void pages_fullOnesGoOn() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        QList<QVariantMap> all;
        for (int i = 0; i < 2000; ++i) {
            all.append(statisticRow("20260105", i));
        }
        world.link().on(kStatistics, pagesOf(all));
        const LogCapture log;
        QCOMPARE(
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay).size(),
            2000);
        // A last page of full size costs one more request.
        QCOMPARE(world.pagesAsked(kStatistics), (QList<int>{1, 2, 3}));
        QCOMPARE(historyLines(log),
                 (QStringList{"本次查询获取到1000条记录", "本次查询获取到1000条记录",
                              "本次查询获取到0条记录"}));
    }

    void pages_theSameFullOneAgain_isAFailureWithAWarning() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        QList<QVariantMap> page;
        for (int i = 0; i < 1000; ++i) {
            page.append(statisticRow("20260105", i));
        }
        world.link().on(kStatistics, ScriptedReply::rows(page));
        const LogCapture log;
        QCOMPARE(statistics.queryHistoryDealStatisticList(world.presenter, "A1", kDay, kDay), -1);
        QCOMPARE(world.link().requestCount(kStatistics), 2);
        QVERIFY(log.contains(QtWarningMsg,
                             "tradingAccount: A1, startDate: 2026-01-05, endDate: "
                             "2026-01-05: the query ends without a result: page 2 is "
                             "the same as the one before"));
    }

    void pages_theSameFullOneAgainWithANaN_isAFailure() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        const double notANumber = std::numeric_limits<double>::quiet_NaN();
        QList<QVariantMap> page;
        for (int i = 0; i < 1000; ++i) {
            page.append(statisticRow("20260105", i, notANumber));
            page.last().insert("list", QVariantList{notANumber});
        }
        world.link().on(kStatistics, ScriptedReply::rows(page));
        // Ends the walk in any case.
        world.link().onOccurrence(kStatistics, 4, ScriptedReply::rows({}));
        QCOMPARE(statistics.queryHistoryDealStatisticList(world.presenter, "A1", kDay, kDay), -1);
        QCOMPARE(world.link().requestCount(kStatistics), 2);
    }

    void rows_figuresThatAreNoNumbers_areKept_data() {
        QTest::addColumn<double>("figure");
        QTest::newRow("NaN") << std::numeric_limits<double>::quiet_NaN();
        QTest::newRow("infinity") << std::numeric_limits<double>::infinity();
        QTest::newRow("very large") << 1e300;
    }
    void rows_figuresThatAreNoNumbers_areKept() {
        QFETCH(double, figure);
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.link().on(kStatistics, daysOf({statisticRow("20260105", figure, figure)}));
        const auto rows =
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay);
        QCOMPARE(rows.size(), 1);
        for (const QString& field : {Security::cumQty, Security::avgPx}) {
            const double kept = rows.first().value(field).toDouble();
            QVERIFY(kept == figure || (std::isnan(kept) && std::isnan(figure)));
        }
    }

    void days_withAndWithoutRows_areAskedForOnce_exceptToday() {
        HistoryWorld world;
        const FakeClock clock(QDateTime(kDay.addDays(2), QTime(10, 0)));
        LocalPlatform::instance().setClock(clock.function());
        DealStatistics statistics(world.symbols);
        world.link().on(kStatistics, daysOf({statisticRow("20260105"), statisticRow("20260107")}));
        const auto ask = [&] {
            return statistics
                .GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay.addDays(4))
                .size();
        };
        QCOMPARE(ask(), 2);
        QCOMPARE(rangesAsked(world), QStringList{"20260105-20260109"});
        // Today's new rows replace the old ones.
        world.link().on(kStatistics, daysOf({statisticRow("20260105"), statisticRow("20260107", 1),
                                             statisticRow("20260107", 2)}));
        QCOMPARE(ask(), 3);
        QCOMPARE(rangesAsked(world), QStringList{"20260107-20260107"});
        LocalPlatform::instance().setClock(nullptr);
    }

    void days_afterAFailure_countAsHeldAndEmpty() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.link().on(kStatistics, ScriptedReply::refusal("no"));
        const LogCapture log;
        QVERIFY(
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay).isEmpty());
        QCOMPARE(rangesAsked(world).size(), 5);
        QCOMPARE(historyLines(log, QtWarningMsg),
                 QStringList{"ZnBusinessDataManager::GetHistoryDealStatisticsList, tradingAccount: "
                             "A1, startDate: 2026-01-05, endDate: 2026-01-05: the request failed, "
                             "the days count as days without rows"});
        world.link().on(kStatistics, daysOf({statisticRow("20260105")}));
        QVERIFY(
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay).isEmpty());
        QCOMPARE(world.link().requestCount(kStatistics), 0);
    }

    void days_withoutAPresenter_areAskedForLater() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.link().on(kStatistics, daysOf({statisticRow("20260105")}));
        QVERIFY(statistics.GetHistoryDealStatisticsList(nullptr, {"A1"}, kDay, kDay).isEmpty());
        QCOMPARE(
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay).size(), 1);
    }

    void rows_unusableOrUnaskedDates_areLeftOutWithAWarning() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        world.link().on(kStatistics,
                        ScriptedReply::rows({statisticRow("20260105"), statisticRow("2026"),
                                             statisticRow(""), statisticRow("20270105")}));
        const LogCapture log;
        QCOMPARE(
            statistics.GetHistoryDealStatisticsList(world.presenter, {"A1"}, kDay, kDay).size(), 1);
        QVERIFY(log.contains(QtWarningMsg, "3 rows are left out"));
    }

    void list_badRanges_sendNothing() {
        HistoryWorld world;
        DealStatistics statistics(world.symbols);
        const QList<QPair<QDate, QDate>> ranges{{kDay.addDays(1), kDay},
                                                {QDate(), kDay},
                                                {kDay, QDate()},
                                                {kDay, kDay.addYears(10000)}};
        for (const auto& range : ranges) {
            QVERIFY(statistics
                        .GetHistoryDealStatisticsList(world.presenter, {"A1"}, range.first,
                                                      range.second)
                        .isEmpty());
        }
        QCOMPARE(statistics.queryHistoryDealStatisticList(world.presenter, "A1", kDay,
                                                          kDay.addYears(10000)),
                 -1);
        QCOMPARE(world.link().requestCount(kStatistics), 0);
    }
};

QTEST_GUILESS_MAIN(DealStatisticsTest)
#include "deal_statistics_test.moc"
