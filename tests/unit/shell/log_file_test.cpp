#include "log_file.h"

#include <sys/stat.h>
#include <utime.h>

#include <QLoggingCategory>
#include <QtTest>
#include <atomic>
#include <ctime>
#include <thread>
#include <vector>

class LogFileTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void line_hasTimeLevelCategoryAndPlace();
    void furtherLinesOfAText_areIndented();
    void debugLine_writtenOnlyWhenWanted();
    void fullFile_isRenamedAndReplaced();
    void manyThreads_writeWholeLines();
    void fileInAFile_isRefusedWithItsName();
    void dayFolders_linesOfADay_areInItsFolderAndBehindTheLink();
    void dayFolders_atMidnight_goOnInTheNextDaysFile();
    void dayFolders_formerLog_movesToTheFolderOfItsDay();
    void dayFolders_fullFile_isRenamedWithinItsDay();
    void dayFolders_folderInPlaceOfTheLink_doesNotStopTheLog();
    void dayFolders_moreThanAreKept_loseTheEarliestAtTheStart();
    void dayFolders_oneMoreAtMidnight_loseTheEarliest();
    void dayFolders_otherFilesAndFolders_stay();
    void dayFolders_clockSetBack_keepsThePresentDay();
    void cleanup();

private:
    LogFile::Options options() const;
    /// In folders of the days, with the time of `m_now`.
    LogFile::Options dayOptions();
    QString inLog(const QString& name) const {
        return m_dir->filePath(QStringLiteral("log/") + name);
    }
    QStringList lines(const QString& file) const;
    /// Writes the log of each of these days, and the renamed one.
    void writeDays(const QStringList& days) const;
    /// The names of the folders, in order.
    QStringList folders() const {
        return QDir(inLog(QString())).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QtMessageHandler m_before = nullptr;
    std::atomic<std::time_t> m_now{0};
};

namespace {

const QLoggingCategory& lcTest() {
    static const auto* const category = new QLoggingCategory("velmar.shelltest");
    return *category;
}

}  // namespace

void LogFileTest::init() {
    m_dir = std::make_unique<QTemporaryDir>();
    m_before = qInstallMessageHandler(nullptr);
}

void LogFileTest::cleanup() {
    qInstallMessageHandler(m_before);
    QLoggingCategory::setFilterRules(QString());
}

LogFile::Options LogFileTest::options() const {
    LogFile::Options options;
    options.file = m_dir->filePath(QStringLiteral("log/client.log"));
    return options;
}

