// Requests and their outcomes, on every link.
#include <atomic>
#include <thread>
#include <vector>

#include "conformance_world.h"

namespace {

constexpr int kThreads = 8;
constexpr int kEach = 25;
const QString kList = HostMsgType::securityAccounts;
const QVariantMap kLogin{{UserAccount::loginUserId, SampleLogin::user}};

QString keyOf(int thread, int number) {
    return QStringLiteral("k-%1-%2").arg(thread).arg(number);
}

}  // namespace

class LinkConformanceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data() { ConformanceWorld::addLinks(); }
    void init() {
        QFETCH_GLOBAL(int, kind);
        m_world = std::make_unique<ConformanceWorld>(kind);
    }
    void cleanup() { m_world.reset(); }

    void request_answered_hasTypeStatusIdAndRows();
    void request_refused_hasStatusAndText_data();
    void request_refused_hasStatusAndText();
    void request_notAnsweredInTime_timesOutAndTheNextGetsItsOwn();
    void request_linkTakenDownUnderWay_fails();
    void request_withoutALink_fails();
    void request_underTheSharedEnvelope_hasTheTypeOfItsBody();
    void body_largeRow_goesBothWays_data();
    void body_largeRow_goesBothWays();
    void body_everyText_survives_data();
    void body_everyText_survives();
    void concurrent_onOnePresenter_eachGetsItsOwnAnswer();
    void concurrent_answersReversed_eachGetsItsOwnAnswer();
    void async_answers_haveTheirIdsAndBodies();
    void async_refusal_arrivesToo();
    void heartBeat_underEitherEnvelope_isAnsweredWithItsOwnTypeAndId();
    void stop_duringRequests_allComeBackAndANewLinkServes();

private:
    std::unique_ptr<ConformanceWorld> m_world;
};

void LinkConformanceTest::request_answered_hasTypeStatusIdAndRows() {
    QVariantMap request = kLogin;
    request.insert(System::clientMsgID, "id-1");
    QVariant response;
    QCOMPARE(m_world->send(kList, request, &response), kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(response));
    const QVariantMap header = headerOf(response);
    QCOMPARE(header.value(System::msgType).toString(), kList);
    QCOMPARE(header.value(System::clientMsgID).toString(), QString("id-1"));
    QVERIFY(header.value(System::subGroupNumber).toInt() >= 200);
    QCOMPARE(header.value(System::subGroupNumber).toInt(), rowsOf(response).size());
    QCOMPARE(header.value(System::totalSize).toInt(), rowsOf(response).size());
}

void LinkConformanceTest::request_refused_hasStatusAndText_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariantMap>("request");
    QTest::newRow("unknown type") << "no.such.type" << QVariantMap();
    QTest::newRow("unknown user") << kList << QVariantMap{{UserAccount::loginUserId, "nobody"}};
    QTest::newRow("stated row missing")
        << Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest
        << QVariantMap{{System::subGroupNumber, 1}};
}

void LinkConformanceTest::request_refused_hasStatusAndText() {
    QFETCH(QString, type);
    QFETCH(QVariantMap, request);
    QVariant response;
    QCOMPARE(m_world->send(type, request, &response), kAnswer);
    QVERIFY(!ConformanceWorld::isSuccess(response));
    QVERIFY(!textOf(response).isEmpty());
    QVERIFY(rowsOf(response).isEmpty());
}

void LinkConformanceTest::request_notAnsweredInTime_timesOutAndTheNextGetsItsOwn() {
    QVERIFY(m_world->writeProfiles(
        {ConformanceWorld::profile("late", "l"), ConformanceWorld::profile("next", "n")}));
    m_world->link->hold();
    m_world->presenter->setRequestTimeOut(1);
    QVariant response;
    QCOMPARE(m_world->send(Quindar_MsgType::getUserProfileDataRequest,
                           ConformanceWorld::profileQuery("late"), &response),
             kTimeOut);
    QVERIFY(!textOf(response).isEmpty());
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    m_world->presenter->setRequestTimeOut(10);
    QVERIFY(m_world->link->waitForHeld(1));
    m_world->link->release();
    QCOMPARE(m_world->readProfile("next"), QString("n"));
}

