#include "client_patches.h"

#include <QtTest>
#include <future>

#include "held_close.h"
#include "log_capture.h"
#include "log_hook.h"
#include "packed_body_wire.h"
#include "patch_fixture.h"
#include "scripted_web_server.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

inline const QString kAlter = Velmar_MsgType::AlterClientPatchInfoRequest;
inline const QString kQuery = Velmar_MsgType::QueryClientPatchInfoRequest;
inline const QString kWriteTag = "VelmarBusinessDataManagerPresenterClass::writePatchInfoFile";
inline const QString kUploadTag = "VelmarBusinessDataManagerPresenterClass::uploadClientPatchInfo";

/// The warnings about patches and their requests; both contain this word.
QStringList warnings(const LogCapture& log) {
    return log.texts(QtWarningMsg).filter("Patch");
}

QString failedText(const QString& remark, const QString& id) {
    return kWriteTag + QString(" 下载补丁包【%1】失败，ID：%2！").arg(remark, id);
}

QByteArray bytesOf(const QVariant& body) {
    QByteArray bytes;
    QString error;
    return PackedBodyWire::encode(body, &bytes, &error) ? bytes : QByteArray();
}

}  // namespace

class ClientPatchesTest : public QObject {
    Q_OBJECT

private slots:
    void write_patchOfThisVersion_isDownloadedEnteredAndAnnounced() {
        PatchFixture f;
        QCOMPARE(f.write({f.row("P1", f.offer("one", "bytes"), "补丁一")}), 1);
        QCOMPARE(f.contentOf("P1.zip"), QByteArray("bytes"));
        const QVariantMap expected{{"P1/Remark", "补丁一"},
                                   {"P1/timeStamp", "20260105093000"},
                                   {"P1/PatchStatus", "0"},
                                   {"P1/PatchUrl", f.patchFile("P1.zip")}};
        QCOMPARE(f.settings.lockedAll(), expected);
        QCOMPARE(f.announced(), QList<QStringList>{{"补丁一"}});
    }

    void write_anotherVersion_isPassedOverAndNotCounted() {
        PatchFixture f;
        const LogCapture log;
        QVariantMap other = f.row("P1", f.offer("one"), "其他");
        other.insert(System::dataVersion, VelmarUtils::GetAppVersion() + ".1");
        QVariantMap none = f.row("P2", f.offer("two"), "没有版本");
        none.remove(System::dataVersion);
        QCOMPARE(f.write({other, f.row("P3", f.offer("three"), "补丁三"), none}), 1);
        QCOMPARE(f.ids(), QStringList("P3"));
        QCOMPARE(f.files(), QStringList("P3.zip"));
        QCOMPARE(f.announced(), QList<QStringList>{{"补丁三"}});
        QVERIFY(warnings(log).isEmpty());
    }

    void write_threeRowsWithOneFailedDownload_countsAndNamesTwo() {
        PatchFixture f;
        const LogCapture log;
        QCOMPARE(
            f.write({f.row("P1", f.offer("one"), "补丁一"), f.row("P2", f.missingOffer(), "补丁二"),
                     f.row("P3", f.offer("three"), "补丁三")}),
            2);
        QCOMPARE(warnings(log), QStringList(failedText("补丁二", "P2")));
        QCOMPARE(f.announced(), (QList<QStringList>{{"补丁一", "补丁三"}}));
        QCOMPARE(f.ids(), (QStringList{"P1", "P3"}));
        QCOMPARE(f.files(), (QStringList{"P1.zip", "P3.zip"}));
    }

    void write_noRowDownloaded_announcesNothing() {
        PatchFixture f;
        f.enter("P0", "0");
        QCOMPARE(f.write({}), 0);
        QCOMPARE(f.write({f.row("P1", f.missingOffer(), "补丁一")}), 0);
        QVERIFY(f.announced().isEmpty());
        QCOMPARE(f.ids(), QStringList("P0"));
    }

    void write_emptyAddress_isLoggedAndTheOthersGoOn() {
        PatchFixture f;
        const LogCapture log;
        QCOMPARE(f.write({f.row("P1", QString(), "补丁一"), f.row("P2", f.offer("two"), "补丁二")}),
                 1);
        QCOMPARE(warnings(log), QStringList(kWriteTag + " 补丁包【补丁一】下载地址为空！"));
        QCOMPARE(f.ids(), QStringList("P2"));
    }

