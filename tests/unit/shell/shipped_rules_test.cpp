#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

#include "log_capture.h"
#include "small_client.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

// The quantity step of a security that has a lot of its own.
constexpr int kOwnLot = -1;
constexpr int kHongKongLots = 3000;
constexpr int kStartUpWaitMs = 30000;

QString jsonOf(const QVariantMap& record) {
    return QString::fromUtf8(QJsonDocument::fromVariant(record).toJson(QJsonDocument::Compact));
}

}  // namespace

/// The rules that ship with the sample market, read through the exported class: one security of
/// each board, one contract and one new issue each. The figures are the exchanges' own, see
/// host/market/rules/data.
class ShippedRulesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_log = std::make_unique<LogCapture>();
        m_client = std::make_unique<Client>(smallClient(m_home), Client::Listener());
        QString error;
        QVERIFY2(m_client->start(&error), qPrintable(error));
        // The start-up loads the cage, then the new issues, then the messages.
        QVERIFY(m_client->awaitMessages(kStartUpWaitMs));
    }
    void cleanupTestCase() {
        m_client.reset();
        m_log.reset();
    }

    void securityOfEachBoard_hasTheRulesOfItsExchange_data();
    void securityOfEachBoard_hasTheRulesOfItsExchange();
    void newIssue_hasItsChineseName();
    void securities_noMinimumIsOffItsStep();

private:
    QJsonValue ask(const char* function, const QStringList& arguments) const {
        QString error;
        const FacadeFunction* const chosen =
            m_client->facade().choose(QString::fromLatin1(function), arguments, &error);
        if (!chosen) {
            qWarning("%s: %s", function, qPrintable(error));
            return {};
        }
        return chosen->call(arguments).value(QStringLiteral("result"));
    }
    int number(const char* function, const QStringList& arguments) const {
        return ask(function, arguments).toInt(-1);
    }
    int lotOf(const QString& symbol) const {
        return ask("GetSecurityDetailsBySymbol", {symbol})
            .toObject()
            .value(Security::LotSize)
            .toInt();
    }
    /// What becomes of a buy price far above a best offer during continuous trading; the price
    /// itself without a cage.
    double cagedBuy(const QString& symbol, double offer, double price) const {
        const QVariantMap tick{{TickField::symbol, symbol},
                               {TickField::phase, TickPhase::continuous},
                               {TickField::sellPrice.front(), offer}};
        return ask("CheckCagePrice", {QString::number(price), jsonOf(tick), "false"}).toDouble();
    }

    QTemporaryDir m_home;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<Client> m_client;
};