void LinkConformanceTest::request_linkTakenDownUnderWay_fails() {
    m_world->link->hold();
    std::atomic<int> result{-1};
    QVariant response;
    std::thread caller([&] { result = m_world->send(kList, kLogin, &response); });
    const bool isUnderWay = m_world->link->waitForHeld(1);
    m_world->disconnect();
    caller.join();
    QVERIFY(isUnderWay);
    QCOMPARE(result.load(), kFailure);
    QVERIFY(!textOf(response).isEmpty());
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void LinkConformanceTest::request_withoutALink_fails() {
    m_world->disconnect();
    QVariant response;
    QCOMPARE(m_world->send(kList, kLogin, &response), kFailure);
    QVERIFY(!textOf(response).isEmpty());
    m_world->connect();
    QCOMPARE(m_world->send(kList, kLogin, &response), kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(response));
}

void LinkConformanceTest::request_underTheSharedEnvelope_hasTheTypeOfItsBody() {
    CMessageCommon* const message = m_world->message(kList, kLogin);
    message->SetType(QStringLiteral("325005"));
    QVariant response;
    QCOMPARE(m_world->presenter->sendRequest_Sync(message, response), kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(response));
    QCOMPARE(headerOf(response).value(System::msgType).toString(), kList);
    QVERIFY(rowsOf(response).size() >= 200);
}

void LinkConformanceTest::body_largeRow_goesBothWays_data() {
    QTest::addColumn<int>("bytes");
    QTest::newRow("none") << 0;
    QTest::newRow("64 KiB") << 64 * 1024;
    QTest::newRow("1 MiB") << 1024 * 1024;
    QTest::newRow("10 MiB") << 10 * 1024 * 1024;
}

void LinkConformanceTest::body_largeRow_goesBothWays() {
    QFETCH(int, bytes);
    QString data(bytes, QLatin1Char('x'));
    for (int i = 0; i < bytes; i += 1000) {
        data[i] = QChar(ushort('a' + i / 1000 % 26));
    }
    QVERIFY(m_world->writeProfiles({ConformanceWorld::profile("large", data)}));
    // Not QCOMPARE, which would print it.
    QVERIFY(m_world->readProfile("large") == data);
}

void LinkConformanceTest::body_everyText_survives_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("chinese") << QStringLiteral("虚岚资产管理稳健1号现货1");
    QTest::newRow("outside the basic plane") << QStringLiteral("\U0001F600\U00020000");
    QTest::newRow("quotes and brackets") << QStringLiteral("{\"a\":\"'b'\\\"\",\n\t[1,2]}");
    QTest::newRow("a zero inside") << QString(QLatin1String("a\0b", 3));
}

void LinkConformanceTest::body_everyText_survives() {
    QFETCH(QString, text);
    QVERIFY(m_world->writeProfiles({ConformanceWorld::profile("text", text)}));
    QCOMPARE(m_world->readProfile("text"), text);
}

void LinkConformanceTest::concurrent_onOnePresenter_eachGetsItsOwnAnswer() {
    QList<QVariantMap> rows;
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kEach; ++i) {
            rows.append(ConformanceWorld::profile(keyOf(t, i), "data of " + keyOf(t, i)));
        }
    }
    QVERIFY(m_world->writeProfiles(rows));
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &right] {
            for (int i = 0; i < kEach; ++i) {
                const QString key = keyOf(t, i);
                right += m_world->readProfile(key) == "data of " + key ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(right.load(), kThreads * kEach);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void LinkConformanceTest::concurrent_answersReversed_eachGetsItsOwnAnswer() {
    QList<QVariantMap> rows;
    for (int t = 0; t < kThreads; ++t) {
        rows.append(ConformanceWorld::profile(keyOf(t, 0), "data of " + keyOf(t, 0)));
    }
    QVERIFY(m_world->writeProfiles(rows));
    m_world->link->hold();
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &right] {
            right += m_world->readProfile(keyOf(t, 0)) == "data of " + keyOf(t, 0) ? 1 : 0;
        });
    }
    const bool allHeld = m_world->link->waitForHeld(kThreads);
    m_world->link->release(true);
    for (std::thread& thread : threads) {
        thread.join();
    }
    QVERIFY(allHeld);
    QCOMPARE(right.load(), kThreads);
}

