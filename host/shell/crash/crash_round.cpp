#include "crash_round.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include "crash_handler.h"
#include "crash_kinds.h"
#include "crash_report.h"
#include "crash_watch.h"
#include "main_loop_gate.h"
#include "output.h"
#include "start_up_wait.h"

namespace {

constexpr int kMsOfSecond = 1000;
/// For what the client does beside waiting for its accounts.
constexpr int kFurtherMs = 60000;
constexpr int kEndMs = 5000;
inline const QString kCrashStep = QStringLiteral("crash");

/// The files that crashes have left in a home.
QStringList filesOfCrashes(const QString& home) {
    return QDir(home + QStringLiteral("/config/user")).entryList({QStringLiteral("*.dmp")}) +
           QDir(home + QStringLiteral("/log")).entryList({QStringLiteral("dmpLog_*")});
}

/// What the parent shows of a child that has ended.
struct Ended {
    bool isStarted = false;
    bool isCrash = false;
    int code = 0;  ///< of a crash the signal's number
};

/// Runs one of the two clients; it prints to this process's stdout and stderr.
Ended runStep(const ShellOptions& options, const QString& step) {
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (step != kCrashStep) {
        arguments.removeAll(QStringLiteral("--rebuild"));
    }
    arguments << QStringLiteral("--crash-step") << step;
    MainLoopGate gate;
    InterruptWatch watch;
    QObject::connect(&watch, &InterruptWatch::interrupted, &gate, &MainLoopGate::wake);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    QObject::connect(&child, &QProcess::stateChanged, &gate, &MainLoopGate::wake);
    child.start(QCoreApplication::applicationFilePath(), arguments);
    gate.waitUntil(
        [&child] { return child.state() == QProcess::NotRunning || InterruptWatch::hasCome(); },
        2 * (options.waitSeconds * kMsOfSecond + kFurtherMs));
    if (child.state() != QProcess::NotRunning) {
        child.terminate();
        if (!child.waitForFinished(kEndMs)) {
            child.kill();
            child.waitForFinished(kEndMs);
        }
        return {};
    }
    Ended ended;
    ended.isStarted = child.error() != QProcess::FailedToStart;
    ended.isCrash = ended.isStarted && child.exitStatus() == QProcess::CrashExit;
    ended.code = child.exitCode();
    return ended;
}

ExitCode superviseRound(const ShellOptions& options) {
    const QString home = homeOf(options);
    const QStringList before = filesOfCrashes(home);
    const Ended crashed = runStep(options, kCrashStep);
    if (!crashed.isCrash) {
        if (InterruptWatch::hasCome()) {
            printError(QStringLiteral("interrupted"));
        } else if (!crashed.isStarted || crashed.code == Well) {
            printError(QStringLiteral("the client was to crash and did not"));
        }
        // Otherwise it has said itself why it did not start.
        return crashed.code == WrongUsage ? WrongUsage : Failed;
    }
    printTo(stdout, QStringLiteral("the client has ended by %1")
                        .arg(QLatin1String(crashSignalName(crashed.code))));
    QString dump;
    QString record;
    for (const QString& file : filesOfCrashes(home)) {
        if (!before.contains(file)) {
            (file.endsWith(QLatin1String(".dmp")) ? dump : record) = file;
            printTo(stdout, QStringLiteral("it has left %1").arg(file));
        }
    }
    if (dump.isEmpty() || record.isEmpty()) {
        printError(QStringLiteral("the crash has left no %1")
                       .arg(dump.isEmpty() ? QStringLiteral("dump") : QStringLiteral("record")));
        return Failed;
    }
    const Ended reported = runStep(options, dump);
    return reported.isStarted && !reported.isCrash && reported.code == Well ? Well : Failed;
}

ExitCode crashOnPurpose(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    // The system's own dump of the whole memory is of no use here.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    WatchedClient watched(clientOptions(options));
    QString error;
    if (!watched.start()) {
        return Failed;
    }
    if (!awaitStartUp(watched.client, options.waitSeconds * kMsOfSecond, &error)) {
        printError(error);
        return Failed;
    }
    printTo(stdout, QStringLiteral("client %1 is up and crashes on purpose: %2")
                        .arg(getpid())
                        .arg(options.crashKind));
    CrashKinds::crash(options.crashKind);
    return Failed;
}

/// Ends the wait of the client information, which otherwise gathers for fifteen seconds.
bool sendClientInformation(WatchedClient& watched) {
    QString error;
    const FacadeFunction* const flush =
        watched.client.facade().choose(QStringLiteral("UploadAllClientInfo"), {}, &error);
    QJsonObject ignored;
    if (flush && watched.client.call(*flush, {}, kFurtherMs, &ignored)) {
        return true;
    }
    printError(flush ? QStringLiteral("the client information was not sent") : error);
    return false;
}

ExitCode reportCrash(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    Client* running = nullptr;
    const auto sight = std::make_shared<CrashSight>(options.crashStep, [&running] {
        if (running) {
            running->gate().wake();
        }
    });
    Client::Options prepared = clientOptions(options);
    prepared.wrapLink = [sight](std::unique_ptr<GatewayLink> link) {
        return std::make_unique<CrashWatchLink>(std::move(link), sight);
    };
    Client::Listener listener;
    listener.platformStarted = [sight] { (new CrashWatchPresenter(sight))->initPresenter(); };
    WatchedClient watched(prepared, listener);
    running = &watched.client;
    if (!watched.start()) {
        return Failed;
    }
    printTo(stdout, QStringLiteral("client %1 is up again").arg(getpid()));
    MainLoopGate& gate = watched.client.gate();
    gate.waitUntil([&sight] { return sight->hasLogRequest() || InterruptWatch::hasCome(); },
                   kFurtherMs);
    const bool isSent = !InterruptWatch::hasCome() && sendClientInformation(watched);
    gate.waitUntil(
        [&sight] { return (sight->hasDump() && sight->hasExit()) || InterruptWatch::hasCome(); },
        isSent ? kFurtherMs : 0);
    watched.client.stop();
    for (const QString& line : sight->lines()) {
        printTo(stdout, line);
    }
    const auto isMissing = [](bool isSeen, const char* what) {
        if (!isSeen) {
            printError(QStringLiteral("not seen: %1").arg(QLatin1String(what)));
        }
        return !isSeen;
    };
    const bool isDumpMissing = isMissing(sight->hasDump(), "the report of the dump");
    const bool isExitMissing = isMissing(sight->hasExit(), "the record of the exit");
    const bool isLogMissing = isMissing(sight->hasLogRequest(), "the request for the logs");
    return isDumpMissing || isExitMissing || isLogMissing ? Failed : Well;
}

}  // namespace

ExitCode runCrash(const ShellOptions& options) {
    if (!CrashHandler::isAvailable()) {
        printError(QStringLiteral(
            "this build does not report crashes: it was made without libunwind-dev, or with a "
            "sanitizer"));
        return Failed;
    }
    if (options.crashStep.isEmpty()) {
        return superviseRound(options);
    }
    return options.crashStep == kCrashStep ? crashOnPurpose(options) : reportCrash(options);
}
