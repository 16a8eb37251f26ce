#include "commands.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <limits>

#include "accounts_command.h"
#include "client.h"
#include "commonquotahandler/common_quota_handler.h"
#include "doctor_command.h"
#include "home_mark.h"
#include "interrupt_watch.h"
#include "log_file.h"
#include "output.h"
#include "progress_bar.h"
#include "reference_table.h"
#include "rules_command.h"
#include "sample_market.h"
#include "scenario_command.h"
#include "start_up_wait.h"
#include "symbols_command.h"
#include "text_table.h"
#include "ticks_command.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kCageWaitSeconds = 20;
constexpr int kTickWaitMs = 3000;

enum ExitCode { Well = 0, StartFailed = 1, WrongUsage = 2 };

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
    for (const Fault& fault : options.faults) {
        client.faults->add(fault);
    }
    return client;
}

/// Takes the home folder and starts the log in it; prints why when it cannot.
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
            return StartFailed;
    }
    LogFile::Options log;
    log.file = homeOf(options) + QStringLiteral("/log/client.log");
    log.debug = options.verbose || qEnvironmentVariableIsSet("VELMAR_LOG_DEBUG");
    log.onStderr = options.verbose;
    if (!LogFile::install(log, &error)) {
        printError(error);
        return StartFailed;
    }
    return Well;
}

/// A client says on stderr when it waits for another process.
Client::Listener withWaits(Client::Listener listener) {
    listener.waits = &printError;
    return listener;
}

/// A client whose waits end with an interrupt.
struct WatchedClient {
    explicit WatchedClient(const Client::Options& options, const Client::Listener& listener = {})
        : client(options, withWaits(listener)), watch(&Client::endWaits) {
        QObject::connect(&watch, &InterruptWatch::interrupted, &client.gate(), &MainLoopGate::wake);
    }

    /// False when it did not start, with the reason printed.
    bool start() {
        QString error;
        const bool started = client.start(&error);
        if (!started) {
            printError(error);
        }
        return started;
    }
    /// Calls functions of this client, which must outlive the result.
    FacadeAsk asking() {
        return [this](const FacadeFunction& function, const QStringList& arguments,
                      QJsonObject* answer) { return client.call(function, arguments, -1, answer); };
    }

    Client client;
    InterruptWatch watch;
};

/// Output to a file or a pipe is not cut.
int columnsOfOutput() {
    return StatusLine::isTerminal() ? StatusLine::terminalColumns()
                                    : std::numeric_limits<int>::max();
}

/// Prints why a command has no answer; Well when it has one.
template <class Answer>
ExitCode faultOf(const Answer& answer) {
    if (answer.interrupted) {
        printError(QStringLiteral("interrupted"));
        return StartFailed;
    }
    if (!answer.error.isEmpty()) {
        printError(answer.error);
        return WrongUsage;
    }
    return Well;
}

/// Prints each step with the time that it took.
class StepPrinter {
public:
    StepPrinter() {
        m_step.start();
        m_all.start();
    }

    void ended(const QString& text) {
        printStep(m_step, text);
        m_step.restart();
    }
    void endedAll(const QString& text) { printStep(m_all, text); }

private:
    static void printStep(const QElapsedTimer& timer, const QString& text) {
        const double ms = static_cast<double>(timer.nsecsElapsed()) / 1e6;
        printTo(stdout, QStringLiteral("%1 ms  %2").arg(ms, 8, 'f', 1).arg(harmlessText(text)));
    }

    QElapsedTimer m_step;
    QElapsedTimer m_all;
};

void stayUp(Client& client) {
    StatusLine line;
    const bool live = StatusLine::isTerminal();
    QTimer second;
    QObject::connect(&second, &QTimer::timeout, &client.gate(), [&] {
        if (live) {
            line.draw(client.status());
        }
    });
    if (live) {
        line.draw(client.status());
        second.start(1000);
    }
    client.gate().waitUntil(&InterruptWatch::hasCome, -1);
    line.leave();
}

bool staysUp(const ShellOptions& options) {
    return options.staying == ShellOptions::Staying::Stay ||
           (options.staying == ShellOptions::Staying::ByTerminal && StatusLine::isTerminal());
}

int runMainJob(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    StepPrinter steps;
    Client::Options withPlugins = clientOptions(options);
    withPlugins.allPlugins = true;
    withPlugins.pluginFiles = options.pluginFiles;
    ProgressBar progress;
    Client::Listener listener;
    listener.stepEnded = [&steps](const QString& text) { steps.ended(text); };
    listener.marketProgress = [&progress](int done, int total) { progress.show(done, total); };
    listener.pluginSkipped = [](const QString& text) {
        printError(QStringLiteral("plug-in skipped: %1").arg(text));
    };
    WatchedClient watched(withPlugins, listener);
    Client& client = watched.client;
    QString error;
    if (!watched.start()) {
        return StartFailed;
    }
    if (!client.makePluginObjects(&error)) {
        printError(error);
        return StartFailed;
    }
    steps.endedAll(QStringLiteral("in all, ready"));
    if (staysUp(options)) {
        printTo(stdout, QStringLiteral("running, Ctrl-C ends it"));
        stayUp(client);
    }
    client.stop();
    printTo(stdout, QStringLiteral("shut down"));
    return Well;
}