void LinkConformanceTest::async_answers_haveTheirIdsAndBodies() {
    QList<QVariantMap> rows;
    for (int i = 0; i < kEach; ++i) {
        rows.append(ConformanceWorld::profile(keyOf(0, i), keyOf(0, i)));
    }
    QVERIFY(m_world->writeProfiles(rows));
    for (int i = 0; i < kEach; ++i) {
        QVariantMap request = ConformanceWorld::profileQuery(keyOf(0, i));
        request.insert(System::clientMsgID, "id of " + keyOf(0, i));
        QCOMPARE(m_world->presenter->sendRequest_Async(
                     m_world->message(Quindar_MsgType::getUserProfileDataRequest, request)),
                 0);
    }
    QVERIFY(m_world->presenter->log->waitForCount(kEach));
    QSet<QString> ids;
    for (const ProbeLog::Call& call : m_world->presenter->log->calls()) {
        QCOMPARE(call.kind, ProbeLog::Kind::Response);
        QCOMPARE(call.type.toString(), Quindar_MsgType::getUserProfileDataRequest);
        QCOMPARE(call.clientMsgId, "id of " + ConformanceWorld::dataOf(call.body));
        ids.insert(call.clientMsgId);
    }
    QCOMPARE(ids.size(), kEach);
}

void LinkConformanceTest::async_refusal_arrivesToo() {
    m_world->presenter->sendRequest_Async(
        m_world->message(kList, {{System::clientMsgID, "refused"}}));
    QVERIFY(m_world->presenter->log->waitForCount(1));
    const ProbeLog::Call call = m_world->presenter->log->calls().front();
    QCOMPARE(call.clientMsgId, QString("refused"));
    QVERIFY(!ConformanceWorld::isSuccess(call.body));
    QVERIFY(!textOf(call.body).isEmpty());
}

void LinkConformanceTest::heartBeat_underEitherEnvelope_isAnsweredWithItsOwnTypeAndId() {
    const QStringList envelopes{Velmar_MsgType::BusiHeartBeatRequest, "325005"};
    for (const QString& envelope : envelopes) {
        CMessageCommon* const message = m_world->message(
            Velmar_MsgType::BusiHeartBeatRequest,
            {{System::clientMsgID, "beat of " + envelope}, {System::NetElapse, 12}});
        message->SetType(envelope);
        QCOMPARE(m_world->presenter->sendRequest_Async(message), 0);
    }
    QVERIFY(m_world->presenter->log->waitForCount(envelopes.size()));
    QSet<QString> ids;
    for (const ProbeLog::Call& call : m_world->presenter->log->calls()) {
        QCOMPARE(call.kind, ProbeLog::Kind::Response);
        QCOMPARE(call.type.toString(), Velmar_MsgType::BusiHeartBeatResponse);
        QVERIFY(ConformanceWorld::isSuccess(call.body));
        const QVariantMap header = headerOf(call.body);
        QCOMPARE(header.value(System::msgType).toString(), Velmar_MsgType::BusiHeartBeatResponse);
        QCOMPARE(header.value(System::clientMsgID).toString(), call.clientMsgId);
        ids.insert(call.clientMsgId);
    }
    QCOMPARE(ids, (QSet<QString>{"beat of " + envelopes.at(0), "beat of " + envelopes.at(1)}));
}

void LinkConformanceTest::stop_duringRequests_allComeBackAndANewLinkServes() {
    std::atomic<int> answered{0};
    std::atomic<int> failed{0};
    std::atomic<int> strange{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            int result = kAnswer;
            while (result == kAnswer) {
                QVariant response;
                result = m_world->send(kList, kLogin, &response);
                const bool isWhole = result == kAnswer && ConformanceWorld::isSuccess(response) &&
                                     rowsOf(response).size() >= 200;
                const bool hasReason = result == kFailure && !textOf(response).isEmpty();
                answered += isWhole ? 1 : 0;
                failed += hasReason ? 1 : 0;
                strange += isWhole || hasReason ? 0 : 1;
            }
        });
    }
    const bool isGoing = waitFor([&answered] { return answered.load() > kThreads; });
    m_world->disconnect();
    for (std::thread& thread : threads) {
        thread.join();
    }
    QVERIFY(isGoing);
    QCOMPARE(failed.load(), kThreads);
    QCOMPARE(strange.load(), 0);
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    m_world->connect();
    QVariant response;
    QCOMPARE(m_world->send(kList, kLogin, &response), kAnswer);
}

QTEST_GUILESS_MAIN(LinkConformanceTest)
#include "link_conformance_test.moc"
