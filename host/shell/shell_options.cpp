#include "shell_options.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <utility>

#include "exchange_clock.h"
#include "line_words.h"
#include "sample_market.h"

namespace {

constexpr int kMostSections = 1000;
constexpr int kMostTicks = 1000;
constexpr int kMostCount = 1000000000;
constexpr int kBytesPerKiB = 1024;
constexpr int kBytesPerMiB = 1024 * kBytesPerKiB;
/// Less would not take the log-in's own answer.
constexpr int kLeastBodyLimit = kBytesPerKiB;
constexpr int kMostBodyLimit = 1024 * kBytesPerMiB;

const QString kHome = QStringLiteral("home");
const QString kPlugins = QStringLiteral("plugins");
const QString kPlugin = QStringLiteral("plugin");
const QString kUser = QStringLiteral("user");
const QString kWait = QStringLiteral("wait");
const QString kScale = QStringLiteral("scale");
const QString kFault = QStringLiteral("fault");
const QString kScenario = QStringLiteral("scenario");
// How the runner of a scenario calls itself.
const QString kSection = QStringLiteral("scenario-section");
const QString kTicks = QStringLiteral("ticks");
const QString kTickRate = QStringLiteral("tick-rate");
const QString kMarketHours = QStringLiteral("market-hours");
const QString kClock = QStringLiteral("clock");
const QString kCount = QStringLiteral("count");
const QString kBodyLimit = QStringLiteral("body-limit");
const QString kRebuild = QStringLiteral("rebuild");
const QString kVerbose = QStringLiteral("verbose");
const QString kStay = QStringLiteral("stay");
const QString kOnce = QStringLiteral("once");
const QString kHelp = QStringLiteral("help");
const QString kVersion = QStringLiteral("version");

void addOptions(QCommandLineParser& parser) {
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    for (const QString& withValue :
         {kHome, kPlugins, kPlugin, kUser, kWait, kScale, kFault, kScenario, kSection, kTicks,
          kTickRate, kClock, kCount, kBodyLimit}) {
        parser.addOption(QCommandLineOption(withValue, QString(), QStringLiteral("value")));
    }
    for (const QString& flag : {kRebuild, kVerbose, kStay, kOnce, kMarketHours, kVersion}) {
        parser.addOption(QCommandLineOption(flag));
    }
    parser.addOption(QCommandLineOption(QStringList{QStringLiteral("h"), kHelp}));
}

/// A whole number within a range; false with a text otherwise.
bool takeNumber(const QCommandLineParser& parser, const QString& name, int least, int most,
                int* value, QString* error) {
    if (!parser.isSet(name)) {
        return true;
    }
    bool ok = false;
    const int number = parser.value(name).toInt(&ok);
    if (!ok || number < least || number > most) {
        *error = QStringLiteral("--%1 takes a number from %2 to %3").arg(name).arg(least).arg(most);
        return false;
    }
    *value = number;
    return true;
}

/// Bytes, or with a suffix KiB or MiB; false for everything else.
bool readSize(QString text, qint64* bytes) {
    int unit = 1;
    for (const auto& [suffix, size] : {std::pair{QLatin1String("KiB"), kBytesPerKiB},
                                       std::pair{QLatin1String("MiB"), kBytesPerMiB}}) {
        if (text.endsWith(suffix)) {
            text.chop(suffix.size());
            unit = size;
            break;
        }
    }
    int number = 0;
    if (!readWholeNumber(text, 1, kMostBodyLimit / unit, &number)) {
        return false;
    }
    *bytes = static_cast<qint64>(number) * unit;
    return true;
}

bool takeBodyLimit(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    if (!parser.isSet(kBodyLimit)) {
        return true;
    }
    qint64 bytes = 0;
    if (!readSize(parser.value(kBodyLimit), &bytes) || bytes < kLeastBodyLimit) {
        *error =
            QStringLiteral("--%1 takes a size from 1KiB to 1024MiB, such as 65536, 512KiB or 64MiB")
                .arg(kBodyLimit);
        return false;
    }
    options->bodyLimit = bytes;
    return true;
}

bool takeFaults(const QStringList& lines, ShellOptions* options, QString* error) {
    for (const QString& line : lines) {
        Fault fault;
        LineError wrong;
        if (!readFault(line, &fault, &wrong)) {
            *error = QStringLiteral("--fault '%1', %2").arg(line, wrong.told());
            return false;
        }
        options->faults.append(fault);
    }
    return true;
}

/// Lists of symbols; several of them add up.
bool takeTicks(const QStringList& lists, ShellOptions* options, QString* error) {
    for (const QString& list : lists) {
        const QStringList symbols = list.split(QLatin1Char(','), Qt::SkipEmptyParts);
        if (symbols.isEmpty()) {
            *error = QStringLiteral("--%1 takes symbols, such as 600000.SH,000001.SZ").arg(kTicks);
            return false;
        }
        options->tickSymbols += symbols;
    }
    return true;
}

/// A time of day is taken as one of today. Without a zone it is the exchanges' time.
QDateTime timeOf(QString text) {
    const QTime time = QTime::fromString(text, Qt::ISODate);
    if (time.isValid()) {
        return inExchangeZone(QDateTime(exchangeNow().date(), time));
    }
    const QDateTime moment =
        QDateTime::fromString(text.replace(QLatin1Char(' '), QLatin1Char('T')), Qt::ISODate);
    return moment.isValid() ? inExchangeZone(moment) : QDateTime();
}

bool takeClock(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    options->marketHours = options->marketHours || parser.isSet(kMarketHours);
    if (parser.isSet(kClock)) {
        options->clock = timeOf(parser.value(kClock));
    }
    if (parser.isSet(kClock) && !options->clock.isValid()) {
        *error = QStringLiteral(
                     "--%1 takes a time of the exchanges, such as 09:30 or "
                     "2026-01-05T09:30:00")
                     .arg(kClock);
        return false;
    }
    return true;
}

/// A relative name means a file of the folder that the client was started in.
bool takePlugins(const QStringList& files, ShellOptions* options, QString* error) {
    for (const QString& file : files) {
        if (!QFileInfo(file).isFile()) {
            *error = QStringLiteral("--%1: there is no file %2").arg(kPlugin, file);
            return false;
        }
        const QString absolute = QFileInfo(file).absoluteFilePath();
        if (!options->pluginFiles.contains(absolute)) {
            options->pluginFiles.append(absolute);
        }
    }
    return true;
}

bool takeScenario(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    if (parser.isSet(kScenario)) {
        options->command = ShellOptions::Command::Scenario;
        options->scenarioFile = parser.value(kScenario);
        for (const QString& other :
             {kScale, kRebuild, kWait, kStay, kOnce, kTickRate, kClock, kMarketHours}) {
            if (parser.isSet(other)) {
                *error = QStringLiteral("--%1 goes with no --%2").arg(kScenario, other);
                return false;
            }
        }
    }
    if (parser.isSet(kSection) &&
        !readWholeNumber(parser.value(kSection), 1, kMostSections, &options->section)) {
        *error = QStringLiteral("--%1 takes a number up to %2").arg(kSection).arg(kMostSections);
        return false;
    }
    return true;
}

/// Takes the options over that lead `arguments`; what follows them is left in `rest`.
bool takeOptions(const QStringList& arguments, ShellOptions* options, QStringList* rest,
                 QString* error) {
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(QStringList(QString()) + arguments)) {
        *error = parser.errorText();
        return false;
    }
    *rest = parser.positionalArguments();
    const auto takeValue = [&parser](const QString& name, QString* value) {
        if (parser.isSet(name)) {
            *value = parser.value(name);
        }
    };
    takeValue(kHome, &options->homeDir);
    takeValue(kPlugins, &options->pluginsDir);
    takeValue(kUser, &options->user);
    if (!takeNumber(parser, kWait, 0, 3600, &options->waitSeconds, error) ||
        !takeNumber(parser, kScale, 1, kMaxMarketScale, &options->scale, error) ||
        !takeNumber(parser, kTickRate, 0, kMostTicks, &options->tickRate, error) ||
        !takeNumber(parser, kCount, 1, kMostCount, &options->count, error) ||
        !takeBodyLimit(parser, options, error) || !takeClock(parser, options, error)) {
        return false;
    }
    if (!takeFaults(parser.values(kFault), options, error) ||
        !takeTicks(parser.values(kTicks), options, error) ||
        !takePlugins(parser.values(kPlugin), options, error) ||
        !takeScenario(parser, options, error)) {
        return false;
    }
    options->rebuild = options->rebuild || parser.isSet(kRebuild);
    options->verbose = options->verbose || parser.isSet(kVerbose);
    if (parser.isSet(kStay)) {
        options->staying = ShellOptions::Staying::Stay;
    }
    if (parser.isSet(kOnce)) {
        options->staying = ShellOptions::Staying::Once;
    }
    if (parser.isSet(kHelp)) {
        options->command = ShellOptions::Command::Help;
    } else if (parser.isSet(kVersion)) {
        options->command = ShellOptions::Command::Version;
    }
    return true;
}

