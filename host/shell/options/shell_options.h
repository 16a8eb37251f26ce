#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include "body_size.h"
#include "fault_plan.h"
#include "history_options.h"
#include "text_language.h"

/// What the command line asks for.
struct ShellOptions {
    enum class Command {
        Run,
        Call,
        Functions,
        Accounts,
        Symbols,
        Rules,
        Ticks,
        Orders,
        Profit,
        Value,
        Messages,
        Menus,
        Risk,
        Monitor,
        Skin,
        History,
        Calendar,
        Announcement,
        AnnualReport,
        Config,
        Subscribe,
        Patches,
        Doctor,
        Scenario,
        Crash,
        Help,
        Version
    };
    /// What Orders, Profit, Value, Messages, Patches and Monitor are asked.
    enum class Question {
        Show,
        Check,
        Replay,
        List,
        Read,
        Tail,
        RemindShow,
        RemindSet,
        Apply,
        Export,
        Record
    };
    /// Whether the main job stays up after the start; ByTerminal: if stdout is a terminal.
    enum class Staying { ByTerminal, Stay, Once };

    Command command = Command::Run;
    QString functionName;   ///< of Call; of Functions: the one to explain, empty for all
    QStringList arguments;  ///< of Call
    bool early = false;     ///< of Call: does not wait for the end of the start-up
    bool raw = false;       ///< of Call: passes unknown values of enumerations
    /// Of Accounts: the one to explain, empty for the list; of Profit and Value: empty for all.
    QString account;
    Question question = Question::Show;  ///< of Orders, Profit, Value, Messages, Patches, Monitor
    QString patch;                       ///< of Patches, Apply
    QString recordFile;                  ///< of Orders: to read; of Monitor, Record: to write
    bool cancels = false;                ///< of Orders, Check: every record cancels an order
    bool follow = false;                 ///< of Profit and Value, Show: again on changes
    bool unread = false;                 ///< of Messages, List: without those marked read
    bool repair = false;                 ///< of Messages, Check: has missing ones pushed again
    QStringList messageIds;              ///< of Messages, Read
    /// Of Messages, RemindShow and RemindSet: type, "type/sub-type" or "today"; empty for all.
    QString remindKind;
    QString remindLevel;   ///< of Messages, RemindSet
    QString remindSwitch;  ///< of Messages, RemindSet: "on", "quiet" or "off"
    QString symbol;        ///< of Rules and Risk; of Symbols: the text to look for
    QString list;          ///< of History: "orders", "deals", ...; of Calendar: the exchange's code
    QString item;          ///< of Config: its name; of Subscribe: the topic; of Skin: its name
    HistoryOptions history;  ///< of History, Calendar, Announcement, AnnualReport, Config
    TextLanguage language = TextLanguage::English;  ///< of Rules
    /// Of Accounts, Orders, Profit, Value, Messages, Menus, Risk, Patches, Skin and of Monitor,
    /// Show.
    bool asJson = false;
    QString homeDir;          ///< empty for the default
    QString pluginsDir;       ///< empty for the default
    QStringList pluginFiles;  ///< of Run: plug-in libraries from elsewhere, absolute paths
    QString user;             ///< the login; empty for the sample market's standard one
    /// Limit for the accounts, for the rest of the start-up, and for the gates' answers of Monitor.
    int waitSeconds = 60;
    int scale = 1;             ///< size of the sample market, a multiple of the standard one
    bool rebuild = false;      ///< makes the sample market again
    bool verbose = false;      ///< the log on stderr too, with debug lines; details of Functions
    QStringList tickSymbols;   ///< get ticks in addition to the subscribed ones
    int tickRate = 1;          ///< ticks per second and symbol; 0 for none
    bool marketHours = false;  ///< ticks keep to the exchanges' hours
    QDateTime clock;           ///< where the server's clock starts; invalid for the present time
    double dealRate = 0;       ///< deals per second over all accounts; 0 for none
    quint32 dealSeed = 1;      ///< what decides the orders and deals
    bool hasSeed = false;      ///< dealSeed was given
    QStringList watched;       ///< of Ticks: the symbols to print
    /// Of Ticks, of Messages, Tail and of Monitor, Record: how many lines; 0 for no limit.
    int count = 0;
    qint64 bodyLimit = kStandingBodyLimit;  ///< most bytes of a body
    QVector<Fault> faults;                  ///< what goes wrong between client and server
    QString scenarioFile;                   ///< of Scenario
    QString crashKind;                      ///< of Crash: one of CrashKinds::names()
    /// Of Crash: the part of the round that this process plays: "crash", or the file name of the
    /// dump to report; empty for the process that starts both.
    QString crashStep;
    int section = 0;  ///< of Scenario: the only one to play, in this process, from 1; 0 for all
    Staying staying = Staying::ByTerminal;
};

/// Reads the arguments (without the program's name). False with a text for the user when they are
/// wrong. Everything behind the function's name of `call` is an argument of the function, even if
/// it looks like an option.
bool parseShellOptions(const QStringList& arguments, ShellOptions* options, QString* error);

/// Whether a word is an option of the command line, such as "--early" or "--wait=3".
bool isShellOption(const QString& word);

/// What --help prints.
QString shellHelpText();
