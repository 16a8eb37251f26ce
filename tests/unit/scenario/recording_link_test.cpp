#include "recording_link.h"

#include <QtTest>

#include "scripted_link.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

inline const QString kType = QStringLiteral("120006");
inline const QString kSharedEnvelope = QStringLiteral("325005");

class Deaf : public GatewayLinkListener {
public:
    void onAnswer(quint64, const QString&, const QVariant&) override {}
    void onFailure(quint64, const QString&) override {}
    void onTimeOut(quint64) override {}
    void onPush(const QString&, const QVariant&) override {}
    void onGateState(const QString&, const QString&) override {}
};

}  // namespace

class RecordingLinkTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        auto below = std::make_unique<ScriptedLink>();
        m_script = below.get();
        m_tape = std::make_shared<ScenarioTape>();
        m_link = std::make_unique<RecordingLink>(std::move(below), m_tape);
        QString error;
        QVERIFY2(m_link->start(&m_listener, &error), qPrintable(error));
    }
    void cleanup() { m_link->stop(); }

    void outcome_isKeptWithItsType_andNothingIsLeft_data();
    void outcome_isKeptWithItsType_andNothingIsLeft();
    void request_notTaken_leavesNothing();
    void request_withoutOutcome_isUnderWayUntilTheStop();
    void pushAndGate_areKeptByName();

private:
    bool send(quint64 id) {
        GatewayRequest request;
        request.envelopeId = id;
        request.msgType = kSharedEnvelope;
        request.body = packRows({{System::msgType, kType}}, {});
        return m_link->send(request);
    }
    /// The records of the tape except requests, such as "answer 120006".
    QStringList kept() const {
        static const QMap<RecordKind, QString> kinds{{RecordKind::Answer, "answer"},
                                                     {RecordKind::Failure, "failure"},
                                                     {RecordKind::TimeOut, "timeout"},
                                                     {RecordKind::Push, "push"},
                                                     {RecordKind::Gate, "gate"}};
        QStringList lines;
        for (const TapeRecord& record : m_tape->from(0)) {
            if (record.kind != RecordKind::Request) {
                lines.append(kinds.value(record.kind) + QLatin1Char(' ') + record.name);
            }
        }
        return lines;
    }

    Deaf m_listener;
    std::shared_ptr<ScenarioTape> m_tape;
    ScriptedLink* m_script = nullptr;  // owned by the link
    std::unique_ptr<RecordingLink> m_link;
};

void RecordingLinkTest::outcome_isKeptWithItsType_andNothingIsLeft_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("answer") << 0 << QStringList{"answer 120006"};
    QTest::newRow("refusal") << 1 << QStringList{"answer 120006"};
    QTest::newRow("failure") << 2 << QStringList{"failure 120006"};
    QTest::newRow("time-out") << 3 << QStringList{"timeout 120006"};
    QTest::newRow("garbage") << 4 << QStringList{"answer 120006"};
    QTest::newRow("answer twice") << 5 << QStringList{"answer 120006", "answer 120006"};
    QTest::newRow("answer too late") << 6 << QStringList{"timeout 120006", "answer 120006"};
}

void RecordingLinkTest::outcome_isKeptWithItsType_andNothingIsLeft() {
    QFETCH(int, kind);
    QFETCH(QStringList, lines);
    const QVector<ScriptedReply> replies{
        ScriptedReply::rows({}),        ScriptedReply::refusal("no"),
        ScriptedReply::failure("no"),   ScriptedReply::timeOut(),
        ScriptedReply::garbage(),       ScriptedReply::rows({}).twice(),
        ScriptedReply::rows({}).late(),
    };
    m_script->on(kType, replies.at(kind));
    for (quint64 id = 1; id <= 3; ++id) {
        QVERIFY(send(id));
    }
    QVERIFY(m_script->waitUntilIdle());
    QCOMPARE(kept(), lines + lines + lines);
    QCOMPARE(m_link->underWay(), 0);
}

void RecordingLinkTest::request_notTaken_leavesNothing() {
    m_script->refuseSends(true);
    QVERIFY(!send(1));
    QCOMPARE(m_link->underWay(), 0);
}

void RecordingLinkTest::request_withoutOutcome_isUnderWayUntilTheStop() {
    m_script->on(kType, ScriptedReply::never());
    QVERIFY(send(1));
    QVERIFY(send(2));
    QVERIFY(m_script->waitUntilIdle());
    QCOMPARE(m_link->underWay(), 2);
    m_link->stop();
    QCOMPARE(m_link->underWay(), 0);
}

void RecordingLinkTest::pushAndGate_areKeptByName() {
    m_script->push("topic", packRows({}, {}));
    m_script->gateState(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    QVERIFY(m_script->waitUntilIdle());
    QCOMPARE(kept(), (QStringList{"push topic", "gate TradeGate"}));
}

QTEST_GUILESS_MAIN(RecordingLinkTest)
#include "recording_link_test.moc"
