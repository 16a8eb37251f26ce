#include <QDate>
#include <QtTest>
#include <cmath>
#include <limits>

#include "log_capture.h"
#include "order_fixture.h"

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinity = std::numeric_limits<double>::infinity();

}  // namespace

class OrderBadInputTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<OrderFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void row_fieldMissing_goesOutWithoutIt_data() {
        QTest::addColumn<QString>("field");
        QTest::newRow("account") << UserAccount::tradingAccount;
        QTest::newRow("symbol") << Security::symbol;
        QTest::newRow("side") << Security::side;
        QTest::newRow("quantity") << Security::orderQty;
    }
    void row_fieldMissing_goesOutWithoutIt() {
        QFETCH(QString, field);
        QVariantMap order = OrderFixture::order();
        order.remove(field);
        const TakenMessage message = m_fixture->list({{}, order, OrderFixture::order()});
        QCOMPARE(message.rows.size(), 2);
        QVERIFY(!message.rows.first().contains(field));
        QVERIFY(message.rows.first().contains(Security::orderStation));
        QCOMPARE(message.rows.last().value(Security::securityID), QVariant("600000"));
        QVERIFY(m_fixture->cancel(order).exists);
    }

    void row_emptyRecord_hasTimeStationAndAnEmptyId() {
        const QVariantMap row = m_fixture->rowOf({});
        QCOMPARE(row.keys(), (QStringList{Security::orderStation, Security::securityID,
                                          Security::transActTime}));
        QCOMPARE(row.value(Security::securityID).toString(), QString());
    }

    void row_oddValue_travelsAsItIs_data() {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("text") << QVariant("一百股");
        QTest::newRow("nan text") << QVariant("nan");
        QTest::newRow("infinity") << QVariant(kInfinity);
        QTest::newRow("1e300") << QVariant(1e300);
        QTest::newRow("negative") << QVariant(-100);
        QTest::newRow("invalid") << QVariant();
        QTest::newRow("list") << QVariant(QVariantList{1, 2});
        QTest::newRow("map") << QVariant(QVariantMap{{"a", 1}});
        QTest::newRow("bool") << QVariant(true);
        QTest::newRow("date") << QVariant(QDate(2026, 1, 5));
        QTest::newRow("long text") << QVariant(QString(1 << 20, u'长'));
    }
    void row_oddValue_travelsAsItIs() {
        QFETCH(QVariant, value);
        for (const QString& field : {Security::orderQty, Security::side, Security::orderType,
                                     CustomField::priceType, Security::timeInForce}) {
            const QVariantMap order = OrderFixture::with(OrderFixture::order(), {{field, value}});
            QCOMPARE(m_fixture->rowOf(order).value(field), value);
            QCOMPARE(m_fixture->instanceRowOf(order).value(field), value);
            QCOMPARE(m_fixture->cancel(order).header.value(field), value);
        }
        // What is read as a text may be anything too.
        for (const QString& field :
             {Security::symbol, UserAccount::tradingAccount, UserAccount::securityExchange}) {
            QVERIFY(
                m_fixture->list({{}, OrderFixture::with(OrderFixture::order(), {{field, value}})})
                    .exists);
        }
    }

    void minQty_quantitiesNotUsable_isEmptyAndLoggedOnce() {
        const LogCapture log;
        QList<QVariantMap> list{{}};
        for (const QVariant& quantity : {QVariant(kNan), QVariant(kInfinity), QVariant()}) {
            list.append(OrderFixture::with(OrderFixture::order(),
                                           {{CustomField::priceType, PriceType::szAllDealOrCancel},
                                            {Security::orderType, OrderType::market},
                                            {Security::orderQty, quantity}}));
        }
        const TakenMessage message = m_fixture->list(list);
        QCOMPARE(message.rows.size(), 3);
        for (const QVariantMap& row : message.rows) {
            QCOMPARE(row.value(Security::minQty).toString(), QString());
            QCOMPARE(row.value(Security::timeInForce), QVariant("3"));
        }
        QVERIFY(std::isnan(message.rows.first().value(Security::orderQty).toDouble()));
        QCOMPARE(log.texts(QtWarningMsg),
                 (QStringList{"order list: the quantity is missing or not finite, so minQty is "
                              "empty; orders: 3"}));
    }

    void list_aHundredThousandRows_areAllSent() {
        constexpr int kRows = 100000;
        m_fixture->accounts.chosen = {{"T1/1", "A1"}};
        QList<QVariantMap> list{{}};
        for (int i = 0; i < kRows; ++i) {
            list.append(OrderFixture::with(OrderFixture::order(), {{Security::clOrdID, i}}));
        }
        const TakenMessage message = m_fixture->list(list);
        QCOMPARE(message.header.value(System::subGroupNumber), QVariant(kRows));
        QCOMPARE(message.rows.size(), kRows);
        for (int i = 0; i < kRows; ++i) {
            const QVariantMap& row = message.rows.at(i);
            if (row.value(Security::clOrdID) != QVariant(i) ||
                row.value(UserAccount::securityAccount) != QVariant("A1")) {
                QFAIL(qPrintable(QString("row %1").arg(i)));
            }
        }
    }

private:
    std::unique_ptr<OrderFixture> m_fixture;
};

QTEST_GUILESS_MAIN(OrderBadInputTest)
#include "order_bad_input_test.moc"
