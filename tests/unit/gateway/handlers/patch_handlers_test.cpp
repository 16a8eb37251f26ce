#include <QFile>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>

#include "host_msg_type.h"
#include "market_server.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kAlter = Velmar_MsgType::AlterClientPatchInfoRequest;
inline const QString kQuery = Velmar_MsgType::QueryClientPatchInfoRequest;
inline const QString kPush = Velmar_MsgType::ClientPatchInfoPush;

class RecordingTarget : public PushTarget {
public:
    void pushed(const QString& topic, const QVariant& body) override {
        topics.append(topic);
        bodies.append(body);
    }

    QStringList topics;
    QVariantList bodies;
};

QVariantMap published(const QString& id) {
    return {{ClientPatch::PatchId, id}, {ClientPatch::Remark, "补丁" + id}};
}

}  // namespace

class PatchHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }
    void init() {
        QString error;
        QVERIFY2(m_server.open(&error), qPrintable(error));
    }

    void query_market_offersAPatchForThisVersion() {
        const QList<QVariantMap> patches = query();
        QCOMPARE(patches.size(), 1);
        const QVariantMap& patch = patches.first();
        QCOMPARE(patch.value(System::dataVersion).toString(), VelmarUtils::GetAppVersion());
        QVERIFY(!patch.value(ClientPatch::PatchId).toString().isEmpty());
        QVERIFY(!patch.value(ClientPatch::Remark).toString().isEmpty());
        QVERIFY(!patch.value(System::timeStamp).toString().isEmpty());
        const QUrl address(patch.value(ClientPatch::PatchUrl).toString());
        QVERIFY(address.isLocalFile());
        QFile file(address.toLocalFile());
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
        QCOMPARE(file.read(4), QByteArray("PK\x03\x04"));
    }

    void query_applied_areLeftOutOnRequestOnly() {
        const QString id = marketPatch();
        publish(published("P2"));
        QCOMPARE(report({id}), QString());
        QCOMPARE(ids(query(true)), QStringList("P2"));
        QCOMPARE(ids(query(false)), (QStringList{id, "P2"}));
        m_server.ask(kQuery, {{UserAccount::userID, SampleLogin::user}});
        QCOMPARE(m_server.rows().size(), 2);
    }

    void query_appliedByAnotherUser_areOffered() {
        const QString id = marketPatch();
        QCOMPARE(report({id}, SampleLogin::secondUser), QString());
        QCOMPARE(ids(query(true)), QStringList(id));
        QCOMPARE(ids(query(true, SampleLogin::secondUser)), QStringList());
    }

    void query_reportedTwiceOrUnknown_isTheSame() {
        const QString id = marketPatch();
        QCOMPARE(report({id, "unknown", "a/b"}), QString());
        QCOMPARE(report({id}), QString());
        QCOMPARE(ids(query(true)), QStringList());
    }

    void query_ofTheLoggedInUser_needsNoUserId() {
        const QString id = marketPatch();
        m_server.ask(HostMsgType::login, {{UserAccount::loginUserId, SampleLogin::user},
                                          {HostField::password, SampleLogin::password}});
        QCOMPARE(report({id}, QString()), QString());
        QCOMPARE(ids(query(true)), QStringList());
        QCOMPARE(ids(query(true, QString())), QStringList());
    }

    void query_unknownUser_isRefused() {
        QVERIFY(m_server.refusal(kQuery, {{UserAccount::userID, "nobody"}}).contains("nobody"));
        QVERIFY(!m_server.refusal(kQuery, {}).isEmpty());
    }

    void report_bad_isRefusedAndRecordsNothing_data() {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QStringList>("further");
        QTest::newRow("unknown user") << "nobody" << AlterType::Update << QStringList();
        QTest::newRow("no user") << "" << AlterType::Update << QStringList();
        QTest::newRow("another action") << SampleLogin::user << AlterType::Add << QStringList();
        QTest::newRow("no action") << SampleLogin::user << "" << QStringList();
        QTest::newRow("empty id") << SampleLogin::user << AlterType::Update << QStringList("");
        QTest::newRow("long id") << SampleLogin::user << AlterType::Update
                                 << QStringList(QString(201, 'x'));
        QStringList many;
        for (int i = 0; i < 1000; ++i) {
            many.append(QString::number(i));
        }
        QTest::newRow("too many") << SampleLogin::user << AlterType::Update << many;
    }
    void report_bad_isRefusedAndRecordsNothing() {
        QFETCH(QString, user);
        QFETCH(QString, action);
        QFETCH(QStringList, further);
        const QString id = marketPatch();
        QVERIFY(!report(QStringList(id) + further, user, action).isEmpty());
        QCOMPARE(ids(query(true)), QStringList(id));
    }

    void report_withoutRows_isRefused() { QVERIFY(!report({}).isEmpty()); }

    void report_state_survivesTheServer() {
        const QTemporaryDir dir;
        QString error;
        QVERIFY2(m_server.open(&error, dir.filePath("state.sqlite")), qPrintable(error));
        const QString id = marketPatch();
        publish(published("P2"));
        QCOMPARE(report({id}), QString());
        QVERIFY2(m_server.open(&error, dir.filePath("state.sqlite")), qPrintable(error));
        QCOMPARE(ids(query(true)), QStringList("P2"));
    }

    void publish_patch_isPushedToTheSubscribersAndOffered() {
        const auto subscriber = std::make_shared<RecordingTarget>();
        const auto other = std::make_shared<RecordingTarget>();
        m_server.engine->openSession(other);
        QVERIFY(!m_server.engine->hasPatchSubscriber());
        subscribe(subscriber);
        QVERIFY(m_server.engine->hasPatchSubscriber());
        QVariantMap fields = published("P2");
        fields.insert(ClientPatch::PatchUrl, "http://127.0.0.1/2.zip");
        fields.insert(System::dataVersion, "9.9");
        fields.insert(System::timeStamp, "1");
        int sessions = -1;
        QString error;
        QVERIFY2(m_server.engine->publishPatch(fields, &sessions, &error), qPrintable(error));
        QCOMPARE(sessions, 1);
        QVERIFY(other->bodies.isEmpty());
        QCOMPARE(subscriber->topics, QStringList(kPush));
        const QVariantMap header = headerOf(subscriber->bodies.first());
        QCOMPARE(header.value(System::SubMsgType).toString(),
                 SubscribeTopicSubType::clientPatchInfo);
        QVariantMap pushed;
        QCOMPARE(
            VelmarUtils::TransStr2Map(header.value(System::textDescription).toString(), pushed),
            QString());
        QCOMPARE(pushed, fields);
        QCOMPARE(query().last(), fields);
    }

    void publish_missingFields_areThoseOfTheMarketsPatch() {
        const QVariantMap ofMarket = query().first();
        publish(published("P2"));
        const QVariantMap patch = query().last();
        QCOMPARE(patch.value(ClientPatch::PatchId).toString(), QString("P2"));
        QCOMPARE(patch.value(ClientPatch::PatchUrl), ofMarket.value(ClientPatch::PatchUrl));
        QCOMPARE(patch.value(System::dataVersion), ofMarket.value(System::dataVersion));
        QCOMPARE(patch.value(System::timeStamp).toString().size(), 14);
    }

    void publish_idOfAnotherPatch_replacesIt() {
        QVariantMap fields = published(marketPatch());
        publish(fields);
        QCOMPARE(query().size(), 1);
        QCOMPARE(query().first().value(ClientPatch::Remark), fields.value(ClientPatch::Remark));
    }

    void publish_badRecord_isRefusedAndPushesNothing_data() {
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<QString>("text");
        QTest::newRow("no id") << QVariantMap{{ClientPatch::Remark, "r"}} << "编号";
        QTest::newRow("no remark")
            << QVariantMap{{ClientPatch::PatchId, "P2"}} << ClientPatch::Remark;
        QVariantMap unknown = published("P2");
        unknown.insert("colour", "red");
        QTest::newRow("unknown field") << unknown << "colour";
    }
    void publish_badRecord_isRefusedAndPushesNothing() {
        QFETCH(QVariantMap, fields);
        QFETCH(QString, text);
        const auto subscriber = std::make_shared<RecordingTarget>();
        subscribe(subscriber);
        QString error;
        QVERIFY(!m_server.engine->publishPatch(fields, nullptr, &error));
        QVERIFY2(error.contains(text), qPrintable(error));
        QVERIFY(subscriber->bodies.isEmpty());
        QCOMPARE(query().size(), 1);
    }