/// For commands whose stdout must contain nothing but the answer.
Client::Listener showOnStderr(ProgressBar& progress) {
    Client::Listener listener;
    listener.marketProgress = [&progress](int done, int total) { progress.show(done, total); };
    return listener;
}

/// What to add when the arguments of a known function fit none of its overloads and one of them is
/// an option of the client.
QString misplacedOptionHint(const FacadeLibrary& library, const ShellOptions& options) {
    QString unknown;
    const auto option =
        std::find_if(options.arguments.cbegin(), options.arguments.cend(), &isShellOption);
    return option == options.arguments.cend() ||
                   library.listing(options.functionName, &unknown).isEmpty()
               ? QString()
               : QStringLiteral("; options such as %1 go before the function").arg(*option);
}

int runCall(const ShellOptions& options) {
    QString error;
    FacadeLibrary library;
    if (!library.load(Client::libraryFile(pluginsOf(options), kBusinessDataLibrary), &error)) {
        printError(error);
        return StartFailed;
    }
    const FacadeFunction* const function =
        library.choose(options.functionName, options.arguments, &error);
    if (!function) {
        error += misplacedOptionHint(library, options);
    }
    if (!function ||
        (!options.raw && !FacadeLibrary::knowsValues(*function, options.arguments, &error))) {
        printError(error);
        return WrongUsage;
    }
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    ProgressBar progress(stderr);
    WatchedClient watched(clientOptions(options), showOnStderr(progress));
    Client& client = watched.client;
    QJsonObject answer;
    if (!watched.start()) {
        return StartFailed;
    }
    if (!options.early && !awaitStartUp(client, options.waitSeconds * 1000, &error)) {
        printError(error);
        return StartFailed;
    }
    if (!client.call(*function, options.arguments, -1, &answer)) {
        printError(QStringLiteral("interrupted"));
        return StartFailed;
    }
    client.stop();
    printJson(answer);
    return Well;
}

int runAccounts(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    ProgressBar progress(stderr);
    WatchedClient watched(clientOptions(options), showOnStderr(progress));
    if (!watched.start()) {
        return StartFailed;
    }
    AccountsCommand accounts(watched.client.facade(), watched.asking(), Client::platformAccounts());
    const AccountsAnswer answer = options.account.isEmpty()
                                      ? accounts.list(columnsOfOutput())
                                      : accounts.why(options.account, columnsOfOutput());
    if (const ExitCode fault = faultOf(answer)) {
        return fault;
    }
    watched.client.stop();
    if (options.asJson) {
        printJson(answer.json);
    } else {
        printTo(stdout, answer.lines.join(QLatin1Char('\n')));
    }
    return Well;
}

int runSymbols(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    ProgressBar progress(stderr);
    WatchedClient watched(clientOptions(options), showOnStderr(progress));
    if (!watched.start()) {
        return StartFailed;
    }
    ReferenceTable& securities = ReferenceTable::of(ReferenceKind::Security);
    if (!securities.load()) {
        printError(QStringLiteral("the securities cannot be read; see the log"));
        return StartFailed;
    }
    const SymbolsAnswer answer =
        findSymbols(securities.records(), options.symbol, columnsOfOutput());
    watched.client.stop();
    if (!answer.error.isEmpty()) {
        printError(answer.error);
        return WrongUsage;
    }
    printTo(stdout, answer.lines.join(QLatin1Char('\n')));
    return Well;
}

int runDoctor(const ShellOptions& options) {
    DoctorPlaces places;
    places.homeDir = homeOf(options);
    places.pluginsDir = pluginsOf(options);
    places.market.scale = options.scale;
    if (!options.verbose) {
        // The problems of the report say the same.
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    }
    const DoctorReport report = examine(places);
    printTo(stdout, report.lines.join(QLatin1Char('\n')));
    for (const QString& problem : report.problems) {
        printTo(stdout, QStringLiteral("problem: %1").arg(harmlessText(problem)));
    }
    if (report.problems.isEmpty()) {
        printTo(stdout, QStringLiteral("no problems found"));
    }
    return report.problems.isEmpty() ? Well : StartFailed;
}

