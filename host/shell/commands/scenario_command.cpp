#include "scenario_command.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <cstdio>

#include "client_stage.h"
#include "home_mark.h"
#include "interrupt_watch.h"
#include "log_file.h"
#include "main_loop_gate.h"
#include "output.h"
#include "scenario_parser.h"
#include "scenario_player.h"
#include "shell_options.h"

namespace {

enum ExitCode { Success = 0, Failed = 1, WrongUsage = 2 };

/// What playInChild() returns in addition to exit codes.
constexpr int kCrashed = -1;
constexpr int kInterrupted = -2;

constexpr int kSectionLimitMs = 120000;
constexpr int kEndLimitMs = 5000;
/// After an interrupt the user gets the prompt back at once; the child's home is not needed then.
constexpr int kInterruptedEndLimitMs = 500;
constexpr qint64 kMostBytes = 16 * 1024 * 1024;

void print(std::FILE* stream, const QString& text) {
    printTo(stream, text);
}

bool readScenario(const QString& fileName, Scenario* scenario, QString* error) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(fileName, file.errorString());
        return false;
    }
    return parseScenario(fileName, file.read(kMostBytes), scenario, error);
}

/// Plays one section in this process.
int playSection(const ShellOptions& options, const QString& pluginsDir, const Scenario& scenario) {
    QString report;
    LogFile::Options log;
    log.file = QDir(options.homeDir).filePath(QStringLiteral("log/client.log"));
    log.debug = true;  // scenarios expect debug lines too
    log.onStderr = options.verbose;
    if (options.section > scenario.sections.size() || !LogFile::install(log, &report)) {
        print(stderr, QStringLiteral("velmar-client: %1").arg(report));
        return Failed;
    }
    const auto tape = std::make_shared<ScenarioTape>();
    ScenarioTape::keepLog(tape);
    Client::Options client;
    client.homeDir = options.homeDir;
    client.pluginsDir = pluginsDir;
    client.user = options.user.isEmpty() ? SampleLogin::user : options.user;
    client.market = scenario.market;
    client.ticksPerSecond = scenario.ticksPerSecond;
    // A scenario sets the clock and expects the phase that belongs to it.
    client.marketHours = true;
    InterruptWatch watch(&Client::endWaits);
    ClientStage stage(client, tape);
    ScenarioPlayer player(stage, tape);
    const bool passed =
        player.play(scenario.fileName, scenario.sections.at(options.section - 1), &report);
    stage.stop();
    // After an interrupt steps fail for no reason of their own.
    if (!passed && !InterruptWatch::hasCome()) {
        print(stdout, report);
    }
    return passed ? Success : Failed;
}

/// Plays one section in a child process, which inherits stdout and stderr.
int playInChild(const ShellOptions& options, const QString& pluginsDir, const QString& home,
                int section) {
    QStringList arguments{QStringLiteral("--scenario"),
                          options.scenarioFile,
                          QStringLiteral("--scenario-section"),
                          QString::number(section),
                          QStringLiteral("--home"),
                          home,
                          QStringLiteral("--plugins"),
                          pluginsDir};
    if (!options.user.isEmpty()) {
        arguments << QStringLiteral("--user") << options.user;
    }
    if (options.verbose) {
        arguments << QStringLiteral("--verbose");
    }
    MainLoopGate gate;
    InterruptWatch watch;
    QObject::connect(&watch, &InterruptWatch::interrupted, &gate, &MainLoopGate::wake);
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    QObject::connect(&child, &QProcess::stateChanged, &gate, &MainLoopGate::wake);
    child.start(QCoreApplication::applicationFilePath(), arguments);
    const bool ended = gate.waitUntil(
        [&child] { return child.state() == QProcess::NotRunning || InterruptWatch::hasCome(); },
        kSectionLimitMs);
    if (child.state() == QProcess::NotRunning) {
        return child.error() != QProcess::FailedToStart &&
                       child.exitStatus() == QProcess::NormalExit
                   ? child.exitCode()
                   : kCrashed;
    }
    if (!ended) {
        print(stdout, QStringLiteral("not finished within %1 s").arg(kSectionLimitMs / 1000));
    }
    child.terminate();
    if (!child.waitForFinished(ended ? kInterruptedEndLimitMs : kEndLimitMs)) {
        child.kill();
        child.waitForFinished();
    }
    return ended ? kInterrupted : Failed;
}

int playAll(const ShellOptions& options, const QString& pluginsDir, const Scenario& scenario) {
    QTemporaryDir folder;
    const QString home =
        options.homeDir.isEmpty() ? folder.path() : QDir(options.homeDir).absolutePath();
    QString error;
    switch (HomeMark::take(home, HomeMark::Owner::Scenario, &error)) {
        case HomeMark::Outcome::Taken:
            break;
        case HomeMark::Outcome::Refused:
            print(stderr, QStringLiteral("velmar-client: ") + error);
            return WrongUsage;
        case HomeMark::Outcome::Unwritable:
            print(stderr, QStringLiteral("velmar-client: ") + error);
            return Failed;
    }
    const QString name = QFileInfo(scenario.fileName).fileName();
    QElapsedTimer timer;
    timer.start();
    int steps = 0;
    for (int i = 0; i < scenario.sections.size(); ++i) {
        const ScenarioSection& section = scenario.sections.at(i);
        const int code = playInChild(options, pluginsDir, home, i + 1);
        if (code == kInterrupted) {
            print(stdout, QStringLiteral("%1: interrupted").arg(name));
            return Failed;
        }
        if (code != Success) {
            if (code != Failed) {
                print(stdout,
                      QStringLiteral("%1:%2: the client failed (%3)")
                          .arg(scenario.fileName)
                          .arg(section.line)
                          .arg(code == kCrashed ? QStringLiteral("it crashed or did not start")
                                                : QStringLiteral("exit code %1").arg(code)));
            }
            print(stdout, QStringLiteral("%1: failed").arg(name));
            return Failed;
        }
        steps += section.steps.size();
    }
    print(stdout,
          QStringLiteral("%1: passed, %2 steps, %3 ms").arg(name).arg(steps).arg(timer.elapsed()));
    return Success;
}

}  // namespace

int runScenario(const ShellOptions& options, const QString& pluginsDir) {
    Scenario scenario;
    QString error;
    if (!readScenario(options.scenarioFile, &scenario, &error)) {
        print(stderr, error);
        return WrongUsage;
    }
    return options.section > 0 ? playSection(options, pluginsDir, scenario)
                               : playAll(options, pluginsDir, scenario);
}
