#include <rapidcheck.h>

#include <cmath>
#include <functional>
#include <limits>

#include "price_fixture.h"

namespace {

const QString kConfig = Velmar_MsgType::getSysConfigRequest;

QVariantMap tickOf(const QString& symbol, double buy, double sell) {
    return {
        {"Symbol", symbol}, {"TradingPhaseCode", "3"}, {"Buy1Price", buy}, {"Sell1Price", sell}};
}

struct Figures {
    double ratio;
    int ticks;
};

/// A fixture with one cage, which covers the main board of Shanghai unless given another class.
struct CageFixture : PriceFixture {
    void setCage(double ratio, int ticks, int control) {
        setCage({ratio, ticks}, {ratio, ticks}, control);
    }
    void setCage(const Figures& buy, const Figures& sell, int control,
                 const QString& covered = QStringLiteral("1-2-*")) {
        const auto ratio = [](double value) { return QString::number(value, 'g', 17); };
        setCageText(
            QStringLiteral(R"({"M":{"securityType":["%1"],"buyPercent":%2,"sellPercent":%3,)"
                           R"("buyUnit":%4,"sellUnit":%5,"controlType":%6}})")
                .arg(covered, ratio(buy.ratio), ratio(sell.ratio), QString::number(buy.ticks),
                     QString::number(sell.ticks), QString::number(control)));
    }
    void setCageText(const QString& text) {
        world.link().on(kConfig, ScriptedReply::rows({{{System::itemValue, text}}}));
        cage.initCageMap(presenter, true);
    }
    double limit(const QVariantMap& tick, bool isSell) {
        double limit = -1.0;
        return cage.getCageLimitPrice(limit, tick, isSell) ? limit : -2.0;
    }
};

/// Limits are the doubles nearest to their decimals, so they compare exactly.
bool isSame(double left, double right) {
    return std::equal_to<double>()(left, right);
}

/// The rule of the main boards in whole cents: the wider of two percent and ten ticks, rounded to
/// the cent on the inner side.
double highestBuy(int cents) {
    return std::max(cents * 102 / 100, cents + 10) / 100.0;
}
double lowestSell(int cents) {
    return std::min((cents * 98 + 99) / 100, cents - 10) / 100.0;
}

}  // namespace

class PriceCageLimitsTest : public QObject {
    Q_OBJECT

private slots:
    void basePrice_eachQuoteMissing_fallsThrough_data() {
        QTest::addColumn<QVariantMap>("tick");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        const double none = std::numeric_limits<double>::quiet_NaN();
        const double infinity = std::numeric_limits<double>::infinity();
        const QVariantMap full{
            {"Buy1Price", 9.99}, {"Sell1Price", 10.01}, {"LastPx", 10.0}, {"PreClosePx", 9.5}};
        const auto with = [&full](const QVariantMap& other) {
            QVariantMap tick = full;
            for (auto it = other.cbegin(); it != other.cend(); ++it) {
                tick.insert(it.key(), it.value());
            }
            return tick;
        };
        QTest::newRow("both") << full << 9.99 << 10.01;
        QTest::newRow("no bid") << with({{"Buy1Price", 0.0}}) << 10.01 << 10.01;
        QTest::newRow("no ask") << with({{"Sell1Price", 1e-10}}) << 9.99 << 9.99;
        QTest::newRow("texts") << with({{"Buy1Price", "9.98"}, {"Sell1Price", ""}}) << 9.98 << 9.98;
        QTest::newRow("no quotes") << with({{"Buy1Price", 0}, {"Sell1Price", 0}}) << 10.0 << 10.0;
        QTest::newRow("not a number")
            << with({{"Buy1Price", none}, {"Sell1Price", infinity}}) << 10.0 << 10.0;
        QTest::newRow("last close") << QVariantMap{{"PreClosePx", 9.5}} << 9.5 << 9.5;
        QTest::newRow("nothing") << QVariantMap{} << 0.0 << 0.0;
        QTest::newRow("nothing usable") << QVariantMap{{"PreClosePx", infinity}} << 0.0 << 0.0;
    }
    void basePrice_eachQuoteMissing_fallsThrough() {
        QFETCH(QVariantMap, tick);
        QFETCH(double, buy);
        QFETCH(double, sell);
        QCOMPARE(PriceCage::getCageBasePrice(tick, "Buy1Price"), buy);
        QCOMPARE(PriceCage::getCageBasePrice(tick, "Sell1Price"), sell);
    }