QStringList LogFileTest::lines(const QString& name) const {
    QFile file(name);
    if (!file.open(QFile::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void LogFileTest::line_hasTimeLevelCategoryAndPlace() {
    QString error;
    QVERIFY2(LogFile::install(options(), &error), qPrintable(error));
    qCWarning(lcTest) << "账户" << 7;
    const QStringList written = lines(options().file);
    QCOMPARE(written.size(), 1);
    const QRegularExpression form(
        QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} warn  velmar.shelltest "
                       "log_file_test.cpp:\\d+  账户 7$"));
    QVERIFY2(form.match(written.first()).hasMatch(), qPrintable(written.first()));
}

void LogFileTest::furtherLinesOfAText_areIndented() {
    QString error;
    QVERIFY(LogFile::install(options(), &error));
    const QString forged = QStringLiteral("2024-01-31 09:15:00.123 error velmar.core a.cpp:1  no");
    for (const char* const lineEnd : {"\n", "\r\n", "\r", "\n\r"}) {
        qCWarning(lcTest).noquote() << "refused:" + (lineEnd + forged);
    }
    const QStringList written = lines(options().file);
    QCOMPARE(written.filter(QRegularExpression(QStringLiteral("^\\d"))).size(), 4);
    QCOMPARE(written.filter(QStringLiteral("    ") + forged).size(), 4);
    QVERIFY(!written.join(QString()).contains(QLatin1Char('\r')));
}

void LogFileTest::debugLine_writtenOnlyWhenWanted() {
    QString error;
    LogFile::Options quiet = options();
    QVERIFY(LogFile::install(quiet, &error));
    qCDebug(lcTest) << "small talk";
    QCOMPARE(lines(quiet.file).size(), 0);
    LogFile::Options talkative = options();
    talkative.debug = true;
    QVERIFY(LogFile::install(talkative, &error));
    qCDebug(lcTest) << "small talk";
    QCOMPARE(lines(quiet.file).size(), 1);
}

void LogFileTest::fullFile_isRenamedAndReplaced() {
    QString error;
    LogFile::Options small = options();
    small.maxBytes = 1000;
    QVERIFY(LogFile::install(small, &error));
    for (int i = 0; i < 100; ++i) {
        qCInfo(lcTest) << "line" << i;
    }
    const QString old = small.file + QStringLiteral(".1");
    QVERIFY(QFileInfo(small.file).size() < 1200);
    QVERIFY(QFileInfo(old).size() >= 1000 && QFileInfo(old).size() < 1200);
    // The newest lines are complete.
    const QStringList kept = lines(old) + lines(small.file);
    for (int i = 0; i < kept.size(); ++i) {
        QVERIFY(kept.at(i).endsWith(QStringLiteral(" %1").arg(100 - kept.size() + i)));
    }
}

void LogFileTest::manyThreads_writeWholeLines() {
    QString error;
    QVERIFY(LogFile::install(options(), &error));
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int i = 0; i < 200; ++i) {
                qCInfo(lcTest) << "a whole line";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const QStringList written = lines(options().file);
    QCOMPARE(written.size(), 800);
    for (const QString& line : written) {
        QVERIFY(line.endsWith(QStringLiteral("  a whole line")));
    }
}

LogFile::Options LogFileTest::dayOptions() {
    // Noon of a day in the local zone.
    m_now = std::time_t(QDateTime(QDate(2026, 1, 5), QTime(12, 0)).toSecsSinceEpoch());
    LogFile::Options options;
    options.file = inLog(QStringLiteral("client.log"));
    options.inDayFolders = true;
    options.clock = [this] { return m_now.load(); };
    return options;
}

void LogFileTest::dayFolders_linesOfADay_areInItsFolderAndBehindTheLink() {
    QString error;
    QVERIFY2(LogFile::install(dayOptions(), &error), qPrintable(error));
    qCWarning(lcTest) << "one";
    QVERIFY(LogFile::install(dayOptions(), &error));  // as the next start does
    qCWarning(lcTest) << "two";
    const QStringList written = lines(inLog("2026-01-05/client.log"));
    QCOMPARE(written.size(), 2);
    QVERIFY(written.last().endsWith("  two"));
    QCOMPARE(QFileInfo(inLog("client.log")).symLinkTarget(), inLog("2026-01-05/client.log"));
    QCOMPARE(lines(inLog("client.log")), written);
    QCOMPARE(QDir(inLog(QString())).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{"2026-01-05", "client.log"}));
}

void LogFileTest::dayFolders_atMidnight_goOnInTheNextDaysFile() {
    QString error;
    QVERIFY(LogFile::install(dayOptions(), &error));
    m_now = std::time_t(QDateTime(QDate(2026, 1, 5), QTime(23, 59, 59)).toSecsSinceEpoch());
    qCWarning(lcTest) << "late";
    m_now = m_now + 1;
    qCWarning(lcTest) << "early";
    qCWarning(lcTest) << "next";
    QVERIFY(lines(inLog("2026-01-05/client.log")).last().endsWith("  late"));
    QCOMPARE(lines(inLog("2026-01-06/client.log")).size(), 2);
    QCOMPARE(QFileInfo(inLog("client.log")).symLinkTarget(), inLog("2026-01-06/client.log"));
    m_now = m_now - 1;  // a clock that was set back
    qCWarning(lcTest) << "late again";
    QVERIFY(lines(inLog("2026-01-05/client.log")).last().endsWith("  late again"));
}

void LogFileTest::dayFolders_formerLog_movesToTheFolderOfItsDay() {
    QVERIFY(QDir().mkpath(inLog(QString())));
    QFile former(inLog("client.log"));
    QVERIFY(former.open(QFile::WriteOnly) && former.write("former\n") > 0);
    former.close();
    utimbuf times{};
    times.modtime = std::time_t(QDateTime(QDate(2026, 1, 3), QTime(8, 0)).toSecsSinceEpoch());
    QCOMPARE(utime(QFile::encodeName(former.fileName()).constData(), &times), 0);
    QString error;
    QVERIFY2(LogFile::install(dayOptions(), &error), qPrintable(error));
    qCWarning(lcTest) << "new";
    QCOMPARE(lines(inLog("2026-01-03/client.log")), QStringList{"former"});
    QCOMPARE(lines(inLog("client.log")).size(), 1);
    QVERIFY(QFileInfo(inLog("client.log")).isSymLink());
}

void LogFileTest::dayFolders_fullFile_isRenamedWithinItsDay() {
    QString error;
    LogFile::Options small = dayOptions();
    small.maxBytes = 500;
    QVERIFY(LogFile::install(small, &error));
    for (int i = 0; i < 20; ++i) {
        qCInfo(lcTest) << "line" << i;
    }
    QVERIFY(QFileInfo(inLog("2026-01-05/client.log.1")).size() >= 500);
    QVERIFY(QFileInfo(inLog("client.log")).size() < 700);
    QVERIFY(!QFile::exists(inLog("client.log.1")));
}

