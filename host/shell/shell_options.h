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
    enum class Command { Run, Call, Functions, Accounts, Rules, Ticks, Scenario, Help, Version };
    /// Whether the main job stays up after the start: as stdout is a terminal or not, or as told.
    enum class Staying { ByTerminal, Stay, Once };

    Command command = Command::Run;
    QString functionName;   ///< of Call
    QStringList arguments;  ///< of Call
    QString account;        ///< of Accounts: the one asked about, empty for the list
    QString symbol;         ///< of Rules
    TextLanguage language = TextLanguage::English;  ///< of Rules
    bool asJson = false;                            ///< of Accounts
    QString homeDir;                                ///< empty for the default
    QString pluginsDir;                             ///< empty for the default
    QStringList pluginFiles;   ///< of Run: plug-in libraries from elsewhere, absolute paths
    QString user;              ///< the login; empty for the sample market's own
    int waitSeconds = 60;      ///< for the accounts, at most
    int scale = 1;             ///< size of the sample market, a multiple of the standard one
    bool rebuild = false;      ///< make the sample market anew
    bool verbose = false;      ///< the log on stderr too, with debug lines
    QStringList tickSymbols;   ///< get ticks in addition to the subscribed ones
    int tickRate = 1;          ///< ticks per second and symbol; 0 for none
    bool marketHours = false;  ///< ticks keep to the exchanges' hours
    QDateTime clock;           ///< where the server's clock starts; invalid for the present time
    QStringList watched;       ///< of Ticks: the symbols to print
    int count = 0;             ///< of Ticks: how many to print; 0 for no limit
    qint64 bodyLimit = kStandingBodyLimit;  ///< bytes that a body may take
    QVector<Fault> faults;                  ///< what goes wrong between client and server
    QString scenarioFile;                   ///< of Scenario
    int section = 0;  ///< of Scenario: the one to play in this process, from 1; 0 for all
    Staying staying = Staying::ByTerminal;
};

/// Reads the arguments (without the program's name). False with a text for the user when they are
/// wrong. What follows the function's name of `call` belongs to the function, whatever it looks
/// like.
bool parseShellOptions(const QStringList& arguments, ShellOptions* options, QString* error);

/// What --help prints.
QString shellHelpText();