    void basePrice_otherField_isTheLastPrice() {
        QCOMPARE(PriceCage::getCageBasePrice({{"Buy1Price", 9.0}, {"LastPx", 10.0}}, "Other"),
                 10.0);
    }

    void limit_controlType_decidesOnBothSides_data() {
        QTest::addColumn<int>("control");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        QTest::newRow("ratio") << 1 << 10.20 << 9.80;
        QTest::newRow("ticks") << 2 << 10.10 << 9.90;
        QTest::newRow("both") << 3 << 10.20 << 9.80;
        // The sides differ when the type is unknown.
        QTest::newRow("zero") << 0 << 0.0 << 9.80;
        QTest::newRow("unknown") << 4 << 0.0 << 9.80;
    }
    void limit_controlType_decidesOnBothSides() {
        QFETCH(int, control);
        QFETCH(double, buy);
        QFETCH(double, sell);
        CageFixture fixture;
        fixture.setCage(0.02, 10, control);
        const QVariantMap tick = tickOf("600000.SH", 10.00, 10.00);
        QVERIFY(isSame(fixture.limit(tick, false), buy));
        QVERIFY(isSame(fixture.limit(tick, true), sell));
    }

    void limit_figuresNotWholeNumbers_areReadAsWholeNumbers_data() {
        QTest::addColumn<QString>("units");
        QTest::addColumn<QString>("control");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        const double most = std::numeric_limits<int>::max();
        QTest::newRow("rounded") << "9.7"
                                 << "2" << 10.10 << 9.90;
        QTest::newRow("rounded down") << "9.4"
                                      << "2" << 10.09 << 9.91;
        QTest::newRow("text") << R"("9")"
                              << "2" << 10.09 << 9.91;
        QTest::newRow("text that is not a whole number") << R"("9.7")"
                                                         << "2" << 10.00 << 10.00;
        // As many ticks as an int can hold; the limit itself is limited to as many, too. Doubles of
        // that size are off the step by more than 1e-10, so the sell is one tick higher.
        QTest::newRow("too large") << "1e300"
                                   << "2" << most * 0.01 << 10.01 - most * 0.01;
        QTest::newRow("too large a whole number") << "4294967297"
                                                  << "2" << most * 0.01 << 10.01 - most * 0.01;
        // 2 percent of 10.00 against 10 ticks: the third type takes the wider.
        QTest::newRow("control rounded") << "10"
                                         << "2.6" << 10.20 << 9.80;
        QTest::newRow("control as text") << "10"
                                         << R"("2.6")" << 0.0 << 9.80;
    }
    void limit_figuresNotWholeNumbers_areReadAsWholeNumbers() {
        QFETCH(QString, units);
        QFETCH(QString, control);
        QFETCH(double, buy);
        QFETCH(double, sell);
        CageFixture fixture;
        fixture.setCageText(
            QString(R"({"M":{"securityType":["1-2-*"],"buyPercent":0.02,"sellPercent":0.02,)"
                    R"("buyUnit":%1,"sellUnit":%1,"controlType":%2}})")
                .arg(units, control));
        const QVariantMap tick = tickOf("600000.SH", 10.00, 10.00);
        QCOMPARE(fixture.limit(tick, false), buy);
        QCOMPARE(fixture.limit(tick, true), sell);
    }

    void limit_sidesWithDifferentFigures_useTheirOwn_data() {
        QTest::addColumn<double>("buyRatio");
        QTest::addColumn<int>("buyTicks");
        QTest::addColumn<double>("sellRatio");
        QTest::addColumn<int>("sellTicks");
        QTest::addColumn<int>("control");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        // The best bid is 9.90, which bounds a sell, and the best ask 10.10.
        QTest::newRow("ratio") << 0.03 << 20 << 0.05 << 7 << 1 << 10.40 << 9.41;
        QTest::newRow("ticks") << 0.03 << 20 << 0.05 << 7 << 2 << 10.30 << 9.83;
        QTest::newRow("both, by ratio") << 0.03 << 20 << 0.05 << 7 << 3 << 10.40 << 9.41;
        QTest::newRow("both, by ticks") << 0.01 << 40 << 0.02 << 60 << 3 << 10.50 << 9.30;
        QTest::newRow("both, one each") << 0.03 << 5 << 0.01 << 60 << 3 << 10.40 << 9.30;
        QTest::newRow("nothing up") << 0.0 << 0 << 0.05 << 7 << 3 << 10.10 << 9.41;
        QTest::newRow("nothing down") << 0.03 << 20 << 0.0 << 0 << 3 << 10.40 << 9.90;
    }
    void limit_sidesWithDifferentFigures_useTheirOwn() {
        QFETCH(double, buyRatio);
        QFETCH(int, buyTicks);
        QFETCH(double, sellRatio);
        QFETCH(int, sellTicks);
        QFETCH(int, control);
        QFETCH(double, buy);
        QFETCH(double, sell);
        CageFixture fixture;
        fixture.setCage({buyRatio, buyTicks}, {sellRatio, sellTicks}, control);
        const QVariantMap tick = tickOf("600000.SH", 9.90, 10.10);
        QCOMPARE(fixture.limit(tick, false), buy);
        QCOMPARE(fixture.limit(tick, true), sell);
        QVERIFY(isSame(fixture.cage.CheckCagePrice(20.0, tick, false), buy));
        QVERIFY(isSame(fixture.cage.CheckCagePrice(1.0, tick, true), sell));
    }

