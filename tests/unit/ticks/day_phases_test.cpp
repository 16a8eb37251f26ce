#include <QtTest>
#include <memory>

#include "tick_day_phases.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

/// Checks the first and the last millisecond of every minute of the day. Returns an empty text when
/// the phases are those of the table ("00:00 0, 09:15 1, ..."), otherwise the first difference.
QString faultOfDay(const DayPhases& phases, const QDate& day, const QString& changes) {
    QMap<QString, QString> table;
    for (const QString& change : changes.split(", ")) {
        table.insert(change.section(' ', 0, 0), change.section(' ', 1));
    }
    QString expected;
    for (int minute = 0; minute < 24 * 60; ++minute) {
        const QTime begin = QTime(0, 0).addSecs(minute * 60);
        expected = table.value(begin.toString("HH:mm"), expected);
        for (const QTime& time : {begin, begin.addMSecs(59999)}) {
            const QString phase = phases.at(QDateTime(day, time));
            if (phase != expected) {
                return QString("%1: %2 instead of %3").arg(time.toString(), phase, expected);
            }
        }
    }
    return {};
}

const QString kClosedDay = QStringLiteral("00:00 6");
const QString kMainlandDay =
    QStringLiteral("00:00 0, 09:15 1, 09:25 2, 09:30 3, 11:30 4, 13:00 3, 14:57 5, 15:00 6");
const QString kHongKongDay =
    QStringLiteral("00:00 0, 09:00 1, 09:22 2, 09:30 3, 12:00 4, 13:00 3, 16:00 5, 16:10 6");
const QString kHongKongHalfDay =
    QStringLiteral("00:00 0, 09:00 1, 09:22 2, 09:30 3, 12:00 5, 12:10 6");

}  // namespace

class DayPhasesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        const auto calendar = std::make_shared<TradeCalendar>();
        QString error;
        QVERIFY2(calendar->load(&error), qPrintable(error));
        m_calendar = calendar;
    }

    void phaseAt_minuteTable_data();
    void phaseAt_minuteTable();
    void phaseAt_weekendOrNoTime_isClosed();
    void phaseAt_dayOfTheCalendar_data();
    void phaseAt_dayOfTheCalendar();
    void phaseAt_holidayWithoutCalendar_isAPlainDay();
    void phaseAt_outsideTheCalendar_knowsWeekendsAlone();

private:
    std::shared_ptr<const TradeCalendar> m_calendar;
};

void DayPhasesTest::phaseAt_minuteTable_data() {
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<QString>("changes");
    const QString commodity =
        "00:00 0, 08:55 1, 08:59 2, 09:00 3, 10:15 4, 10:30 3, 11:30 4, 13:30 3, 15:00 6";
    QTest::newRow("Shanghai") << Exchange::sh << kMainlandDay;
    QTest::newRow("Shenzhen") << Exchange::sz << kMainlandDay;
    QTest::newRow("Beijing") << Exchange::bj << kMainlandDay;
    QTest::newRow("unknown") << "?" << kMainlandDay;
    QTest::newRow("Hong Kong via Shanghai") << Exchange::hhk << kHongKongDay;
    QTest::newRow("Hong Kong via Shenzhen") << Exchange::szhk << kHongKongDay;
    QTest::newRow("Hong Kong") << Exchange::hk << kHongKongDay;
    QTest::newRow("circulation in Hong Kong") << Exchange::HkStockCirculation << kHongKongDay;
    QTest::newRow("index futures")
        << Exchange::cffex << "00:00 0, 09:25 1, 09:29 2, 09:30 3, 11:30 4, 13:00 3, 15:00 6";
    QTest::newRow("metal futures") << Exchange::shf << commodity;
    QTest::newRow("gold") << Exchange::sge << "00:00 0, 09:00 3, 11:30 4, 13:30 3, 15:30 6";
}

void DayPhasesTest::phaseAt_minuteTable() {
    QFETCH(QString, exchange);
    QFETCH(QString, changes);
    // An ordinary Monday, with and without a calendar.
    const QDate day(2026, 1, 5);
    QCOMPARE(faultOfDay(DayPhases(exchange), day, changes), QString());
    QCOMPARE(faultOfDay(DayPhases(exchange, m_calendar), day, changes), QString());
}

