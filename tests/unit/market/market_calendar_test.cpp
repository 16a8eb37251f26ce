#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include "market_fixture.h"
#include "trade_calendar.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/values.h"

Q_DECLARE_METATYPE(TradeDayType)

class MarketCalendarTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void day_isOpen_data();
    void day_isOpen();
    void calendar_yearHasItsNumberOfDays_data();
    void calendar_yearHasItsNumberOfDays();
    void calendar_halfDays_areThoseOfHongKong();
    void calendar_outsideItsYears_isClosed();
    void store_holdsTheCalendar();
    void dictionary_fitsTogether();

private:
    QStringList keys(const QString& section) const {
        return column(
            m_market.staticDatabase(),
            QStringLiteral("SELECT key FROM static_cfg WHERE section = '%1'").arg(section));
    }

    MarketFixture m_market;
    TradeCalendar m_calendar;
};

void MarketCalendarTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
    QVERIFY2(m_calendar.load(&error), qPrintable(error));
}

void MarketCalendarTest::day_isOpen_data() {
    QTest::addColumn<QDate>("date");
    QTest::addColumn<QString>("mainland");
    QTest::addColumn<QString>("hongKong");
    QTest::addColumn<QString>("connect");
    QTest::addColumn<QString>("interbank");
    // "o" open, "-" closed.
    const auto row = [](const char* name, const QDate& date, const char* mainland,
                        const char* hongKong, const char* connect, const char* interbank) {
        QTest::addRow("%s %s", qPrintable(date.toString(Qt::ISODate)), name)
            << date << mainland << hongKong << connect << interbank;
    };
    row("New Year", {2025, 1, 1}, "-", "-", "-", "-");
    row("plain", {2025, 1, 2}, "o", "o", "o", "o");
    row("Sunday that is worked", {2025, 1, 26}, "-", "-", "-", "o");
    row("last before Spring Festival", {2025, 1, 27}, "o", "o", "o", "o");
    row("Lunar New Year's eve", {2025, 1, 28}, "-", "o", "-", "-");
    row("Lunar New Year", {2025, 1, 29}, "-", "-", "-", "-");
    row("Hong Kong back", {2025, 2, 3}, "-", "o", "-", "-");
    row("mainland back", {2025, 2, 5}, "o", "o", "o", "o");
    row("Saturday that is worked", {2025, 2, 8}, "-", "-", "-", "o");
    row("Qingming", {2025, 4, 4}, "-", "-", "-", "-");
    row("Good Friday", {2025, 4, 18}, "o", "-", "-", "o");
    row("Easter Monday", {2025, 4, 21}, "o", "-", "-", "o");
    row("Labour Day's bridge", {2025, 5, 2}, "-", "o", "-", "-");
    row("Buddha's birthday", {2025, 5, 5}, "-", "-", "-", "-");
    row("Dragon Boat", {2025, 6, 2}, "-", "o", "-", "-");
    row("establishment day", {2025, 7, 1}, "o", "-", "-", "o");
    row("National Day", {2025, 10, 1}, "-", "-", "-", "-");
    row("National Day's last", {2025, 10, 8}, "-", "o", "-", "-");
    row("Chung Yeung", {2025, 10, 29}, "o", "-", "-", "o");
    row("Christmas eve", {2025, 12, 24}, "o", "o", "o", "o");
    row("Christmas", {2025, 12, 25}, "o", "-", "-", "o");
    row("New Year's bridge", {2026, 1, 2}, "-", "o", "-", "-");
    row("Sunday that is worked", {2026, 1, 4}, "-", "-", "-", "o");
    row("first", {2026, 1, 5}, "o", "o", "o", "o");
    row("last before Spring Festival", {2026, 2, 13}, "o", "o", "o", "o");
    row("Saturday that is worked", {2026, 2, 14}, "-", "-", "-", "o");
    row("Lunar New Year's eve", {2026, 2, 16}, "-", "o", "-", "-");
    row("Lunar New Year", {2026, 2, 17}, "-", "-", "-", "-");
    row("Hong Kong back", {2026, 2, 20}, "-", "o", "-", "-");
    row("Spring Festival's last", {2026, 2, 23}, "-", "o", "-", "-");
    row("mainland back", {2026, 2, 24}, "o", "o", "o", "o");
    row("Good Friday", {2026, 4, 3}, "o", "-", "-", "o");
    row("Qingming", {2026, 4, 6}, "-", "-", "-", "-");
    row("day after Easter Monday", {2026, 4, 7}, "o", "-", "-", "o");
    row("Labour Day", {2026, 5, 1}, "-", "-", "-", "-");
    row("Labour Day's bridge", {2026, 5, 5}, "-", "o", "-", "-");
    row("Saturday that is worked", {2026, 5, 9}, "-", "-", "-", "o");
    row("day after Buddha's birthday", {2026, 5, 25}, "o", "-", "-", "o");
    row("Dragon Boat", {2026, 6, 19}, "-", "-", "-", "-");
    row("establishment day", {2026, 7, 1}, "o", "-", "-", "o");
    row("Mid-Autumn", {2026, 9, 25}, "-", "o", "-", "-");
    row("National Day", {2026, 10, 1}, "-", "-", "-", "-");
    row("National Day's second", {2026, 10, 2}, "-", "o", "-", "-");
    row("National Day's last", {2026, 10, 7}, "-", "o", "-", "-");
    row("Saturday that is worked", {2026, 10, 10}, "-", "-", "-", "o");
    row("day after Chung Yeung", {2026, 10, 19}, "o", "-", "-", "o");
    row("Christmas", {2026, 12, 25}, "o", "-", "-", "o");
    row("last", {2026, 12, 31}, "o", "o", "o", "o");
}