    void limit_typeWithAnotherTick_isOnThatTick_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("covered");
        QTest::addColumn<int>("control");
        QTest::addColumn<double>("base");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        const QString stock = "-" + MdcSecurityType::StockType + "-*";
        const QString fund = "-" + MdcSecurityType::FundType + "-*";
        const QString option = "-" + MdcSecurityType::OptionType + "-*";
        // 1.2345 percent up and 2.3456 down, 7 ticks up and 11 down.
        QTest::newRow("Hong Kong, ratio") << "02001.HK" << Exchange::hhk + stock << 1  //
                                          << 1.000 << 1.012 << 0.977;  // 1.012345 and 0.976544
        QTest::newRow("Hong Kong, ticks")
            << "02001.HK" << Exchange::hhk + stock << 2 << 1.000 << 1.007 << 0.989;
        QTest::newRow("Hong Kong from Shenzhen, ticks")
            << "08001.HK" << Exchange::szhk + stock << 2 << 0.315 << 0.322 << 0.304;
        QTest::newRow("fund, ratio") << "510050.SH" << Exchange::sh + fund << 1  //
                                     << 2.500 << 2.530 << 2.442;  // 2.5308625 and 2.44136
        QTest::newRow("fund, ticks")
            << "159001.SZ" << Exchange::sz + fund << 2 << 2.500 << 2.507 << 2.489;
        QTest::newRow("fund, both")
            << "510050.SH" << Exchange::sh + fund << 3 << 0.400 << 0.407 << 0.389;
        QTest::newRow("option, ratio") << "10000001.SH" << Exchange::sh + option << 1  //
                                       << 0.1000 << 0.1012 << 0.0977;  // 0.1012345 and 0.0976544
        QTest::newRow("option, ticks")
            << "10000001.SH" << Exchange::sh + option << 2 << 0.1000 << 0.1007 << 0.0989;
    }
    void limit_typeWithAnotherTick_isOnThatTick() {
        QFETCH(QString, symbol);
        QFETCH(QString, covered);
        QFETCH(int, control);
        QFETCH(double, base);
        QFETCH(double, buy);
        QFETCH(double, sell);
        CageFixture fixture;
        fixture.setCage({0.012345, 7}, {0.023456, 11}, control, covered);
        const QVariantMap tick = tickOf(symbol, base, base);
        QCOMPARE(fixture.limit(tick, false), buy);
        QCOMPARE(fixture.limit(tick, true), sell);
    }

    void limit_offTheTick_isRoundedInwards() {
        CageFixture fixture;
        fixture.setCage(0.02, 10, 1);
        // 10.03 x 1.02 = 10.2306, 10.03 x 0.98 = 9.8294.
        const QVariantMap tick = tickOf("600000.SH", 10.03, 10.03);
        QVERIFY(isSame(fixture.limit(tick, false), 10.23));
        QVERIFY(isSame(fixture.limit(tick, true), 9.83));
    }

    void limit_otherPhaseOrNoCage_isMissing_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QVariant>("phase");
        QTest::newRow("opening call") << "600000.SH" << QVariant("1");
        QTest::newRow("no phase") << "600000.SH" << QVariant();
        QTest::newRow("no cage") << "510050.SH" << QVariant("3");
    }
    void limit_otherPhaseOrNoCage_isMissing() {
        QFETCH(QString, symbol);
        QFETCH(QVariant, phase);
        CageFixture fixture;
        fixture.setCage(0.02, 10, 3);
        QVariantMap tick = tickOf(symbol, 10.0, 10.0);
        tick.insert("TradingPhaseCode", phase);
        tick.insert("MaxPx", 11.0);
        double limit = 5.0;
        QVERIFY(!fixture.cage.getCageLimitPrice(limit, tick, false));
        QCOMPARE(limit, 0.0);
        // Only the day's limits apply.
        QCOMPARE(fixture.cage.CheckCagePrice(10.5, tick, false), 10.5);
        QCOMPARE(fixture.cage.CheckCagePrice(12.0, tick, false), 11.0);
    }

    void limit_phaseAsNumber_countsAsItsText() {
        CageFixture fixture;
        fixture.setCage(0.02, 10, 3);
        QVariantMap tick = tickOf("600000.SH", 10.0, 10.0);
        tick.insert("TradingPhaseCode", 3);
        QVERIFY(isSame(fixture.limit(tick, false), 10.2));
    }

    void check_priceOutside_becomesTheLimit_data() {
        QTest::addColumn<bool>("sell");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("checked");
        QTest::newRow("buy above") << false << 10.25 << 10.20;
        QTest::newRow("buy at") << false << 10.20 << 10.20;
        QTest::newRow("buy within nothing") << false << 10.20 + 1e-11 << 10.20 + 1e-11;
        QTest::newRow("buy below") << false << 9.00 << 9.00;
        QTest::newRow("sell below") << true << 9.75 << 9.80;
        QTest::newRow("sell within nothing") << true << 9.80 - 1e-11 << 9.80 - 1e-11;
        QTest::newRow("sell above") << true << 11.00 << 11.00;
    }
    void check_priceOutside_becomesTheLimit() {
        QFETCH(bool, sell);
        QFETCH(double, price);
        QFETCH(double, checked);
        CageFixture fixture;
        fixture.setCage(0.02, 10, 3);
        const QVariantMap tick = tickOf("600000.SH", 10.00, 10.00);
        QVERIFY(std::abs(fixture.cage.CheckCagePrice(price, tick, sell) - checked) < 1e-12);
    }

    void check_unknownControlOfABuy_leavesTheDaysLowerLimit() {
        CageFixture fixture;
        fixture.setCage(0.02, 10, 0);
        QVariantMap tick = tickOf("600000.SH", 10.00, 10.00);
        QCOMPARE(fixture.cage.CheckCagePrice(10.0, tick, false), 0.0);
        tick.insert("MinPx", 9.0);
        QCOMPARE(fixture.cage.CheckCagePrice(10.0, tick, false), 9.0);
    }

    void mainBoards_pricesFromHalfTo2000_areTwoPercentOrTenTicks_data() {
        QTest::addColumn<int>("cents");
        for (const int cents :
             {50,  51,   75,   99,   100,  101,  250,   333,   499,   500,   501,   510,
              999, 1000, 1003, 1050, 2345, 9999, 10000, 12345, 50000, 99999, 200000}) {
            QTest::newRow(QByteArray::number(cents)) << cents;
        }
    }
    void mainBoards_pricesFromHalfTo2000_areTwoPercentOrTenTicks() {
        QFETCH(int, cents);
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        for (const char* symbol : {"600000.SH", "000001.SZ", "300001.SZ"}) {
            const QVariantMap tick = tickOf(symbol, cents / 100.0, cents / 100.0);
            double limit = 0.0;
            QVERIFY(fixture.cage.getCageLimitPrice(limit, tick, false));
            QVERIFY2(isSame(limit, highestBuy(cents)), qPrintable(QString::number(limit)));
            QVERIFY(fixture.cage.getCageLimitPrice(limit, tick, true));
            QVERIFY2(isSame(limit, lowestSell(cents)), qPrintable(QString::number(limit)));
        }
    }

    void mainBoards_examples_haveTheseLimits_data() {
        QTest::addColumn<double>("base");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        QTest::newRow("0.50: ticks") << 0.50 << 0.60 << 0.40;
        QTest::newRow("4.99: ticks") << 4.99 << 5.09 << 4.89;
        QTest::newRow("5.00: both alike") << 5.00 << 5.10 << 4.90;
        QTest::newRow("5.50: ratio, off the tick") << 5.50 << 5.61 << 5.39;
        QTest::newRow("10.00: ratio") << 10.00 << 10.20 << 9.80;
        QTest::newRow("10.03: ratio, inwards") << 10.03 << 10.23 << 9.83;
        QTest::newRow("100.01") << 100.01 << 102.01 << 98.01;
        QTest::newRow("2000") << 2000.0 << 2040.0 << 1960.0;
    }
    void mainBoards_examples_haveTheseLimits() {
        QFETCH(double, base);
        QFETCH(double, buy);
        QFETCH(double, sell);
        PriceFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        double limit = 0.0;
        QVERIFY(fixture.cage.getCageLimitPrice(limit, tickOf("600000.SH", base, base), false));
        QVERIFY2(isSame(limit, buy), qPrintable(QString::number(limit)));
        QVERIFY(fixture.cage.getCageLimitPrice(limit, tickOf("600000.SH", base, base), true));
        QVERIFY2(isSame(limit, sell), qPrintable(QString::number(limit)));
    }

    void otherBuiltInCages_examples_haveTheseLimits_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<double>("base");
        QTest::addColumn<double>("buy");
        QTest::addColumn<double>("sell");
        // The science board uses the ratio only, even where ten ticks are wider.
        QTest::newRow("science board at 1") << "688001.SH" << 1.00 << 1.02 << 0.98;
        QTest::newRow("science board, inwards") << "688001.SH" << 10.03 << 10.23 << 9.83;
        QTest::newRow("science board, ticks are less") << "688001.SH" << 50.00 << 51.00 << 49.00;
        // Hong Kong uses nine ticks of a thousandth only, even where the ratio is wider.
        QTest::newRow("Hong Kong at 1") << "02001.HK" << 1.000 << 1.009 << 0.991;
        QTest::newRow("Hong Kong, ratio is less") << "02001.HK" << 0.100 << 0.109 << 0.091;
        QTest::newRow("Hong Kong from Shenzhen") << "08001.HK" << 50.000 << 50.009 << 49.991;
        QTest::newRow("Hong Kong without suffix") << "02002" << 1.000 << 1.009 << 0.991;
    }
    void otherBuiltInCages_examples_haveTheseLimits() {
        QFETCH(QString, symbol);
        QFETCH(double, base);
        QFETCH(double, buy);
        QFETCH(double, sell);
        CageFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        const QVariantMap tick = tickOf(symbol, base, base);
        QCOMPARE(fixture.limit(tick, false), buy);
        QCOMPARE(fixture.limit(tick, true), sell);
    }

    void limit_anyFigures_isNeverWiderThanTheySay() {
        CageFixture fixture;
        QVERIFY(rc::check("limits stay inside what type, base and units say", [&fixture] {
            const double ratio = *rc::gen::inRange(0, 2000) / 10000.0;
            const int ticks = *rc::gen::inRange(0, 100);
            const int control = *rc::gen::inRange(0, 5);
            const double base = *rc::gen::inRange(1, 300000) / 100.0;
            fixture.setCage(ratio, ticks, control);
            const QVariantMap tick = tickOf("600000.SH", base, base);
            const double buy = fixture.limit(tick, false);
            const double sell = fixture.limit(tick, true);
            const double up = control == 1   ? base * (1 + ratio)
                              : control == 2 ? base + ticks * 0.01
                              : control == 3 ? std::max(base * (1 + ratio), base + ticks * 0.01)
                                             : 0.0;
            const double down = control == 1   ? base * (1 - ratio)
                                : control == 2 ? base - ticks * 0.01
                                               : std::min(base * (1 - ratio), base - ticks * 0.01);
            RC_ASSERT(buy <= up + 1e-7 && buy > up - 0.01 - 1e-7);
            RC_ASSERT(sell >= down - 1e-7);
            // A limit below zero is truncated towards zero and then rounded up one step more.
            RC_ASSERT(sell < down + (down < 0 ? 0.02 : 0.01) + 1e-7);
            // A limit is not outside itself.
            RC_ASSERT(isSame(buy, std::round(buy * 100) / 100));
            RC_ASSERT(isSame(sell, std::round(sell * 100) / 100));
            const double price = *rc::gen::inRange(0, 400000) / 100.0;
            RC_ASSERT(fixture.cage.CheckCagePrice(price, tick, false) <= std::max(buy, 0.0) + 1e-9);
            RC_ASSERT(fixture.cage.CheckCagePrice(price, tick, true) >= sell - 1e-9);
        }));
    }
};

QTEST_GUILESS_MAIN(PriceCageLimitsTest)
#include "price_cage_limits_test.moc"
