#include "price_rules.h"

#include <cmath>

#include "price_fixture.h"

namespace {

CustomPriceType type(int code) {
    return static_cast<CustomPriceType>(code);
}

/// Five levels around 10.00 on a day from 9 to 11, during continuous trading.
QVariantMap tickOf(const QString& symbol) {
    QVariantMap tick{{"Symbol", symbol}, {"TradingPhaseCode", "3"}, {"MaxPx", 11.0},
                     {"MinPx", 9.0},     {"LastPx", 10.0},          {"PreClosePx", 10.0}};
    for (int level = 1; level <= 5; ++level) {
        const QString number = QString::number(level);
        tick.insert("Buy" + number + "Price", 10.0 - level * 0.01);
        tick.insert("Sell" + number + "Price", 10.0 + level * 0.01);
        tick.insert("Buy" + number + "OrderQty", 100);
        tick.insert("Sell" + number + "OrderQty", 100);
    }
    return tick;
}

bool isNear(double left, double right) {
    return std::abs(left - right) < 1e-9;
}

bool isHandicap(const HandicapInfo& handicap, int level, double price, qint64 qty) {
    return handicap.level == level && isNear(handicap.price, price) && handicap.qty == qty;
}

struct RulesFixture : PriceFixture {
    /// The first overload, without cage and handicap.
    double price(const QVariantMap& tick, int code, qint64 qty = 0, bool useFactor = false) {
        return prices.GetPriceByTickAndType(tick, type(code), qty, useFactor, false, false,
                                            nullptr);
    }
    double caged(const QVariantMap& tick, int code, bool sell) {
        return prices.GetPriceByTickAndType(tick, type(code), 0, false, true, sell, nullptr);
    }
    /// The second overload.
    double byRatio(const QVariantMap& tick, int code, double ratio, qint64 qty = 0) {
        return prices.GetPriceByTickAndType(tick, type(code), qty, ratio, nullptr);
    }
};

}  // namespace