/// A scenario brings everything along that the others take from the command line.
bool standsAlone(const ShellOptions& options, bool withCommand, QString* error) {
    // A command prints its answer and nothing else, so it runs no other plug-ins.
    if (withCommand && !options.pluginFiles.isEmpty()) {
        *error = QStringLiteral("--%1 cannot be combined with a command").arg(kPlugin);
        return false;
    }
    if (options.command != ShellOptions::Command::Scenario) {
        return true;
    }
    if (withCommand) {
        *error = QStringLiteral("--scenario goes with no command");
        return false;
    }
    for (const auto& [option, isGiven] :
         {std::pair{kFault, !options.faults.isEmpty()},
          std::pair{kPlugin, !options.pluginFiles.isEmpty()},
          std::pair{kTicks, !options.tickSymbols.isEmpty()},
          std::pair{kBodyLimit, options.bodyLimit != kStandingBodyLimit}}) {
        if (isGiven) {
            *error = QStringLiteral("--scenario goes with no --%1").arg(option);
            return false;
        }
    }
    return true;
}

bool isSettled(const ShellOptions& options) {
    return options.command == ShellOptions::Command::Help ||
           options.command == ShellOptions::Command::Version;
}

bool takeCall(QStringList rest, ShellOptions* options, QString* error) {
    if (rest.isEmpty()) {
        *error = QStringLiteral("call takes the name of a function; 'functions' lists them");
        return false;
    }
    options->command = ShellOptions::Command::Call;
    options->functionName = rest.takeFirst();
    options->arguments = rest;
    return true;
}

