#include <QtTest>
#include <limits>

#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/values.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

QVariantMap levels() {
    return {
        {"Buy1Price", 9.9},   {"Buy1OrderQty", 10}, {"Buy2Price", 9.8},     {"Buy2OrderQty", 20},
        {"Sell1Price", 10.1}, {"Sell1OrderQty", 5}, {"Sell2Price", 10.2},   {"Sell2OrderQty", 5},
        {"Sell3Price", 0},    {"Sell4Price", 10.4}, {"Sell4OrderQty", 100}, {"Buy6Price", 9.4},
        {"Sell6Price", 10.6}, {"MaxPx", 11.0},      {"MinPx", 9.0},         {"LastPx", 10.0}};
}

double price(const QVariantMap& tick, CustomPriceType type, qint64 qty = 0) {
    return VelmarBusiUtils::GetPriceByTickAndType(tick, type, qty, nullptr);
}

}  // namespace

class TickPriceTest : public QObject {
    Q_OBJECT

private slots:
    void price_eachType_isItsQuoteOrLimit_data() {
        QTest::addColumn<int>("type");
        QTest::addColumn<double>("price");
        QTest::newRow("best bid") << 1 << 9.9;
        QTest::newRow("second bid") << 2 << 9.8;
        QTest::newRow("missing bid") << 3 << 0.0;
        QTest::newRow("best ask") << 11 << 10.1;
        QTest::newRow("ask of 0") << 13 << 0.0;
        QTest::newRow("fourth ask") << 14 << 10.4;
        // Only five levels have a price type, but the tick has a sixth.
        QTest::newRow("sixth bid") << 6 << 0.0;
        QTest::newRow("sixth ask") << 16 << 0.0;
        QTest::newRow("upper limit") << 22 << 11.0;
        QTest::newRow("lower limit") << 23 << 9.0;
        QTest::newRow("upper limit order") << 26 << 11.0;
        QTest::newRow("lower limit order") << 27 << 9.0;
        QTest::newRow("ratio above") << 30 << 0.0;
        QTest::newRow("ratio below") << 31 << 0.0;
        QTest::newRow("no type") << 0 << 0.0;
        QTest::newRow("unknown type") << 99 << 0.0;
    }
    void price_eachType_isItsQuoteOrLimit() {
        QFETCH(int, type);
        QFETCH(double, price);
        QCOMPARE(::price(levels(), static_cast<CustomPriceType>(type)), price);
        QCOMPARE(::price({}, static_cast<CustomPriceType>(type)), 0.0);
    }

    void depth_quantity_isReachedAtItsLevel_data() {
        QTest::addColumn<bool>("bid");
        QTest::addColumn<qint64>("qty");
        QTest::addColumn<double>("price");
        QTest::addColumn<int>("level");
        QTest::addColumn<qint64>("depth");
        QTest::newRow("nothing") << true << qint64(0) << 9.9 << 1 << qint64(10);
        QTest::newRow("just the first") << true << qint64(10) << 9.9 << 1 << qint64(10);
        QTest::newRow("one more") << true << qint64(11) << 9.8 << 2 << qint64(30);
        QTest::newRow("more than the depth") << true << qint64(31) << 9.8 << 2 << qint64(30);
        QTest::newRow("asks") << false << qint64(6) << 10.2 << 2 << qint64(10);
        // The quotes end at a level without a price.
        QTest::newRow("after a gap") << false << qint64(50) << 10.2 << 2 << qint64(10);
    }
    void depth_quantity_isReachedAtItsLevel() {
        QFETCH(bool, bid);
        QFETCH(qint64, qty);
        QFETCH(double, price);
        QFETCH(int, level);
        QFETCH(qint64, depth);
        HandicapInfo handicap{7, 7.0, 7};
        const auto type = bid ? CustomPriceType::BidForQty : CustomPriceType::AskForQty;
        QCOMPARE(VelmarBusiUtils::GetPriceByTickAndType(levels(), type, qty, &handicap), price);
        QCOMPARE(handicap.level, level);
        QCOMPARE(handicap.price, price);
        QCOMPARE(handicap.qty, depth);
        QCOMPARE(::price(levels(), type, qty), price);
    }

    void handicap_noQuote_isCleared() {
        for (const auto type :
             {CustomPriceType::Bid5, CustomPriceType::UpperLimit, CustomPriceType::RatioAbove}) {
            HandicapInfo handicap{7, 7.0, 7};
            VelmarBusiUtils::GetPriceByTickAndType(levels(), type, 1, &handicap);
            QCOMPARE(handicap.level, 0);
            QCOMPARE(handicap.qty, qint64(0));
        }
    }

