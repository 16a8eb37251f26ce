#include "log_file.h"

#include <QLoggingCategory>
#include <QtTest>
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
    void cleanup();

private:
    LogFile::Options options() const;
    QStringList lines(const QString& file) const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QtMessageHandler m_before = nullptr;
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

void LogFileTest::fileInAFile_isRefusedWithItsName() {
    QFile obstacle(m_dir->filePath(QStringLiteral("log")));
    QVERIFY(obstacle.open(QFile::WriteOnly));
    QString error;
    QVERIFY(!LogFile::install(options(), &error));
    QVERIFY2(error.contains(obstacle.fileName()), qPrintable(error));
}

QTEST_GUILESS_MAIN(LogFileTest)
#include "log_file_test.moc"