    void write_idThatIsNoFileName_isRefusedWithAWarning_data() {
        QTest::addColumn<QString>("id");
        for (const char* id : {"", "a/b", "/a", "a\\b", "..", "../../a", "a..b"}) {
            QTest::newRow(*id ? id : "empty") << QString(id);
        }
        QTest::newRow("zero character") << QString("a") + QChar::Null + "b";
    }
    void write_idThatIsNoFileName_isRefusedWithAWarning() {
        QFETCH(QString, id);
        PatchFixture f;
        const LogCapture log;
        const QString address = f.offer("one");
        QCOMPARE(f.write({f.row(id, address, "坏补丁"), f.row("P2", address, "补丁二")}), 1);
        const QStringList lines = warnings(log);
        QCOMPARE(lines.size(), 1);
        QVERIFY(lines.first().startsWith(kWriteTag));
        QVERIFY(lines.first().contains("坏补丁"));
        QCOMPARE(f.ids(), QStringList("P2"));
        QCOMPARE(f.files(), QStringList("P2.zip"));
        const QDir config(VelmarUtils::GetDefaultUserCfgFileDir() + "..");
        QVERIFY(config.entryList({"*.zip"}, QDir::Files).isEmpty());
    }

    void write_unusualId_keepsItsGroup_data() {
        QTest::addColumn<QString>("id");
        for (const char* id : {"General", "补丁 1", "a,b;c=d", "100%", "[x]", "."}) {
            QTest::newRow(id) << QString(id);
        }
    }
    void write_unusualId_keepsItsGroup() {
        QFETCH(QString, id);
        PatchFixture f;
        QCOMPARE(f.write({f.row(id, f.offer("one"), "一,二")}), 1);
        QCOMPARE(f.contentOf(id + ".zip"), QByteArray("zip"));
        QCOMPARE(f.settings.lockedValue(id + "/Remark").toString(), QString("一,二"));
        f.settings.lockedSetValue(id + "/PatchStatus", "1");
        f.link().on(kAlter, ScriptedReply::rows({}));
        f.patches.uploadClientPatchInfo(f.presenter);
        QCOMPARE(f.link().lastRequest(kAlter).rows,
                 (QList<QVariantMap>{{{ClientPatch::PatchId, id}}}));
    }

    void write_patchOfferedAgain_isDownloadedAgain() {
        PatchFixture f;
        f.enter("P1", "1");
        f.put("P1.zip");
        QCOMPARE(f.write({f.row("P1", f.offer("one", "newer"), "补丁一")}), 1);
        QCOMPARE(f.contentOf("P1.zip"), QByteArray("newer"));
        QCOMPARE(f.settings.lockedValue("P1/PatchStatus").toString(), QString("0"));
    }

    void write_presenterCloses_downloadsNothing() {
        PatchFixture f;
        const QVariantMap row = f.row("P1", f.offer("one"), "补丁一");
        const HeldClose close(f.presenter);
        QVERIFY(close.isClosing());
        QCOMPARE(f.write({row}), 0);
        QVERIFY(f.files().isEmpty());
        QVERIFY(f.ids().isEmpty());
    }

    void write_duringADownload_settingsAreFree() {
        PatchFixture f;
        std::promise<void> release;
        const std::shared_future<void> released = release.get_future().share();
        ScriptedWebServer server([&](const QByteArray&) {
            released.wait();
            return ScriptedWebServer::Answer{ScriptedWebServer::page("zip")};
        });
        auto written = std::async(
            std::launch::async, [&] { return f.write({f.row("P1", server.address(), "补丁一")}); });
        const bool isAsked = waitFor([&] { return server.requests().size() == 1; });
        auto entered = std::async(std::launch::async, [&] { f.enter("P2", "1"); });
        const bool isFree = entered.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
        release.set_value();
        QVERIFY(isAsked);
        QVERIFY(isFree);
        QCOMPARE(written.get(), 1);
        QCOMPARE(f.ids(), (QStringList{"P1", "P2"}));
    }

    void upload_noPatchApplied_sendsNothing() {
        PatchFixture f;
        f.patches.uploadClientPatchInfo(f.presenter);
        f.enter("P1", "0");
        f.enter("P2", "2");
        f.enter("P3", QString());
        f.settings.lockedSetValue("PatchStatus", "1");      // no patch's
        f.settings.lockedSetValue("a/b/PatchStatus", "1");  // not the group's own
        f.patches.uploadClientPatchInfo(f.presenter);
        QCOMPARE(f.link().requestCount(), 0);
    }

    void upload_appliedPatches_areReportedOnceAndStay() {
        PatchFixture f;
        f.enter("P1", "1");
        f.enter("P2", "0");
        f.enter("P3", "1");
        const QVariantMap before = f.settings.lockedAll();
        f.link().on(kAlter, ScriptedReply::rows({}));
        f.patches.uploadClientPatchInfo(f.presenter);
        QCOMPARE(f.link().requestCount(), 1);
        const ScriptedLink::Request request = f.link().lastRequest();
        QCOMPARE(request.envelopeType, kAlter);
        const QVariantMap header{{System::msgType, kAlter},
                                 {System::alterType, AlterType::Update},
                                 {System::subGroupNumber, 2}};
        QCOMPARE(request.header, header);
        QCOMPARE(request.rows, (QList<QVariantMap>{{{ClientPatch::PatchId, "P1"}},
                                                   {{ClientPatch::PatchId, "P3"}}}));
        QCOMPARE(f.settings.lockedAll(), before);
    }