/// "list" or "why ACCOUNT".
bool takeAccounts(QStringList rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Accounts;
    const QString question = rest.isEmpty() ? QStringLiteral("list") : rest.takeFirst();
    if (question == QLatin1String("list") && rest.isEmpty()) {
        return true;
    }
    if (question == QLatin1String("why") && rest.size() == 1 && !rest.first().isEmpty()) {
        options->account = rest.first();
        return true;
    }
    *error = QStringLiteral("accounts takes 'list' or 'why ACCOUNT', and --json");
    return false;
}

/// "explain SYMBOL".
bool takeRules(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Rules;
    if (rest.size() == 2 && rest.first() == QLatin1String("explain") && !rest.last().isEmpty()) {
        options->symbol = rest.last();
        return true;
    }
    *error = QStringLiteral("rules takes 'explain SYMBOL'");
    return false;
}

/// "watch SYMBOL...", with options between the words.
bool takeTicksCommand(QStringList rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Ticks;
    QStringList words;
    while (!rest.isEmpty()) {
        words.append(rest.takeFirst());
        if (!takeOptions(QStringList(rest), options, &rest, error)) {
            return false;
        }
    }
    if (words.size() < 2 || words.takeFirst() != QLatin1String("watch") ||
        words.contains(QString())) {
        *error = QStringLiteral("ticks takes 'watch SYMBOL...', and --%1 N").arg(kCount);
        return false;
    }
    if (options->tickRate == 0) {
        *error = QStringLiteral("ticks watch needs a --%1 above 0").arg(kTickRate);
        return false;
    }
    options->watched = words;
    return true;
}

}  // namespace

bool parseShellOptions(const QStringList& arguments, ShellOptions* options, QString* error) {
    QStringList rest;
    if (!takeOptions(arguments, options, &rest, error)) {
        return false;
    }
    if (isSettled(*options)) {
        return true;
    }
    if (rest.isEmpty()) {
        return standsAlone(*options, false, error);
    }
    const QString command = rest.takeFirst();
    const bool isAccounts = command == QLatin1String("accounts");
    options->asJson = isAccounts && rest.removeAll(QStringLiteral("--json")) > 0;
    // Options may stand on either side of the command.
    if (!takeOptions(QStringList(rest), options, &rest, error)) {
        return false;
    }
    if (isSettled(*options)) {
        return true;
    }
    if (!standsAlone(*options, true, error)) {
        return false;
    }
    if (options->count > 0 && command != QLatin1String("ticks")) {
        *error = QStringLiteral("--%1 goes with ticks watch only").arg(kCount);
        return false;
    }
    if (command == QLatin1String("ticks")) {
        return takeTicksCommand(rest, options, error) && standsAlone(*options, true, error);
    }
    if (command == QLatin1String("call")) {
        return takeCall(rest, options, error);
    }
    if (isAccounts) {
        return takeAccounts(rest, options, error);
    }
    if (command == QLatin1String("rules")) {
        return takeRules(rest, options, error);
    }
    if (command != QLatin1String("functions")) {
        *error = QStringLiteral("unknown command '%1' (call, functions, accounts, rules, ticks)")
                     .arg(command);
        return false;
    }
    if (!rest.isEmpty()) {
        *error = QStringLiteral("functions takes no arguments");
        return false;
    }
    options->command = ShellOptions::Command::Functions;
    return true;
}