void ShippedRulesTest::securityOfEachBoard_hasTheRulesOfItsExchange_data() {
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<int>("marketMax");  // of an order at market
    QTest::addColumn<int>("minSold");
    QTest::addColumn<QString>("unit");  // at a price of 10
    // The highest buy price above an offer of 1 and of 100; 0 without a cage.
    QTest::addColumn<double>("cageAt1");
    QTest::addColumn<double>("cageAt100");
    constexpr int kMillion = 1000000;
    const auto row = [](const char* name, const char* symbol, int step, int min, int max,
                        int marketMax, int minSold, const char* unit, double cageAt1 = 0,
                        double cageAt100 = 0) {
        QTest::newRow(name) << QString::fromLatin1(symbol) << step << min << max << marketMax
                            << minSold << QString::fromLatin1(unit) << cageAt1 << cageAt100;
    };
    row("Shanghai main", "600000.SH", 100, 100, kMillion, kMillion, 1, "0.01", 1.1, 102);
    row("Shenzhen main", "000001.SZ", 100, 100, kMillion, kMillion, 1, "0.01", 1.1, 102);
    row("science", "688001.SH", 1, 200, 100000, 50000, 200, "0.01", 1.02, 102);
    row("growth", "300001.SZ", 100, 100, 300000, 150000, 1, "0.01", 1.1, 102);
    row("Beijing", "920001.BJ", 1, 100, kMillion, kMillion, 100, "0.01", 1.1, 105);
    row("convertible, Shanghai", "113001.SH", 10, 10, kMillion, kMillion, 1, "0.001");
    row("convertible, Shenzhen", "123001.SZ", 10, 10, kMillion, kMillion, 1, "0.001");
    row("treasury, Shanghai", "010001.SH", 1000, 1000, 100 * kMillion, 100 * kMillion, 1, "0.001");
    row("treasury, Shenzhen", "101001.SZ", 1000, 1000, 100 * kMillion, 100 * kMillion, 1, "0.001");
    row("corporate, Shanghai", "136001.SH", 1000, 1000, 100 * kMillion, 100 * kMillion, 1, "0.001");
    row("corporate, Shenzhen", "112001.SZ", 1000, 1000, 100 * kMillion, 100 * kMillion, 1, "0.001");
    row("repo, Shanghai", "204001.SH", 10, 10, kMillion, kMillion, 1, "0.005");
    row("repo, Shenzhen", "131810.SZ", 10, 10, kMillion, kMillion, 1, "0.005");
    row("fund, Shanghai", "510010.SH", 100, 100, kMillion, kMillion, 1, "0.001");
    row("fund, Shenzhen", "159001.SZ", 100, 100, kMillion, kMillion, 1, "0.001");
    // The cage counts nine units of the price's last decimal, at any price.
    row("Hong Kong main", "02001.HK", kOwnLot, kOwnLot, kOwnLot, kOwnLot, 1, "0.010", 1.009,
        100.009);
    row("Hong Kong growth", "08001.HK", kOwnLot, kOwnLot, kOwnLot, kOwnLot, 1, "0.010", 1.009,
        100.009);
    row("Hong Kong fund", "02801.HK", kOwnLot, kOwnLot, kOwnLot, kOwnLot, 1, "0.005");
    row("option", "10000001.SH", 1, 1, 50, 10, 1, "0.0001");
    row("index future", "IF2601.CFE", 1, 1, 20, 10, 1, "0.01");
    row("copper future", "CU2601.SHF", 1, 1, 500, 500, 1, "0.01");
    row("gold, even", "AU01.SGE", 1, 1, 10000, 10000, 1, "0.01");
    row("gold, odd", "AU02.SGE", 1, 1, 10000, 10000, 1, "0.01");
    // The cage's classes cover every share of an exchange, new issues among them.
    row("new issue, Shanghai", "603901.SH", 500, 500, 99999500, 99999500, 1, "0.01", 1.1, 102);
    row("new issue, Shenzhen", "301902.SZ", 500, 500, 99999500, 99999500, 1, "0.01", 1.1, 102);
}

void ShippedRulesTest::securityOfEachBoard_hasTheRulesOfItsExchange() {
    QFETCH(QString, symbol);
    QFETCH(int, step);
    QFETCH(int, min);
    QFETCH(int, max);
    QFETCH(int, marketMax);
    QFETCH(double, cageAt1);
    QFETCH(double, cageAt100);
    if (step == kOwnLot) {
        step = min = lotOf(symbol);
        max = marketMax = step * kHongKongLots;
        QVERIFY(step >= 100);
    }
    QCOMPARE(number("GetQtyStepBySymbol", {symbol}), step);
    QCOMPARE(number("GetMinQtyPerOrderBySymbol", {symbol}), min);
    const QString market = jsonOf({{Security::orderType, OrderType::market}});
    // An order may lack every field that a condition names.
    QCOMPARE(number("GetMaxQtyPerOrderBySymbol", {symbol, QStringLiteral("{}")}), max);
    QCOMPARE(number("GetMaxQtyPerOrderBySymbol", {symbol, market}), marketMax);
    QTEST(number("GetMinSoldQtyBySymbol", {symbol}), "minSold");
    QTEST(ask("GetPriceUnitStringBySymbol", {symbol, "10", "101"}).toString(), "unit");
    constexpr double kFar = 5000;
    QCOMPARE(cagedBuy(symbol, 1, kFar), cageAt1 > 0 ? cageAt1 : kFar);
    QCOMPARE(cagedBuy(symbol, 100, kFar), cageAt100 > 0 ? cageAt100 : kFar);
}

void ShippedRulesTest::newIssue_hasItsChineseName() {
    for (const QString& symbol : {QStringLiteral("603901.SH"), QStringLiteral("301902.SZ")}) {
        QVERIFY(
            ask("GetSecurityChineseName", {symbol}).toString().startsWith(QStringLiteral("虚")));
    }
}

void ShippedRulesTest::securities_noMinimumIsOffItsStep() {
    QVERIFY(lotOf(QStringLiteral("AU01.SGE")) > 0);  // the securities are loaded
    QVERIFY(!m_log->contains(QtWarningMsg, QStringLiteral("not a multiple")));
}

QTEST_GUILESS_MAIN(ShippedRulesTest)
#include "shipped_rules_test.moc"
