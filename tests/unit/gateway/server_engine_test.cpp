#include "server_engine.h"

#include <QTemporaryDir>
#include <QtTest>

#include "host_msg_type.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "small_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

const QString kExternalAccounts = QStringLiteral("120006");
const QString kSharedEnvelope = QStringLiteral("325005");
const QString kFailureText = QStringLiteral("58");

class RecordingTarget : public PushTarget {
public:
    void pushed(const QString& topic, const QVariant& body) override {
        pushes.append({topic, body});
    }
    QList<QPair<QString, QVariant>> pushes;
};

QVariantMap subscription(const QString& topic) {
    return {{System::msgType, Quindar_MsgType::subscribeTopicRequest},
            {System::subscriptionTopic, topic},
            {Security::subscriptionRequestType, SubscribeType::subscribe},
            {UserAccount::userID, SampleLogin::user}};
}

}  // namespace

class ServerEngineTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void login_rightPassword_answersLoginRecord();
    void login_wrongUserOrPassword_isRefusedWithOneText();
    void accountTree_firstLogin_hasEveryAccountWithItsLevels();
    void accountTree_secondLogin_hasItsOwnAndSharedAccountsOnly();
    void accountTree_unknownUser_isRefused();
    void externalAccounts_asked_answerNumericTagsInTreeOrder();
    void externalAccounts_foreignAndUnknown_areLeftOut();
    void externalAccounts_hundredAndOne_isRefused();
    void externalAccounts_otherQueryKind_isRefused();
    void externalAccounts_frozenAndDistributed_areMarked();
    void anyAnswer_header_echoesIdAndCountsRows();
    void anyAnswer_requestWithoutId_hasNoId();
    void anyRefusal_header_hasStatusAndBothTexts();
    void unknownType_isRefusedByName();
    void sharedEnvelope_typeIsReadFromTheBody();
    void unknownEnvelope_knownBodyType_isRefusedByName();
    void sharedEnvelope_unknownBodyType_isRefusedByName();
    void garbageBody_isRefused_data();
    void garbageBody_isRefused();
    void subscribe_underEitherEnvelope_registersSession_data();
    void subscribe_underEitherEnvelope_registersSession();
    void subscribe_twice_pushesOnce();
    void subscribe_badRequest_isRefusedAndRegistersNothing_data();
    void subscribe_badRequest_isRefusedAndRegistersNothing();
    void subscribe_withoutUser_isThatOfTheSessionsLogin();
    void push_namedUser_reachesOnlyHisSessions();
    void push_closedSession_reachesNobody();
    void loseGate_bothGatesSubscribed_reachesThroughTheOther();
    void push_deadTarget_reachesNobody();
    void totalSize_beyond32Bits_isAnswered();

private:
    QVariantMap ask(const QString& msgType, QVariantMap fields) {
        fields.insert(System::msgType, msgType);
        m_answer = m_engine->handle(m_session, msgType, packRows(fields, {}));
        return headerOf(m_answer);
    }
    QList<QVariantMap> rows() const { return rowsOf(m_answer); }
    QVariantMap askExternal(const QStringList& accounts, const QString& user = SampleLogin::user) {
        return ask(kExternalAccounts, {{UserAccount::loginUserId, user},
                                       {UserAccount::tradingAccount, accounts.join(',')},
                                       {QStringLiteral("10094"), 2}});
    }
    QStringList accountsOf(const QString& user) {
        ask(HostMsgType::accountTree, {{UserAccount::loginUserId, user}});
        QStringList accounts;
        for (const QVariantMap& row : rows()) {
            accounts.append(row.value(UserAccount::tradingAccount).toString());
        }
        return accounts;
    }

    QTemporaryDir m_dir;
    std::shared_ptr<ServerEngine> m_engine;
    std::shared_ptr<RecordingTarget> m_target;
    Session m_session;
    QVariant m_answer;
};

void ServerEngineTest::initTestCase() {
    QString error;
    QVERIFY2(makeSampleMarket(m_dir.path(), smallMarket(), {}, &error), qPrintable(error));
}

void ServerEngineTest::init() {
    QString error;
    m_engine = ServerEngine::open(marketStoreFile(m_dir.path()), &error);
    QVERIFY2(m_engine, qPrintable(error));
    m_target = std::make_shared<RecordingTarget>();
    m_session = m_engine->openSession(m_target);
}