/// Waits for the cage and, unless ticks are off, for a tick of the symbol.
RulesFacts gatherFacts(const ShellOptions& options, Client& client, const QVariantMap& tick) {
    RulesFacts facts = RulesFacts::ofPlatform(options.symbol);
    facts.cageWaitSeconds = kCageWaitSeconds;
    client.awaitCage(kCageWaitSeconds * 1000);
    if (options.tickRate > 0) {
        client.gate().waitUntil([&tick] { return !tick.isEmpty() || InterruptWatch::hasCome(); },
                                kTickWaitMs);
    }
    facts.tick = tick;
    return facts;
}

int runRules(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    Client::Options withTicks = clientOptions(options);
    withTicks.tickSymbols.append(options.symbol);
    QVariantMap tick;  // outlives the client, whose end still takes ticks
    ProgressBar progress(stderr);
    WatchedClient watched(withTicks, showOnStderr(progress));
    Client& client = watched.client;
    QObject::connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate,
                     &client.gate(), [&](const QString& symbol, const QVariantMap& one) {
                         if (symbol == options.symbol) {
                             tick = one;
                             client.gate().wake();
                         }
                     });
    if (!watched.start()) {
        return StartFailed;
    }
    RulesCommand rules(client.facade(), watched.asking(), options.language);
    const RulesAnswer answer =
        rules.explain(options.symbol, gatherFacts(options, client, tick), columnsOfOutput());
    if (const ExitCode fault = faultOf(answer)) {
        return fault;
    }
    client.stop();
    printTo(stdout, answer.lines.join(QLatin1Char('\n')));
    return Well;
}

/// Prints each tick of the watched symbols as it comes.
int runTicks(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    Client::Options withTicks = clientOptions(options);
    withTicks.tickSymbols += options.watched;
    TicksCommand ticks(options.watched, options.count);
    bool isPrinting = false;
    bool outputFailed = false;
    ProgressBar progress(stderr);
    Client::Listener listener = showOnStderr(progress);
    listener.platformStarted = [] { CommonQuotaHandler::instance().Init(); };
    WatchedClient watched(withTicks, listener);
    Client& client = watched.client;
    QObject::connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate,
                     &client.gate(), [&](const QString& symbol, const QVariantMap& tick) {
                         const QString line = isPrinting ? ticks.take(symbol, tick) : QString();
                         if (!line.isEmpty()) {
                             outputFailed = outputFailed || !printTo(stdout, line);
                             client.gate().wake();
                         }
                     });
    QString error;
    if (!client.begin(&error)) {
        printError(error);
        return StartFailed;
    }
    for (const QString& symbol : options.watched) {
        if (CBusinessDataBase::GetInstance()->GetSecurityDetailsBySymbol(symbol).isEmpty()) {
            printError(QStringLiteral("no security is called '%1'").arg(symbol));
            return WrongUsage;
        }
    }
    printError(client.ticksText());
    isPrinting = true;
    outputFailed = !printTo(stdout, TicksCommand::title());
    client.gate().waitUntil(
        [&] { return ticks.over() || outputFailed || InterruptWatch::hasCome(); }, -1);
    client.stop();
    return outputFailed ? StartFailed : Well;
}

int listFunctions(const ShellOptions& options) {
    QString error;
    FacadeLibrary library;
    if (!library.load(Client::libraryFile(pluginsOf(options), kBusinessDataLibrary), &error)) {
        printError(error);
        return StartFailed;
    }
    const QStringList lines = options.verbose ? library.explanation(options.functionName, &error)
                                              : library.listing(options.functionName, &error);
    if (lines.isEmpty()) {
        printError(error);
        return WrongUsage;
    }
    printTo(stdout, lines.join(QLatin1Char('\n')));
    return Well;
}

int runCommand(const ShellOptions& options) {
    switch (options.command) {
        case ShellOptions::Command::Run:
            return runMainJob(options);
        case ShellOptions::Command::Call:
            return runCall(options);
        case ShellOptions::Command::Accounts:
            return runAccounts(options);
        case ShellOptions::Command::Symbols:
            return runSymbols(options);
        case ShellOptions::Command::Rules:
            return runRules(options);
        case ShellOptions::Command::Doctor:
            return runDoctor(options);
        case ShellOptions::Command::Ticks:
            return runTicks(options);
        case ShellOptions::Command::Functions:
            return listFunctions(options);
        case ShellOptions::Command::Scenario:
            return runScenario(options, pluginsOf(options));
        case ShellOptions::Command::Help:
            printTo(stdout, shellHelpText().trimmed());
            return Well;
        case ShellOptions::Command::Version:
            printTo(stdout, QStringLiteral("velmar-client " VELMAR_VERSION));
            return Well;
    }
    return WrongUsage;
}

}  // namespace

int runShell(const ShellOptions& options) {
    const int code = runCommand(options);
    return outputWritten() ? code : std::max<int>(code, StartFailed);
}
