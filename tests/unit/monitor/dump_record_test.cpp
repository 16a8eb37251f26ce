#include "dump_record.h"

#include <QTemporaryDir>
#include <QtTest>

#include "crash_files.h"
#include "log_capture.h"
#include "vocabulary/names.h"

namespace {

inline const QString kNotWritten = QStringLiteral("the list of reported dumps is not written,");

}  // namespace

class DumpRecordTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_file = m_dir->filePath("dmpRecord.txt");
    }

    void line_ofAFile_hasNameTimeAndWholeMegabytes_data() {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("size");
        QTest::newRow("empty") << 0 << "0MB";
        QTest::newRow("a byte less than one") << 1024 * 1024 - 1 << "0MB";
        QTest::newRow("one") << 1024 * 1024 << "1MB";
        QTest::newRow("almost six") << 6 * 1024 * 1024 - 1 << "5MB";
    }

    void line_ofAFile_hasNameTimeAndWholeMegabytes() {
        QFETCH(int, bytes);
        QFETCH(QString, size);
        const QString path = m_dir->filePath("崩溃 1.dmp");
        writeFile(path);
        QVERIFY(QFile::resize(path, bytes));
        const QFileInfo info(path);
        const QString time = creationTime(info).toString("yyyyMMdd-HHmmss");
        const DumpFile dump = DumpFile::of(info);
        QCOMPARE(dump.line(), "崩溃 1.dmp|" + time + '|' + size);
        QCOMPARE(dump.report(),
                 (QVariantMap{{"fileName", "崩溃 1.dmp"}, {"createTime", time}, {"size", size}}));
    }

    void creationTime_fileChangedLongAgo_isNotTheChange() {
        const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
        const QString path = m_dir->filePath("a.dmp");
        writeFile(path);
        QFile file(path);
        QVERIFY(file.open(QFile::ReadWrite));
        QVERIFY(file.setFileTime(before.addDays(-100), QFileDevice::FileModificationTime));
        file.close();
        const QFileInfo info(path);
        QVERIFY(info.lastModified() < before);
        QVERIFY(creationTime(info) >= before);
        QVERIFY(creationTime(info) <= QDateTime::currentDateTime().addSecs(2));
    }

    void creationTime_fileWithoutBirthTime_isTheChangeOfItsMetadata() {
        const QFileInfo info("/proc/version");
        if (info.birthTime().isValid()) {
            QSKIP("this system keeps birth times of such files");
        }
        QVERIFY(creationTime(info).isValid());
        QCOMPARE(creationTime(info), info.metadataChangeTime());
    }

    void names_linesOfThreePartsOrMore_areRead() {
        writeFile(m_file,
                  "a.dmp|20260105-093000|1MB\r\n"
                  "short.dmp|20260105-093000\n"
                  "\n"
                  "|||\n"
                  "||b.dmp||20260105-093000|2MB|\n"
                  "empty.dmp||1MB\n"
                  "崩溃.dmp|anything|else|and|more");
        QCOMPARE(DumpRecord(m_file).names(), (QSet<QString>{"a.dmp", "b.dmp", "崩溃.dmp"}));
    }

    void names_lineThatIsTooLong_isLeftOut() {
        writeFile(m_file, "a.dmp|t|1MB\n" + QByteArray(2 * 1024 * 1024, 'x') + "|t|1MB\nb.dmp|t|1");
        QCOMPARE(DumpRecord(m_file).names(), (QSet<QString>{"a.dmp", "b.dmp"}));
    }

    void names_thatAreRead_areLogged() {
        LogCapture log;
        QCOMPARE(DumpRecord(m_file).names(), QSet<QString>());
        QVERIFY(log.texts(QtDebugMsg).isEmpty());
        writeFile(m_file, "a.dmp|20260105-093000|1MB");
        QCOMPARE(DumpRecord(m_file).names(), QSet<QString>{"a.dmp"});
        QCOMPARE(log.texts(QtDebugMsg).filter("the reported dumps: QSet(\"a.dmp\")").size(), 1);
    }

    void names_noFile_areEmpty() {
        QCOMPARE(DumpRecord(m_file).names(), QSet<QString>());
        QVERIFY(QDir().mkpath(m_file));
        QCOMPARE(DumpRecord(m_file).names(), QSet<QString>());
        QVERIFY(QDir().rmdir(m_file));
        linkInACircle(m_file);
        QCOMPARE(DumpRecord(m_file).names(), QSet<QString>());
    }

    void written_lines_replaceTheFileWithoutALastLineEnd() {
        writeFile(m_file, QByteArray(1000, 'x'));
        LogCapture log;
        DumpRecord(m_file).write({"崩溃.dmp|20260105-093000|1MB", "b.dmp|20260105-093001|0MB"});
        QCOMPARE(contentOf(m_file), QByteArray("崩溃.dmp|20260105-093000|1MB\n"
                                               "b.dmp|20260105-093001|0MB"));
        QCOMPARE(DumpRecord(m_file).names(), (QSet<QString>{"崩溃.dmp", "b.dmp"}));
        DumpRecord(m_file).write({});
        QCOMPARE(QFileInfo(m_file).size(), qint64(0));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void written_whereNoFileCanBe_isOneWarning() {
        for (const bool isFolder : {true, false}) {
            if (isFolder) {
                QVERIFY(QDir().mkpath(m_file));
            } else {
                QVERIFY(QDir().rmdir(m_file));
                linkInACircle(m_file);
            }
            LogCapture log;
            DumpRecord(m_file).write({"a.dmp|20260105-093000|1MB"});
            QCOMPARE(log.texts(QtWarningMsg).size(), 1);
            QVERIFY(log.contains(QtWarningMsg, kNotWritten));
            QVERIFY(log.contains(QtWarningMsg, m_file));
        }
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_file;
};

QTEST_GUILESS_MAIN(DumpRecordTest)
#include "dump_record_test.moc"