void ServerEngineTest::cleanup() {
    m_engine.reset();
}

void ServerEngineTest::login_rightPassword_answersLoginRecord() {
    const QVariantMap header =
        ask(HostMsgType::login, {{UserAccount::loginUserId, SampleLogin::user},
                                 {HostField::password, SampleLogin::password}});
    QCOMPARE(header.value(System::requestExeStatus).toString(), RequestExeStatus::success);
    QCOMPARE(rows().size(), 1);
    const QVariantMap record = rows().first();
    QCOMPARE(record.value(UserAccount::userID).toString(), SampleLogin::user);
    QCOMPARE(record.value(UserAccount::userStatus).toString(), UserStatus::good);
    QVERIFY(!record.value(UserAccount::userName).toString().isEmpty());
    QVERIFY(!record.value(UserAccount::organCode).toString().isEmpty());
    // The answer contains nothing of the password.
    QVERIFY(!QVariant(record.values()).toStringList().join(' ').contains("salt"));
    QCOMPARE(record.size(), 5);
}

void ServerEngineTest::login_wrongUserOrPassword_isRefusedWithOneText() {
    const QVariantMap wrongPassword =
        ask(HostMsgType::login,
            {{UserAccount::loginUserId, SampleLogin::user}, {HostField::password, "Demo"}});
    const QVariantMap wrongUser =
        ask(HostMsgType::login,
            {{UserAccount::loginUserId, "nobody"}, {HostField::password, SampleLogin::password}});
    const QVariantMap nothing = ask(HostMsgType::login, {});
    for (const QVariantMap& header : {wrongPassword, wrongUser, nothing}) {
        QVERIFY(header.value(System::requestExeStatus).toString() != RequestExeStatus::success);
        QVERIFY(!header.value(System::textDescription).toString().isEmpty());
        QCOMPARE(header.value(System::textDescription),
                 wrongPassword.value(System::textDescription));
    }
}

void ServerEngineTest::accountTree_firstLogin_hasEveryAccountWithItsLevels() {
    const QStringList accounts = accountsOf(SampleLogin::user);
    QCOMPARE(accounts.size(), 200);
    QCOMPARE(QSet<QString>(accounts.begin(), accounts.end()).size(), 200);
    int several = 0;
    for (const QVariantMap& row : rows()) {
        for (const QString& key :
             {UserAccount::investorName, UserAccount::productName, UserAccount::assetAccountName,
              UserAccount::tradingAccountName, UserAccount::investorAccount,
              UserAccount::productAccount, UserAccount::assetAccount, UserAccount::securityAccount,
              UserAccount::securityExchange, UserAccount::isMainAccount, UserAccount::seatNo,
              UserAccount::investType, UserAccount::userType, UserAccount::organCode}) {
            QVERIFY2(!row.value(key).toString().isEmpty(), qPrintable(key));
        }
        QVERIFY(row.value(UserAccount::assetAccountList)
                    .toString()
                    .split(',')
                    .contains(row.value(UserAccount::assetAccount).toString()));
        QVERIFY(row.contains(HostField::authorityTypes));
        const QVariantList securityAccounts = row.value(HostField::securityAccounts).toList();
        QVERIFY(!securityAccounts.isEmpty());
        several += securityAccounts.size() > 1 ? 1 : 0;
        const QVariantMap first = securityAccounts.first().toMap();
        QCOMPARE(first.size(), 3);
        for (const QString& key : {UserAccount::securityAccount, UserAccount::securityExchange,
                                   UserAccount::isMainAccount}) {
            QCOMPARE(first.value(key), row.value(key));
        }
    }
    QVERIFY(several > 0);
}

void ServerEngineTest::accountTree_secondLogin_hasItsOwnAndSharedAccountsOnly() {
    const QStringList first = accountsOf(SampleLogin::user);
    const QStringList second = accountsOf(SampleLogin::secondUser);
    QCOMPARE(second.size(), 8);
    int shared = 0;
    for (const QString& account : second) {
        shared += first.contains(account) ? 1 : 0;
    }
    QCOMPARE(shared, 5);
}

void ServerEngineTest::accountTree_unknownUser_isRefused() {
    const QVariantMap header = ask(HostMsgType::accountTree, {{UserAccount::loginUserId, "x'--"}});
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    QVERIFY(header.value(System::textDescription).toString().contains("x'--"));
}

