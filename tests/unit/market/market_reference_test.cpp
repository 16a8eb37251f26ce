#include <QtTest>

#include "market_fixture.h"
#include "market_names.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

QMap<int, double> ladder(const MarketStore& store, const QString& section) {
    QMap<int, double> bands;
    store.select(QStringLiteral("SELECT key, value FROM static_cfg WHERE section = ?"), {section},
                 [&bands](const QSqlQuery& query) {
                     bands.insert(query.value(0).toInt(), query.value(1).toDouble());
                 });
    return bands;
}

/// The spread at a price: that of the first band with an upper end at or above it.
double spreadAt(const QMap<int, double>& bands, double price) {
    for (auto it = bands.cbegin(); it != bands.cend(); ++it) {
        if (price * 1000 <= it.key() + 1e-10) {
            return it.value();
        }
    }
    return bands.isEmpty() ? 0 : bands.last();
}

}  // namespace

class MarketReferenceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void reference_hasEveryKind_data();
    void reference_hasEveryKind();
    void reference_etfRedemptionSymbols_areNoSecurities();
    void priceLadders_followTheExchange_data();
    void priceLadders_followTheExchange();
    void priceLadders_bounds_areThoseOfTheExchange();
    void staticConfig_hasItsSections();
    void names_areDifferentForEveryNumber();

private:
    MarketFixture m_market;
};

void MarketReferenceTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
    QVERIFY(sampleMarketReady(m_market.path(), smallMarket()));
}

void MarketReferenceTest::reference_hasEveryKind_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("field");
    QTest::newRow("etf") << "etf" << Security::securityID;
    QTest::newRow("bond") << "bond"
                          << "accruedInterest";
    QTest::newRow("gold") << "gold" << GoldTrade::TradeUnitQty;
    QTest::newRow("newstock") << "newstock" << NewStock::securityName;
    QTest::newRow("quota") << "quota" << UserAccount::tradingAccount;
    QTest::newRow("rqt") << "rqt" << Security::securityID;
    QTest::newRow("setting") << "setting" << System::itemValue;
}

void MarketReferenceTest::reference_hasEveryKind() {
    QFETCH(QString, kind);
    QFETCH(QString, field);
    const auto rows = reference(m_market.staticDatabase(), kind);
    QVERIFY(rows.size() >= 2);
    for (const QVariantMap& record : rows) {
        QVERIFY(!record.value(field).toString().isEmpty());
    }
}

void MarketReferenceTest::reference_etfRedemptionSymbols_areNoSecurities() {
    const auto securities = reference(m_market.staticDatabase(), QStringLiteral("security"));
    for (const QVariantMap& record : reference(m_market.staticDatabase(), QStringLiteral("etf"))) {
        QVERIFY(!securities.contains(record.value(Security::symbol).toString()));
        QVERIFY(securities.contains(record.value("fundSymbol").toString()));
    }
}

void MarketReferenceTest::priceLadders_followTheExchange_data() {
    QTest::addColumn<QString>("section");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("spread");
    const QString shares = DictionaryKey::HkStockPriceUnitDict;
    const QString funds = DictionaryKey::HkFundPriceUnitDict;
    QTest::newRow("share at 0.25") << shares << 0.25 << 0.001;
    QTest::newRow("share above 0.25") << shares << 0.255 << 0.005;
    QTest::newRow("share at 10") << shares << 10.0 << 0.01;
    QTest::newRow("share above 10") << shares << 10.01 << 0.01;
    QTest::newRow("share at 20") << shares << 20.0 << 0.01;
    QTest::newRow("share above 20") << shares << 20.02 << 0.02;
    QTest::newRow("share at 50") << shares << 50.0 << 0.02;
    QTest::newRow("share above 50") << shares << 50.05 << 0.05;
    QTest::newRow("share at 100") << shares << 100.0 << 0.05;
    QTest::newRow("share above 5000") << shares << 5005.0 << 5.0;
    QTest::newRow("fund at 1") << funds << 1.0 << 0.001;
    QTest::newRow("fund above 1") << funds << 1.002 << 0.002;
    QTest::newRow("fund above 20") << funds << 20.02 << 0.02;
    QTest::newRow("fund above 5000") << funds << 6000.0 << 1.0;
}

void MarketReferenceTest::priceLadders_followTheExchange() {
    QFETCH(QString, section);
    QFETCH(double, price);
    QFETCH(double, spread);
    QCOMPARE(spreadAt(ladder(m_market.staticDatabase(), section), price), spread);
}

void MarketReferenceTest::priceLadders_bounds_areThoseOfTheExchange() {
    // Upper ends in thousandths of a dollar, including the one between two bands of equal spread.
    const QMap<int, double> shares{{250, 0.001},   {500, 0.005},   {10000, 0.01}, {20000, 0.01},
                                   {50000, 0.02},  {100000, 0.05}, {200000, 0.1}, {500000, 0.2},
                                   {1000000, 0.5}, {2000000, 1},   {5000000, 2},  {9995000, 5}};
    QCOMPARE(ladder(m_market.staticDatabase(), DictionaryKey::HkStockPriceUnitDict), shares);
}

void MarketReferenceTest::staticConfig_hasItsSections() {
    const auto value = [this](const QString& section, const QString& key) {
        return column(m_market.staticDatabase(), "SELECT value FROM static_cfg WHERE section = '" +
                                                     section + "' AND key = '" + key + "'")
            .value(0);
    };
    QCOMPARE(value("BusiMsgCenter", "AlwaysSaveDB"), QStringLiteral("0"));
    for (const QString& type : {BusiMsgType::SystemMsg, BusiMsgType::TradeMsg}) {
        QVERIFY(value(DictionaryKey::BusiMsgMenuRela, type).split('|').size() >= 2);
    }
    for (const QString& gate : {NetGateType::TradeGate, NetGateType::InfoGate,
                                NetGateType::MarketTcpGate, NetGateType::MarketGrpcGate}) {
        QVERIFY(!value("NetGateName", gate).isEmpty());
    }
    QCOMPARE(value(DictionaryKey::Markert2SymbolPost, Exchange::sz), SymbolPost::sz);
}

void MarketReferenceTest::names_areDifferentForEveryNumber() {
    QSet<QString> companies;
    QSet<QString> funds;
    QSet<QString> investors;
    for (int i = 0; i < 3000; ++i) {
        companies.insert(MarketNames::company(i));
        funds.insert(MarketNames::fund(i));
        investors.insert(MarketNames::investor(i));
    }
    QCOMPARE(companies.size(), 3000);
    QCOMPARE(funds.size(), 3000);
    QCOMPARE(investors.size(), 3000);
}

QTEST_GUILESS_MAIN(MarketReferenceTest)
#include "market_reference_test.moc"
