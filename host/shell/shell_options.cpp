#include "shell_options.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <utility>

#include "dealer.h"
#include "line_words.h"
#include "option_values.h"
#include "sample_market.h"

namespace {

constexpr int kMostSections = 1000;
constexpr int kMostTicks = 1000;
constexpr int kMostCount = 1000000000;
/// Less would not hold the answer of the log-in.
constexpr int kLeastBodyLimit = 1024;

const QString kHome = QStringLiteral("home");
const QString kPlugins = QStringLiteral("plugins");
const QString kPlugin = QStringLiteral("plugin");
const QString kUser = QStringLiteral("user");
const QString kWait = QStringLiteral("wait");
const QString kScale = QStringLiteral("scale");
const QString kFault = QStringLiteral("fault");
const QString kScenario = QStringLiteral("scenario");
// Given by the player of a scenario to its child processes.
const QString kSection = QStringLiteral("scenario-section");
const QString kTicks = QStringLiteral("ticks");
const QString kTickRate = QStringLiteral("tick-rate");
const QString kMarketHours = QStringLiteral("market-hours");
const QString kClock = QStringLiteral("clock");
const QString kDeals = QStringLiteral("deals");
const QString kSeed = QStringLiteral("seed");
const QString kCount = QStringLiteral("count");
const QString kBodyLimit = QStringLiteral("body-limit");
const QString kRebuild = QStringLiteral("rebuild");
const QString kVerbose = QStringLiteral("verbose");
const QString kStay = QStringLiteral("stay");
const QString kOnce = QStringLiteral("once");
const QString kHelp = QStringLiteral("help");
const QString kVersion = QStringLiteral("version");
const QString kEarly = QStringLiteral("early");
const QString kRaw = QStringLiteral("raw");

const QStringList kWithValue{kHome,  kPlugins,  kPlugin,  kUser,     kWait,     kScale,
                             kFault, kScenario, kSection, kTicks,    kTickRate, kClock,
                             kDeals, kSeed,     kCount,   kBodyLimit};
const QStringList kFlags{kRebuild, kVerbose, kStay, kOnce, kMarketHours, kVersion, kEarly, kRaw};

void addOptions(QCommandLineParser& parser, bool everywhere) {
    if (!everywhere) {
        parser.setOptionsAfterPositionalArgumentsMode(
            QCommandLineParser::ParseAsPositionalArguments);
    }
    for (const QString& withValue : kWithValue) {
        parser.addOption(QCommandLineOption(withValue, QString(), QStringLiteral("value")));
    }
    for (const QString& flag : kFlags) {
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

bool takeBodyLimit(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    if (!parser.isSet(kBodyLimit)) {
        return true;
    }
    qint64 bytes = 0;
    if (!OptionValues::readSize(parser.value(kBodyLimit), &bytes) || bytes < kLeastBodyLimit) {
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
            *error = QStringLiteral("--fault '%1', %2").arg(line, wrong.toString());
            return false;
        }
        options->faults.append(fault);
    }
    return true;
}

/// Lists of symbols; several lists are joined.
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

bool takeClock(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    options->marketHours = options->marketHours || parser.isSet(kMarketHours);
    if (parser.isSet(kClock)) {
        options->clock = OptionValues::timeOf(parser.value(kClock));
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

bool takeDeals(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    if (parser.isSet(kDeals) &&
        !OptionValues::readRate(parser.value(kDeals), Dealer::kMostDealsPerSecond,
                                &options->dealRate)) {
        *error = QStringLiteral("--%1 takes a number above 0, up to %2, such as 5 or 0.2")
                     .arg(kDeals)
                     .arg(Dealer::kMostDealsPerSecond);
        return false;
    }
    if (parser.isSet(kSeed) && !OptionValues::readSeed(parser.value(kSeed), &options->dealSeed)) {
        *error = QStringLiteral("--%1 takes a number from 0 to 4294967295").arg(kSeed);
        return false;
    }
    options->hasSeed = options->hasSeed || parser.isSet(kSeed);
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
        for (const QString& other : {kScale, kRebuild, kWait, kStay, kOnce, kTickRate, kClock,
                                     kMarketHours, kDeals, kSeed}) {
            if (parser.isSet(other)) {
                *error = QStringLiteral("--%1 cannot be combined with --%2").arg(kScenario, other);
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

/// Reads the options among `arguments`; the other words go to `rest`. Unless `everywhere`, options
/// end at the first such word.
bool takeOptions(const QStringList& arguments, bool everywhere, ShellOptions* options,
                 QStringList* rest, QString* error) {
    QCommandLineParser parser;
    addOptions(parser, everywhere);
    if (!parser.parse(QStringList(QString()) + arguments)) {
        *error = parser.errorText();
        return false;
    }
    *rest = parser.positionalArguments();
    const auto takeText = [&](const QString& name, const char* what, QString* value) {
        if (!parser.isSet(name)) {
            return true;
        }
        *value = parser.value(name);
        *error = QStringLiteral("--%1 takes %2").arg(name, QLatin1String(what));
        return !value->isEmpty();
    };
    if (!takeText(kHome, "a folder", &options->homeDir) ||
        !takeText(kPlugins, "a folder", &options->pluginsDir) ||
        !takeText(kUser, "the name of a login", &options->user)) {
        return false;
    }
    if (!takeNumber(parser, kWait, 0, 3600, &options->waitSeconds, error) ||
        !takeNumber(parser, kScale, 1, kMaxMarketScale, &options->scale, error) ||
        !takeNumber(parser, kTickRate, 0, kMostTicks, &options->tickRate, error) ||
        !takeNumber(parser, kCount, 1, kMostCount, &options->count, error) ||
        !takeBodyLimit(parser, options, error) || !takeClock(parser, options, error) ||
        !takeDeals(parser, options, error)) {
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
    options->early = options->early || parser.isSet(kEarly);
    options->raw = options->raw || parser.isSet(kRaw);
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

/// A scenario's file says what other commands take from the command line.
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
        *error = QStringLiteral("--scenario cannot be combined with a command");
        return false;
    }
    for (const auto& [option, isGiven] :
         {std::pair{kFault, !options.faults.isEmpty()},
          std::pair{kPlugin, !options.pluginFiles.isEmpty()},
          std::pair{kTicks, !options.tickSymbols.isEmpty()},
          std::pair{kBodyLimit, options.bodyLimit != kStandingBodyLimit}}) {
        if (isGiven) {
            *error = QStringLiteral("--scenario cannot be combined with --%1").arg(option);
            return false;
        }
    }
    return true;
}

bool asksForText(const ShellOptions& options) {
    return options.command == ShellOptions::Command::Help ||
           options.command == ShellOptions::Command::Version;
}

bool takeCall(const QStringList& rest, ShellOptions* options, QString* error) {
    if (rest.isEmpty()) {
        *error = QStringLiteral("call takes the name of a function; 'functions' lists them");
        return false;
    }
    options->command = ShellOptions::Command::Call;
    options->functionName = rest.first();
    options->arguments = rest.mid(1);
    return true;
}

/// "list" or "why ACCOUNT".
bool takeAccounts(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Accounts;
    if (rest.isEmpty() || (rest.size() == 1 && rest.first() == QLatin1String("list"))) {
        return true;
    }
    if (rest.size() == 2 && rest.first() == QLatin1String("why") && !rest.last().isEmpty()) {
        options->account = rest.last();
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

/// "find TEXT".
bool takeSymbols(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Symbols;
    if (rest.size() == 2 && rest.first() == QLatin1String("find") && !rest.last().isEmpty()) {
        options->symbol = rest.last();
        return true;
    }
    *error = QStringLiteral("symbols takes 'find TEXT', a part of a code or of a name");
    return false;
}

bool takeFunctions(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Functions;
    options->functionName = rest.value(0);
    *error = QStringLiteral("functions takes the name of a function, or nothing");
    return rest.size() <= 1;
}

/// "watch SYMBOL...".
bool takeTicksCommand(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Ticks;
    if (rest.size() < 2 || rest.first() != QLatin1String("watch") || rest.contains(QString())) {
        *error = QStringLiteral("ticks takes 'watch SYMBOL...', and --%1 N").arg(kCount);
        return false;
    }
    if (options->tickRate == 0) {
        *error = QStringLiteral("ticks watch needs a --%1 above 0").arg(kTickRate);
        return false;
    }
    options->watched = rest.mid(1);
    return true;
}

bool takeDoctor(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = ShellOptions::Command::Doctor;
    *error = QStringLiteral("doctor takes no arguments");
    return rest.isEmpty();
}

struct CommandWord {
    const char* word;
    bool (*take)(const QStringList& rest, ShellOptions* options, QString* error);
};

constexpr CommandWord kCommands[] = {
    {"call", takeCall},       {"functions", takeFunctions}, {"accounts", takeAccounts},
    {"symbols", takeSymbols}, {"rules", takeRules},         {"ticks", takeTicksCommand},
    {"doctor", takeDoctor},
};

bool takeCommand(const QString& word, const QStringList& rest, ShellOptions* options,
                 QString* error) {
    QStringList words;
    for (const CommandWord& command : kCommands) {
        if (word == QLatin1String(command.word)) {
            return command.take(rest, options, error);
        }
        words.append(QLatin1String(command.word));
    }
    *error =
        QStringLiteral("unknown command '%1' (%2)").arg(word, words.join(QStringLiteral(", ")));
    return false;
}

/// The options of one command only.
bool belongTogether(const ShellOptions& options, QString* error) {
    const bool isCall = options.command == ShellOptions::Command::Call;
    for (const auto& [option, isGiven] :
         {std::pair{kEarly, options.early}, std::pair{kRaw, options.raw}}) {
        if (isGiven && !isCall) {
            *error = QStringLiteral("--%1 is an option of call").arg(option);
            return false;
        }
    }
    if (options.count > 0 && options.command != ShellOptions::Command::Ticks) {
        *error = QStringLiteral("--%1 goes with ticks watch only").arg(kCount);
        return false;
    }
    if (options.hasSeed && !(options.dealRate > 0)) {
        *error = QStringLiteral("--%1 goes with --%2 only").arg(kSeed, kDeals);
        return false;
    }
    return true;
}

}  // namespace

bool parseShellOptions(const QStringList& arguments, ShellOptions* options, QString* error) {
    QStringList rest;
    if (!takeOptions(arguments, false, options, &rest, error)) {
        return false;
    }
    if (asksForText(*options)) {
        return true;
    }
    if (rest.isEmpty()) {
        return standsAlone(*options, false, error) && belongTogether(*options, error);
    }
    const QString command = rest.takeFirst();
    const bool isAccounts = command == QLatin1String("accounts");
    options->asJson = isAccounts && rest.removeAll(QStringLiteral("--json")) > 0;
    // Behind a function's name everything belongs to the function.
    const bool everywhere = command != QLatin1String("call");
    if (!takeOptions(QStringList(rest), everywhere, options, &rest, error)) {
        return false;
    }
    if (asksForText(*options)) {
        return true;
    }
    if (!standsAlone(*options, true, error)) {
        return false;
    }
    return takeCommand(command, rest, options, error) && belongTogether(*options, error);
}

bool isShellOption(const QString& word) {
    if (!word.startsWith(QLatin1String("--"))) {
        return false;
    }
    const QString name = word.mid(2).section(QLatin1Char('='), 0, 0);
    return name == kHelp || kWithValue.contains(name) || kFlags.contains(name);
}

QString shellHelpText() {
    return QStringLiteral(
        "velmar-client: a local client that runs the business data plug-in over a sample market\n"
        "\n"
        "usage: velmar-client [options]                       start, print the account table\n"
        "       velmar-client [options] call FUNCTION ARGS... call an exported function\n"
        "       velmar-client [options] functions [FUNCTION]  list the exported functions and "
        "what\n"
        "                                                     their answers depend on; --verbose\n"
        "                                                     explains the parameters\n"
        "       velmar-client [options] accounts list         list the accounts with their kinds\n"
        "       velmar-client [options] accounts why ACCOUNT  show which lists contain an "
        "account,\n"
        "                                                     and why the others do not\n"
        "       velmar-client [options] symbols find TEXT     find securities by a part of their\n"
        "                                                     code or name\n"
        "       velmar-client [options] rules explain SYMBOL  show the quantity and price rules of "
        "a\n"
        "                                                     security and where they come from\n"
        "       velmar-client [options] ticks watch SYMBOL... print the ticks of these symbols "
        "until\n"
        "                                                     Ctrl-C, or --count N of them\n"
        "       velmar-client [options] doctor                check home, market and plug-ins\n"
        "\n"
        "  --home DIR      where settings, market and log are kept: a new or empty folder, or a\n"
        "                  home made before (default: VELMAR_HOME, else velmar in the user's data\n"
        "                  folder)\n"
        "  --plugins DIR   where the plug-in libraries are (default: ../plugins of the program);\n"
        "                  without a command every one of them is loaded\n"
        "  --plugin FILE   load this plug-in library too; may be given several times\n"
        "  --user NAME     log in as this user (default: demo01)\n"
        "  --wait SECONDS  how long the accounts may take to load, and for call the rest of the\n"
        "                  start-up (default: 60)\n"
        "  --early         call as soon as the accounts are loaded, before the price cage is\n"
        "  --raw           pass values to call that an enumeration does not have\n"
        "  --scale N       make the sample market N times as large, 1 to 20 (default: 1)\n"
        "  --fault FAULT   make requests go wrong, such as '120006 1 timeout';\n"
        "                  may be given several times (docs/scenarios.md)\n"
        "  --ticks SYMBOLS publish ticks of these symbols, such as 600000.SH,000001.SZ, in "
        "addition\n"
        "                  to those that plug-ins subscribe to\n"
        "  --tick-rate N   ticks a second for each symbol, 0 to 1000 (default: 1)\n"
        "  --market-hours  ticks keep to the trading hours of the exchanges; by default they play\n"
        "                  continuous trading around the clock\n"
        "  --clock TIME    start the server's clock at this time of the exchanges (+08:00), such "
        "as\n"
        "                  09:30 or 2026-01-05T09:30:00; it runs on from there\n"
        "  --deals RATE    let the accounts trade by themselves, so many deals a second over all\n"
        "                  accounts, such as 5 or 0.2\n"
        "  --seed N        with --deals: the same number gives the same orders and deals (default: "
        "1)\n"
        "  --body-limit SIZE\n"
        "                  refuse larger requests and answers, drop larger pushes: bytes, or with\n"
        "                  KiB or MiB, such as 512KiB; 1KiB to 1024MiB (default: 64MiB)\n"
        "  --scenario FILE play a scenario in a home folder of its own and report the result\n"
        "  --rebuild       make the sample market again\n"
        "  --stay, --once  stay up until Ctrl-C, or end after the table; by default it stays when\n"
        "                  stdout is a terminal\n"
        "  --verbose       show the log on stderr too, debug lines included\n"
        "  --help, --version\n"
        "\n"
        "Arguments of call are texts, decimal numbers, true or false, and names or numbers of\n"
        "enumeration values; lists and records are JSON. The answer is printed as JSON, with\n"
        "integers beyond 2^53 as decimal texts.\n"
        "accounts prints a table, or with --json the same as data. rules prints Chinese when\n"
        "LC_ALL, LC_MESSAGES or LANG asks for it.\n"
        "\n"
        "The log is log/client.log in the home folder; VELMAR_LOG_DEBUG=1 adds debug lines to it.\n"
        "Exit codes: 0 success; 1 the start-up or the scenario failed, it was interrupted, doctor\n"
        "found a problem, or the output could not be written; 2 wrong usage, a folder that is not\n"
        "a home, an unknown function, account or security, or an invalid scenario file.\n");
}