void MarketCalendarTest::day_isOpen() {
    QFETCH(QDate, date);
    const auto state = [&](TradeDayType type) {
        return m_calendar.isTradeDay(type, date) ? QStringLiteral("o") : QStringLiteral("-");
    };
    QTEST(state(TradeDayType::Shares), "mainland");
    QTEST(state(TradeDayType::Futures), "mainland");
    QTEST(state(TradeDayType::HongKong), "hongKong");
    QTEST(state(TradeDayType::Northbound), "connect");
    QTEST(state(TradeDayType::Southbound), "connect");
    QTEST(state(TradeDayType::HongKongCirculation), "connect");
    QTEST(state(TradeDayType::Interbank), "interbank");
}

void MarketCalendarTest::calendar_yearHasItsNumberOfDays_data() {
    QTest::addColumn<int>("year");
    QTest::addColumn<TradeDayType>("type");
    QTest::addColumn<int>("days");
    // Weekdays of the year minus the holidays on a weekday.
    QTest::newRow("shares 2025") << 2025 << TradeDayType::Shares << 261 - 18;
    QTest::newRow("shares 2026") << 2026 << TradeDayType::Shares << 261 - 19;
    QTest::newRow("Hong Kong 2025") << 2025 << TradeDayType::HongKong << 261 - 15;
    QTest::newRow("Hong Kong 2026") << 2026 << TradeDayType::HongKong << 261 - 14;
    QTest::newRow("interbank 2025") << 2025 << TradeDayType::Interbank << 261 - 18 + 5;
    QTest::newRow("interbank 2026") << 2026 << TradeDayType::Interbank << 261 - 19 + 6;
}

void MarketCalendarTest::calendar_yearHasItsNumberOfDays() {
    QFETCH(int, year);
    QFETCH(TradeDayType, type);
    const auto days = m_calendar.days(type, QDate(year, 1, 1), QDate(year, 12, 31));
    QTEST(days.size(), "days");
}

void MarketCalendarTest::calendar_halfDays_areThoseOfHongKong() {
    const auto halves = [this](TradeDayType type) {
        QStringList list;
        for (const auto& day : m_calendar.days(type, QDate(2025, 1, 1), QDate(2026, 12, 31))) {
            if (day.half) {
                list.append(day.date.toString(Qt::ISODate));
            }
        }
        return list;
    };
    QCOMPARE(halves(TradeDayType::HongKong),
             (QStringList{"2025-01-28", "2025-12-24", "2025-12-31", "2026-02-16", "2026-12-24",
                          "2026-12-31"}));
    QCOMPARE(halves(TradeDayType::Southbound),
             (QStringList{"2025-12-24", "2025-12-31", "2026-12-24", "2026-12-31"}));
    QCOMPARE(halves(TradeDayType::Shares), QStringList());
}

void MarketCalendarTest::calendar_outsideItsYears_isClosed() {
    QVERIFY(!m_calendar.isTradeDay(TradeDayType::Shares, QDate(2024, 12, 31)));
    QVERIFY(!m_calendar.isTradeDay(TradeDayType::Shares, QDate(2027, 1, 4)));
    QVERIFY(m_calendar.days(TradeDayType::Shares, QDate(2026, 2, 1), QDate(2026, 1, 1)).isEmpty());
}

void MarketCalendarTest::store_holdsTheCalendar() {
    for (const TradeDayType type : TradeCalendar::types()) {
        QStringList expected;
        for (const auto& day : m_calendar.days(type, QDate(2025, 1, 1), QDate(2026, 12, 31))) {
            expected.append(day.date.toString(QStringLiteral("yyyyMMdd")));
        }
        QCOMPARE(
            column(m_market.store(), QStringLiteral("SELECT trade_date FROM trade_calendar WHERE"
                                                    " trade_day_type = %1 ORDER BY trade_date")
                                         .arg(static_cast<int>(type))),
            expected);
    }
    QCOMPARE(number(m_market.store(), "SELECT SUM(half_day) FROM trade_calendar"), 6 + 4 + 4);
}

void MarketCalendarTest::dictionary_fitsTogether() {
    const QStringList types = keys(QStringLiteral("BusiMsgType"));
    const QStringList subTypes = keys(QStringLiteral("BusiMsgSubType"));
    const QStringList levels = keys(QStringLiteral("BusiMsgLevel"));
    QVERIFY(types.contains(BusiMsgType::SystemMsg) && types.contains(BusiMsgType::TradeMsg));
    QVERIFY(levels.contains(BusiMsgLevel::Emergency) && levels.contains(BusiMsgLevel::Important));
    for (const QString& subType : subTypes) {
        QVERIFY2(types.contains(subType.left(1)), qPrintable(subType));
    }
    const auto fits = [&](const QStringList& kind) {
        return kind.size() == 3 && subTypes.contains(kind.at(1)) &&
               kind.at(1).startsWith(kind.at(0)) && levels.contains(kind.at(2));
    };
    for (const QString& kind :
         column(m_market.staticDatabase(),
                "SELECT value FROM static_cfg WHERE section = 'VelmarBusiMsgTypeDict'")) {
        QVERIFY2(fits(kind.split('|')), qPrintable(kind));
    }
    for (const QString& key : keys(QStringLiteral("VelmarBusiMsgDefaultSetting"))) {
        QVERIFY2(key == "default" || fits(key.split('_')), qPrintable(key));
    }
}

QTEST_GUILESS_MAIN(MarketCalendarTest)
#include "market_calendar_test.moc"
