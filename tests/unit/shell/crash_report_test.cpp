#include "crash_report.h"

#include <unistd.h>

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <limits>
#include <random>

#include "crash_time.h"
#include "module_map.h"
#include "plain_text.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"

namespace {

constexpr qint64 kCrashMs = 1767576600123;  // 2026-01-05 01:30:00.123 UTC
constexpr int kEightHours = 8 * 3600;

std::vector<ModuleMap::Module> twoModules() {
    return {{0x1000, 0x1000, 0x2000, "program"}, {0x5000, 0x5800, 0x6000, "libgrpc.so.1"}};
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class CrashReportTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(m_dir->filePath("dumps")) && QDir().mkpath(m_dir->filePath("log")));
    }

    void numbers_ofAnySize_arePadded() {
        PlainText text;
        text.number(0).text(" ").number(7, 3).text(" ").number(-12).text(" ").number(12345, 2);
        text.text(" ").number(std::numeric_limits<qint64>::min()).text(" ");
        text.hex(0).text(" ").hex(std::numeric_limits<quint64>::max());
        QCOMPARE(QString(text.c_str()),
                 QString("0 007 -12 12345 -9223372036854775808 0x0 0xffffffffffffffff"));
        QVERIFY(text.isWhole());
    }

    void text_longerThanTheBuffer_isCutOrWrittenInPieces() {
        const QByteArray part(100, 'x');
        PlainText cut;
        QFile file(m_dir->filePath("long"));
        QVERIFY(file.open(QFile::WriteOnly));
        PlainText written(file.handle());
        for (int i = 0; i < 50; ++i) {
            cut.text(part.constData());
            written.text(part.constData());
        }
        written.flush();
        QVERIFY(!cut.isWhole());
        QCOMPARE(qstrlen(cut.c_str()), 1023U);
        QVERIFY(written.isWhole());
        QCOMPARE(contentOf(file.fileName()), QByteArray(5000, 'x'));
    }

    void localTime_ofAnyMoment_isThatOfTheCalendar() {
        std::mt19937_64 random(20260105);
        // From 1600 to 2400, so with leap days and centuries without them.
        std::uniform_int_distribution<qint64> moments(-11676096000000, 13569465600000);
        std::uniform_int_distribution<int> offsets(-12 * 4, 14 * 4);
        for (int i = 0; i < 20000; ++i) {
            const qint64 ms = moments(random);
            const int offset = offsets(random) * 900;
            const QDateTime wanted = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).addSecs(offset);
            const CrashTime time = CrashTime::of(ms, offset);
            QCOMPARE(QDate(time.year, time.month, time.day), wanted.date());
            QCOMPARE(QTime(time.hour, time.minute, time.second, time.millisecond), wanted.time());
        }
    }

    void modules_ofTheProcess_containItsFunctions() {
        const ModuleMap map = ModuleMap::ofProcess();
        const ModuleMap::Module* const own =
            map.find(reinterpret_cast<std::uintptr_t>(&CrashReportTest::staticMetaObject));
        QVERIFY(own);
        QCOMPARE(QString::fromStdString(own->name), QString("crash_report_test"));
        const ModuleMap::Module* const other =
            map.find(reinterpret_cast<std::uintptr_t>(&QObject::staticMetaObject));
        QVERIFY(other && other->name.find("Qt5Core") != std::string::npos);
        QVERIFY(!map.find(0));
    }

    void module_atItsBounds_isFound() {
        const ModuleMap map(twoModules());
        QVERIFY(!map.find(0xfff) && map.find(0x1000) && map.find(0x1fff) && !map.find(0x2000));
        QVERIFY(!map.find(0x5000) && map.find(0x5800));
    }

    void moduleName_withAnyCharacters_isATextOfJson() {
        QCOMPARE(moduleName("/usr/lib/lib\"a\\b\n.so"), std::string("lib_a_b_.so"));
        QCOMPARE(moduleName("plain"), std::string("plain"));
        QCOMPARE(moduleName("/x/库.so"), std::string("库.so"));
    }

    void report_ofACrash_isADumpAndARecord() {
        const std::uintptr_t frames[] = {0x1234, 0x5801, 0x9999};
        QVERIFY(report().write(facts(frames, 3)));
        const QByteArray line = contentOf(m_dir->filePath("log/dmpLog_20260105-093000-77.txt"));
        QCOMPARE(line.count('\n'), 1);
        QVERIFY(line.endsWith('\n'));
        QVariantMap record;
        QCOMPARE(VelmarUtils::TransStr2Map(QString::fromUtf8(line.chopped(1)), record), QString());
        const QVariantMap dump = record.value(ClientMonitor::TagDump).toMap();
        QCOMPARE(record.size(), 1);
        QCOMPARE(dump.size(), 2);
        QCOMPARE(dump.value("time").toString(), QString("2026-01-05 09:30:00.123"));
        QCOMPARE(dump.value(ClientMonitor::TagCallStack).toList(),
                 (QVariantList{"program+0x234", "libgrpc.so.1+0x801", "0x9999"}));
        const QByteArray text =
            contentOf(m_dir->filePath("dumps/velmar-client-20260105-093000-77.dmp"));
        for (const char* part : {"time: 2026-01-05 09:30:00.123\n", "signal: 11 SIGSEGV\n",
                                 "address: 0x10\n", "process: 77\n", "thread: 78\n",
                                 "  1  libgrpc.so.1+0x801\n", "  0x5800 0x6000 libgrpc.so.1\n"}) {
            QVERIFY2(text.contains(part), part);
        }
    }

    void report_withoutFrames_hasAnEmptyCallStack() {
        QVERIFY(report().write(facts(nullptr, 0)));
        QVariantMap record;
        const QByteArray line = contentOf(m_dir->filePath("log/dmpLog_20260105-093000-77.txt"));
        QCOMPARE(VelmarUtils::TransStr2Map(QString::fromUtf8(line), record), QString());
        const QVariantMap dump = record.value(ClientMonitor::TagDump).toMap();
        QVERIFY(dump.contains(ClientMonitor::TagCallStack));
        QVERIFY(dump.value(ClientMonitor::TagCallStack).toList().isEmpty());
    }

    void report_whereFilesExist_leavesThemAsTheyAre() {
        QVERIFY(report().write(facts(nullptr, 0)));
        const QString dump = m_dir->filePath("dumps/velmar-client-20260105-093000-77.dmp");
        const QByteArray before = contentOf(dump);
        const std::uintptr_t frames[] = {0x1234};
        QVERIFY(!report().write(facts(frames, 1)));
        QCOMPARE(contentOf(dump), before);
    }

    void report_withoutAFolder_writesTheOtherFile() {
        QVERIFY(QDir(m_dir->filePath("log")).removeRecursively());
        QVERIFY(!report().write(facts(nullptr, 0)));
        QVERIFY(QFile::exists(m_dir->filePath("dumps/velmar-client-20260105-093000-77.dmp")));
    }

    void signalNames_ofCrashes_areKnown() {
        QCOMPARE(QString(crashSignalName(SIGABRT)), QString("SIGABRT"));
        QCOMPARE(QString(crashSignalName(SIGBUS)), QString("SIGBUS"));
        QCOMPARE(QString(crashSignalName(SIGTERM)), QString("?"));
    }

private:
    CrashReport report() const {
        return CrashReport({m_dir->filePath("dumps").toStdString(),
                            m_dir->filePath("log").toStdString(), kEightHours},
                           ModuleMap(twoModules()));
    }
    static CrashFacts facts(const std::uintptr_t* frames, int count) {
        CrashFacts facts;
        facts.signal = SIGSEGV;
        facts.msSinceEpoch = kCrashMs;
        facts.processId = 77;
        facts.threadId = 78;
        facts.address = 0x10;
        facts.frames = frames;
        facts.frameCount = count;
        return facts;
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(CrashReportTest)
#include "crash_report_test.moc"
