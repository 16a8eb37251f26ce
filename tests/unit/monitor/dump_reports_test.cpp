#include "dump_reports.h"

#include <fcntl.h>
#include <unistd.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QtTest>

#include "crash_files.h"
#include "dump_record.h"
#include "log_capture.h"
#include "packed_body.h"
#include "read_only_folder.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kTag =
    QStringLiteral("VelmarBusinessDataManagerPresenterClass::uploadDmpInfo");
inline const QString kLeft = QStringLiteral("are left for later ones");

int logUploadEvent() {
    return VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::LogUploadEvent);
}

}  // namespace

/// Dumps of the application's folder are looked up in the current directory, which is the same
/// folder here unless a case says otherwise.
class DumpReportsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        m_world->login();
        m_presenter = new RecordingPresenter;
        m_presenter->SubEvent(m_presenter->pluginPid(), logUploadEvent(), 1);
        m_presenter->initPresenter();
        m_sink = std::make_unique<ListSink>();
        m_clock.time = QDateTime::currentDateTime();
        QVERIFY(QDir::setCurrent(m_world->homeDir()));
        openToAll(m_world->homeDir());
        setBoard({});
        answer("true");
        m_world->link().clearRequests();
    }
    void cleanup() {
        if (m_presenter) {
            m_presenter->deleteLater();
        }
        QDir::setCurrent(QDir::rootPath());
        m_world.reset();
    }

    void newDumps_ofBothFolders_areReportedOnce() {
        writeFile(inHome("a.dmp"));
        writeFile(inUser("崩溃.dmp"));
        QVERIFY(QFile::resize(inUser("崩溃.dmp"), 3 * 1024 * 1024));
        writeFile(inUser("no_dump.txt"));
        const QString timeOfA = DumpFile::of(QFileInfo(inHome("a.dmp"))).createTime;
        const QString timeOfB = DumpFile::of(QFileInfo(inUser("崩溃.dmp"))).createTime;
        upload();
        QCOMPARE(reported(), (QStringList{"a.dmp", "崩溃.dmp"}));
        const QVariantMap report = m_sink->items.last();
        QCOMPARE(report.value("createTime").toString(), timeOfB);
        QCOMPARE(report.value("size").toString(), QString("3MB"));
        QCOMPARE(report.value(System::itemType).toString(), ClinetInfoUpload::ClientErrorInfo);
        QCOMPARE(report.value(System::itemValue).toString(), ClientErrorType::DmpInfoError);
        QCOMPARE(report.value(System::operType), QVariant(0));
        QVariantMap others = report;
        others.remove(System::itemValueEx);
        const QString text = report.value(System::itemValueEx).toString();
        QCOMPARE(text, QString::fromUtf8(
                           QJsonDocument::fromVariant(others).toJson(QJsonDocument::Compact)));
        QCOMPARE(QJsonDocument::fromJson(text.toUtf8()).object().value("fileName").toString(),
                 QString("崩溃.dmp"));
        QCOMPARE(contentOf(recordFile()),
                 QString("a.dmp|%1|0MB\n崩溃.dmp|%2|3MB").arg(timeOfA, timeOfB).toUtf8());
        QCOMPARE(switchQueries(), 1);
        upload();
        QCOMPARE(m_sink->items.size(), 2);
        QCOMPARE(switchQueries(), 1);
    }

    void noDumps_askNothingAndLeaveAnEmptyRecord() {
        writeFile(recordFile(), "gone.dmp|20260105-093000|0MB");
        upload();
        QVERIFY(m_sink->items.isEmpty());
        QCOMPARE(switchQueries(), 0);
        QVERIFY(QFile::exists(recordFile()));
        QCOMPARE(contentOf(recordFile()), QByteArray());
    }

    void knownDump_keepsItsLineAndThatOfAGoneOneFallsAway() {
        writeFile(inHome("a.dmp"));
        writeFile(recordFile(),
                  "a.dmp|19990101-000000|9MB\ngone.dmp|20260105-093000|0MB\nnew.dmp|broken\n");
        writeFile(inHome("new.dmp"));
        LogCapture log;
        upload();
        QCOMPARE(reported(), QStringList{"new.dmp"});
        QCOMPARE(recordNames(), (QStringList{"a.dmp", "new.dmp"}));
        QVERIFY(!contentOf(recordFile()).contains("19990101"));
        const QStringList known = log.texts(QtDebugMsg).filter("the reported dumps: ");
        QCOMPARE(known.size(), 1);
        QVERIFY(known.first().contains("\"a.dmp\"") && known.first().contains("\"gone.dmp\"") &&
                !known.first().contains("new.dmp"));
        const QStringList fresh = log.texts(QtDebugMsg).filter(kTag);
        QVERIFY(fresh.first().contains("\"new.dmp\"") && !fresh.first().contains("\"a.dmp\""));
    }

    void applicationsDump_isLookedUpInTheCurrentDirectory() {
        const QTemporaryDir elsewhere;
        writeFile(inHome("a.dmp"));
        writeFile(inUser("u.dmp"));
        QVERIFY(QDir::setCurrent(elsewhere.path()));
        upload();
        QCOMPARE(reported(), QStringList{"u.dmp"});
        writeFile(elsewhere.filePath("a.dmp"));
        QVERIFY(QFile::resize(elsewhere.filePath("a.dmp"), 2 * 1024 * 1024));
        upload();
        QCOMPARE(reported(), (QStringList{"u.dmp", "a.dmp"}));
        QCOMPARE(m_sink->items.last().value("size").toString(), QString("2MB"));
        QVERIFY(QDir::setCurrent(m_world->homeDir()));
    }

    void record_withinAMinute_belongsToTheDump_data() {
        QTest::addColumn<int>("secs");
        QTest::addColumn<bool>("matches");
        QTest::newRow("61 s before") << -61 << false;
        QTest::newRow("60 s before") << -60 << true;
        QTest::newRow("same second") << 0 << true;
        QTest::newRow("60 s after") << 60 << true;
        QTest::newRow("61 s after") << 61 << false;
    }

    void record_withinAMinute_belongsToTheDump() {
        QFETCH(int, secs);
        QFETCH(bool, matches);
        writeFile(inHome("a.dmp"));
        const QVariantMap record = recordAt(timeOf(inHome("a.dmp")).addSecs(secs), {"main"});
        setBoard({{"dmpLog_a", record}});
        LogCapture log;
        upload();
        QCOMPARE(m_sink->items.size(), 1);
        const QVariantMap report = m_sink->items.first();
        QCOMPARE(report.value(System::operType), QVariant(matches ? 1 : 0));
        QCOMPARE(report.contains(ClientMonitor::TagDump), matches);
        QVERIFY(log.texts(QtDebugMsg).filter(kTag).last().endsWith(QString(" %1").arg(secs)));
        QCOMPARE(ZnCore::instance()->getCommonInfo(ClientMonitor::TagDump).toMap(),
                 (QVariantMap{{"dmpLog_a", record}}));
    }

    void records_severalWithinAMinute_theEarliestIsTaken() {
        writeFile(inHome("a.dmp"));
        const QDateTime time = timeOf(inHome("a.dmp"));
        setBoard({{"dmpLog_1", recordAt(time, {"fastDb"})},
                  {"dmpLog_2", recordAt(time.addSecs(-59), {"grpc"})},
                  {"dmpLog_3", recordAt(time.addSecs(-70), {"libcef"})}});
        upload();
        QCOMPARE(m_sink->items.first().value(System::operType), QVariant(2));
    }

    void record_thatMatches_givesItsFieldsButNotTheClass() {
        writeFile(inHome("a.dmp"));
        QVariantMap record = recordAt(timeOf(inHome("a.dmp")), {"libcef.so", "fastDb"});
        record.insert("version", "1.2");
        record.insert(System::operType, 77);
        record.insert(System::itemValueEx, "of the record");
        setBoard({{"dmpLog_a", record}});
        upload();
        const QVariantMap report = m_sink->items.first();
        QCOMPARE(report.value("version").toString(), QString("1.2"));
        QCOMPARE(report.value(System::operType), QVariant(3));
        QCOMPARE(report.value(ClientMonitor::TagDump), record.value(ClientMonitor::TagDump));
        const QJsonObject text =
            QJsonDocument::fromJson(report.value(System::itemValueEx).toString().toUtf8()).object();
        QCOMPARE(text.value("version").toString(), QString("1.2"));
        QVERIFY(!text.contains(System::itemValueEx));
    }

    void records_withoutATime_matchNothing() {
        writeFile(inHome("a.dmp"));
        QVariantMap wrongTime = recordAt(timeOf(inHome("a.dmp")), {"grpc"});
        wrongTime.insert(ClientMonitor::TagDump, QVariantMap{{"time", "2026-02-30 09:30:00.000"}});
        setBoard({{"dmpLog_1", wrongTime},
                  {"dmpLog_2", QVariantMap{{ClientMonitor::TagDump, "text"}}},
                  {"dmpLog_3", QVariantMap()},
                  {"dmpLog_4", 5}});
        upload();
        QCOMPARE(m_sink->items.first().value(System::operType), QVariant(0));
    }

    void dumpTime_thatIsInvalid_belongsToNoRecord() {
        const QDateTime now = m_clock.time;
        const QMap<QDateTime, QVariantMap> records{{now, recordAt(now, {"grpc"})}};
        // QDateTime counts no seconds from an invalid time, as if both were the same.
        for (const char* const text : {"", "20260230-093000", "2026-01-05 09:30:00"}) {
            QVariantMap report{{"fileName", "a.dmp"}};
            addException(QDateTime::fromString(text, "yyyyMMdd-HHmmss"), records, &report);
            QCOMPARE(report, (QVariantMap{{"fileName", "a.dmp"}, {System::operType, 0}}));
        }
        QVariantMap report;
        addException(now, records, &report);
        QCOMPARE(report.value(System::operType), QVariant(2));
    }

    void callStack_namesAComponent_decidesTheClass_data() {
        QTest::addColumn<QVariant>("stack");
        QTest::addColumn<int>("wanted");
        QTest::newRow("first") << QVariant(QStringList{"a", "xgrpc.so+0x1"}) << 2;
        QTest::newRow("second") << QVariant(QVariantList{"a", "libcef"}) << 3;
        QTest::newRow("third") << QVariant(QVariantMap{{"frame", "fastDb"}}) << 4;
        QTest::newRow("first and second") << QVariant(QVariantList{"libcef", "grpc"}) << 2;
        QTest::newRow("second and third") << QVariant(QVariantList{"fastDb", "libcef"}) << 3;
        QTest::newRow("a key") << QVariant(QVariantMap{{"grpc", 1}}) << 2;
        QTest::newRow("other case") << QVariant(QVariantList{"GRPC", "fastdb"}) << 1;
        QTest::newRow("none of them") << QVariant(QVariantList{"main"}) << 1;
        QTest::newRow("empty list") << QVariant(QVariantList()) << 1;
        QTest::newRow("text") << QVariant("grpc") << 1;
        QTest::newRow("number") << QVariant(5) << 1;
        QTest::newRow("missing") << QVariant() << 1;
    }

    void callStack_namesAComponent_decidesTheClass() {
        QFETCH(QVariant, stack);
        QFETCH(int, wanted);
        QCOMPARE(callStackClass(stack), wanted);
    }

    void logs_areRequestedForDumpsWithARecord() {
        m_clock.time = QDateTime(m_clock.time.date(), QTime(9, 30, 5));
        writeFile(inHome("a.dmp"));
        const QDateTime time = timeOf(inHome("a.dmp"));
        setBoard({{"dmpLog_a", recordAt(time, {"main"})}});
        upload();
        QVERIFY(waitFor([this] { return !m_presenter->events().isEmpty(); }));
        const QVariantMap header = rowsOfPackedBody(m_presenter->events().first().body).first();
        QCOMPARE(header.value(System::createTime).toDateTime(), time);
        QCOMPARE(header.value(QuantMsgField::textTitle).toString(),
                 QString("dmp_1_%1_%2-093005")
                     .arg(CBusinessDataBase::GetInstance()->GetLoginAccount(),
                          m_clock.time.date().toString("yyyyMMdd")));
    }

    void logs_notWanted_areNotRequested_data() {
        QTest::addColumn<QString>("answered");
        QTest::addColumn<bool>("hasRecord");
        QTest::newRow("no record") << "true" << false;
        QTest::newRow("switched off") << "false" << true;
        QTest::newRow("zero") << "0" << true;
        QTest::newRow("empty value") << "" << true;
        QTest::newRow("no row") << "no row" << true;
        QTest::newRow("refused") << "refused" << true;
    }

    void logs_notWanted_areNotRequested() {
        QFETCH(QString, answered);
        QFETCH(bool, hasRecord);
        answer(answered);
        writeFile(inHome("a.dmp"));
        if (hasRecord) {
            setBoard({{"dmpLog_a", recordAt(timeOf(inHome("a.dmp")), {"main"})}});
        }
        upload();
        QCOMPARE(m_sink->items.size(), 1);
        QCOMPARE(m_sink->items.first().value(System::operType), QVariant(hasRecord ? 1 : 0));
        QCOMPARE(switchQueries(), 1);
        const QVariantMap asked = m_world->link().lastRequest(sysConfig()).header;
        QCOMPARE(asked.value(System::sysConfigKey).toString(),
                 QString("torvi.sys.dmp.autouploadlog"));
        // The bus keeps the order, so what follows arrives after a request for logs would have.
        VelmarUtils::SendEventMsg(m_presenter, logUploadEvent(), "the end");
        QVERIFY(waitFor([this] { return !m_presenter->events().isEmpty(); }));
        QCOMPARE(m_presenter->events().first().body, QVariant("the end"));
    }

    void dump_ofSevenDays_isReportedAndRemoved() {
        writeFile(inHome("a.dmp"));
        writeFile(inUser("b.dmp"));
        const QDate changed = QFileInfo(inHome("a.dmp")).lastModified().date();
        m_clock.time = QDateTime(changed.addDays(6), QTime(23, 59));
        upload();
        QCOMPARE(recordNames(), (QStringList{"a.dmp", "b.dmp"}));
        writeFile(inUser("new.dmp"));
        m_clock.time =
            QDateTime(QFileInfo(inUser("new.dmp")).lastModified().date().addDays(7), QTime(0, 0));
        upload();
        QCOMPARE(reported(), (QStringList{"a.dmp", "b.dmp", "new.dmp"}));
        QCOMPARE(contentOf(recordFile()), QByteArray());
        QVERIFY(!QFile::exists(inHome("a.dmp")));
        QVERIFY(!QFile::exists(inUser("b.dmp")));
        QVERIFY(!QFile::exists(inUser("new.dmp")));
    }

    void oldDump_thatCannotBeRemoved_keepsItsLine() {
        writeFile(inUser("a.dmp"));
        writeFile(recordFile());
        QVERIFY(chmod(QFile::encodeName(recordFile()).constData(), 0666) == 0);
        m_clock.time = m_clock.time.addDays(8);
        LogCapture log;
        {
            const ReadOnlyFolder folder(inUser({}));
            upload();
            upload();
        }
        QCOMPARE(log.count(QtInfoMsg, kTag + " 清理文件失败： \"a.dmp\""), 2);
        QCOMPARE(reported(), QStringList{"a.dmp"});
        QCOMPARE(recordNames(), QStringList{"a.dmp"});
    }

    void whatIsNoDump_isLeftAlone() {
        QVERIFY(QDir().mkpath(inHome("folder.dmp")));
        QVERIFY(QDir().mkpath(inUser("folder.dmp")));
        linkInACircle(inHome("circle.dmp"));
        linkInACircle(inUser("circle.dmp"));
        QCOMPARE(mkfifo(QFile::encodeName(inUser("pipe.dmp")).constData(), 0644), 0);
        writeFile(inUser("z.dmp"));
        m_clock.time = m_clock.time.addDays(100);
        upload();
        QCOMPARE(reported(), QStringList{"z.dmp"});
        QVERIFY(QFileInfo(inHome("folder.dmp")).isDir() && QFileInfo(inUser("folder.dmp")).isDir());
    }

    void folderInPlaceOfTheRecord_isAWarningAndReportsAgain() {
        writeFile(inHome("a.dmp"));
        QVERIFY(QDir().mkpath(recordFile()));
        LogCapture log;
        upload();
        upload();
        QCOMPARE(reported(), (QStringList{"a.dmp", "a.dmp"}));
        QCOMPARE(log.texts(QtWarningMsg).filter("reported dumps is not written").size(), 2);
    }

    void sameName_inBothFolders_isOneReport() {
        writeFile(inHome("a.dmp"));
        writeFile(inUser("a.dmp"));
        QVERIFY(QFile::resize(inUser("a.dmp"), 1024 * 1024));
        upload();
        QCOMPARE(reported(), QStringList{"a.dmp"});
        QCOMPARE(m_sink->items.first().value("size").toString(), QString("1MB"));
        QCOMPARE(recordNames(), (QStringList{"a.dmp", "a.dmp"}));
    }

    void manyDumps_theFirstThousandNames_areReportedAtAStart() {
        constexpr int kDumps = 100000;
        constexpr int kAtOnce = 1000;
        makeDumps(inUser({}), kDumps);
        writeFile(inHome("00500b.dmp"));  // between two names of the other folder
        LogCapture log;
        upload();
        QCOMPARE(m_sink->items.size(), kAtOnce);
        QCOMPARE(reported().first(), QString("00000.dmp"));
        QCOMPARE(reported().at(501), QString("00500b.dmp"));
        QCOMPARE(reported().last(), QString("00998.dmp"));
        QCOMPARE(recordNames().size(), kAtOnce);
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList(kTag + " reports 1000 new dumps at one start; 99001 " + kLeft));
        log.clear();
        upload();
        QCOMPARE(m_sink->items.size(), 2 * kAtOnce);
        QCOMPARE(reported().at(kAtOnce), QString("00999.dmp"));
        QCOMPARE(reported().last(), QString("01998.dmp"));
        QCOMPARE(recordNames().size(), 2 * kAtOnce);
        QCOMPARE(log.texts(QtWarningMsg).filter("98001 " + kLeft).size(), 1);
    }

    void oldDumpsBeyondTheThousand_stayUntilTheyAreReported() {
        makeDumps(inUser({}), 1001);
        m_clock.time = m_clock.time.addDays(8);
        upload();
        QCOMPARE(m_sink->items.size(), 1000);
        QCOMPARE(QDir(inUser({})).entryList({"*.dmp"}), QStringList{"01000.dmp"});
        QCOMPARE(contentOf(recordFile()), QByteArray());
        LogCapture log;
        upload();
        QCOMPARE(reported().last(), QString("01000.dmp"));
        QCOMPARE(m_sink->items.size(), 1001);
        QVERIFY(!log.contains(kLeft));
    }

    void closing_beforeTheScan_leavesTheRecord() {
        writeFile(inHome("a.dmp"));
        writeFile(recordFile(), "b.dmp|20260105-093000|0MB");
        LocalPlatform::instance().beginClose();
        upload();
        QVERIFY(m_sink->items.isEmpty());
        QCOMPARE(contentOf(recordFile()), QByteArray("b.dmp|20260105-093000|0MB"));
    }

    void closing_betweenTwoReports_keepsTheLineOfTheFirstOnly() {
        writeFile(inHome("a.dmp"));
        writeFile(inHome("b.dmp"));
        writeFile(inHome("known.dmp"));
        writeFile(recordFile(), "known.dmp|20260105-093000|0MB");
        m_sink->onItem = [] { LocalPlatform::instance().beginClose(); };
        upload();
        QCOMPARE(reported(), QStringList{"a.dmp"});
        QCOMPARE(recordNames(), (QStringList{"a.dmp", "known.dmp"}));
    }