void DayPhasesTest::phaseAt_weekendOrNoTime_isClosed() {
    const DayPhases phases(Exchange::sh);
    for (const int day : {3, 4}) {
        QCOMPARE(phases.at(QDateTime(QDate(2026, 1, day), QTime(10, 0))), TickPhase::closed);
    }
    QCOMPARE(phases.at(QDateTime()), TickPhase::closed);
    QCOMPARE(phases.at(QDateTime(QDate(2026, 1, 2), QTime(10, 0))), TickPhase::continuous);
}

void DayPhasesTest::phaseAt_dayOfTheCalendar_data() {
    QTest::addColumn<QDate>("day");
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<QString>("changes");
    const auto row = [](const char* name, const QDate& day, const QString& exchange,
                        const QString& changes) {
        QTest::addRow("%s, %s", name, qPrintable(exchange)) << day << exchange << changes;
    };
    const QString commodity =
        "00:00 0, 08:55 1, 08:59 2, 09:00 3, 10:15 4, 10:30 3, 11:30 4, 13:30 3, 15:00 6";
    row("National Day", {2025, 10, 1}, Exchange::sh, kClosedDay);
    row("National Day", {2025, 10, 1}, Exchange::hk, kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, Exchange::sz, kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, Exchange::shf, kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, Exchange::sge, kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, "?", kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, Exchange::hk, kHongKongDay);
    // The connect and circulation markets need both sides open.
    row("its last day in the mainland", {2025, 10, 8}, Exchange::hhk, kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, Exchange::szhk, kClosedDay);
    row("its last day in the mainland", {2025, 10, 8}, Exchange::HkStockCirculation, kClosedDay);
    row("Good Friday", {2026, 4, 3}, Exchange::hk, kClosedDay);
    row("Good Friday", {2026, 4, 3}, Exchange::hhk, kClosedDay);
    row("Good Friday", {2026, 4, 3}, Exchange::sh, kMainlandDay);
    row("Good Friday", {2026, 4, 3}, Exchange::shf, commodity);
    row("Saturday that is worked", {2026, 2, 14}, Exchange::sh, kClosedDay);
    row("Christmas eve", {2025, 12, 24}, Exchange::hk, kHongKongHalfDay);
    row("Christmas eve", {2025, 12, 24}, Exchange::hhk, kHongKongHalfDay);
    row("Christmas eve", {2025, 12, 24}, Exchange::szhk, kHongKongHalfDay);
    row("Christmas eve", {2025, 12, 24}, Exchange::HkStockCirculation, kHongKongHalfDay);
    row("Christmas eve", {2025, 12, 24}, Exchange::sz, kMainlandDay);
    row("Lunar New Year's eve", {2026, 2, 16}, Exchange::hk, kHongKongHalfDay);
    row("Lunar New Year's eve", {2026, 2, 16}, Exchange::hhk, kClosedDay);
}

void DayPhasesTest::phaseAt_dayOfTheCalendar() {
    QFETCH(QDate, day);
    QFETCH(QString, exchange);
    QFETCH(QString, changes);
    QCOMPARE(faultOfDay(DayPhases(exchange, m_calendar), day, changes), QString());
}

void DayPhasesTest::phaseAt_holidayWithoutCalendar_isAPlainDay() {
    QCOMPARE(faultOfDay(DayPhases(Exchange::sh), {2025, 10, 1}, kMainlandDay), QString());
    QCOMPARE(faultOfDay(DayPhases(Exchange::hk), {2025, 12, 24}, kHongKongDay), QString());
    // A calendar that was never loaded covers no year.
    const DayPhases phases(Exchange::sh, std::make_shared<TradeCalendar>());
    QCOMPARE(faultOfDay(phases, {2025, 10, 1}, kMainlandDay), QString());
}

void DayPhasesTest::phaseAt_outsideTheCalendar_knowsWeekendsAlone() {
    const QDate newYear(m_calendar->lastYear() + 1, 1, 1);
    const DayPhases phases(Exchange::hk, m_calendar);
    QVERIFY(newYear.dayOfWeek() < Qt::Saturday);
    QCOMPARE(faultOfDay(phases, newYear, kHongKongDay), QString());
    QCOMPARE(faultOfDay(phases, newYear.addDays(6 - newYear.dayOfWeek()), kClosedDay), QString());
}

QTEST_GUILESS_MAIN(DayPhasesTest)
#include "day_phases_test.moc"
