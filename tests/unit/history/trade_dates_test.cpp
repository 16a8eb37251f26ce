#include "trade_dates.h"

#include <QtTest>
#include <atomic>

#include "log_capture.h"
#include "server_item_fixture.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kScope = Velmar_MsgType::getSysTradeDateByScopeRequest;
inline const QString kAround = Velmar_MsgType::getSysTradeDateByInitDateRequest;
inline const QString kMonthFailed = "getSysTradeDateByScopeRequest failed, reason: ";

QList<QVariantMap> rowsOfDays(const QVariantList& days) {
    QList<QVariantMap> rows;
    for (const QVariant& day : days) {
        rows.append({{SysTradeDate::TradeDate, day}});
    }
    return rows;
}

/// Days of this and the next year, and some beyond.
inline const QList<QVariantMap> kTwoYears =
    rowsOfDays({"20251231", "20260105", "20260106", "20260202", "20270104", "20280103"});

QStringList textsOf(const QList<QDate>& days) {
    QStringList texts;
    for (const QDate& day : days) {
        texts.append(day.toString("yyyyMMdd"));
    }
    return texts;
}

struct TradeDatesFixture : ServerItemFixture {
    TradeDatesFixture() {
        LocalPlatform::instance().setClock(
            [] { return QDateTime(QDate(2026, 3, 2), QTime(10, 0)); });
    }

    QStringList month(int month, int year) {
        return textsOf(dates.GetTradeDatesByMonth(presenter, month, year));
    }

    TradeDates dates;
};

}  // namespace

class TradeDatesTest : public QObject {
    Q_OBJECT

private slots:
    void range_anyExchange_requestsItsCalendar_data() {
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<int>("type");
        QTest::newRow("Shanghai") << Exchange::sh << 1;
        QTest::newRow("Shenzhen") << Exchange::sz << 1;
        QTest::newRow("cffex") << Exchange::cffex << 2;
        QTest::newRow("shf") << Exchange::shf << 2;
        QTest::newRow("czce") << Exchange::czce << 2;
        QTest::newRow("dcz") << Exchange::dcz << 2;
        QTest::newRow("hk") << Exchange::hk << 3;
        QTest::newRow("ssc") << Exchange::ssc << 4;
        QTest::newRow("szc") << Exchange::szc << 4;
        QTest::newRow("hhk") << Exchange::hhk << 5;
        QTest::newRow("szhk") << Exchange::szhk << 5;
        QTest::newRow("yhj") << Exchange::yhj << 7;
        QTest::newRow("HkStockCirculation") << Exchange::HkStockCirculation << 9;
        QTest::newRow("Beijing is not listed") << Exchange::bj << 1;
        QTest::newRow("unknown") << "nowhere" << 1;
        QTest::newRow("empty") << QString() << 1;
    }
    void range_anyExchange_requestsItsCalendar() {
        QFETCH(QString, exchange);
        QFETCH(int, type);
        TradeDatesFixture f;
        f.link().on(kScope, ScriptedReply::rows({}, {{System::totalSize, 0}}));
        f.link().on(kAround, ScriptedReply::rows({}));
        QString error;
        QVERIFY(f.dates.GetTradeDates(f.presenter, "20260101", "2026-12-31", exchange, error)
                    .isEmpty());
        QCOMPARE(error, QString());
        const QVariantMap range{{SysTradeDate::TradeDayType, type},
                                {SysTradeDate::InitStartDate, "20260101"},
                                {SysTradeDate::InitEndDate, "2026-12-31"},
                                {System::msgType, kScope},
                                {System::pageNo, 1},
                                {System::pageSize, 1000}};
        QCOMPARE(f.link().lastRequest(kScope).header, range);
        QVERIFY(
            f.dates.GetTradeDatesByDayAndRange(f.presenter, "20260105", -3, exchange).isEmpty());
        const QVariantMap around{{SysTradeDate::TradeDayType, type},
                                 {SysTradeDate::InitStartDate, "20260105"},
                                 {SysTradeDate::Days, -3},
                                 {System::msgType, kAround}};
        QCOMPARE(f.link().lastRequest(kAround).header, around);
        QCOMPARE(f.link().requestCount(), 2);
    }

