#include <QtTest>

#include "market_server.h"
#include "message_type.h"

namespace {

const QString kBeat = Velmar_MsgType::BusiHeartBeatRequest;

}  // namespace

class HeartBeatHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }

    void beat_underEitherEnvelope_isASuccessWithTheAnswersType_data() {
        QTest::addColumn<QString>("envelope");
        QTest::newRow("its own") << kBeat;
        QTest::newRow("shared") << kSharedEnvelope;
    }
    void beat_underEitherEnvelope_isASuccessWithTheAnswersType() {
        QFETCH(QString, envelope);
        const QVariant body = packRows({{System::msgType, kBeat},
                                        {System::clientMsgID, "id-7"},
                                        {System::timeStamp, "10:00:00.000"},
                                        {System::NetElapse, 12}},
                                       {});
        const QVariantMap header =
            headerOf(m_server.engine->handle(m_server.session, envelope, body));
        QCOMPARE(header.value(System::msgType).toString(), Velmar_MsgType::BusiHeartBeatResponse);
        QCOMPARE(header.value(System::clientMsgID).toString(), QString("id-7"));
        QCOMPARE(header.value(System::requestExeStatus).toString(), RequestExeStatus::success);
        QCOMPARE(answerTypeOf(envelope, messageTypeOf(envelope, headerOf(body))),
                 Velmar_MsgType::BusiHeartBeatResponse);
    }

    void beat_withoutAnIdOrFigures_isASuccess() {
        const QVariantMap header = m_server.ask(kBeat, {});
        QCOMPARE(header.value(System::requestExeStatus).toString(), RequestExeStatus::success);
        QVERIFY(!header.contains(System::clientMsgID));
    }

    void beat_refused_hasTheAnswersTypeToo() {
        // It states a row that it does not have.
        const QVariantMap header = headerOf(m_server.engine->handle(
            m_server.session, kSharedEnvelope,
            packRows({{System::msgType, kBeat}, {System::subGroupNumber, 1}}, {})));
        QCOMPARE(header.value(System::requestExeStatus).toString(), QString("1"));
        QCOMPARE(header.value(System::msgType).toString(), Velmar_MsgType::BusiHeartBeatResponse);
    }

    void otherType_keepsItsOwnEnvelope() {
        QCOMPARE(answerTypeOf("120006", "120006"), QString("120006"));
        QCOMPARE(answerTypeOf(kSharedEnvelope, "anything"), kSharedEnvelope);
        QCOMPARE(answerHeaderTypeOf("anything"), QString("anything"));
    }

private:
    MarketServer m_server;
};

QTEST_GUILESS_MAIN(HeartBeatHandlersTest)
#include "heart_beat_handlers_test.moc"