void LogFileTest::dayFolders_folderInPlaceOfTheLink_doesNotStopTheLog() {
    QVERIFY(QDir().mkpath(inLog("client.log/below")));
    QString error;
    QVERIFY2(LogFile::install(dayOptions(), &error), qPrintable(error));
    qCWarning(lcTest) << "one";
    QCOMPARE(lines(inLog("2026-01-05/client.log")).size(), 1);
    QCOMPARE(QDir(inLog(QString())).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{"2026-01-05", "client.log"}));
}

void LogFileTest::writeDays(const QStringList& days) const {
    for (const QString& day : days) {
        QVERIFY(QDir().mkpath(inLog(day)));
        for (const char* const name : {"/client.log", "/client.log.1"}) {
            QFile file(inLog(day + name));
            QVERIFY(file.open(QFile::WriteOnly) && file.write("former\n") > 0);
        }
    }
}

void LogFileTest::dayFolders_moreThanAreKept_loseTheEarliestAtTheStart() {
    writeDays({"2025-12-31", "2024-02-29", "2026-01-04", "2026-01-03"});
    LogFile::Options three = dayOptions();
    three.daysKept = 3;
    QString error;
    QVERIFY(LogFile::install(three, &error));
    QCOMPARE(folders(), (QStringList{"2026-01-03", "2026-01-04", "2026-01-05"}));
    QCOMPARE(lines(inLog("2026-01-03/client.log")), QStringList{"former"});
    QVERIFY(QFile::exists(inLog("2026-01-03/client.log.1")));
}

void LogFileTest::dayFolders_oneMoreAtMidnight_loseTheEarliest() {
    writeDays({"2026-01-03", "2026-01-04"});
    LogFile::Options three = dayOptions();
    three.daysKept = 3;
    QString error;
    QVERIFY(LogFile::install(three, &error));
    QCOMPARE(folders().size(), 3);
    m_now = std::time_t(QDateTime(QDate(2026, 1, 6), QTime(0, 0)).toSecsSinceEpoch());
    qCWarning(lcTest) << "early";
    QCOMPARE(folders(), (QStringList{"2026-01-04", "2026-01-05", "2026-01-06"}));
    QCOMPARE(lines(inLog("client.log")).size(), 1);
}

void LogFileTest::dayFolders_otherFilesAndFolders_stay() {
    const QTemporaryDir elsewhere;
    writeDays({"2026-01-01", "2026-01-02", "ZnUpdateClient", "20260101", "2026-01-1x"});
    QVERIFY(QFile::rename(inLog("2026-01-01/client.log.1"), inLog("2026-01-01/other.log")));
    QVERIFY(QFile::copy(inLog("2026-01-01/client.log"), elsewhere.filePath("client.log")));
    QVERIFY(QFile::link(elsewhere.path(), inLog("2025-01-01")));
    LogFile::Options one = dayOptions();
    one.daysKept = 1;
    QString error;
    QVERIFY(LogFile::install(one, &error));
    QCOMPARE(folders(), (QStringList{"2025-01-01", "2026-01-01", "2026-01-05", "2026-01-1x",
                                     "20260101", "ZnUpdateClient"}));
    QCOMPARE(QDir(inLog("2026-01-01")).entryList(QDir::Files), QStringList{"other.log"});
    QVERIFY(QFile::exists(inLog("2026-01-1x/client.log")));
    QVERIFY(QFile::exists(elsewhere.filePath("client.log")));
}

void LogFileTest::dayFolders_clockSetBack_keepsThePresentDay() {
    writeDays({"2036-01-01", "2036-01-02", "2036-01-03"});
    LogFile::Options two = dayOptions();
    two.daysKept = 2;
    QString error;
    QVERIFY(LogFile::install(two, &error));
    qCWarning(lcTest) << "one";
    QCOMPARE(folders(), (QStringList{"2026-01-05", "2036-01-03"}));
    QCOMPARE(lines(inLog("client.log")).size(), 1);
}

void LogFileTest::fileInAFile_isRefusedWithItsName() {
    QFile obstacle(m_dir->filePath(QStringLiteral("log")));
    QVERIFY(obstacle.open(QFile::WriteOnly));
    QString error;
    QVERIFY(!LogFile::install(options(), &error));
    QVERIFY2(error.contains(obstacle.fileName()), qPrintable(error));
}

QTEST_GUILESS_MAIN(LogFileTest)
#include "log_file_test.moc"
