#include "shell_options.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <utility>

#include "crash_kinds.h"
#include "dealer.h"
#include "line_words.h"
#include "option_values.h"
#include "sample_market.h"
#include "shell_command_words.h"

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
const QString kCrash = QStringLiteral("crash");
// Given to the child processes of a crash round.
const QString kCrashStep = QStringLiteral("crash-step");
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

const QStringList kWithValue{kHome,  kPlugins,  kPlugin,  kUser,      kWait,     kScale,
                             kFault, kScenario, kSection, kTicks,     kTickRate, kClock,
                             kDeals, kSeed,     kCount,   kBodyLimit, kCrash,    kCrashStep};
const QStringList kFlags{kRebuild, kVerbose, kStay, kOnce, kMarketHours, kVersion, kEarly, kRaw};

void addOptions(QCommandLineParser& parser, bool everywhere) {
    if (!everywhere) {
        parser.setOptionsAfterPositionalArgumentsMode(
            QCommandLineParser::ParseAsPositionalArguments);
    }
    for (const QString& withValue : kWithValue + HistoryOptionWords::names()) {
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
                                     kMarketHours, kDeals, kSeed, kCrash}) {
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

bool takeCrash(const QCommandLineParser& parser, ShellOptions* options, QString* error) {
    if (parser.isSet(kCrash)) {
        options->command = ShellOptions::Command::Crash;
        options->crashKind = parser.value(kCrash);
        if (!CrashKinds::names().contains(options->crashKind)) {
            *error = QStringLiteral("--%1 takes one of %2")
                         .arg(kCrash, CrashKinds::names().join(QStringLiteral(", ")));
            return false;
        }
    }
    if (parser.isSet(kCrashStep)) {
        options->crashStep = parser.value(kCrashStep);
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
        !takeCrash(parser, options, error) || !takeScenario(parser, options, error) ||
        !HistoryOptionWords::take(parser, &options->history, error)) {
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
    if (withCommand && !options.crashKind.isEmpty()) {
        *error = QStringLiteral("--%1 cannot be combined with a command").arg(kCrash);
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

/// The options of the commands about the past, each with the commands that have it.
bool historyBelongs(const ShellOptions& options, QString* error) {
    using Command = ShellOptions::Command;
    const Command command = options.command;
    const bool isList = command == Command::History;
    const bool hasRange = isList || command == Command::Calendar;
    const bool hasRows = hasRange || command == Command::Announcement ||
                         command == Command::AnnualReport || command == Command::Config;
    const HistoryOptions& history = options.history;
    if ((history.from.isValid() || history.to.isValid()) && !hasRange) {
        *error = QStringLiteral("--from and --to go with history and calendar only");
        return false;
    }
    if (!history.accounts.isEmpty() && !isList) {
        *error = QStringLiteral("--account goes with history only");
        return false;
    }
    *error = QStringLiteral(
        "--format and --out go with history, calendar, announcement, report and config only");
    return hasRows || (!history.hasFormat && history.outFile.isEmpty());
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
    const bool isTail = options.command == ShellOptions::Command::Messages &&
                        options.question == ShellOptions::Question::Tail;
    const bool isRecord = options.command == ShellOptions::Command::Monitor &&
                          options.question == ShellOptions::Question::Record;
    if (options.count > 0 && options.command != ShellOptions::Command::Ticks && !isTail &&
        !isRecord) {
        *error = QStringLiteral("--%1 goes with ticks watch, messages tail and monitor record only")
                     .arg(kCount);
        return false;
    }
    if (options.hasSeed && !(options.dealRate > 0)) {
        *error = QStringLiteral("--%1 goes with --%2 only").arg(kSeed, kDeals);
        return false;
    }
    return historyBelongs(options, error);
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
    CommandWords::takeFlags(command, &rest, options);
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
    return CommandWords::take(command, rest, options, error) && belongTogether(*options, error);
}

bool isShellOption(const QString& word) {
    if (!word.startsWith(QLatin1String("--"))) {
        return false;
    }
    const QString name = word.mid(2).section(QLatin1Char('='), 0, 0);
    return name == kHelp || kWithValue.contains(name) || kFlags.contains(name) ||
           HistoryOptionWords::names().contains(name);
}
