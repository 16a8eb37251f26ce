#include "client_run.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <cstdio>
#include <limits>

#include "home_mark.h"
#include "log_file.h"
#include "output.h"
#include "sample_market.h"
#include "status_line.h"

QString homeOf(const ShellOptions& options) {
    QString home = options.homeDir;
    if (home.isEmpty()) {
        home = qEnvironmentVariable("VELMAR_HOME");
    }
    if (home.isEmpty()) {
        home = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
               QStringLiteral("/velmar");
    }
    return QDir(home).absolutePath();
}

QString pluginsOf(const ShellOptions& options) {
    const QString standard = QCoreApplication::applicationDirPath() + QStringLiteral("/../plugins");
    return QDir::cleanPath(
        QDir(options.pluginsDir.isEmpty() ? standard : options.pluginsDir).absolutePath());
}

Client::Options clientOptions(const ShellOptions& options) {
    Client::Options client;
    client.homeDir = homeOf(options);
    client.pluginsDir = pluginsOf(options);
    client.user = options.user.isEmpty() ? SampleLogin::user : options.user;
    client.market.scale = options.scale;
    client.rebuildMarket = options.rebuild;
    client.accountWaitMs = options.waitSeconds * 1000;
    client.tickSymbols = options.tickSymbols;
    client.ticksPerSecond = options.tickRate;
    client.marketHours = options.marketHours;
    client.clock = options.clock;
    client.dealsPerSecond = options.dealRate;
    client.dealSeed = options.dealSeed;
    client.bodyLimit = options.bodyLimit;
    client.reportsCrashes = true;
    for (const Fault& fault : options.faults) {
        client.faults->add(fault);
    }
    return client;
}

ExitCode openHome(const ShellOptions& options) {
    QString error;
    switch (HomeMark::take(homeOf(options), HomeMark::Owner::Client, &error)) {
        case HomeMark::Outcome::Taken:
            break;
        case HomeMark::Outcome::Refused:
            printError(error);
            return WrongUsage;
        case HomeMark::Outcome::Unwritable:
            printError(error);
            return Failed;
    }
    LogFile::Options log;
    log.file = homeOf(options) + QStringLiteral("/log/client.log");
    log.inDayFolders = true;
    log.debug = options.verbose || qEnvironmentVariableIsSet("VELMAR_LOG_DEBUG");
    log.onStderr = options.verbose;
    if (!LogFile::install(log, &error)) {
        printError(error);
        return Failed;
    }
    return Well;
}

int columnsOfOutput() {
    return StatusLine::isTerminal() ? StatusLine::terminalColumns()
                                    : std::numeric_limits<int>::max();
}

bool drawsInPlace(const ShellOptions& options) {
    const bool isLogBetween = options.verbose && StatusLine::isTerminal(stderr);
    return StatusLine::isTerminal() && !isLogBetween && options.pluginFiles.isEmpty();
}

namespace {

/// A client says on stderr when it waits for another process.
Client::Listener withWaits(Client::Listener listener) {
    listener.waits = &printError;
    return listener;
}

}  // namespace

WatchedClient::WatchedClient(const Client::Options& options, const Client::Listener& listener)
    : client(options, withWaits(listener)), watch(&Client::endWaits) {
    QObject::connect(&watch, &InterruptWatch::interrupted, &client.gate(), &MainLoopGate::wake);
}

bool WatchedClient::start() {
    QString error;
    const bool started = client.start(&error);
    if (!started) {
        printError(error);
    }
    return started;
}

FacadeAsk WatchedClient::asking() {
    return [this](const FacadeFunction& function, const QStringList& arguments,
                  QJsonObject* answer) { return client.call(function, arguments, -1, answer); };
}

Client::Listener showOnStderr(ProgressBar& progress) {
    Client::Listener listener;
    listener.marketProgress = [&progress](int done, int total) { progress.show(done, total); };
    return listener;
}

ExitCode faultOf(const CommandAnswer& answer) {
    if (answer.interrupted) {
        printError(QStringLiteral("interrupted"));
        return Failed;
    }
    if (!answer.error.isEmpty()) {
        printError(answer.error);
        return WrongUsage;
    }
    return Well;
}

ExitCode printAnswer(const CommandAnswer& answer, const ShellOptions& options) {
    if (options.asJson) {
        // Of several documents, each is a line.
        printJson(answer.json, options.follow ? QJsonDocument::Compact : QJsonDocument::Indented);
    } else {
        printTo(stdout, answer.lines.join(QLatin1Char('\n')));
    }
    return answer.isFault ? Failed : Well;
}

namespace {

ExitCode follow(WatchedClient& watched, const ClientQuestion& question,
                const ShellOptions& options) {
    constexpr int kPauseMs = 1000;
    CommandAnswer last;
    for (bool isFirst = true;; isFirst = false) {
        const CommandAnswer answer = question.answer(watched);
        if (InterruptWatch::hasCome()) {
            if (isFirst) {
                printError(QStringLiteral("interrupted"));
                return Failed;
            }
            break;
        }
        if (const ExitCode fault = faultOf(answer)) {
            return fault;
        }
        if (isFirst || answer.lines != last.lines) {
            if (!isFirst && !options.asJson) {
                printTo(stdout, QString());
            }
            printAnswer(answer, options);
            last = answer;
        }
        if (std::ferror(stdout) != 0) {
            break;
        }
        watched.client.gate().waitUntil(&InterruptWatch::hasCome, kPauseMs);
    }
    watched.client.stop();
    return Well;
}

}  // namespace

ExitCode runQuestion(const ShellOptions& options, const ClientQuestion& question) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    Client::Options prepared = clientOptions(options);
    if (question.prepare) {
        question.prepare(prepared);
    }
    ProgressBar progress(stderr);
    WatchedClient watched(prepared, showOnStderr(progress));
    if (question.beforeStart) {
        question.beforeStart(watched);
    }
    if (!watched.start()) {
        return Failed;
    }
    if (question.isFollowed) {
        return follow(watched, question, options);
    }
    const CommandAnswer answer = question.answer(watched);
    if (const ExitCode fault = faultOf(answer)) {
        return fault;
    }
    watched.client.stop();
    return printAnswer(answer, options);
}