    void range_severalPages_areCollectedInTheServersOrder() {
        TradeDatesFixture f;
        f.link().on(kScope, [](const QVariant& body) {
            const int page = headerOf(body).value(System::pageNo).toInt();
            QList<QVariantMap> rows;
            for (int i = (page - 1) * 1000; i < qMin(page * 1000, 1002); ++i) {
                rows.append({{SysTradeDate::TradeDate,
                              i == 0 ? QVariant(20260105) : "d" + QString::number(i)}});
            }
            return makeAnswer(body, rows, {{System::totalSize, 1002}});
        });
        QString error = "old";
        const QStringList days =
            f.dates.GetTradeDates(f.presenter, "20260101", "20261231", "1", error);
        QCOMPARE(error, QString());
        QCOMPARE(days.size(), 1002);
        QCOMPARE(days.first(), QString("20260105"));  // a number as its text
        QCOMPARE(days.at(1), QString("d1"));
        QCOMPARE(days.last(), QString("d1001"));
        QCOMPARE(f.link().requestCount(kScope), 2);
    }

    void range_failure_isEmptyWithATextInError_data() {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"refused", "failed", "timed out", "wrong rows", "no presenter"}) {
            QTest::newRow(kind) << kind;
        }
    }
    void range_failure_isEmptyWithATextInError() {
        QFETCH(QString, kind);
        TradeDatesFixture f;
        const QMap<QString, ScriptedReply> replies{{"refused", ScriptedReply::refusal("不行")},
                                                   {"failed", ScriptedReply::failure("断了")},
                                                   {"timed out", ScriptedReply::timeOut()},
                                                   {"wrong rows", answerWithoutItsRows()}};
        f.link().on(kScope, replies.value(kind));
        QString error;
        const bool hasPresenter = kind != "no presenter";
        QVERIFY(f.dates
                    .GetTradeDates(hasPresenter ? f.presenter.data() : nullptr, "20260101",
                                   "20261231", "1", error)
                    .isEmpty());
        QVERIFY(!error.isEmpty());
        if (kind == "refused") {
            QVERIFY2(error.contains("不行"), qPrintable(error));
        }
        QCOMPARE(f.link().requestCount(), hasPresenter ? 1 : 0);
        // The next success clears it.
        f.link().on(kScope,
                    ScriptedReply::rows(rowsOfDays({"20260105"}), {{System::totalSize, 1}}));
        QCOMPARE(f.dates.GetTradeDates(f.presenter, "20260101", "20261231", "1", error),
                 QStringList{"20260105"});
        QCOMPARE(error, QString());
    }

    void daysAround_answer_areItsTexts() {
        TradeDatesFixture f;
        f.link().on(kAround, ScriptedReply::rows(rowsOfDays({"20260106", 20260105, "x"})));
        QCOMPARE(f.dates.GetTradeDatesByDayAndRange(f.presenter, "20260105", 3, "1"),
                 (QStringList{"20260106", "20260105", "x"}));
    }

    void daysAround_anyNumberOfDays_goesOutAsItIs_data() {
        QTest::addColumn<int>("days");
        QTest::newRow("none") << 0;
        QTest::newRow("negative") << -3;
        QTest::newRow("two billion") << 2000000000;
    }
    void daysAround_anyNumberOfDays_goesOutAsItIs() {
        QFETCH(int, days);
        TradeDatesFixture f;
        f.link().on(kAround, ScriptedReply::rows(rowsOfDays({"20260105"})));
        QCOMPARE(f.dates.GetTradeDatesByDayAndRange(f.presenter, "20260105", days, "1"),
                 QStringList{"20260105"});
        QCOMPARE(f.link().lastRequest().header.value(SysTradeDate::Days), QVariant(days));
    }

    void daysAround_dateOfAnotherForm_sendsNothing_data() {
        QTest::addColumn<QString>("date");
        QTest::newRow("dashes") << "2026-01-05";
        QTest::newRow("empty") << QString();
        QTest::newRow("no such day") << "20260230";
        QTest::newRow("with a time") << "20260105 10:00";
    }
    void daysAround_dateOfAnotherForm_sendsNothing() {
        QFETCH(QString, date);
        TradeDatesFixture f;
        f.link().on(kAround, ScriptedReply::rows(rowsOfDays({"20260105"})));
        QVERIFY(f.dates.GetTradeDatesByDayAndRange(f.presenter, date, 3, "1").isEmpty());
        QCOMPARE(f.link().requestCount(), 0);
    }

    void daysAround_failure_isEmptyAndLoggedOnlyForAnAnswer() {
        TradeDatesFixture f;
        LogCapture log;
        const auto ask = [&f] {
            return f.dates.GetTradeDatesByDayAndRange(f.presenter, "20260105", 3, "1");
        };
        f.link().on(kAround, ScriptedReply::refusal("不行"));
        QVERIFY(ask().isEmpty());
        QCOMPARE(log.count(QtInfoMsg, "GetTradeDatesByDayAndRange(20260105,3) error, reason: 不行"),
                 1);
        f.link().on(kAround, answerWithoutItsRows());
        QVERIFY(ask().isEmpty());
        QCOMPARE(log.texts(QtInfoMsg).filter("GetTradeDatesByDayAndRange(").size(), 2);
        log.clear();
        f.link().on(kAround, ScriptedReply::timeOut());
        QVERIFY(ask().isEmpty());
        f.link().on(kAround, ScriptedReply::failure("断了"));
        QVERIFY(ask().isEmpty());
        QVERIFY(f.dates.GetTradeDatesByDayAndRange(nullptr, "20260105", 3, "1").isEmpty());
        QVERIFY(!log.contains("GetTradeDatesByDayAndRange("));
    }

    void month_firstQuestion_requestsTwoYearsOnce() {
        TradeDatesFixture f;
        f.link().on(kScope, ScriptedReply::rows(kTwoYears));
        QCOMPARE(f.month(1, 2026), (QStringList{"20260105", "20260106"}));
        const QVariantMap expected{{SysTradeDate::TradeDayType, 1},
                                   {SysTradeDate::InitStartDate, "20260101"},
                                   {SysTradeDate::InitEndDate, "20271231"},
                                   {System::msgType, kScope}};
        QCOMPARE(f.link().lastRequest().header, expected);
        QCOMPARE(f.month(0, 0), (QStringList{"20260105", "20260106", "20260202"}));
        QCOMPARE(f.month(2, 0), QStringList{"20260202"});
        QCOMPARE(f.month(0, 2027), QStringList{"20270104"});
        QVERIFY(f.month(3, 0).isEmpty());
        QVERIFY(f.month(13, 0).isEmpty());
        QVERIFY(f.month(-1, 0).isEmpty());
        QCOMPARE(f.link().requestCount(), 1);
    }

    void month_anotherYear_isEmptyThoughTheListHasIt() {
        TradeDatesFixture f;
        f.link().on(kScope, ScriptedReply::rows(kTwoYears));
        QVERIFY(f.month(0, 2025).isEmpty());
        QVERIFY(f.month(0, 2028).isEmpty());
        QVERIFY(f.month(0, -5).isEmpty());
        QCOMPARE(f.link().requestCount(), 1);  // the list is loaded all the same
        QCOMPARE(f.month(1, 0).size(), 2);
    }

    void month_yearsLater_listStaysAsItWasLoaded() {
        TradeDatesFixture f;
        f.link().on(kScope, ScriptedReply::rows(kTwoYears));
        QCOMPARE(f.month(0, 0).size(), 3);
        LocalPlatform::instance().setClock(
            [] { return QDateTime(QDate(2027, 1, 1), QTime(0, 0)); });
        QCOMPARE(f.month(0, 0), QStringList{"20270104"});
        QVERIFY(f.month(0, 2026).isEmpty());
        QCOMPARE(f.link().requestCount(), 1);
    }

    void month_clockWithoutATime_usesTheMachinesDay() {
        TradeDatesFixture f;
        LocalPlatform::instance().setClock([] { return QDateTime(); });
        const QString day = QDate::currentDate().toString("yyyyMMdd");
        f.link().on(kScope, ScriptedReply::rows(rowsOfDays({day})));
        QCOMPARE(f.month(0, 0), QStringList{day});
    }

    void month_answerWithAnyStatusAndCount_countsItsRows_data() {
        QTest::addColumn<QVariantMap>("header");
        QTest::newRow("refused") << QVariantMap{{System::requestExeStatus, "9"}};
        QTest::newRow("no status") << QVariantMap{{System::requestExeStatus, QString()}};
        QTest::newRow("count of 1") << QVariantMap{{System::subGroupNumber, 1}};
        QTest::newRow("count of 900") << QVariantMap{{System::subGroupNumber, 900}};
    }
    void month_answerWithAnyStatusAndCount_countsItsRows() {
        QFETCH(QVariantMap, header);
        TradeDatesFixture f;
        const LogCapture log;
        f.link().on(kScope, ScriptedReply::rows(kTwoYears, header));
        QCOMPARE(f.month(0, 0).size(), 3);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        QVERIFY(!log.contains("failed, reason"));
    }

    void month_failure_isLoggedAndAskedAgain() {
        TradeDatesFixture f;
        const LogCapture log;
        f.link().on(kScope, ScriptedReply::timeOut());
        QVERIFY(f.month(0, 0).isEmpty());
        QCOMPARE(log.count(QtDebugMsg, kMonthFailed + "查询超时"), 1);
        f.link().on(kScope, ScriptedReply::failure("断了"));
        QVERIFY(f.month(0, 0).isEmpty());
        QCOMPARE(log.texts(QtDebugMsg).filter(QRegularExpression(kMonthFailed + ".*断了")).size(),
                 1);
        f.link().on(kScope, ScriptedReply::rows({}));
        QVERIFY(f.month(0, 0).isEmpty());
        f.link().on(kScope, ScriptedReply::refusal("不行"));
        QVERIFY(f.month(0, 0).isEmpty());
        QCOMPARE(log.texts(QtDebugMsg).filter(kMonthFailed).size(), 2);
        f.link().on(kScope, ScriptedReply::rows(kTwoYears));
        QCOMPARE(f.month(0, 0).size(), 3);
        QCOMPARE(f.link().requestCount(), 5);
    }

    void month_withoutPresenter_isLogged() {
        TradeDatesFixture f;
        const LogCapture log;
        QVERIFY(f.dates.GetTradeDatesByMonth(nullptr, 0, 0).isEmpty());
        QCOMPARE(log.count(QtDebugMsg, "GetTradeDatesByMonth prtClass == NULL"), 1);
        QCOMPARE(f.link().requestCount(), 0);
    }

    void month_datesThatDoNotParse_areLeftOutWithAWarning() {
        TradeDatesFixture f;
        const LogCapture log;
        QList<QVariantMap> rows =
            rowsOfDays({"20260105", "2026-01-06", "", QVariant(), 20260107, "20261301", 5.5});
        rows.append({{"other", 1}});
        f.link().on(kScope, ScriptedReply::rows(rows));
        QCOMPARE(f.month(0, 0), (QStringList{"20260105", "20260107"}));
        QCOMPARE(
            log.count(QtWarningMsg, "trade days: 6 of 8 rows have no valid date and are left out"),
            1);
    }

    void month_noDateParses_isRequestedAgain() {
        TradeDatesFixture f;
        const LogCapture log;
        f.link().on(kScope, ScriptedReply::rows(rowsOfDays({"2026-01-05", ""})));
        QVERIFY(f.month(0, 0).isEmpty());
        QCOMPARE(
            log.count(QtWarningMsg, "trade days: 2 of 2 rows have no valid date and are left out"),
            1);
        f.link().on(kScope, ScriptedReply::rows(kTwoYears));
        QCOMPARE(f.month(0, 0).size(), 3);
        QCOMPARE(f.link().requestCount(), 2);
    }

    void month_manyFirstQuestionsAtOnce_containEachDayOnce() {
        TradeDatesFixture f;
        constexpr int kCallers = 8;
        f.link().on(kScope, ScriptedReply::rows(kTwoYears).held());
        std::atomic<int> right{0};
        std::thread callers([&] {
            runOnThreads(kCallers, [&](int) { right += f.month(0, 0).size() == 3 ? 1 : 0; });
        });
        // Every one finds the list empty.
        const bool allAsked = f.link().waitForRequestCount(kScope, kCallers);
        f.link().release();
        callers.join();
        QVERIFY(allAsked);
        QCOMPARE(right, kCallers);
        QCOMPARE(f.month(0, 0).size(), 3);
        QCOMPARE(f.link().requestCount(), kCallers);
    }
};

QTEST_GUILESS_MAIN(TradeDatesTest)
#include "trade_dates_test.moc"
