#include "exit_errors.h"

#include <QtTest>

#include "application_folder.h"
#include "crash_files.h"
#include "dump_record.h"
#include "log_capture.h"
#include "read_only_folder.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kUpdateFailed =
    QStringLiteral("ZnBusinessDataManager::uploadClientUpdateError 升级错误日志清理失败！");
inline const QString kExitFailed =
    QStringLiteral("ZnBusinessDataManager::uploadDmpMonitorInfo 异常退出错误日志清理失败！");
inline const QString kMonitorFailed =
    QStringLiteral("ZnBusinessDataManager::uploadDmpMonitorInfo 陈旧监控日志清理失败！");

QByteArray exitLine(const char* time) {
    return R"({"TagDump":{"TagCallStack":["grpc"],"time":")" + QByteArray(time) + R"("}})";
}

/// What cannot be read as a record.
const QByteArray& brokenLines() {
    static const QByteArray lines = "\n   \nno record\n[1,2]\n{\"ErrorCode\":\n\xff\xfe\n" +
                                    QByteArray(2 * 1024 * 1024, '{') + '\n';
    return lines;
}

QVariantMap boardEntry() {
    return ZnCore::instance()->getCommonInfo(ClientMonitor::TagDump).toMap();
}

}  // namespace

class ExitErrorsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        QCOMPARE(applicationFolder(), m_world->homeDir());
        m_sink = std::make_unique<ListSink>();
        openToAll(m_world->homeDir());
    }
    void cleanup() { m_world.reset(); }

    void updateErrors_eachRecord_isReportedOnceAndTheFileGoes() {
        const QByteArray first = R"({"ErrorCode":"E12","text":"磁盘已满"})";
        const QByteArray second = R"({"ErrorCode":7})";
        writeFile(updateFile(), first + "\r\n" + second + '\n' + R"({"other":1})");
        uploadClientUpdateError(*m_sink);
        QCOMPARE(m_sink->valuesOf(System::itemType),
                 (QVariantList{ClinetInfoUpload::AutoUpdateError, ClinetInfoUpload::AutoUpdateError,
                               ClinetInfoUpload::AutoUpdateError}));
        QCOMPARE(m_sink->valuesOf(System::itemValue), (QVariantList{"E12", "7", ""}));
        QCOMPARE(
            m_sink->valuesOf(System::itemValueEx),
            (QVariantList{QString::fromUtf8(first), QString::fromUtf8(second), R"({"other":1})"}));
        const QVariantMap item = m_sink->items.first();
        QVERIFY(!item.value(System::operType).isValid());
        QCOMPARE(item.value(Strategy::logTriggerTime).toInt(), 0);
        QVERIFY(
            QTime::fromString(item.value(System::timeStamp).toString(), "hh:mm:ss.zzz").isValid());
        QVERIFY(!QFile::exists(updateFile()));
        uploadClientUpdateError(*m_sink);
        QCOMPARE(m_sink->items.size(), 3);
    }

    void updateErrors_brokenLines_arePassedOver() {
        writeFile(updateFile(), brokenLines() + R"({"ErrorCode":"E1"})" + '\n' + brokenLines());
        uploadClientUpdateError(*m_sink);
        QCOMPARE(m_sink->valuesOf(System::itemValue), QVariantList{"E1"});
        QVERIFY(!QFile::exists(updateFile()));
    }

    void updateErrors_noFile_areNone() {
        LogCapture log;
        uploadClientUpdateError(*m_sink);
        QVERIFY(QDir().mkpath(QFileInfo(updateFile()).path()));
        linkInACircle(updateFile());
        uploadClientUpdateError(*m_sink);
        QVERIFY(m_sink->items.isEmpty());
        QVERIFY(!log.contains("升级错误日志"));
    }

    void updateErrors_folderInPlaceOfTheFile_staysWithALogLine() {
        QVERIFY(QDir().mkpath(updateFile() + "/below"));
        LogCapture log;
        uploadClientUpdateError(*m_sink);
        QCOMPARE(log.count(QtDebugMsg, kUpdateFailed), 1);
        QVERIFY(m_sink->items.isEmpty());
        QVERIFY(QFileInfo(updateFile()).isDir());
    }

    void updateErrors_fileThatCannotBeRemoved_isReportedAgain() {
        writeFile(updateFile(), R"({"ErrorCode":"E1"})");
        QVERIFY(chmod(QFile::encodeName(updateFile()).constData(), 0666) == 0);
        LogCapture log;
        {
            openToAll(inLog({}));
            const ReadOnlyFolder folder(QFileInfo(updateFile()).path());
            uploadClientUpdateError(*m_sink);
            uploadClientUpdateError(*m_sink);
        }
        QCOMPARE(log.count(QtDebugMsg, kUpdateFailed), 2);
        QCOMPARE(m_sink->valuesOf(System::itemValue), (QVariantList{"E1", "E1"}));
    }

    void updateErrors_fileThatCannotBeOpened_countsAsEmptyAndGoes() {
        writeFile(updateFile(), R"({"ErrorCode":"E1"})");
        makeUnreadable(updateFile());
        LogCapture log;
        {
            const OtherUser other;
            uploadClientUpdateError(*m_sink);
        }
        QVERIFY(m_sink->items.isEmpty());
        QVERIFY(!QFile::exists(updateFile()));
        QVERIFY(!log.contains(kUpdateFailed));
    }

    void exitRecords_severalLines_areReportedAndTheLastOneIsKept() {
        const QByteArray first = exitLine("2026-01-05 09:30:00.000");
        const QByteArray second = exitLine("2026-01-05 09:30:05.500");
        writeFile(inLog("dmpLog_a.txt"), first + '\n' + second + "\r\n" + brokenLines());
        LogCapture log;
        upload();
        QCOMPARE(
            m_sink->valuesOf(System::itemType),
            (QVariantList{ClinetInfoUpload::ClientErrorInfo, ClinetInfoUpload::ClientErrorInfo}));
        QCOMPARE(m_sink->valuesOf(System::itemValue),
                 (QVariantList{ClientErrorType::ExceptionExitError,
                               ClientErrorType::ExceptionExitError}));
        QCOMPARE(m_sink->valuesOf(System::itemValueEx),
                 (QVariantList{QString::fromUtf8(first), QString::fromUtf8(second)}));
        QCOMPARE(boardEntry().keys(), QStringList{"dmpLog_a.txt"});
        const QVariantMap dump =
            boardEntry().value("dmpLog_a.txt").toMap().value(ClientMonitor::TagDump).toMap();
        QCOMPARE(dump.value("time").toString(), QString("2026-01-05 09:30:05.500"));
        QCOMPARE(dump.value(ClientMonitor::TagCallStack).toList(), QVariantList{"grpc"});
        QVERIFY(!QFile::exists(inLog("dmpLog_a.txt")));
        const QStringList said = log.texts(QtDebugMsg);
        QCOMPARE(
            said.filter("uploadDmpMonitorInfo \"dmpLog_a.txt\" \"" + inLog("dmpLog_a.txt")).size(),
            1);
        QCOMPARE(said.filter("record exception map").size(), 1);
    }

    void exitRecords_lastLineAnEmptyRecord_keepsThatOne() {
        writeFile(inLog("dmpLog_a"), exitLine("2026-01-05 09:30:00.000") + "\n{}\n");
        upload();
        QCOMPARE(m_sink->items.size(), 2);
        QCOMPARE(boardEntry(), (QVariantMap{{"dmpLog_a", QVariantMap()}}));
    }

    void exitRecords_fileWithoutARecord_hasNoEntryAndGoes() {
        writeFile(inLog("dmpLog_a"), brokenLines());
        writeFile(inLog("dmpLog_b"));
        upload();
        QVERIFY(m_sink->items.isEmpty());
        QVERIFY(boardEntry().isEmpty());
        QCOMPARE(QDir(inLog({})).entryList(QDir::Files), QStringList());
    }

    void exitRecords_ofSeveralFiles_haveAnEntryEach() {
        writeFile(inLog("dmpLog_2"), exitLine("2026-01-05 09:30:02.000"));
        writeFile(inLog("dmpLog_1"), exitLine("2026-01-05 09:30:01.000"));
        upload();
        QCOMPARE(boardEntry().keys(), (QStringList{"dmpLog_1", "dmpLog_2"}));
        QCOMPARE(m_sink->items.size(), 2);
    }

    void files_byTheirPrefix_areTakenInAnyCaseOrLeftAlone() {
        const QByteArray line = exitLine("2026-01-05 09:30:00.000");
        writeFile(inLog("DMPLOG_a"), line);
        writeFile(inLog("DmpLog_b"), line);
        const QStringList others{"client.log",  "my_dmpLog_c", "dmpLog",
                                 "monitor_log", "x.dmp",       "MONITORLOG_d"};
        for (const QString& name : others) {
            writeFile(inLog(name), line);
        }
        m_clock.time = m_clock.time.addDays(100);
        upload();
        QCOMPARE(boardEntry().keys(), (QStringList{"DMPLOG_a", "DmpLog_b"}));
        QStringList left = others;
        left.sort();
        QStringList found = QDir(inLog({})).entryList(QDir::Files);
        found.sort();
        QCOMPARE(found, left);
    }

    void exitRecords_noLogFolder_leaveAnEmptyMap() {
        ZnCore::instance()->setCommonInfo(ClientMonitor::TagDump, 1);
        QVERIFY(QDir(inLog({})).removeRecursively());
        LogCapture log;
        upload();
        QCOMPARE(ZnCore::instance()->getCommonInfo(ClientMonitor::TagDump),
                 QVariant(QVariantMap()));
        QCOMPARE(log.texts(QtDebugMsg).filter("record exception map").size(), 1);
        writeFile(inLog({}).chopped(1), "a file in place of the folder");
        upload();
        QVERIFY(m_sink->items.isEmpty());
    }

    void whatIsNoFile_staysAndDoesNotHideTheOthers() {
        QVERIFY(QDir().mkpath(inLog("dmpLog_folder")));
        linkInACircle(inLog("dmpLog_circle"));
        QCOMPARE(mkfifo(QFile::encodeName(inLog("dmpLog_pipe")).constData(), 0644), 0);
        writeFile(inLog("dmpLog_z"), exitLine("2026-01-05 09:30:00.000"));
        upload();
        QCOMPARE(boardEntry().keys(), QStringList{"dmpLog_z"});
        QVERIFY(QFileInfo(inLog("dmpLog_folder")).isDir());
    }

    void exitRecords_fileThatCannotBeRemoved_isReportedAgain() {
        writeFile(inLog("dmpLog_a"), exitLine("2026-01-05 09:30:00.000"));
        LogCapture log;
        {
            const ReadOnlyFolder folder(inLog({}));
            upload();
            upload();
        }
        QCOMPARE(log.count(QtDebugMsg, kExitFailed), 2);
        QCOMPARE(m_sink->items.size(), 2);
        QCOMPARE(boardEntry().keys(), QStringList{"dmpLog_a"});
    }

    void exitRecords_fileThatCannotBeOpened_countsAsEmptyAndGoes() {
        writeFile(inLog("dmpLog_a"), exitLine("2026-01-05 09:30:00.000"));
        makeUnreadable(inLog("dmpLog_a"));
        {
            const OtherUser other;
            upload();
        }
        QVERIFY(m_sink->items.isEmpty());
        QVERIFY(boardEntry().isEmpty());
        QVERIFY(!QFile::exists(inLog("dmpLog_a")));
    }

    void closing_betweenTwoFiles_leavesTheOtherOnesToTheNextStart() {
        writeFile(inLog("dmpLog_1"), exitLine("2026-01-05 09:30:01.000"));
        writeFile(inLog("dmpLog_2"), exitLine("2026-01-05 09:30:02.000"));
        writeFile(inLog("monitorLog_a"));
        m_clock.time = m_clock.time.addDays(3);
        m_sink->onItem = [] { LocalPlatform::instance().beginClose(); };
        upload();
        QCOMPARE(m_sink->items.size(), 1);
        QCOMPARE(boardEntry().keys(), QStringList{"dmpLog_1"});
        QCOMPARE(QDir(inLog({})).entryList(QDir::Files), (QStringList{"dmpLog_2", "monitorLog_a"}));
    }

    void monitorLog_madeYesterday_staysUntilTheDayAfter() {
        const QString file = inLog("monitorLog_a");
        writeFile(file);
        const QDateTime made = creationTime(QFileInfo(file));
        m_clock.time = QDateTime(made.date().addDays(1), QTime(23, 59, 59));
        upload();
        QVERIFY(QFile::exists(file));
        m_clock.time = m_clock.time.addSecs(1);
        LogCapture log;
        upload();
        QVERIFY(!QFile::exists(file));
        QVERIFY(!log.contains(kMonitorFailed));
        QVERIFY(m_sink->items.isEmpty());
    }

    void monitorLog_thatCannotBeRemoved_staysWithALogLine() {
        writeFile(inLog("monitorLog_a"));
        m_clock.time = m_clock.time.addDays(3);
        LogCapture log;
        {
            const ReadOnlyFolder folder(inLog({}));
            upload();
        }
        QCOMPARE(log.count(QtDebugMsg, kMonitorFailed), 1);
        QVERIFY(QFile::exists(inLog("monitorLog_a")));
    }

private:
    QString inLog(const QString& name) const { return m_world->homeDir() + "/log/" + name; }
    QString updateFile() const { return inLog("ZnUpdateClient/ErrorRecord.csv"); }
    void upload() const { uploadDmpMonitorInfo(*m_sink, m_clock); }
    /// In a folder that every user may write to.
    void makeUnreadable(const QString& file) const {
        openToAll(inLog({}));
        QVERIFY(chmod(QFile::encodeName(file).constData(), 0000) == 0);
        QVERIFY(chmod(QFile::encodeName(QFileInfo(file).path()).constData(), 0777) == 0);
    }

    std::unique_ptr<ClientWorld> m_world;
    std::unique_ptr<ListSink> m_sink;
    MovableClock m_clock;
};

QTEST_GUILESS_MAIN(ExitErrorsTest)
#include "exit_errors_test.moc"