void ServerEngineTest::externalAccounts_asked_answerNumericTagsInTreeOrder() {
    const QStringList tree = accountsOf(SampleLogin::user);
    const QVariantMap header = askExternal({tree.at(7), tree.at(3), tree.at(7), tree.at(150)});
    QCOMPARE(header.value(System::requestExeStatus), QVariant(0));
    QCOMPARE(rows().size(), 3);
    const QStringList wanted{tree.at(3), tree.at(7), tree.at(150)};
    for (int i = 0; i < wanted.size(); ++i) {
        const QVariantMap row = rows().at(i);
        QCOMPARE(row.value(UserAccount::tradingAccount).toString(), wanted.at(i));
        for (const char* tag : {"10081", "10086", "11354", "10078", "10079", "10083", "11352"}) {
            QVERIFY2(!row.value(tag).toString().isEmpty(), tag);
        }
        QVERIFY(row.value("10087").toInt() >= 1000);
        for (const QString& key : {UserAccount::passStatus, UserAccount::OTCFundAccount,
                                   UserAccount::counterSiteType, UserAccount::accountStatus}) {
            QVERIFY2(row.contains(key), qPrintable(key));
        }
    }
}

void ServerEngineTest::externalAccounts_foreignAndUnknown_areLeftOut() {
    const QStringList first = accountsOf(SampleLogin::user);
    QString foreign;
    for (const QString& account : accountsOf(SampleLogin::secondUser)) {
        foreign = first.contains(account) ? foreign : account;
    }
    QVERIFY(!foreign.isEmpty());
    askExternal({foreign}, SampleLogin::secondUser);
    QCOMPARE(rows().size(), 1);
    const QVariantMap header = askExternal({foreign, "T999999", "", first.first()});
    QCOMPARE(header.value(System::requestExeStatus), QVariant(0));
    QCOMPARE(rows().size(), 1);
    QCOMPARE(rows().first().value(UserAccount::tradingAccount).toString(), first.first());
}

void ServerEngineTest::externalAccounts_hundredAndOne_isRefused() {
    const QStringList tree = accountsOf(SampleLogin::user);
    askExternal(tree.mid(0, 100));
    QCOMPARE(rows().size(), 100);
    const QVariantMap header = askExternal(tree.mid(0, 101));
    QCOMPARE(header.value(System::requestExeStatus).toInt(), 1);
    QVERIFY(header.value(kFailureText).toString().contains("101"));
    QCOMPARE(rows().size(), 0);
}

void ServerEngineTest::externalAccounts_otherQueryKind_isRefused() {
    const QVariantMap header =
        ask(kExternalAccounts, {{UserAccount::loginUserId, SampleLogin::user},
                                {UserAccount::tradingAccount, "T000001"},
                                {QStringLiteral("10094"), 3}});
    QCOMPARE(header.value(System::requestExeStatus).toInt(), 1);
    QVERIFY(!header.value(kFailureText).toString().isEmpty());
}

void ServerEngineTest::externalAccounts_frozenAndDistributed_areMarked() {
    const QStringList tree = accountsOf(SampleLogin::user);
    int frozen = 0;
    int distributed = 0;
    for (int from = 0; from < tree.size(); from += 100) {
        askExternal(tree.mid(from, 100));
        for (const QVariantMap& row : rows()) {
            frozen += row.value(UserAccount::accountStatus) == AccountStatus::freezing ? 1 : 0;
            distributed += row.value(UserAccount::counterSiteType).toInt() != 0 ? 1 : 0;
        }
    }
    QVERIFY2(frozen >= 8 && frozen <= 16, qPrintable(QString::number(frozen)));
    QVERIFY2(distributed >= 14 && distributed <= 26, qPrintable(QString::number(distributed)));
}

void ServerEngineTest::anyAnswer_header_echoesIdAndCountsRows() {
    const QVariantMap header =
        ask(HostMsgType::accountTree,
            {{UserAccount::loginUserId, SampleLogin::user}, {System::clientMsgID, "id-1"}});
    QCOMPARE(header.value(System::clientMsgID).toString(), QStringLiteral("id-1"));
    QCOMPARE(header.value(System::msgType).toString(), HostMsgType::accountTree);
    QCOMPARE(header.value(System::subGroupNumber).toInt(), 200);
    QCOMPARE(header.value(System::totalSize).toInt(), 200);
}