    void upload_firstAttemptFails_sendsTheSameBodyAgain() {
        PatchFixture f;
        const LogCapture log;
        f.enter("P1", "1");
        f.link().onOccurrence(kAlter, 1, ScriptedReply::failure("断了"));
        f.link().onOccurrence(kAlter, 2, ScriptedReply::rows({}));
        f.patches.uploadClientPatchInfo(f.presenter);
        const QList<ScriptedLink::Request> requests = f.link().requests(kAlter);
        QCOMPARE(requests.size(), 2);
        const QByteArray first = bytesOf(requests.at(0).body);
        QVERIFY(!first.isEmpty());
        QCOMPARE(bytesOf(requests.at(1).body), first);
        QCOMPARE(log.count(QtDebugMsg, kUploadTag + " 2 断了"), 1);
    }

    void upload_everyAttemptFails_endsAfterFiveWithoutAWarning_data() {
        QTest::addColumn<bool>("isTimeOut");
        QTest::newRow("failure") << false;
        QTest::newRow("time-out") << true;
    }
    void upload_everyAttemptFails_endsAfterFiveWithoutAWarning() {
        QFETCH(bool, isTimeOut);
        PatchFixture f;
        const LogCapture log;
        f.enter("P1", "1");
        f.link().on(kAlter, isTimeOut ? ScriptedReply::timeOut() : ScriptedReply::failure("断了"));
        f.patches.uploadClientPatchInfo(f.presenter);
        QCOMPARE(f.link().requestCount(kAlter), 5);
        QCOMPARE(log.texts(QtDebugMsg).filter(kUploadTag + (isTimeOut ? " 1 " : " 2 ")).size(), 5);
        QVERIFY2(warnings(log).isEmpty(), qPrintable(warnings(log).join('\n')));
        QCOMPARE(f.settings.lockedValue("P1/PatchStatus").toString(), QString("1"));
    }

    void upload_refusedByStatus_isNotRepeated() {
        PatchFixture f;
        f.enter("P1", "1");
        f.link().on(kAlter, ScriptedReply::refusal("不行"));
        f.patches.uploadClientPatchInfo(f.presenter);
        QCOMPARE(f.link().requestCount(kAlter), 1);
    }

    void upload_presenterCloses_sendsNothing() {
        PatchFixture f;
        f.enter("P1", "1");
        const HeldClose close(f.presenter);
        QVERIFY(close.isClosing());
        const LogCapture log;
        f.patches.uploadClientPatchInfo(f.presenter);
        QCOMPARE(f.link().requestCount(), 0);
        QVERIFY(!log.contains(kUploadTag));
    }

    void upload_hostClosesAfterAnAttempt_endsThere() {
        PatchFixture f;
        const LogCapture log;
        f.enter("P1", "1");
        f.link().on(kAlter, ScriptedReply::failure("断了"));
        {
            const LogHook hook(kUploadTag, [] { LocalPlatform::instance().beginClose(); });
            f.patches.uploadClientPatchInfo(f.presenter);
        }
        QCOMPARE(log.texts(QtDebugMsg).filter(kUploadTag).size(), 1);
    }

