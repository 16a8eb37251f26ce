#include <QDir>
#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>
#include <future>

#include "client_world.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "scripted_web_server.h"
#include "shared_settings.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

inline const QString kAlter = Velmar_MsgType::AlterClientPatchInfoRequest;
inline const QString kQuery = Velmar_MsgType::QueryClientPatchInfoRequest;
inline const QString kPush = Velmar_MsgType::ClientPatchInfoPush;

/// A client that is logged in and whose plug-in is not started yet.
struct PatchClient {
    PatchClient() {
        world.link().on(kQuery, ScriptedReply::rows({}));
        world.link().on(Quindar_MsgType::subscribeTopicRequest, ScriptedReply::rows({}));
        world.login();
    }

    ScriptedLink& link() { return world.link(); }
    SharedSettings& settings() const { return object.presenter()->patchSettings(); }
    static QString configFile(const QString& name) {
        return VelmarUtils::GetDefaultUserCfgFileDir() + name;
    }
    /// A file that can be downloaded, as an address.
    QString offer() const {
        QFile file(m_offers.filePath("offer"));
        if (!file.open(QIODevice::WriteOnly) || file.write("zip") != 3) {
            qFatal("the offered file cannot be written");
        }
        return QUrl::fromLocalFile(file.fileName()).toString();
    }
    static QVariantMap patch(const QString& id, const QString& address) {
        return {{ClientPatch::PatchId, id},
                {ClientPatch::PatchUrl, address},
                {ClientPatch::Remark, "补丁" + id},
                {System::dataVersion, VelmarUtils::GetAppVersion()},
                {System::timeStamp, "1"}};
    }
    void push(const QString& subType, const QString& text) {
        link().push(kPush,
                    packRows({{System::SubMsgType, subType}, {System::textDescription, text}}, {}));
    }
    void push(const QVariantMap& record,
              const QString& subType = SubscribeTopicSubType::clientPatchInfo) {
        QString error;
        push(subType, VelmarUtils::TransMap2Str(record, error));
    }
    /// Pushes a text that cannot be read, and waits until the message thread has read it.
    bool messageThreadGoesOn() {
        const LogCapture log;
        push(SubscribeTopicSubType::clientPatchInfo, "{");
        return log.waitFor("ClientPatchInfoPush not understood");
    }
    bool has(const QString& id) const {
        return settings().lockedContains(id + '/' + ClientPatch::PatchUrl);
    }
    /// Starts the plug-in and waits until the query of the start has ended.
    bool start() {
        object.initialize();
        // It is the next request behind the query.
        return link().waitForRequestCount(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest, 1);
    }

    ClientWorld world{numberedAccounts(1)};
    VelmarBusinessDataManager object;

private:
    QTemporaryDir m_offers;
};

}  // namespace

class PresenterPatchesTest : public QObject {
    Q_OBJECT

private slots:
    void startUp_appliedPatch_isReportedBeforeTheQueryThatDropsIt() {
        PatchClient client;
        SharedSettings(client.configFile("patchClientSet.cfg"), nullptr)
            .lockedSetValues({{"P1/PatchStatus", "1"}, {"P2/PatchStatus", "0"}});
        client.link().on(kAlter, ScriptedReply::rows({}));
        client.link().on(kQuery, ScriptedReply::rows({client.patch("P3", client.offer())}));
        QVERIFY(client.start());
        QStringList order;
        for (const ScriptedLink::Request& request : client.link().requests()) {
            const bool isTopic = request.header.value(System::subscriptionTopic) == kPush;
            if (isTopic || request.type == kAlter || request.type == kQuery) {
                order.append(isTopic ? kPush : request.type);
            }
        }
        QCOMPARE(order, (QStringList{kAlter, kPush, kQuery}));
        QCOMPARE(client.link().lastRequest(kAlter).rows,
                 (QList<QVariantMap>{{{ClientPatch::PatchId, "P1"}}}));
        QVERIFY(client.has("P3"));
        QVERIFY(!client.settings().lockedContains("P1/PatchStatus"));
        QVERIFY(!client.settings().lockedContains("P2/PatchStatus"));
        QVERIFY(QFile::exists(client.configFile("patch/P3.zip")));
    }

