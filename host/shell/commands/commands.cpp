#include "commands.h"

#include <QElapsedTimer>
#include <algorithm>
#include <cstdio>
#include <optional>

#include "client_run.h"
#include "crash_round.h"
#include "doctor_command.h"
#include "history_questions.h"
#include "live_view.h"
#include "market_questions.h"
#include "monitor_questions.h"
#include "notice_questions.h"
#include "output.h"
#include "patches_command.h"
#include "query_progress_view.h"
#include "scenario_command.h"
#include "start_up_wait.h"
#include "status_line.h"
#include "text_table.h"
#include "trade_questions.h"

namespace {

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
    const bool isLive = staysUp(options) && drawsInPlace(options);
    withPlugins.keepsDeals = isLive;
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
        return Failed;
    }
    if (!client.makePluginObjects(&error)) {
        printError(error);
        return Failed;
    }
    steps.endedAll(QStringLiteral("in all, ready"));
    if (staysUp(options)) {
        printTo(stdout, QStringLiteral("running, Ctrl-C ends it"));
        stayUp(watched, isLive);
    }
    client.stop();
    printTo(stdout, QStringLiteral("shut down"));
    return Well;
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
        return Failed;
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
        return Failed;
    }
    if (!options.early && !awaitStartUp(client, options.waitSeconds * 1000, &error)) {
        printError(error);
        return Failed;
    }
    std::optional<QueryProgressView> view;
    if (StatusLine::isTerminal(stderr)) {
        view.emplace();
    }
    const bool isAnswered = client.call(*function, options.arguments, -1, &answer);
    view.reset();
    if (!isAnswered) {
        printError(QStringLiteral("interrupted"));
        return Failed;
    }
    client.stop();
    printJson(answer);
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
    return report.problems.isEmpty() ? Well : Failed;
}

/// Offline: the client reads the list at its next start.
int runPatches(const ShellOptions& options) {
    const PatchesCommand patches(homeOf(options));
    const CommandAnswer answer = options.question == ShellOptions::Question::Apply
                                     ? patches.apply(options.patch)
                                     : patches.list(columnsOfOutput());
    const ExitCode fault = faultOf(answer);
    return fault == Well ? printAnswer(answer, options) : fault;
}

int listFunctions(const ShellOptions& options) {
    QString error;
    FacadeLibrary library;
    if (!library.load(Client::libraryFile(pluginsOf(options), kBusinessDataLibrary), &error)) {
        printError(error);
        return Failed;
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
        case ShellOptions::Command::Patches:
            return runPatches(options);
        case ShellOptions::Command::Doctor:
            return runDoctor(options);
        case ShellOptions::Command::Ticks:
            return runTicks(options);
        case ShellOptions::Command::Orders:
            return runOrders(options);
        case ShellOptions::Command::Profit:
            return runProfit(options);
        case ShellOptions::Command::Value:
            return runValue(options);
        case ShellOptions::Command::Messages:
            return runMessages(options);
        case ShellOptions::Command::Menus:
            return runMenus(options);
        case ShellOptions::Command::Risk:
            return runRisk(options);
        case ShellOptions::Command::History:
            return runHistory(options);
        case ShellOptions::Command::Calendar:
            return runCalendar(options);
        case ShellOptions::Command::Announcement:
            return runAnnouncement(options);
        case ShellOptions::Command::AnnualReport:
            return runAnnualReport(options);
        case ShellOptions::Command::Config:
            return runConfig(options);
        case ShellOptions::Command::Subscribe:
            return runSubscribe(options);
        case ShellOptions::Command::Monitor:
            return runMonitor(options);
        case ShellOptions::Command::Skin:
            return runSkin(options);
        case ShellOptions::Command::Functions:
            return listFunctions(options);
        case ShellOptions::Command::Scenario:
            return runScenario(options, pluginsOf(options));
        case ShellOptions::Command::Crash:
            return runCrash(options);
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
    return outputWritten() ? code : std::max<int>(code, Failed);
}
