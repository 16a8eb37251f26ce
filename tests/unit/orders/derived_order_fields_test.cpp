#include "derived_order_fields.h"

#include <QtTest>
#include <limits>

#include "order_fixture.h"
#include "order_record.h"
#include "vocabulary/quindar_values.h"
#include "vocabulary/velmar_values.h"

namespace {

const QString kLimit = QStringLiteral("2");

QVariantMap orderOf(const QString& orderType, const QString& priceType,
                    const QVariant& orderQty = "700") {
    return {{Security::orderType, orderType},
            {CustomField::priceType, priceType},
            {Security::orderQty, orderQty}};
}

}  // namespace

class DerivedOrderFieldsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<OrderFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void row_listedCombination_getsTheThreeFields_data() {
        QTest::addColumn<QString>("orderType");
        QTest::addColumn<QString>("priceType");
        QTest::addColumn<QStringList>("derived");
        const QString market = OrderType::market;
        using namespace PriceType;
        const auto add = [](const char* name, const QString& orderType, const QString& priceType,
                            const QStringList& derived) {
            QTest::newRow(name) << orderType << priceType << derived;
        };
        add("limit, all or cancel", kLimit, limitPriceAllDealOrCancel, {"3", "0", "700"});
        add("no order type, all or cancel", "", limitPriceAllDealOrCancel, {"3", "0", "700"});
        add("limit, fixed after market", kLimit, fixedPriceAfterMarket, {"7", "0", "0"});
        add("market, sh 5 then limit", market, shDealOrbeLimit5, {"0", "5", "0"});
        add("market, sh 5 then cancel", market, shDealOrCancel5, {"3", "5", "0"});
        add("market, sz 5 then cancel", market, szDealOrCancel5, {"3", "5", "0"});
        add("market, sz deal or cancel", market, szDealOrCancel, {"3", "0", "0"});
        add("market, sz opponent", market, szOpponentOptimization, {"0", "1", "0"});
        add("market, sz own side", market, szSelfOptimization, {"0", "0", "0"});
        add("market, sz all or cancel", market, szAllDealOrCancel, {"3", "0", "700"});
        add("limit, sh after hours", kLimit, shEntrustAfterHours, {"7", "0", "0"});
        add("market, sh after hours", market, shEntrustAfterHours, {"7", "0", "0"});
        add("no order type, sh after hours", "", shEntrustAfterHours, {"7", "0", "0"});
    }
    void row_listedCombination_getsTheThreeFields() {
        QFETCH(QString, orderType);
        QFETCH(QString, priceType);
        QFETCH(QStringList, derived);
        QVariantMap order = orderOf(orderType, priceType);
        // What the record contains is replaced.
        order.insert(Security::timeInForce, "old");
        order.insert(Security::maxPriceLevels, "old");
        order.insert(Security::minQty, "old");
        const QVariantMap row = m_fixture->rowOf(order);
        QCOMPARE(row.value(Security::timeInForce), QVariant(derived.at(0)));
        QCOMPARE(row.value(Security::maxPriceLevels), QVariant(derived.at(1)));
        QCOMPARE(row.value(Security::minQty), QVariant(derived.at(2)));
        QCOMPARE(m_fixture->instanceRowOf(order).value(Security::minQty), QVariant(derived.at(2)));
    }

    void row_combinationOutside_keepsWhatTheRecordContains_data() {
        QTest::addColumn<QString>("orderType");
        QTest::addColumn<QString>("priceType");
        using namespace PriceType;
        for (const QString& type : {limitPriceAllDealOrCancel, fixedPriceAfterMarket}) {
            QTest::newRow(qPrintable("market " + type)) << OrderType::market << type;
        }
        for (const QString& type :
             {shDealOrbeLimit5, shDealOrCancel5, szDealOrCancel5, szDealOrCancel,
              szOpponentOptimization, szSelfOptimization, szAllDealOrCancel}) {
            QTest::newRow(qPrintable("limit " + type)) << kLimit << type;
            QTest::newRow(qPrintable("no order type " + type)) << "" << type;
        }
        QTest::newRow("market, no price type") << OrderType::market << "";
        QTest::newRow("limit, no price type") << kLimit << "";
        QTest::newRow("market, unknown") << OrderType::market << "unknown";
        QTest::newRow("market, other case") << OrderType::market << szDealOrCancel.toLower();
    }
    void row_combinationOutside_keepsWhatTheRecordContains() {
        QFETCH(QString, orderType);
        QFETCH(QString, priceType);
        const QStringList fields{Security::timeInForce, Security::maxPriceLevels, Security::minQty};
        QVariantMap order = orderOf(orderType, priceType);
        const QVariantMap bare = m_fixture->rowOf(order);
        for (const QString& field : fields) {
            QVERIFY(!bare.contains(field));
            order.insert(field, 12.5);
        }
        const QVariantMap row = m_fixture->rowOf(order);
        for (const QString& field : fields) {
            QCOMPARE(row.value(field), QVariant(12.5));
        }
    }

    void row_orderTypeAsNumber_readsAsItsText() {
        QVariantMap order = orderOf("", PriceType::szOpponentOptimization);
        order.insert(Security::orderType, OrderType::market.toInt());
        QCOMPARE(m_fixture->rowOf(order).value(Security::maxPriceLevels), QVariant("1"));
    }

    void minQty_fromTheQuantity_isADecimalText_data() {
        QTest::addColumn<QVariant>("quantity");
        QTest::addColumn<QString>("text");
        QTest::newRow("int") << QVariant(300) << "300";
        QTest::newRow("int64") << QVariant(Q_INT64_C(9007199254740993)) << "9007199254740993";
        QTest::newRow("a million") << QVariant(1000000.0) << "1000000";
        QTest::newRow("sixteen digits") << QVariant(1234567890123456.0) << "1234567890123456";
        QTest::newRow("fraction") << QVariant(0.1) << "0.1";
        QTest::newRow("float") << QVariant(2.5F) << "2.5";
        QTest::newRow("float without an exact value") << QVariant(0.1F) << "0.1";
        QTest::newRow("float of seven digits") << QVariant(1234.567F) << "1234.567";
        QTest::newRow("float of eight digits") << QVariant(16777.219F) << "16777.219";
        QTest::newRow("float of a million") << QVariant(1e6F) << "1000000";
        QTest::newRow("text") << QVariant("1e+06") << "1e+06";
        QTest::newRow("odd text") << QVariant(" 一百 ") << " 一百 ";
        QTest::newRow("1e300") << QVariant(1e300) << "1" + QString(300, '0');
    }
    void minQty_fromTheQuantity_isADecimalText() {
        QFETCH(QVariant, quantity);
        QFETCH(QString, text);
        const QVariantMap order = orderOf(kLimit, PriceType::limitPriceAllDealOrCancel, quantity);
        const QVariantMap row = m_fixture->rowOf(order);
        QCOMPARE(row.value(Security::minQty), QVariant(text));
        QCOMPARE(row.value(Security::orderQty), quantity);
    }

    void minQty_ofTheRecord_isEmptiedWhenTheQuantityIsMissing() {
        QVariantMap order = orderOf(kLimit, PriceType::limitPriceAllDealOrCancel);
        order.remove(Security::orderQty);
        order.insert(Security::minQty, "500");
        for (const QVariantMap& row : {m_fixture->rowOf(order), m_fixture->instanceRowOf(order)}) {
            QVERIFY(row.contains(Security::minQty));
            QCOMPARE(row.value(Security::minQty).toString(), QString());
        }
    }

    void minQty_quantityMissingOrNotFinite_isEmpty_data() {
        QTest::addColumn<QVariant>("quantity");
        QTest::newRow("missing") << QVariant();
        QTest::newRow("nan") << QVariant(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinite") << QVariant(std::numeric_limits<double>::infinity());
        QTest::newRow("minus infinite") << QVariant(-std::numeric_limits<float>::infinity());
    }
    void minQty_quantityMissingOrNotFinite_isEmpty() {
        QFETCH(QVariant, quantity);
        const QVariantMap order = orderOf(kLimit, PriceType::limitPriceAllDealOrCancel, quantity);
        const auto derived = derivedOrderFields(OrderRecord(order));
        QVERIFY(derived);
        QCOMPARE(derived->minQty, QString());
        QCOMPARE(derived->timeInForce, QString("3"));
    }

private:
    std::unique_ptr<OrderFixture> m_fixture;
};

QTEST_GUILESS_MAIN(DerivedOrderFieldsTest)
#include "derived_order_fields_test.moc"