    void startUp_reportRefused_queriesNevertheless() {
        PatchClient client;
        SharedSettings(client.configFile("patchClientSet.cfg"), nullptr)
            .lockedSetValue("P1/PatchStatus", "1");
        client.link().on(kAlter, ScriptedReply::failure("断了"));
        QVERIFY(client.start());
        QCOMPARE(client.link().requestCount(kAlter), 5);
        QCOMPARE(client.link().requestCount(kQuery), 1);
        QVERIFY(!client.settings().lockedContains("P1/PatchStatus"));
    }

    void push_patchOfThisVersion_standsBesideThoseOfTheQuery() {
        PatchClient client;
        client.link().on(kQuery, ScriptedReply::rows({client.patch("P1", client.offer())}));
        auto* const listener = new RecordingPresenter;
        const int updated =
            VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::ClientPatchUpdateEvent);
        listener->SubEvent(listener->pluginPid(), updated, 1);
        listener->initPresenter();
        QVERIFY(client.start());
        client.push(client.patch("P2", client.offer()));
        QVERIFY(waitFor([&] { return listener->events().size() == 2; }));
        QCOMPARE(listener->events().at(1).id, updated);
        QCOMPARE(listener->events().at(1).body.toStringList(), QStringList("补丁P2"));
        QVERIFY(client.has("P1"));
        QVERIFY(client.has("P2"));
        QCOMPARE(client.settings().lockedValue("P2/PatchStatus").toString(), QString("0"));
    }

    void push_otherOrUnreadable_changesNothing_data() {
        QTest::addColumn<bool>("isOtherSubType");
        QTest::newRow("other sub-type") << true;
        QTest::newRow("unreadable") << false;
    }
    void push_otherOrUnreadable_changesNothing() {
        QFETCH(bool, isOtherSubType);
        PatchClient client;
        QVERIFY(client.start());
        if (isOtherSubType) {
            client.push(client.patch("P1", client.offer()), "other");
            client.push(client.patch("P1", client.offer()), QString());
        } else {
            client.push(SubscribeTopicSubType::clientPatchInfo, "{\"PatchId\":\"P1\"");
            client.push(SubscribeTopicSubType::clientPatchInfo, QString());
        }
        // What is pushed later is entered later.
        client.push(client.patch("P2", client.offer()));
        QVERIFY(waitFor([&] { return client.has("P2"); }));
        QVERIFY(!client.has("P1"));
    }

    void push_duringTheQueryOfTheStart_isNotDroppedByIt() {
        PatchClient client;
        client.link().on(kQuery, ScriptedReply::rows({}).held());
        client.object.initialize();
        QVERIFY(waitFor([&] { return client.link().heldCount(kQuery) == 1; }));
        client.push(client.patch("P1", client.offer()));
        QVERIFY(client.messageThreadGoesOn());
        QVERIFY(!client.has("P1"));
        QCOMPARE(client.link().release(kQuery), 1);
        QVERIFY(waitFor([&] { return client.has("P1"); }));
        QVERIFY(QFile::exists(client.configFile("patch/P1.zip")));
    }

    void push_duringADownload_doesNotHoldUpTheMessageThread() {
        PatchClient client;
        std::promise<void> release;
        const std::shared_future<void> released = release.get_future().share();
        ScriptedWebServer server([&](const QByteArray&) {
            released.wait();
            return ScriptedWebServer::Answer{ScriptedWebServer::page("zip")};
        });
        const bool isStarted = client.start();
        client.push(client.patch("P1", server.address()));
        const bool isAsked = waitFor([&] { return server.requests().size() == 1; });
        const bool goesOn = client.messageThreadGoesOn();
        const bool wasThere = client.has("P1");
        release.set_value();
        QVERIFY(isStarted && isAsked);
        QVERIFY(goesOn);
        QVERIFY(!wasThere);
        QVERIFY(waitFor([&] { return client.has("P1"); }));
    }

    void close_duringADownload_endsIt() {
        PatchClient client;
        ScriptedWebServer server([](const QByteArray&) {
            return ScriptedWebServer::Answer{{}, true};
        });
        QVERIFY(client.start());
        client.push(client.patch("P1", server.address()));
        QVERIFY(waitFor([&] { return server.requests().size() == 1; }));
        const LogCapture log;
        LocalPlatform::instance().close();
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QVERIFY(log.contains("download to"));
        QVERIFY(!QFile::exists(client.configFile("patch/P1.zip")));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterPatchesTest)
#include "presenter_patches_test.moc"
