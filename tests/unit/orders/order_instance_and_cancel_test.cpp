#include <QtTest>

#include "log_capture.h"
#include "order_fixture.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/quindar_msg_type.h"

class OrderInstanceAndCancelTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<OrderFixture>(); }
    void cleanup() { m_fixture.reset(); }

    void instance_type_isTheArgument() {
        const TakenMessage message = m_fixture->instance({{}, OrderFixture::order()}, "策略 1");
        QCOMPARE(message.type, QString("策略 1"));
        QCOMPARE(message.headerText(System::msgType), QString("策略 1"));
        QCOMPARE(message.headerText(UserAccount::userID), QString("tester"));
        QCOMPARE(message.header.value(System::subGroupNumber), QVariant(1));
        QCOMPARE(m_fixture->instance({{}}, QString()).type, QString());
    }

    void instance_header_copiesItsFieldsIfTheyArePresent_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<bool>("copied");
        for (const QString& field :
             {Security::minEntrustRatio, Security::systemNodeId, VelmarStrategy::instanceId,
              ETF::EtfInstanceStage, Security::symbol, ETF::EtfInstOrderUnit,
              ETF::EtfInstCancelRedoFlag, ETF::UserReference1}) {
            QTest::newRow(qPrintable(field)) << field << true;
        }
        for (const QString& field :
             {System::clientMsgID, Security::orderQty, UserAccount::tradingAccount}) {
            QTest::newRow(qPrintable(field)) << field << false;
        }
    }
    void instance_header_copiesItsFieldsIfTheyArePresent() {
        QFETCH(QString, field);
        QFETCH(bool, copied);
        QVERIFY(!m_fixture->instance({{}}).header.contains(field));
        for (const QVariant& value : {QVariant("x"), QVariant(""), QVariant(7)}) {
            const QVariantMap header = m_fixture->instance({{{field, value}}}).header;
            QCOMPARE(header.contains(field), copied);
            QCOMPARE(header.value(field), copied ? value : QVariant());
        }
    }

    void instance_listId_isNewWhenElement0HasNone() {
        QCOMPARE(m_fixture->instance({{{Security::listID, "L1"}}}).headerText(Security::listID),
                 QString("L1"));
        const QString first = m_fixture->instance({{}}).headerText(Security::listID);
        const QString second =
            m_fixture->instance({{{Security::listID, ""}}}).headerText(Security::listID);
        QVERIFY(!first.isEmpty());
        QVERIFY(!second.isEmpty());
        QVERIFY(first != second);
    }

    void instance_replyMode_isAllWhenElement0HasNone() {
        const auto modeOf = [this](const QVariantMap& header) {
            return m_fixture->instance({header}).headerText(Security::replyMode);
        };
        QCOMPARE(modeOf({{Security::replyMode, "9"}}), QString("9"));
        QCOMPARE(modeOf({{Security::replyMode, ""}}), ReplyMode::AllResponse);
        QCOMPARE(modeOf({}), ReplyMode::AllResponse);
    }

    void instance_fieldsOfElement0_keepTheirType_data() {
        QTest::addColumn<QString>("field");
        QTest::newRow("listID") << Security::listID;
        QTest::newRow("replyMode") << Security::replyMode;
    }
    void instance_fieldsOfElement0_keepTheirType() {
        QFETCH(QString, field);
        for (const QVariant& value : {QVariant(7), QVariant(0), QVariant(2.5), QVariant("7")}) {
            const QVariant sent = m_fixture->instance({{{field, value}}}).header.value(field);
            QCOMPARE(sent, value);
            QCOMPARE(sent.userType(), value.userType());
        }
    }

    void instance_idWithoutSource_isLookedUpAndEmptyForAnUnknownSymbol() {
        const QVariantMap order =
            OrderFixture::with(OrderFixture::order("unknown.SH"),
                               {{Security::securityID, "own"}, {Security::securityIDSource, ""}});
        const QVariantMap row = m_fixture->instanceRowOf(order);
        QVERIFY(row.contains(Security::securityID));
        QCOMPARE(row.value(Security::securityID).toString(), QString());
        QCOMPARE(m_fixture->rowOf(order).value(Security::securityID), QVariant("own"));
    }

    void cancel_type_isNumericOnRequest() {
        const TakenMessage named = m_fixture->cancel({{Security::orderID, "O1"}});
        QCOMPARE(named.type, Quindar_MsgType::orderCancelRequest);
        QCOMPARE(named.headerText(System::msgType), Quindar_MsgType::orderCancelRequest);
        const TakenMessage numeric = m_fixture->cancel({{System::msgType, "other"}}, true);
        QCOMPARE(numeric.type, QString("261212"));
        QCOMPARE(numeric.headerText(System::msgType), QString("261212"));
        QCOMPARE(numeric.sourceId, QString());
    }

    void cancel_record_travelsInTheHeader() {
        const QVariantMap order =
            OrderFixture::with(OrderFixture::order(), {{Security::orderID, "O1"},
                                                       {Security::clOrdID, 77},
                                                       {Security::transActTime, "early"},
                                                       {Security::chineseName, "浦发银行"}});
        const TakenMessage message = m_fixture->cancel(order);
        QVERIFY(message.rows.isEmpty());
        QCOMPARE(
            message.header,
            OrderFixture::with(
                order, {{Security::clOrdID, "77"},
                        {Security::transActTime, QString::number(TickingClock::kStartMs + 1000)},
                        {Security::orderStation, VelmarUtils::GetVelmarOrderStation(QString())},
                        {System::msgType, Quindar_MsgType::orderCancelRequest}}));
    }

    void cancel_ids_becomeTexts_data() {
        QTest::addColumn<QString>("field");
        QTest::addColumn<bool>("becomesText");
        for (const QString& field :
             {System::clientMsgID, Security::orderID, Security::clOrdID,
              UserAccount::tradingAccount, UserAccount::securityAccount, Security::orderStation}) {
            QTest::newRow(qPrintable(field)) << field << true;
        }
        QTest::newRow("quantity") << Security::orderQty << false;
    }
    void cancel_ids_becomeTexts() {
        QFETCH(QString, field);
        QFETCH(bool, becomesText);
        const QVariantMap header = m_fixture->cancel({{field, Q_INT64_C(9007199254740993)}}).header;
        QCOMPARE(header.value(field).userType(),
                 int(becomesText ? QMetaType::QString : QMetaType::LongLong));
        QCOMPARE(header.value(field).toString(), QString("9007199254740993"));
    }

    void cancel_emptyIds_stayAsTheyAre() {
        const QVariantMap header = m_fixture->cancel({{Security::orderID, QVariant()}}).header;
        QVERIFY(header.contains(Security::orderID));
        QVERIFY(!header.value(Security::orderID).isValid());
        QVERIFY(!header.contains(Security::clOrdID));
        QVERIFY(!header.contains(UserAccount::tradingAccount));
    }

    void cancel_station_isLoggedAndKept() {
        const LogCapture log;
        const auto stationOf = [this](const QVariantMap& order) {
            return m_fixture->cancel(order).headerText(Security::orderStation);
        };
        QCOMPARE(stationOf({{Security::orderStation, "柜台"}}), QString("柜台"));
        QCOMPARE(log.count(QtInfoMsg, "OrderCancelRequest get orderStation 柜台"), 1);
        QCOMPARE(stationOf({{Security::orderStation, ""}}),
                 VelmarUtils::GetVelmarOrderStation(QString()));
        QCOMPARE(stationOf({}), VelmarUtils::GetVelmarOrderStation(QString()));
        QVERIFY(log.contains(QtInfoMsg, "OrderCancelRequest get orderStation"));
        QCOMPARE(log.texts(QtInfoMsg).size(), 3);
    }

    void cancel_noSecurityAccount_asksForNone() {
        m_fixture->cancel(OrderFixture::order());
        QVERIFY(m_fixture->accounts.calls.isEmpty());
    }

private:
    std::unique_ptr<OrderFixture> m_fixture;
};

QTEST_GUILESS_MAIN(OrderInstanceAndCancelTest)
#include "order_instance_and_cancel_test.moc"
