#include "value_command.h"

#include <QJsonArray>
#include <QtTest>
#include <limits>

#include "facade_recorder.h"
#include "test_paths.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

/// Ids are symbols without their suffix; "888880" is known to no function.
class Answers final : public FacadeRecorder {
public:
    double factor = 1;
    QJsonObject details;
    QJsonObject running;
    double hongKongRate = 0.9;

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        if (name == "GetSymbolBySecurityIDAndExchange") {
            const bool isKnown = arguments.first() != "888880" && arguments.first() != "???";
            answer->insert("result", isKnown ? arguments.first() + ".X" : QString());
        } else if (name == "GetDispFactorBySymbol") {
            answer->insert("result", factor);
        } else if (name == "GetSecurityDetailsBySymbol") {
            answer->insert("result", details);
        } else if (name == "GetHKStockExchangeRate") {
            const QJsonObject rate{{HKSExchgRate::HKSExchgRateMid, hongKongRate}};
            answer->insert("out",
                           QJsonArray{QJsonObject{{"parameter", 1},
                                                  {"value", QJsonObject{{Exchange::hhk, rate}}}}});
        } else if (name == "GetMarketValueByTradingAccount") {
            answer->insert("result", running);
        }
    }
};

QVariantMap position(const QString& id, const QString& exchange, double qty, double cost) {
    return {{Security::securityID, id},
            {UserAccount::securityExchange, exchange},
            {Security::nominalQty, qty},
            {Security::omsAverageCost, cost}};
}

QJsonObject total(double value, double cost, const QJsonObject& values, const QJsonObject& costs) {
    return {{"marketValue", value},
            {"costValue", cost},
            {"symbolMarketValueMap", values},
            {"symbolCostValueMap", costs}};
}

}  // namespace

class ValueCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }
    void init() {
        m_answers = std::make_unique<Answers>();
        m_prices = {{"600000.X", 10}};
        m_positions = {{"T1", {position("600000", Exchange::sh, 1000, 9)}}};
    }

    void row_everyKindOfPosition_isWorthItsQuantityTimesPrice_data() {
        QTest::addColumn<QVariantMap>("row");
        QTest::addColumn<double>("factor");
        QTest::addColumn<QVariant>("multiplier");
        QTest::addColumn<double>("value");
        QTest::addColumn<double>("cost");
        const auto here = [](const QString& exchange, double qty) {
            return position("600000", exchange, qty, 9);
        };
        QTest::newRow("shares") << here(Exchange::sh, 1000) << 1.0 << QVariant() << 10000.0
                                << 9000.0;
        QTest::newRow("lots") << here(Exchange::sz, 100) << 10.0 << QVariant() << 10000.0 << 9000.0;
        QTest::newRow("contracts")
            << here(Exchange::cffex, 2) << 1.0 << QVariant(300) << 6000.0 << 5400.0;
        QTest::newRow("multiplier 0")
            << here(Exchange::shf, 2) << 1.0 << QVariant(0) << 20.0 << 18.0;
        QTest::newRow("gold") << here(Exchange::sge, 2) << 1.0 << QVariant() << 20000.0 << 18000.0;
        QTest::newRow("Hong Kong")
            << here(Exchange::hhk, 1000) << 1.0 << QVariant() << 9000.0 << 8100.0;
        QTest::newRow("without a rate")
            << here(Exchange::szhk, 1000) << 1.0 << QVariant() << 10000.0 << 9000.0;
        QTest::newRow("standard bond") << position("888880", Exchange::sh, 1000, 100) << 1.0
                                       << QVariant() << 100000.0 << 100000.0;
        QTest::newRow("unknown") << position("???", Exchange::sh, 1000, 9) << 5.0 << QVariant()
                                 << 0.0 << 9000.0;
        QTest::newRow("no number")
            << here(Exchange::sh, std::nan("")) << 1.0 << QVariant() << 0.0 << 0.0;
        QTest::newRow("1e300") << here(Exchange::sh, 1e300) << 1.0 << QVariant() << 0.0 << 0.0;
    }
    void row_everyKindOfPosition_isWorthItsQuantityTimesPrice() {
        QFETCH(QVariantMap, row);
        QFETCH(double, factor);
        QFETCH(QVariant, multiplier);
        QFETCH(double, value);
        QFETCH(double, cost);
        m_answers->factor = factor;
        if (multiplier.isValid()) {
            m_answers->details.insert(Security::contractMultiplier,
                                      QJsonValue::fromVariant(multiplier));
        }
        m_positions = {{"T1", {row}}};
        const QJsonObject account = accountOf(command().show({"T1"}, kWide));
        QCOMPARE(account.value("marketValueOfPositions").toDouble(), value);
        QCOMPARE(account.value("costOfPositions").toDouble(), cost);
    }

    void show_account_hasTotalsOfTheFunctionsAndTheTrail() {
        m_answers->running = total(10000, 9000, {}, {});
        const CommandAnswer answer = command().show({"T1", "T2"}, kWide);
        QCOMPARE(answer.lines.at(2).simplified(),
                 QString("T1 600000.X 1 1000 1 10 1 10000.00 9 9000.00"));
        QVERIFY(answer.lines.contains("T1  market value 10000.00, cost 9000.00"));
        QVERIFY(answer.lines.contains("without positions: 1 account"));
        QCOMPARE(accountOf(answer).value("marketValue").toDouble(), 10000.0);
    }

    void show_totalThatThePositionsDoNotGive_saysSo() {
        m_answers->running = total(9999, 9000, {}, {});
        QVERIFY(command()
                    .show({"T1"}, kWide)
                    .lines.contains("T1  market value 9999.00, cost 9000.00; these positions give "
                                    "10000.00 and 9000.00"));
    }

    void show_symbolsWithoutAPrice_areNamed() {
        m_prices.clear();
        m_positions.insert(
            "T2", {position("700", Exchange::szhk, 1, 1), position("888880", Exchange::sh, 1, 1)});
        const CommandAnswer answer = command().show({"T1", "T2"}, kWide);
        QVERIFY(answer.lines.contains("without a price: 600000.X, 700.X"));
        QVERIFY(answer.lines.filter("700.X").first().endsWith("no price, no rate, 1 is used"));
        QCOMPARE(answer.json.toObject().value("withoutPrice").toArray(),
                 (QJsonArray{"600000.X", "700.X"}));
        QCOMPARE(command().symbolsWithoutPrice({"T1", "T2"}), (QStringList{"600000.X", "700.X"}));
        m_prices = {{"600000.X", 1}, {"700.X", 2}};
        QVERIFY(command().symbolsWithoutPrice({"T1", "T2"}).isEmpty());
    }

    void check_runningTotals_areComparedByAccountAndSymbol() {
        m_answers->running =
            total(10000.0000001, 9000, {{"600000.X", 10000}}, {{"600000.X", 9000}});
        const CommandAnswer same = command().check({"T1"}, kWide);
        QVERIFY2(!same.isFault, qPrintable(same.lines.join('\n')));
        QCOMPARE(same.lines, QStringList("4 figures compared, 0 differ"));

        m_answers->running =
            total(10000, 9000, {{"600000.X", 9000}, {"GONE", 1000}}, {{"600000.X", 9000}});
        const CommandAnswer other = command().check({"T1"}, kWide);
        QVERIFY(other.isFault);
        QVERIFY(other.lines.contains("6 figures compared, 2 differ"));
        QCOMPARE(other.lines.filter("GONE").first().simplified(),
                 QString("T1 GONE market value 1000.0000 0.0000 1000.0000"));
    }

    void check_smallDifferenceBesideALargePosition_isFound() {
        m_prices = {{"600000.X", 10}, {"1.X", 1000}};
        m_positions = {
            {"T1",
             {position("600000", Exchange::sh, 1000, 9), position("1", Exchange::sh, 1e8, 1000)}}};
        const QJsonObject costs{{"600000.X", 9000}, {"1.X", 1e11}};
        const auto checked = [&](double small, double large) {
            m_answers->running =
                total(1e11 + 10000, 1e11 + 9000, {{"600000.X", small}, {"1.X", large}}, costs);
            return command().check({"T1"}, kWide);
        };
        QVERIFY(!checked(10000.000001, 1e11 + 50).isFault);
        const CommandAnswer other = checked(10000.01, 1e11);
        QVERIFY(other.isFault);
        QCOMPARE(other.lines.filter("600000.X").size(), 1);
        QCOMPARE(checked(10000, 1e11 + 200).lines.filter("1.X").size(), 1);
    }

    void show_goldAsJson_hasThousandInItsMultiplier() {
        m_positions = {{"T1", {position("600000", Exchange::sge, 2, 9)}}};
        const QJsonObject row = accountOf(command().show({"T1"}, kWide))
                                    .value("positions")
                                    .toArray()
                                    .first()
                                    .toObject();
        QCOMPARE(row.value("quantity").toDouble(), 2.0);
        QCOMPARE(row.value("multiplier").toDouble(), 1000.0);
        QCOMPARE(row.value("nominal").toDouble(), 2000.0);
        QCOMPARE(row.value("marketValue").toDouble(),
                 row.value("quantity").toDouble() * row.value("multiplier").toDouble() *
                     row.value("price").toDouble() * row.value("rate").toDouble());
        QCOMPARE(row.value("marketValue").toDouble(), 20000.0);
    }

    void check_unknownSecurity_isNamedAsTheRunningTableDoes() {
        m_positions = {{"T1", {position("???", Exchange::sh, 1000, 9)}}};
        m_answers->running = total(0, 9000, {{"????", 0}}, {{"????", 9000}});
        const CommandAnswer answer = command().check({"T1"}, kWide);
        QVERIFY2(!answer.isFault, qPrintable(answer.lines.join('\n')));
        QCOMPARE(answer.json.toObject().value("compared").toInt(), 4);
    }

    void check_accountWithoutPositions_isWorthNothing() {
        m_positions.clear();
        QVERIFY(!command().check({"T1"}, kWide).isFault);
        m_answers->running = total(5, 0, {}, {});
        QVERIFY(command().check({"T1"}, kWide).isFault);
    }

    void interrupt_isReported() {
        m_answers->interruptAfter = 2;
        QVERIFY(command().show({"T1"}, kWide).interrupted);
    }

private:
    ValueCommand command() {
        return {m_library,
                m_answers->function(),
                {[this](const QString& account) { return m_positions.value(account); },
                 [this](const QString& symbol) { return m_prices.value(symbol); }}};
    }
    static QJsonObject accountOf(const CommandAnswer& answer) {
        return answer.json.toObject().value("accounts").toArray().first().toObject();
    }

    FacadeLibrary m_library;
    std::unique_ptr<Answers> m_answers;
    QMap<QString, QList<QVariantMap>> m_positions;
    QMap<QString, double> m_prices;
};

QTEST_GUILESS_MAIN(ValueCommandTest)
#include "value_command_test.moc"
