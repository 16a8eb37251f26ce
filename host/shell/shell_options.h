#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

#include "body_size.h"
#include "fault_plan.h"
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
        Doctor,
        Scenario,
        Help,
        Version
    };
    /// What Orders, Profit and Value are asked.
    enum class Question { Show, Check, Replay };
    /// Whether the main job stays up after the start; ByTerminal: if stdout is a terminal.
    enum class Staying { ByTerminal, Stay, Once };

    Command command = Command::Run;
    QString functionName;   ///< of Call; of Functions: the one to explain, empty for all
    QStringList arguments;  ///< of Call
    bool early = false;     ///< of Call: does not wait for the end of the start-up
    bool raw = false;       ///< of Call: passes unknown values of enumerations
    /// Of Accounts: the one to explain, empty for the list; of Profit and Value: empty for all.
    QString account;
    Question question = Question::Show;  ///< of Orders, Profit, Value
    QString recordFile;                  ///< of Orders
    bool cancels = false;                ///< of Orders, Check: every record cancels an order
    bool follow = false;                 ///< of Profit and Value, Show: again on changes
    QString symbol;                      ///< of Rules; of Symbols: the text to look for
    TextLanguage language = TextLanguage::English;  ///< of Rules
    bool asJson = false;                            ///< of Accounts, Orders, Profit, Value
    QString homeDir;                                ///< empty for the default
    QString pluginsDir;                             ///< empty for the default
    QStringList pluginFiles;   ///< of Run: plug-in libraries from elsewhere, absolute paths
    QString user;              ///< the login; empty for the sample market's standard one
    int waitSeconds = 60;      ///< limit for the accounts, and for the rest of the start-up
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
    int count = 0;             ///< of Ticks: how many to print; 0 for no limit
    qint64 bodyLimit = kStandingBodyLimit;  ///< most bytes of a body
    QVector<Fault> faults;                  ///< what goes wrong between client and server
    QString scenarioFile;                   ///< of Scenario
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