    void list_brokenLines_leaveTheOthers() {
        PatchFixture f;
        const QString name = VelmarUtils::GetDefaultUserCfgFileDir() + "broken.cfg";
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            "garbage\n=5\n[]\nPatchStatus=1\n\xff\xfe\n[P1\nPatchStatus\n"
            "[P2]\nPatchStatus=1\n[P3]\nPatchStatus=0\n[P4]\nPatchStatus=\"1");
        file.close();
        SharedSettings broken(name, nullptr);
        f.link().on(kAlter, ScriptedReply::rows({}));
        ClientPatches(broken).uploadClientPatchInfo(f.presenter);
        const QList<QVariantMap> rows = f.link().lastRequest(kAlter).rows;
        QVERIFY(rows.contains({{ClientPatch::PatchId, "P2"}}));
        QVERIFY(!rows.contains({{ClientPatch::PatchId, "P1"}}));
        QVERIFY(!rows.contains({{ClientPatch::PatchId, "P3"}}));
        QVERIFY(!rows.contains({{ClientPatch::PatchId, ""}}));
    }

    void list_folderInItsPlace_isLoggedAndHoldsForTheProcess() {
        PatchFixture f;
        const QString name = VelmarUtils::GetDefaultUserCfgFileDir() + "folder.cfg";
        QVERIFY(QDir().mkpath(name));
        SharedSettings folder(name, nullptr);
        ClientPatches patches(folder);
        const LogCapture log;
        f.link().on(kQuery, ScriptedReply::rows({f.row("P1", f.offer("one"), "补丁一")}));
        patches.queryClientPatchInfo(f.presenter);
        QVERIFY(log.contains(QtWarningMsg, "not written to"));
        QCOMPARE(folder.lockedValue("P1/PatchStatus").toString(), QString("0"));
        QCOMPARE(f.files(), QStringList("P1.zip"));
        QCOMPARE(f.announced(), QList<QStringList>{{"补丁一"}});
    }

    void query_answered_replacesTheList() {
        PatchFixture f;
        f.enter("P0", "1");
        f.link().on(kQuery, ScriptedReply::rows({f.row("P1", f.offer("one"), "补丁一"),
                                                 f.row("P2", f.missingOffer(), "补丁二")}));
        f.patches.queryClientPatchInfo(f.presenter);
        const QVariantMap header{{System::msgType, kQuery},
                                 {UserAccount::userID, "tester"},
                                 {ClientPatch::ExcludeUpdated, "1"}};
        QCOMPARE(f.link().requestCount(), 1);
        QCOMPARE(f.link().lastRequest().header, header);
        QCOMPARE(f.ids(), QStringList("P1"));
        QCOMPARE(f.settings.lockedValue("P1/PatchStatus").toString(), QString("0"));
        QCOMPARE(f.announced(), QList<QStringList>{{"补丁一"}});
    }

    void query_noPatches_emptiesTheListAndTheFolder() {
        PatchFixture f;
        f.enter("P0", "1");
        f.put("P0.zip");
        f.link().on(kQuery, ScriptedReply::rows({}));
        f.patches.queryClientPatchInfo(f.presenter);
        QVERIFY(f.ids().isEmpty());
        QVERIFY(f.files().isEmpty());
        QVERIFY(f.announced().isEmpty());
    }

    void query_answered_removesTheZipFilesThatTheListDoesNotName() {
        PatchFixture f;
        for (const char* name : {"old.zip", "P1.zip", "P2.zip", ".zip", "notes.txt",
                                 "P1.zip.aB3dEf", "notes.aB3dEf"}) {
            f.put(name);
        }
        QVERIFY(QDir().mkpath(f.patchFile("folder.zip")));
        // The download of P2 fails, so the list does not name its older file either.
        f.link().on(kQuery, ScriptedReply::rows({f.row("P1", f.offer("one"), "补丁一"),
                                                 f.row("P2", f.missingOffer(), "补丁二")}));
        f.patches.queryClientPatchInfo(f.presenter);
        QCOMPARE(f.files(), (QStringList{"P1.zip", "notes.aB3dEf", "notes.txt"}));
        QVERIFY(QFileInfo(f.patchFile("folder.zip")).isDir());
    }

    void query_failed_changesNothing_data() {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"refused", "failed", "timed out", "garbage"}) {
            QTest::newRow(kind) << QString(kind);
        }
    }
    void query_failed_changesNothing() {
        QFETCH(QString, kind);
        PatchFixture f;
        f.enter("P0", "1");
        f.put("P0.zip");
        f.put("old.zip");
        const QVariantMap before = f.settings.lockedAll();
        const QMap<QString, ScriptedReply> replies{{"refused", ScriptedReply::refusal("不行")},
                                                   {"failed", ScriptedReply::failure("断了")},
                                                   {"timed out", ScriptedReply::timeOut()},
                                                   {"garbage", ScriptedReply::garbage()}};
        f.link().on(kQuery, replies.value(kind));
        f.patches.queryClientPatchInfo(f.presenter);
        QCOMPARE(f.link().requestCount(kQuery), 1);
        QCOMPARE(f.settings.lockedAll(), before);
        QCOMPARE(f.files(), (QStringList{"P0.zip", "old.zip"}));
        QVERIFY(f.announced().isEmpty());
    }

    void query_hostClosesMeanwhile_keepsTheFilesOfCutOffDownloads() {
        PatchFixture f;
        f.put("P2.zip");
        f.link().on(kQuery, ScriptedReply::rows({f.row("P1", QString(), "补丁一"),
                                                 f.row("P2", f.offer("two"), "补丁二")}));
        {
            const LogHook hook("下载地址为空", [] { LocalPlatform::instance().beginClose(); });
            f.patches.queryClientPatchInfo(f.presenter);
        }
        QCOMPARE(f.contentOf("P2.zip"), QByteArray("older"));
        QVERIFY(f.ids().isEmpty());
    }
};

QTEST_GUILESS_MAIN(ClientPatchesTest)
#include "client_patches_test.moc"
