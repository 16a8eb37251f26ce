#include "crash_handler.h"

#include <pthread.h>
#include <sys/resource.h>

#include <QDateTime>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <thread>

#include "child_process.h"
#include "crash_kinds.h"
#include "signal_stack.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// Crashes this process, whose crashes are reported in a folder: KIND on the main thread,
/// "thread:KIND" on another one, "raise" by a signal that is only sent, "twice" on two threads,
/// "null call" by a call of a null pointer.
[[noreturn]] void crashHere(const QString& kind, const QString& folder) {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    CrashHandler::install(folder + "/dumps", folder + "/log");
    CrashHandler::refresh();
    const auto crashOn = [](const QString& name) {
        SignalStack::provide();
        CrashKinds::crash(name);
    };
    if (kind == "raise") {
        std::raise(SIGSEGV);
    } else if (kind == "null call") {
        void (*volatile nowhere)() = nullptr;
        nowhere();
    } else if (kind == "twice") {
        pthread_barrier_t start;
        pthread_barrier_init(&start, nullptr, 2);
        const auto together = [&] {
            pthread_barrier_wait(&start);
            crashOn("segv");
        };
        std::thread one(together);
        std::thread two(together);
        one.join();
        two.join();
    } else if (kind.startsWith("thread:")) {
        std::thread(crashOn, kind.mid(7)).join();
    } else {
        CrashKinds::crash(kind);
    }
    std::_Exit(0);
}

}  // namespace

/// Each crash is one of this program in a process of its own.
class CrashHandlerTest : public QObject {
    Q_OBJECT

private slots:
    void crash_ofAnyKind_leavesOneReportAndEndsBySignal_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("signal");
        QTest::newRow("bad address") << "segv"
                                     << "11 SIGSEGV";
        QTest::newRow("abort") << "abort"
                               << "6 SIGABRT";
        QTest::newRow("stack used up") << "stack-overflow"
                                       << "11 SIGSEGV";
        QTest::newRow("bad address on a thread") << "thread:segv"
                                                 << "11 SIGSEGV";
        QTest::newRow("stack of a thread used up") << "thread:stack-overflow"
                                                   << "11 SIGSEGV";
        QTest::newRow("signal sent") << "raise"
                                     << "11 SIGSEGV";
        QTest::newRow("call of a null pointer") << "null call"
                                                << "11 SIGSEGV";
        QTest::newRow("two threads at once") << "twice"
                                             << "11 SIGSEGV";
    }

    void crash_ofAnyKind_leavesOneReportAndEndsBySignal() {
        if (!CrashHandler::isAvailable()) {
            QSKIP("this build does not report crashes");
        }
        QFETCH(QString, kind);
        QFETCH(QString, signal);
        const QTemporaryDir folder;
        const QDateTime before = QDateTime::currentDateTime();
        const ChildResult child =
            runChild(QCoreApplication::applicationFilePath(), {"--crash", kind, folder.path()});
        const QDateTime after = QDateTime::currentDateTime();
        QVERIFY2(child.started && !child.timedOut && child.crashed, qPrintable(child.output));
        const QStringList dumps = QDir(folder.filePath("dumps")).entryList(QDir::Files);
        const QStringList records = QDir(folder.filePath("log")).entryList(QDir::Files);
        QCOMPARE(dumps.size(), 1);
        QCOMPARE(records.size(), 1);
        QVERIFY(dumps.first().endsWith(".dmp") && records.first().startsWith("dmpLog_"));
        const QByteArray dump = contentOf(folder.filePath("dumps/") + dumps.first());
        QVERIFY2(dump.contains("signal: " + signal.toUtf8() + '\n'), dump);
        QVERIFY2(dump.contains("libQt5Core"), dump);
        // The bad address is null here, and a signal that was sent has none.
        QCOMPARE(dump.contains("\naddress: 0x0\n"), !kind.endsWith("stack-overflow"));
        QVariantMap record;
        const QByteArray line = contentOf(folder.filePath("log/") + records.first());
        QCOMPARE(VelmarUtils::TransStr2Map(QString::fromUtf8(line), record), QString());
        const QVariantMap fields = record.value(ClientMonitor::TagDump).toMap();
        const QDateTime time =
            QDateTime::fromString(fields.value("time").toString(), "yyyy-MM-dd HH:mm:ss.zzz");
        QVERIFY2(time >= before && time <= after, line);
        const QStringList stack = fields.value(ClientMonitor::TagCallStack).toStringList();
        QVERIFY2(!stack.filter("crash_handler_test+0x").isEmpty(), line);
    }

    void install_whereItIsNotAvailable_changesNothing() {
        if (CrashHandler::isAvailable()) {
            QSKIP("this build reports crashes");
        }
        const QTemporaryDir folder;
        struct sigaction before {};
        struct sigaction after {};
        QCOMPARE(sigaction(SIGSEGV, nullptr, &before), 0);
        CrashHandler::install(folder.filePath("dumps"), folder.filePath("log"));
        CrashHandler::refresh();
        QCOMPARE(sigaction(SIGSEGV, nullptr, &after), 0);
        QVERIFY(before.sa_sigaction == after.sa_sigaction);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void crash_ofAnUnknownKind_returns() {
        CrashKinds::crash("quietly");
        QCOMPARE(CrashKinds::names(), (QStringList{"segv", "abort", "stack-overflow"}));
    }
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4 && arguments.at(1) == "--crash") {
        crashHere(arguments.at(2), arguments.at(3));
    }
    CrashHandlerTest suite;
    return QTest::qExec(&suite, argc, argv);
}
#include "crash_handler_test.moc"