void ServerEngineTest::anyAnswer_requestWithoutId_hasNoId() {
    QVERIFY(!ask(HostMsgType::accountTree, {}).contains(System::clientMsgID));
}

void ServerEngineTest::anyRefusal_header_hasStatusAndBothTexts() {
    const QVariantMap header = ask(QStringLiteral("noSuchType"), {{System::clientMsgID, "id-2"}});
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    QVERIFY(!header.value(System::textDescription).toString().isEmpty());
    QCOMPARE(header.value(kFailureText), header.value(System::textDescription));
    QCOMPARE(header.value(System::clientMsgID).toString(), QStringLiteral("id-2"));
    QCOMPARE(header.value(System::subGroupNumber).toInt(), 0);
}

void ServerEngineTest::unknownType_isRefusedByName() {
    const QVariantMap header = ask(QStringLiteral("noSuchType"), {});
    QVERIFY(header.value(System::textDescription).toString().contains("noSuchType"));
}

void ServerEngineTest::sharedEnvelope_typeIsReadFromTheBody() {
    const QVariant body = packRows({{System::msgType, HostMsgType::accountTree},
                                    {UserAccount::loginUserId, SampleLogin::user}},
                                   {});
    const QVariant answer = m_engine->handle(m_session, kSharedEnvelope, body);
    QCOMPARE(headerOf(answer).value(System::msgType).toString(), HostMsgType::accountTree);
    QCOMPARE(rowsOf(answer).size(), 200);
}

void ServerEngineTest::sharedEnvelope_unknownBodyType_isRefusedByName() {
    const QVariant body = packRows({{System::msgType, "strange"}}, {});
    const QVariantMap header = headerOf(m_engine->handle(m_session, kSharedEnvelope, body));
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    QVERIFY(header.value(System::textDescription).toString().contains("strange"));
}

void ServerEngineTest::garbageBody_isRefused_data() {
    QTest::addColumn<QVariant>("body");
    QTest::newRow("invalid") << QVariant();
    QTest::newRow("text") << QVariant(QStringLiteral("garbage"));
    QTest::newRow("bytes") << QVariant(QByteArray("\x00\xff\x01", 3));
    QTest::newRow("list") << QVariant(QVariantList{1, "two"});
    QTest::newRow("map") << QVariant(QVariantMap{{"a", 1}});
}

void ServerEngineTest::garbageBody_isRefused() {
    QFETCH(QVariant, body);
    for (const QString& type : {kExternalAccounts, kSharedEnvelope}) {
        const QVariantMap header = headerOf(m_engine->handle(m_session, type, body));
        QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
        QVERIFY(header.value(kFailureText).toString().contains(type));
    }
}

void ServerEngineTest::unknownEnvelope_knownBodyType_isRefusedByName() {
    const QVariant body = packRows({{System::msgType, kExternalAccounts}}, {});
    const QVariantMap header = headerOf(m_engine->handle(m_session, "999999", body));
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    QVERIFY(header.value(System::textDescription).toString().contains("999999"));
}

void ServerEngineTest::subscribe_underEitherEnvelope_registersSession_data() {
    QTest::addColumn<QString>("envelope");
    QTest::newRow("its own") << Quindar_MsgType::subscribeTopicRequest;
    QTest::newRow("the shared one") << kSharedEnvelope;
}

void ServerEngineTest::subscribe_underEitherEnvelope_registersSession() {
    QFETCH(QString, envelope);
    const QString topic = Velmar_MsgType::MessageCenterPushMsg;
    const auto other = std::make_shared<RecordingTarget>();
    m_engine->openSession(other);
    const QVariant body = packRows({{System::textDescription, "news"}}, {});
    QCOMPARE(m_engine->push(topic, body), 0);

    const QVariant answer =
        m_engine->handle(m_session, envelope, packRows(subscription(topic), {}));
    QCOMPARE(headerOf(answer).value(System::requestExeStatus).toString(),
             RequestExeStatus::success);
    QCOMPARE(m_engine->push(topic, body), 1);
    QCOMPARE(m_engine->push(Velmar_MsgType::ClientPatchInfoPush, body), 0);
    QCOMPARE(m_target->pushes.size(), 1);
    QCOMPARE(m_target->pushes.first().first, topic);
    QCOMPARE(headerOf(m_target->pushes.first().second), headerOf(body));
    QVERIFY(other->pushes.isEmpty());
}