    void price_notANumber_countsAsMissing_data() {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("not a number") << QVariant(kNone);
        QTest::newRow("infinity") << QVariant(kInfinity);
        QTest::newRow("minus infinity") << QVariant(-kInfinity);
        QTest::newRow("negative") << QVariant(-1.0);
        QTest::newRow("at the tolerance") << QVariant(1e-10);
        QTest::newRow("text") << QVariant("ten");
    }
    void price_notANumber_countsAsMissing() {
        QFETCH(QVariant, value);
        QVariantMap tick = levels();
        for (const char* key :
             {"Buy1Price", "Sell1OrderQty", "Sell2OrderQty", "MaxPx", "MinPx", "LastPx"}) {
            tick.insert(key, value);
        }
        QCOMPARE(price(tick, CustomPriceType::Bid1), 0.0);
        QCOMPARE(price(tick, CustomPriceType::UpperLimit), 0.0);
        QCOMPARE(VelmarBusiUtils::GetLastPriceFromTick(tick), 0.0);
        QCOMPARE(VelmarBusiUtils::GetCheckedPriceFromTick(tick, 12.0), 12.0);
        HandicapInfo handicap;
        VelmarBusiUtils::GetPriceByTickAndType(tick, CustomPriceType::AskForQty, 5, &handicap);
        QCOMPARE(handicap.qty, qint64(0));
        QCOMPARE(handicap.level, 2);
    }

    void checkedPrice_outsideTheDay_becomesItsLimit() {
        QCOMPARE(VelmarBusiUtils::GetCheckedPriceFromTick(levels(), 12.0), 11.0);
        QCOMPARE(VelmarBusiUtils::GetCheckedPriceFromTick(levels(), 8.0), 9.0);
        QCOMPARE(VelmarBusiUtils::GetCheckedPriceFromTick(levels(), 10.5), 10.5);
        QCOMPARE(VelmarBusiUtils::GetCheckedPriceFromTick({}, 12.0), 12.0);
        QCOMPARE(VelmarBusiUtils::GetLastPriceFromTick(levels()), 10.0);
    }

    void precision_subTypeThenSideThenType_decide_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("subType");
        QTest::addColumn<QString>("post");
        QTest::addColumn<QString>("side");
        QTest::addColumn<int>("precision");
        const QString stock = MdcSecurityType::StockType;
        const QString fixed = SideUnion::FixIncomeTradeBuySZ;
        QTest::newRow("convertible") << MdcSecurityType::BondType
                                     << MdcSubSecurityType::Convertiblebond << "SH" << fixed << 3;
        QTest::newRow("fixed income") << MdcSecurityType::BondType << ""
                                      << "SH" << fixed << 4;
        QTest::newRow("option") << MdcSecurityType::OptionType << ""
                                << "SH"
                                << "" << 4;
        QTest::newRow("fund") << MdcSecurityType::FundType << ""
                              << "SZ"
                              << "" << 3;
        QTest::newRow("bond") << MdcSecurityType::BondType << ""
                              << "SZ"
                              << "" << 3;
        QTest::newRow("Hong Kong") << stock << "" << SymbolPost::hk << "" << 3;
        QTest::newRow("share") << stock << ""
                               << "SH"
                               << "" << 2;
        QTest::newRow("nothing known") << ""
                                       << ""
                                       << ""
                                       << "" << 2;
    }
    void precision_subTypeThenSideThenType_decide() {
        QFETCH(QString, type);
        QFETCH(QString, subType);
        QFETCH(QString, post);
        QFETCH(QString, side);
        QFETCH(int, precision);
        QCOMPARE(VelmarBusiUtils::GetPricePrecision(type, subType, post, side), precision);
    }

    void displayFactor_bySuffixAndByExchange_areEqualAndNeverZero() {
        const QString stock = MdcSecurityType::StockType;
        QCOMPARE(VelmarBusiUtils::GetDispFactor(stock, SymbolPost::sh), 100);
        QCOMPARE(VelmarBusiUtils::GetDispFactorByExchange(stock, Exchange::sh), 100);
        QCOMPARE(VelmarBusiUtils::GetDispFactor(stock, "BJ"), 100);
        QCOMPARE(VelmarBusiUtils::GetDispFactorByExchange(stock, Exchange::bj), 100);
        QCOMPARE(VelmarBusiUtils::GetDispFactor(MdcSecurityType::BondType, SymbolPost::sz), 10);
        QCOMPARE(VelmarBusiUtils::GetDispFactorByExchange(MdcSecurityType::BondType, Exchange::sz),
                 10);
        QCOMPARE(VelmarBusiUtils::GetDispFactor(stock, SymbolPost::hk), 1);
        QCOMPARE(VelmarBusiUtils::GetDispFactor("", ""), 1);
        QCOMPARE(VelmarBusiUtils::GetDispFactorByExchange("", ""), 1);
    }
};

QTEST_APPLESS_MAIN(TickPriceTest)
#include "tick_price_test.moc"