QString shellHelpText() {
    return QStringLiteral(
        "velmar-client: a local client that runs the business data plug-in over a sample market\n"
        "\n"
        "usage: velmar-client [options]                       start, print the account table\n"
        "       velmar-client [options] call FUNCTION ARGS... call an exported function\n"
        "       velmar-client [options] functions             list the exported functions\n"
        "       velmar-client [options] accounts list         list the accounts with their kinds\n"
        "       velmar-client [options] accounts why ACCOUNT  tell which lists an account is in, "
        "and\n"
        "                                                     why it is not in the others\n"
        "       velmar-client [options] rules explain SYMBOL  tell which rules of quantity and "
        "price "
        "hold\n"
        "                                                     for a security, and where they are "
        "from\n"
        "       velmar-client [options] ticks watch SYMBOL... print the ticks of these symbols "
        "until Ctrl-C,\n"
        "                                                     or --count N of them\n"
        "\n"
        "  --home DIR      where settings, market and log are kept: a new or empty folder, or a\n"
        "                  home made before (default: velmar in the user's data folder)\n"
        "  --plugins DIR   where the plug-in libraries are (default: ../plugins of the program);\n"
        "                  without a command every one of them is loaded\n"
        "  --plugin FILE   load this plug-in library too; may be given several times\n"
        "  --user NAME     log in as this user (default: demo01)\n"
        "  --wait SECONDS  how long the accounts may take to load (default: 60)\n"
        "  --scale N       make the sample market N times as large, 1 to 20 (default: 1)\n"
        "  --fault FAULT   something that goes wrong with requests, such as '120006 1 timeout';\n"
        "                  may stand several times (docs/scenarios.md)\n"
        "  --ticks SYMBOLS publish ticks of these symbols too, such as 600000.SH,000001.SZ; those\n"
        "                  that a plug-in subscribes get them anyway\n"
        "  --tick-rate N   ticks a second of each symbol, 0 to 1000; 0: none (default: 1)\n"
        "  --market-hours  ticks keep to the trading hours of the exchanges; by default they play\n"
        "                  continuous trading around the clock\n"
        "  --clock TIME    start the server's clock at this time of the exchanges (+08:00), such "
        "as\n"
        "                  09:30 or 2026-01-05T09:30:00; it runs on from there\n"
        "  --body-limit SIZE\n"
        "                  refuse larger requests and answers, drop larger pushes: bytes, or with\n"
        "                  KiB or MiB, such as 512KiB; 1KiB to 1024MiB (default: 64MiB)\n"
        "  --scenario FILE play a scenario in a home folder of its own and tell how it went\n"
        "  --rebuild       make the sample market anew\n"
        "  --stay, --once  stay up until Ctrl-C, or end after the table; by default it stays when\n"
        "                  stdout is a terminal\n"
        "  --verbose       show the log on stderr too, debug lines included\n"
        "  --help, --version\n"
        "\n"
        "Arguments of call are texts as they stand, decimal numbers, true or false; lists and\n"
        "records are JSON. The answer is printed as JSON.\n"
        "accounts prints a table, or with --json the same as data. rules speaks Chinese when\n"
        "LC_ALL, LC_MESSAGES or LANG asks for it.\n"
        "\n"
        "The log is log/client.log in the home folder; VELMAR_LOG_DEBUG=1 adds debug lines to it.\n"
        "Exit codes: 0 success; 1 the start-up or the scenario failed, or it was interrupted; 2 "
        "wrong\n"
        "usage, a folder that is no home, an unknown function, account or security, or a file "
        "that\n"
        "is not a scenario.\n");
}