private:
    QString inHome(const QString& name) const { return m_world->homeDir() + '/' + name; }
    static QString inUser(const QString& name) { return VelmarUtils::GetUserCfgFileDir() + name; }
    static QString recordFile() {
        return VelmarUtils::GetDefaultUserCfgFileDir() + "dmpRecord.txt";
    }
    static QString sysConfig() { return Quindar_MsgType::sysConfigRequest; }
    static QDateTime timeOf(const QString& dump) {
        return QDateTime::fromString(DumpFile::of(QFileInfo(dump)).createTime, "yyyyMMdd-HHmmss");
    }
    static QVariantMap recordAt(const QDateTime& time, const QVariantList& stack) {
        return {
            {ClientMonitor::TagDump, QVariantMap{{"time", time.toString("yyyy-MM-dd HH:mm:ss.zzz")},
                                                 {ClientMonitor::TagCallStack, stack}}}};
    }
    static void setBoard(const QVariantMap& exceptions) {
        ZnCore::instance()->setCommonInfo(ClientMonitor::TagDump, exceptions);
    }
    /// Empty files "00000.dmp" and so on.
    static void makeDumps(const QString& folder, int count) {
        for (int i = 0; i < count; ++i) {
            const QByteArray path =
                QFile::encodeName(folder + QString("%1.dmp").arg(i, 5, 10, QLatin1Char('0')));
            const int file = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
            QVERIFY(file >= 0 && ::close(file) == 0);
        }
    }

    /// What the server says about the logs: a value, "no row" or "refused".
    void answer(const QString& value) const {
        if (value == "refused") {
            m_world->link().on(sysConfig(), ScriptedReply::refusal("not now"));
        } else if (value == "no row") {
            m_world->link().on(sysConfig(), ScriptedReply::rows({}));
        } else {
            m_world->link().on(sysConfig(),
                               ScriptedReply::rows({{{System::sysConfigValue, value}}}));
        }
    }
    int switchQueries() const { return m_world->link().requestCount(sysConfig()); }
    void upload() const { uploadDmpInfo(m_presenter, *m_sink, m_clock); }
    QStringList reported() const {
        QStringList names;
        for (const QVariant& name : m_sink->valuesOf("fileName")) {
            names.append(name.toString());
        }
        return names;
    }
    /// The names of the record's lines, in their order.
    static QStringList recordNames() {
        QStringList names;
        const QString text = QString::fromUtf8(contentOf(recordFile()));
        for (const QString& line : text.split('\n', Qt::SkipEmptyParts)) {
            names.append(line.section('|', 0, 0));
        }
        return names;
    }

    std::unique_ptr<ClientWorld> m_world;
    // A closing platform deletes the presenter.
    QPointer<RecordingPresenter> m_presenter;
    std::unique_ptr<ListSink> m_sink;
    MovableClock m_clock;
};

QTEST_GUILESS_MAIN(DumpReportsTest)
#include "dump_reports_test.moc"