private:
    static QStringList ids(const QList<QVariantMap>& patches) {
        QStringList found;
        for (const QVariantMap& patch : patches) {
            found.append(patch.value(ClientPatch::PatchId).toString());
        }
        return found;
    }
    QList<QVariantMap> query(bool withoutApplied = false, const QString& user = SampleLogin::user) {
        QVariantMap fields{{ClientPatch::ExcludeUpdated, withoutApplied ? "1" : "0"}};
        if (!user.isEmpty()) {
            fields.insert(UserAccount::userID, user);
        }
        const QVariantMap header = m_server.ask(kQuery, fields);
        return header.value(System::requestExeStatus) == RequestExeStatus::success
                   ? m_server.rows()
                   : QList<QVariantMap>{{{"refused", header.value(System::textDescription)}}};
    }
    QString marketPatch() { return ids(query()).value(0); }
    /// Reports patches as applied; returns the text of a refusal.
    QString report(const QStringList& patchIds, const QString& user = SampleLogin::user,
                   const QString& action = AlterType::Update) {
        QVariantMap header{{System::msgType, kAlter}, {System::alterType, action}};
        if (!user.isEmpty()) {
            header.insert(UserAccount::userID, user);
        }
        QList<QVariantMap> rows;
        for (const QString& id : patchIds) {
            rows.append({{ClientPatch::PatchId, id}});
        }
        const QVariantMap answer =
            headerOf(m_server.engine->handle(m_server.session, kAlter, packRows(header, rows)));
        return answer.value(System::requestExeStatus) == RequestExeStatus::success
                   ? QString()
                   : answer.value(System::textDescription).toString();
    }
    void publish(const QVariantMap& fields) {
        QString error;
        QVERIFY2(m_server.engine->publishPatch(fields, nullptr, &error), qPrintable(error));
    }
    void subscribe(const std::shared_ptr<PushTarget>& target) {
        const Session session = m_server.engine->openSession(target);
        const QVariant body =
            packRows({{System::msgType, Quindar_MsgType::subscribeTopicRequest},
                      {System::subscriptionTopic, kPush},
                      {Security::subscriptionRequestType, SubscribeType::subscribe},
                      {UserAccount::userID, SampleLogin::user}},
                     {});
        const QVariantMap header = headerOf(
            m_server.engine->handle(session, Quindar_MsgType::subscribeTopicRequest, body));
        QCOMPARE(header.value(System::requestExeStatus).toString(), RequestExeStatus::success);
    }

    MarketServer m_server;
};

QTEST_GUILESS_MAIN(PatchHandlersTest)
#include "patch_handlers_test.moc"
