#include <QtTest>
#include <climits>

#include "report_fields.h"
#include "report_server.h"

namespace {

const QString kScope = Velmar_MsgType::getSysTradeDateByScopeRequest;
const QString kAround = Velmar_MsgType::getSysTradeDateByInitDateRequest;

QVariantMap scope(const QVariant& type, const QVariant& from, const QVariant& to) {
    return {{SysTradeDate::TradeDayType, type},
            {SysTradeDate::InitStartDate, from},
            {SysTradeDate::InitEndDate, to}};
}
QVariantMap around(const QVariant& type, const QVariant& day, const QVariant& days) {
    return {{SysTradeDate::TradeDayType, type},
            {SysTradeDate::InitStartDate, day},
            {SysTradeDate::Days, days}};
}

}  // namespace

class CalendarHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }
    void init() { m_server.setDay({2026, 3, 10}); }

    void scope_publishedYear_isTheCalendarOfEachKind_data() { types(); }
    void scope_publishedYear_isTheCalendarOfEachKind() {
        QFETCH(int, type);
        QVERIFY(isSuccess(m_server.ask(kScope, scope(type, "20250101", "20261231"))));
        QCOMPARE(dates(), m_server.stored(QString("SELECT trade_date FROM trade_calendar WHERE"
                                                  " trade_day_type = %1 ORDER BY trade_date")
                                              .arg(type)));
        QVERIFY(dates().size() > 440);
        for (const QVariantMap& row : m_server.rows()) {
            QCOMPARE(row.value(ReportField::provisional), QVariant(false));
            QCOMPARE(row.value(SysTradeDate::TradeDayType).toInt(), type);
        }
    }

    void scope_kinds_differ() {
        const auto days = [this](int type) {
            m_server.ask(kScope, scope(type, 20250101, 20261231));
            return dates();
        };
        QVERIFY(days(1) != days(3));
        QVERIFY(days(5).size() < days(3).size());
        QVERIFY(days(7).size() > days(1).size());
    }

    void scope_yearsNotPublished_areProvisionalWeekdays_data() { types(); }
    void scope_yearsNotPublished_areProvisionalWeekdays() {
        QFETCH(int, type);
        m_server.ask(kScope, scope(type, "20270101", "20271231"));
        QCOMPARE(dates().size(), 261);  // weekdays of 2027
        for (const QVariantMap& row : m_server.rows()) {
            QCOMPARE(row.value(ReportField::provisional), QVariant(true));
            const QDate date =
                QDate::fromString(row.value(SysTradeDate::TradeDate).toString(), "yyyyMMdd");
            QVERIFY(date.isValid() && date.dayOfWeek() < Qt::Saturday);
        }
    }

    void scope_acrossBothParts_isInOrderAndMarked() {
        m_server.ask(kScope, scope(1, "20261230", "20270105"));
        QCOMPARE(dates(),
                 (QStringList{"20261230", "20261231", "20270101", "20270104", "20270105"}));
        QStringList marks;
        for (const QVariantMap& row : m_server.rows()) {
            marks.append(row.value(ReportField::provisional).toBool() ? "?" : "!");
        }
        QCOMPARE(marks, (QStringList{"!", "!", "?", "?", "?"}));
    }

    void scope_laterYears_reachTheEndOfTheYearAfterThePresentOne() {
        for (const int year : {2026, 2027, 2031}) {
            m_server.setDay({year, 12, 31});
            m_server.ask(kScope, scope(1, QDate(year, 1, 1), "99991231"));
            const QDate last = QDate::fromString(dates().last(), "yyyyMMdd");
            QCOMPARE(last.year(), year + 1);
            QCOMPARE(last.month(), 12);
            QVERIFY(last.day() >= 29);
        }
    }

    void scope_halfDays_areThoseOfHongKong() {
        m_server.ask(kScope, scope(3, 20251224, 20251231));
        QMap<QString, bool> half;
        for (const QVariantMap& row : m_server.rows()) {
            half.insert(row.value(SysTradeDate::TradeDate).toString(),
                        row.value(ReportField::halfDay).toBool());
        }
        QCOMPARE(
            half,
            (QMap<QString, bool>{
                {"20251224", true}, {"20251229", false}, {"20251230", false}, {"20251231", true}}));
    }

    void scope_byPage_givesTheWholeListOnce() {
        m_server.ask(kScope, scope(1, 20250101, 20271231));
        const QStringList whole = dates();
        QStringList collected;
        for (int page = 1; page <= 8; ++page) {
            QVariantMap fields = scope(1, 20250101, 20271231);
            fields.insert(System::pageNo, page);
            fields.insert(System::pageSize, 100);
            const QVariantMap header = m_server.ask(kScope, fields);
            QCOMPARE(header.value(System::totalSize).toInt(), whole.size());
            QCOMPARE(header.value(System::pageNo).toInt(), page);
            collected += dates();
        }
        QCOMPARE(collected, whole);
        QCOMPARE(dates().size(), whole.size() - 700);
        QVariantMap behind = scope(1, 20250101, 20271231);
        behind.insert(System::pageNo, INT_MAX);
        behind.insert(System::pageSize, 1000);
        QVERIFY(isSuccess(m_server.ask(kScope, behind)));
        QVERIFY(dates().isEmpty());
    }

    void scope_formsOfDates_areEqual() {
        m_server.ask(kScope, scope(1, "2025-10-01", "2025-10-31"));
        const QStringList expected = dates();
        QCOMPARE(expected.first(), QString("20251009"));
        m_server.ask(kScope, scope("1", 20251001, 20251031));
        QCOMPARE(dates(), expected);
    }

    void scope_startAfterEndOrOutside_isEmpty() {
        for (const auto& range : {qMakePair(20250310, 20250303), qMakePair(20200101, 20241231)}) {
            QVERIFY(isSuccess(m_server.ask(kScope, scope(1, range.first, range.second))));
            QVERIFY(m_server.rows().isEmpty());
        }
    }

    void scope_tenThousandYears_areTheYearsOfTheCalendar() {
        m_server.ask(kScope, scope(1, "00010101", "99991231"));
        QCOMPARE(dates().first(), QString("20250102"));
        QCOMPARE(dates().last(), QString("20271231"));
    }

    void around_startThatIsATradeDay_counts() {
        m_server.ask(kAround, around(1, "20250930", 3));
        QCOMPARE(dates(), (QStringList{"20250930", "20251009", "20251010"}));
        m_server.ask(kAround, around(1, "20251009", -3));
        QCOMPARE(dates(), (QStringList{"20250929", "20250930", "20251009"}));
    }

    void around_startThatIsClosed_doesNotCount() {
        m_server.ask(kAround, around(1, 20251003, 1));
        QCOMPARE(dates(), QStringList{"20251009"});
        m_server.ask(kAround, around(1, 20251003, -1));
        QCOMPARE(dates(), QStringList{"20250930"});
    }

    void around_anyCount_endsWithTheCalendar_data() {
        QTest::addColumn<QVariant>("days");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::newRow("most forwards") << QVariant(INT_MAX) << "20250630"
                                       << "20271231";
        QTest::newRow("most backwards") << QVariant(INT_MIN) << "20250102"
                                        << "20250630";
        QTest::newRow("a text") << QVariant("2") << "20250630"
                                << "20250701";
        QTest::newRow("a negative text") << QVariant("-2") << "20250627"
                                         << "20250630";
    }
    void around_anyCount_endsWithTheCalendar() {
        QFETCH(QVariant, days);
        QVERIFY(isSuccess(m_server.ask(kAround, around(1, 20250630, days))));
        QTEST(dates().first(), "first");
        QTEST(dates().last(), "last");
    }

    void around_noDays_isEmpty() {
        QVERIFY(isSuccess(m_server.ask(kAround, around(1, 20250630, 0))));
        QVERIFY(m_server.rows().isEmpty());
    }

    void badRequest_isRefusedWithItsReason_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<QString>("reason");
        QTest::newRow("unknown kind")
            << kScope << scope(6, 20250101, 20250131) << "不支持的交易日类型：6";
        QTest::newRow("no kind") << kScope << scope({}, 20250101, 20250131)
                                 << "不支持的交易日类型：";
        QTest::newRow("start") << kScope << scope(1, "20250132", 20250131)
                               << "InitStartDate的日期无效：20250132";
        QTest::newRow("end") << kScope << scope(1, 20250101, {}) << "InitEndDate的日期无效：";
        QTest::newRow("around, kind")
            << kAround << around("x", 20250101, 1) << "不支持的交易日类型：x";
        QTest::newRow("around, start")
            << kAround << around(1, "today", 1) << "InitStartDate的日期无效：today";
        QTest::newRow("around, days") << kAround << around(1, 20250101, "many") << "天数无效：many";
        QTest::newRow("around, no days") << kAround << around(1, 20250101, {}) << "天数无效：";
    }
    void badRequest_isRefusedWithItsReason() {
        QFETCH(QString, type);
        QFETCH(QVariantMap, fields);
        QTEST(m_server.refusal(type, fields), "reason");
    }

private:
    static void types() {
        QTest::addColumn<int>("type");
        for (const int type : {1, 2, 3, 4, 5, 7, 9}) {
            QTest::addRow("%d", type) << type;
        }
    }
    QStringList dates() const { return m_server.column(SysTradeDate::TradeDate); }

    ReportServer m_server;
};

QTEST_GUILESS_MAIN(CalendarHandlersTest)
#include "calendar_handlers_test.moc"
