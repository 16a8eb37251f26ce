#include <QCoreApplication>
#include <QDate>
#include <QProcess>
#include <QtTest>
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "local_platform.h"

namespace {

constexpr int kThreads = 20;
constexpr int kProcesses = 40;  // without the set-up about one in ten fails
constexpr const char* kChild = "--child";

/// The first dates of a process, read and written by many threads at once. Returns the number of
/// threads with a wrong result.
int firstDateTexts() {
    // The platform is loaded because it is used.
    if (LocalPlatform::instance().pendingRequestCount() != 0) {
        return -1;
    }
    std::atomic<int> wrong{0};
    std::atomic<int> ready{0};
    const auto readAndWrite = [&] {
        ++ready;
        while (ready < kThreads) {
            std::this_thread::yield();
        }
        const QDate day(2026, 1, 5);
        const QString text = day.toString(QStringLiteral("yyyyMMdd"));
        const bool isRight = text == QLatin1String("20260105") &&
                             QDate::fromString(text, QStringLiteral("yyyyMMdd")) == day;
        wrong += isRight ? 0 : 1;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(readAndWrite);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return wrong;
}

}  // namespace

class FirstDateTextTest : public QObject {
    Q_OBJECT

private slots:
    void firstDatesOfAProcess_onManyThreads_areRight() {
        for (int i = 0; i < kProcesses; ++i) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(), {kChild});
            QVERIFY2(child.waitForFinished(), qPrintable(child.errorString()));
            QCOMPARE(child.exitStatus(), QProcess::NormalExit);
            QVERIFY2(child.exitCode() == 0, child.readAllStandardError().constData());
        }
    }
};

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], kChild) == 0) {
        return firstDateTexts() == 0 ? 0 : 1;
    }
    QCoreApplication app(argc, argv);
    FirstDateTextTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "first_date_text_test.moc"