void ServerEngineTest::subscribe_twice_pushesOnce() {
    const QString topic = Velmar_MsgType::MessageCenterPushMsg;
    ask(Quindar_MsgType::subscribeTopicRequest, subscription(topic));
    ask(Quindar_MsgType::subscribeTopicRequest, subscription(topic));
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 1);
    QCOMPARE(m_target->pushes.size(), 1);
}

void ServerEngineTest::subscribe_badRequest_isRefusedAndRegistersNothing_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    QTest::newRow("other action") << Security::subscriptionRequestType << "2";
    QTest::newRow("no action") << Security::subscriptionRequestType << "";
    QTest::newRow("no topic") << System::subscriptionTopic << "";
    QTest::newRow("unknown user") << UserAccount::userID << "nobody";
    QTest::newRow("no user and no login") << UserAccount::userID << "";
}

void ServerEngineTest::subscribe_badRequest_isRefusedAndRegistersNothing() {
    QFETCH(QString, field);
    QFETCH(QString, value);
    const QString topic = Velmar_MsgType::MessageCenterPushMsg;
    QVariantMap request = subscription(topic);
    request.insert(field, value);
    const QVariantMap header = ask(Quindar_MsgType::subscribeTopicRequest, request);
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    QVERIFY(!header.value(System::textDescription).toString().isEmpty());
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 0);
}

void ServerEngineTest::subscribe_withoutUser_isThatOfTheSessionsLogin() {
    const QString topic = Velmar_MsgType::MessageCenterPushMsg;
    ask(HostMsgType::login, {{UserAccount::loginUserId, SampleLogin::secondUser},
                             {HostField::password, SampleLogin::password}});
    QVariantMap request = subscription(topic);
    request.remove(UserAccount::userID);
    ask(Quindar_MsgType::subscribeTopicRequest, request);
    QCOMPARE(m_engine->push(topic, packRows({}, {}), SampleLogin::user), 0);
    QCOMPARE(m_engine->push(topic, packRows({}, {}), SampleLogin::secondUser), 1);
}

void ServerEngineTest::push_namedUser_reachesOnlyHisSessions() {
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    ask(Quindar_MsgType::subscribeTopicRequest, subscription(topic));
    QCOMPARE(m_engine->push(topic, packRows({}, {}), SampleLogin::secondUser), 0);
    QCOMPARE(m_engine->push(topic, packRows({}, {}), SampleLogin::user), 1);
}

void ServerEngineTest::push_closedSession_reachesNobody() {
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    ask(Quindar_MsgType::subscribeTopicRequest, subscription(topic));
    m_engine->closeSession(m_session);
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 0);
    // A request that is handled after its session closed subscribes nothing.
    const QVariantMap header = ask(Quindar_MsgType::subscribeTopicRequest, subscription(topic));
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 0);
}

void ServerEngineTest::push_deadTarget_reachesNobody() {
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    ask(Quindar_MsgType::subscribeTopicRequest, subscription(topic));
    m_target.reset();
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 0);
}

void ServerEngineTest::loseGate_bothGatesSubscribed_reachesThroughTheOther() {
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    for (const QString& envelope : {kSharedEnvelope, Quindar_MsgType::subscribeTopicRequest}) {
        m_engine->handle(m_session, envelope, packRows(subscription(topic), {}));
    }
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 1);
    QCOMPARE(m_target->pushes.size(), 1);
    m_engine->loseGate(m_session, NetGateType::MarketTcpGate);
    m_engine->loseGate(m_session, NetGateType::InfoGate);
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 1);
    m_engine->loseGate(m_session, NetGateType::TradeGate);
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 0);
    m_engine->loseGate({}, NetGateType::TradeGate);  // no such session
}

void ServerEngineTest::totalSize_beyond32Bits_isAnswered() {
    constexpr qint64 total = Q_INT64_C(5000000000);
    m_engine->addHandler("rows", [](const ServerCall&) {
        HandlerAnswer answer;
        answer.totalSize = total;
        return answer;
    });
    QCOMPARE(ask("rows", {}).value(System::totalSize).toLongLong(), total);
}

QTEST_GUILESS_MAIN(ServerEngineTest)
#include "server_engine_test.moc"