class PriceRulesTest : public QObject {
    Q_OBJECT

private slots:
    void unit_eachType_isThatOfItsBoard_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("side");
        QTest::addColumn<double>("price");
        QTest::addColumn<QString>("unit");
        const QString buy = SideUnion::normalBuy;
        QTest::newRow("convertible") << "113001.SH" << buy << 100.0 << "0.001";
        QTest::newRow("directed convertible") << "113002.SH" << buy << 100.0 << "0.001";
        for (const QString& side :
             {SideUnion::FixIncomeTradeBuy, SideUnion::FixIncomeTradeSell,
              SideUnion::FixIncomeTradeBuySZ, SideUnion::FixIncomeTradeSellSZ}) {
            const QByteArray name = "fixed income " + side.toUtf8();
            // The sub-type comes before the side, and the side before the type.
            QTest::newRow(name + " of a convertible") << "113001.SH" << side << 100.0 << "0.001";
            QTest::newRow(name + " of a bond") << "019001.SH" << side << 100.0 << "0.0001";
            QTest::newRow(name + " of a share") << "600000.SH" << side << 10.0 << "0.0001";
        }
        QTest::newRow("share") << "600000.SH" << buy << 10.0 << "0.01";
        QTest::newRow("science board") << "688001.SH" << buy << 10.0 << "0.01";
        QTest::newRow("fund") << "510050.SH" << buy << 3.0 << "0.001";
        QTest::newRow("option") << "10000001.SH" << buy << 0.1 << "0.0001";
        QTest::newRow("treasury repo") << "204001.SH" << buy << 2.0 << "0.005";
        QTest::newRow("corporate repo") << "202001.SH" << buy << 2.0 << "0.005";
        QTest::newRow("other bond") << "019001.SH" << buy << 100.0 << "0.001";
        QTest::newRow("future") << "IF2601.CFE" << buy << 4000.0 << "0.01";
        QTest::newRow("unknown") << "nothing" << buy << 10.0 << "0.01";
        QTest::newRow("Hong Kong share") << "02001.HK" << buy << 0.25 << "0.001";
        QTest::newRow("Hong Kong share above") << "02001.HK" << buy << 0.255 << "0.005";
        QTest::newRow("Hong Kong growth share") << "08001.HK" << buy << 0.3 << "0.005";
        QTest::newRow("full circulation") << "09001.HK" << buy << 0.3 << "0.005";
        QTest::newRow("Hong Kong fund") << "02801.HK" << buy << 3.0 << "0.002";
    }
    void unit_eachType_isThatOfItsBoard() {
        QFETCH(QString, symbol);
        QFETCH(QString, side);
        QFETCH(double, price);
        QFETCH(QString, unit);
        const RulesFixture fixture;
        QCOMPARE(fixture.prices.GetPriceUnitStringBySymbol(symbol, price, side), unit);
        QCOMPARE(fixture.prices.GetPriceUnitBySymbol(symbol, price, side), unit.toDouble());
    }

    void unit_emptyLadder_isOneThousandthAsText() {
        const PriceFixture fixture;
        const PriceUnitLadders empty;
        const HongKongPrices hongKong(empty);
        const PriceRules rules(fixture.identity, hongKong, fixture.cage);
        QCOMPARE(rules.GetPriceUnitStringBySymbol("02001.HK", 12.0, SideUnion::normalBuy),
                 QString("0.001"));
    }

    void precision_eachType_goesBySubTypeSideAndType_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("side");
        QTest::addColumn<int>("precision");
        QTest::newRow("share") << "600000.SH" << SideUnion::normalBuy << 2;
        QTest::newRow("share without suffix") << "600001" << SideUnion::normalBuy << 2;
        QTest::newRow("fund") << "510050.SH" << SideUnion::normalBuy << 3;
        QTest::newRow("bond") << "019001.SH" << SideUnion::normalBuy << 3;
        QTest::newRow("bond, fixed income") << "019001.SH" << SideUnion::FixIncomeTradeSell << 4;
        QTest::newRow("convertible, fixed income")
            << "113001.SH" << SideUnion::FixIncomeTradeSell << 3;
        QTest::newRow("option") << "10000001.SH" << SideUnion::normalBuy << 4;
        QTest::newRow("Hong Kong") << "02001.HK" << SideUnion::normalBuy << 3;
        QTest::newRow("Hong Kong without suffix") << "02002" << SideUnion::normalBuy << 3;
        QTest::newRow("unknown") << "nothing"
                                 << "" << 2;
    }
    void precision_eachType_goesBySubTypeSideAndType() {
        QFETCH(QString, symbol);
        QFETCH(QString, side);
        QFETCH(int, precision);
        const RulesFixture fixture;
        QCOMPARE(fixture.prices.GetPricePrecisionBySymbol(symbol, side), precision);
    }

    void displayFactor_withAndWithoutSuffix_isThatOfTheMarket_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<int>("factor");
        QTest::newRow("share") << "600000.SH" << 100;
        QTest::newRow("share without suffix") << "600001" << 100;
        QTest::newRow("fund") << "159001.SZ" << 100;
        QTest::newRow("bond") << "019001.SH" << 10;
        QTest::newRow("Hong Kong") << "02001.HK" << 1;
        QTest::newRow("unknown") << "nothing" << 1;
    }
    void displayFactor_withAndWithoutSuffix_isThatOfTheMarket() {
        QFETCH(QString, symbol);
        QFETCH(int, factor);
        const RulesFixture fixture;
        QCOMPARE(fixture.prices.GetDispFactorBySymbol(symbol), factor);
    }

    void protectedLimit_sharesAndFundsOfShanghaiAndBeijing_haveIt_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<bool>("supported");
        QTest::newRow("share of Shanghai") << "600000.SH" << true;
        QTest::newRow("science board") << "688001.SH" << true;
        QTest::newRow("fund of Shanghai") << "510050.SH" << true;
        QTest::newRow("without suffix") << "600001" << true;
        QTest::newRow("Beijing") << "920001.BJ" << true;
        QTest::newRow("share of Shenzhen") << "000001.SZ" << false;
        QTest::newRow("fund of Shenzhen") << "159001.SZ" << false;
        QTest::newRow("bond of Shanghai") << "019001.SH" << false;
        QTest::newRow("Hong Kong") << "02001.HK" << false;
        QTest::newRow("unknown") << "nothing" << false;
    }
    void protectedLimit_sharesAndFundsOfShanghaiAndBeijing_haveIt() {
        QFETCH(QString, symbol);
        QFETCH(bool, supported);
        const RulesFixture fixture;
        QCOMPARE(fixture.prices.IsSymbolSupportProtectedLimitPrice(symbol), supported);
    }

    void priceByType_eachType_isItsPrice_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<double>("maxPx");
        QTest::addColumn<double>("price");
        QTest::newRow("best bid") << 1 << 11.0 << 9.99;
        QTest::newRow("fifth bid") << 5 << 11.0 << 9.95;
        QTest::newRow("best ask") << 11 << 11.0 << 10.01;
        QTest::newRow("fifth ask") << 15 << 11.0 << 10.05;
        QTest::newRow("upper limit") << 26 << 11.0 << 11.0;
        QTest::newRow("lower limit") << 27 << 11.0 << 9.0;
        QTest::newRow("upper ratio") << 30 << 11.0 << 11.0;
        QTest::newRow("lower ratio") << 31 << 11.0 << 9.0;
        // On a day without limits the fifth level is used instead; 1e7 itself is a limit.
        QTest::newRow("upper limit at the bound") << 26 << 1e7 << 1e7;
        QTest::newRow("upper limit on a day without limits") << 26 << 1e7 + 1 << 10.05;
        QTest::newRow("lower limit on a day without limits") << 27 << 1e7 + 1 << 9.95;
        QTest::newRow("upper ratio on a day without limits") << 30 << 1e9 << 10.05;
        QTest::newRow("lower ratio on a day without limits") << 31 << 1e9 << 9.95;
        QTest::newRow("other types are unchanged") << 22 << 1e9 << 1e9;
    }
    void priceByType_eachType_isItsPrice() {
        QFETCH(int, code);
        QFETCH(double, maxPx);
        QFETCH(double, price);
        RulesFixture fixture;
        QVariantMap tick = tickOf("600000.SH");
        tick.insert("MaxPx", maxPx);
        QVERIFY2(isNear(fixture.price(tick, code), price),
                 qPrintable(QString::number(fixture.price(tick, code))));
    }

    void priceByType_depth_takesTheQuantityInDisplayUnits_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("useFactor");
        QTest::addColumn<double>("price");
        // 100 a level: 25,000 shares are 250 of them.
        QTest::newRow("asks, divided") << 28 << true << 10.03;
        QTest::newRow("bids, divided") << 29 << true << 9.97;
        QTest::newRow("asks, as given") << 28 << false << 10.05;
        QTest::newRow("bids, as given") << 29 << false << 9.95;
    }
    void priceByType_depth_takesTheQuantityInDisplayUnits() {
        QFETCH(int, code);
        QFETCH(bool, useFactor);
        QFETCH(double, price);
        RulesFixture fixture;
        QVERIFY(isNear(fixture.price(tickOf("600000.SH"), code, 25000, useFactor), price));
    }

    void priceByType_anyType_fillsTheHandicap_data() {
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("useFactor");
        QTest::addColumn<bool>("applyCage");
        QTest::addColumn<int>("level");
        QTest::addColumn<double>("price");
        QTest::addColumn<qint64>("qty");
        QTest::newRow("second ask") << 12 << false << false << 2 << 10.02 << Q_INT64_C(100);
        QTest::newRow("asks, divided") << 28 << true << false << 3 << 10.03 << Q_INT64_C(300);
        QTest::newRow("bids, as given") << 29 << false << false << 5 << 9.95 << Q_INT64_C(500);
        QTest::newRow("with the cage") << 29 << true << true << 3 << 9.97 << Q_INT64_C(300);
        // The day's limit is not a quote.
        QTest::newRow("upper ratio") << 30 << false << false << 0 << 0.0 << Q_INT64_C(0);
    }
    void priceByType_anyType_fillsTheHandicap() {
        QFETCH(int, code);
        QFETCH(bool, useFactor);
        QFETCH(bool, applyCage);
        QFETCH(int, level);
        QFETCH(double, price);
        QFETCH(qint64, qty);
        const RulesFixture fixture;
        HandicapInfo handicap{7, 3.21, 77};
        fixture.prices.GetPriceByTickAndType(tickOf("600000.SH"), type(code), 25000, useFactor,
                                             applyCage, false, &handicap);
        QVERIFY(isHandicap(handicap, level, price, qty));
    }

    void priceByType_cage_cutsDuringContinuousTradingOnly_data() {
        QTest::addColumn<QString>("phase");
        QTest::addColumn<int>("code");
        QTest::addColumn<bool>("sell");
        QTest::addColumn<double>("price");
        // 10.01 x 1.02 = 10.2102 and 9.99 x 0.98 = 9.7902.
        QTest::newRow("buy at the upper limit") << "3" << 26 << false << 10.21;
        QTest::newRow("sell at the lower limit") << "3" << 27 << true << 9.80;
        QTest::newRow("buy at the lower limit") << "3" << 27 << false << 9.0;
        QTest::newRow("sell at the upper limit") << "3" << 26 << true << 11.0;
        QTest::newRow("buy in an auction") << "2" << 26 << false << 11.0;
        QTest::newRow("sell in an auction") << "" << 27 << true << 9.0;
    }
    void priceByType_cage_cutsDuringContinuousTradingOnly() {
        QFETCH(QString, phase);
        QFETCH(int, code);
        QFETCH(bool, sell);
        QFETCH(double, price);
        RulesFixture fixture;
        fixture.cage.initCageMap(nullptr, false);
        QVariantMap tick = tickOf("600000.SH");
        tick.insert("TradingPhaseCode", phase);
        QVERIFY2(isNear(fixture.caged(tick, code, sell), price),
                 qPrintable(QString::number(fixture.caged(tick, code, sell))));
    }

    void priceByType_withoutCage_isNotCheckedEither() {
        RulesFixture fixture;
        QVariantMap tick = tickOf("600000.SH");
        tick.insert("Sell1Price", 12.0);  // beyond the day's limit of 11
        QCOMPARE(fixture.price(tick, 11), 12.0);
        QCOMPARE(fixture.caged(tick, 11, false), 11.0);
    }

    void priceByType_missingQuote_isCheckedLikeAnyPrice() {
        RulesFixture fixture;
        QVariantMap tick = tickOf("600000.SH");
        tick.remove("Buy3Price");
        QCOMPARE(fixture.price(tick, 3), 0.0);
        QCOMPARE(fixture.caged(tick, 3, false), 9.0);
        QCOMPARE(fixture.caged(tick, 3, true), 9.0);
        // The cage allows a sell down to 9.80, whatever the day's limits.
        fixture.cage.initCageMap(nullptr, false);
        QCOMPARE(fixture.caged(tick, 3, false), 9.0);
        QVERIFY(isNear(fixture.caged(tick, 3, true), 9.80));
        tick.remove("MinPx");
        QCOMPARE(fixture.caged(tick, 3, false), 0.0);
        QVERIFY(isNear(fixture.caged(tick, 3, true), 9.80));
    }

    void byRatio_eachBoard_hasItsOwnRule_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<int>("code");
        QTest::addColumn<double>("last");
        QTest::addColumn<double>("price");
        QTest::newRow("growth board buys at the bid") << "300001.SZ" << 30 << 10.0 << 9.99;
        QTest::newRow("growth board sells at the ask") << "300001.SZ" << 31 << 10.0 << 10.01;
        // 2 percent of 10.03: 10.2306 and 9.8294.
        QTest::newRow("science board up, rounded down") << "688001.SH" << 30 << 10.03 << 10.23;
        QTest::newRow("science board down, rounded up") << "688001.SH" << 31 << 10.03 << 9.83;
        QTest::newRow("science board on the tick") << "688001.SH" << 30 << 10.0 << 10.2;
        QTest::newRow("science board without a last price") << "688001.SH" << 30 << 0.0 << 0.0;
        QTest::newRow("main board up") << "600000.SH" << 30 << 10.0 << 11.0;
        QTest::newRow("main board down") << "600000.SH" << 31 << 10.0 << 9.0;
        QTest::newRow("unknown symbol") << "nothing" << 30 << 10.0 << 11.0;
        // The ratio is not used for other types, which are not replaced either.
        QTest::newRow("upper limit") << "688001.SH" << 26 << 10.03 << 11.0;
        QTest::newRow("fifth bid") << "688001.SH" << 5 << 10.03 << 9.95;
    }
    void byRatio_eachBoard_hasItsOwnRule() {
        QFETCH(QString, symbol);
        QFETCH(int, code);
        QFETCH(double, last);
        QFETCH(double, price);
        RulesFixture fixture;
        QVariantMap tick = tickOf(symbol);
        tick.insert("LastPx", last);
        QVERIFY2(isNear(fixture.byRatio(tick, code, 0.02), price),
                 qPrintable(QString::number(fixture.byRatio(tick, code, 0.02))));
    }

    void byRatio_ratioTypes_useNeitherQuantityNorHandicap_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<int>("code");
        QTest::addColumn<double>("price");
        QTest::newRow("growth board up") << "300001.SZ" << 30 << 9.99;
        QTest::newRow("growth board down") << "300001.SZ" << 31 << 10.01;
        QTest::newRow("science board up") << "688001.SH" << 30 << 10.2;
        QTest::newRow("science board down") << "688001.SH" << 31 << 9.8;
        QTest::newRow("main board up") << "600000.SH" << 30 << 11.0;
        QTest::newRow("main board down") << "600000.SH" << 31 << 9.0;
    }
    void byRatio_ratioTypes_useNeitherQuantityNorHandicap() {
        QFETCH(QString, symbol);
        QFETCH(int, code);
        QFETCH(double, price);
        const RulesFixture fixture;
        for (const qint64 qty : {Q_INT64_C(0), Q_INT64_C(250), Q_INT64_C(-1)}) {
            HandicapInfo handicap{7, 3.21, 77};
            QCOMPARE(fixture.prices.GetPriceByTickAndType(tickOf(symbol), type(code), qty, 0.02,
                                                          &handicap),
                     price);
            QVERIFY(isHandicap(handicap, 7, 3.21, 77));
        }
    }

    void byRatio_otherTypes_fillTheHandicap() {
        const RulesFixture fixture;
        HandicapInfo handicap{7, 3.21, 77};
        QCOMPARE(fixture.prices.GetPriceByTickAndType(tickOf("600000.SH"), type(29), 250, 0.02,
                                                      &handicap),
                 9.97);
        QVERIFY(isHandicap(handicap, 3, 9.97, 300));
    }

    void byRatio_unlimitedDay_keepsTheType() {
        RulesFixture fixture;
        QVariantMap tick = tickOf("600000.SH");
        tick.insert("MaxPx", 1e9);
        QCOMPARE(fixture.byRatio(tick, 26, 0.02), 1e9);
    }

    void byRatio_depth_takesTheQuantityAsGiven() {
        RulesFixture fixture;
        QVERIFY(isNear(fixture.byRatio(tickOf("600000.SH"), 28, 0.02, 250), 10.03));
    }
};

QTEST_GUILESS_MAIN(PriceRulesTest)
#include "price_rules_test.moc"
