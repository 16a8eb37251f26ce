#include "shell_command_words.h"

#include "facade_library.h"
#include "history_columns.h"
#include "shell_options.h"

namespace {

using Command = ShellOptions::Command;
using Question = ShellOptions::Question;

bool takeCall(const QStringList& rest, ShellOptions* options, QString* error) {
    if (rest.isEmpty()) {
        *error = QStringLiteral("call takes the name of a function; 'functions' lists them");
        return false;
    }
    options->command = Command::Call;
    options->functionName = rest.first();
    options->arguments = rest.mid(1);
    return true;
}

bool takeFunctions(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Functions;
    options->functionName = rest.value(0);
    *error = QStringLiteral("functions takes the name of a function, or nothing");
    return rest.size() <= 1;
}

/// Whether the words are a question and one argument that is not empty.
bool isOneArgument(const QStringList& rest, const char* question) {
    return rest.size() == 2 && rest.first() == QLatin1String(question) && !rest.last().isEmpty();
}

/// "list" or "why ACCOUNT".
bool takeAccounts(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Accounts;
    if (rest.isEmpty() || (rest.size() == 1 && rest.first() == QLatin1String("list"))) {
        return true;
    }
    options->account = rest.last();
    *error = QStringLiteral("accounts takes 'list' or 'why ACCOUNT', and --json");
    return isOneArgument(rest, "why");
}

/// "find TEXT".
bool takeSymbols(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Symbols;
    options->symbol = rest.value(1);
    *error = QStringLiteral("symbols takes 'find TEXT', a part of a code or of a name");
    return isOneArgument(rest, "find");
}

/// "explain SYMBOL".
bool takeRules(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Rules;
    options->symbol = rest.value(1);
    *error = QStringLiteral("rules takes 'explain SYMBOL'");
    return isOneArgument(rest, "explain");
}

/// "watch SYMBOL...".
bool takeTicks(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Ticks;
    if (rest.size() < 2 || rest.first() != QLatin1String("watch") || rest.contains(QString())) {
        *error = QStringLiteral("ticks takes 'watch SYMBOL...', and --count N");
        return false;
    }
    if (options->tickRate == 0) {
        *error = QStringLiteral("ticks watch needs a --tick-rate above 0");
        return false;
    }
    options->watched = rest.mid(1);
    return true;
}

/// "check FILE" or "replay FILE".
bool takeOrders(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Orders;
    options->question =
        rest.value(0) == QLatin1String("replay") ? Question::Replay : Question::Check;
    options->recordFile = rest.value(1);
    if (!isOneArgument(rest, "check") && !isOneArgument(rest, "replay")) {
        *error = QStringLiteral(
            "orders takes 'check FILE', with --cancel for cancels, or 'replay FILE'; and --json");
        return false;
    }
    *error = QStringLiteral("--cancel is an option of orders check");
    return !options->cancels || options->question == Question::Check;
}

/// "show [ACCOUNT]" or "check".
bool takeFigures(Command command, const char* word, const QStringList& rest, ShellOptions* options,
                 QString* error) {
    options->command = command;
    options->account = rest.value(1);
    const bool isCheck = rest.size() == 1 && rest.first() == QLatin1String("check");
    const bool isShow =
        rest.isEmpty() || (rest.size() == 1 && rest.first() == QLatin1String("show"));
    options->question = isCheck ? Question::Check : Question::Show;
    if (!isCheck && !isShow && !isOneArgument(rest, "show")) {
        *error = QStringLiteral("%1 takes 'show [ACCOUNT]', with --follow, or 'check'; and --json")
                     .arg(QLatin1String(word));
        return false;
    }
    *error = QStringLiteral("--follow is an option of %1 show").arg(QLatin1String(word));
    return !options->follow || options->question == Question::Show;
}

bool takeProfit(const QStringList& rest, ShellOptions* options, QString* error) {
    return takeFigures(Command::Profit, "profit", rest, options, error);
}

bool takeValue(const QStringList& rest, ShellOptions* options, QString* error) {
    return takeFigures(Command::Value, "value", rest, options, error);
}

/// "show [TYPE]", "set TYPE[/SUBTYPE] LEVEL on|quiet|off" or "set today off".
bool takeRemind(const QStringList& rest, ShellOptions* options, QString* error) {
    const QString how = rest.value(0);
    options->question = how == QLatin1String("set") ? Question::RemindSet : Question::RemindShow;
    options->remindKind = rest.value(1);
    if (how == QLatin1String("set")) {
        *error = QStringLiteral(
            "messages remind set takes TYPE or TYPE/SUBTYPE, LEVEL, and on, quiet or off; or "
            "'today off'");
        if (rest.mid(1) == QStringList{QStringLiteral("today"), QStringLiteral("off")}) {
            options->remindSwitch = rest.last();
            return true;
        }
        options->remindLevel = rest.value(2);
        options->remindSwitch = rest.value(3);
        return rest.size() == 4 && !rest.contains(QString()) &&
               !options->remindKind.endsWith(QLatin1Char('/')) &&
               QStringList{QStringLiteral("on"), QStringLiteral("quiet"), QStringLiteral("off")}
                   .contains(rest.last());
    }
    *error = QStringLiteral("messages remind takes 'show [TYPE]' or 'set'");
    return how == QLatin1String("show") && rest.size() <= 2;
}

bool takeMessageQuestion(const QStringList& rest, ShellOptions* options, QString* error) {
    const QString question = rest.value(0, QStringLiteral("list"));
    *error = QStringLiteral(
        "messages takes 'list' with --unread, 'tail' with --count N, 'read ID...', 'remind show "
        "[TYPE]', 'remind set TYPE[/SUBTYPE] LEVEL on|quiet|off' or 'check' with --repair; and "
        "--json");
    if (question == QLatin1String("remind")) {
        return takeRemind(rest.mid(1), options, error);
    }
    if (question == QLatin1String("read")) {
        options->question = Question::Read;
        options->messageIds = rest.mid(1);
        return !options->messageIds.isEmpty() && !options->messageIds.contains(QString());
    }
    if (question == QLatin1String("tail")) {
        options->question = Question::Tail;
    } else if (question == QLatin1String("check")) {
        options->question = Question::Check;
    } else if (question == QLatin1String("list")) {
        options->question = Question::List;
    } else {
        return false;
    }
    return rest.size() <= 1;
}

bool takeMessages(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Messages;
    if (!takeMessageQuestion(rest, options, error)) {
        return false;
    }
    if (options->unread && options->question != Question::List) {
        *error = QStringLiteral("--unread is an option of messages list");
        return false;
    }
    *error = QStringLiteral("--repair is an option of messages check");
    return !options->repair || options->question == Question::Check;
}

/// "tree".
bool takeMenus(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Menus;
    *error = QStringLiteral("menus takes 'tree', and --json");
    return rest.isEmpty() || rest == QStringList(QStringLiteral("tree"));
}

/// "show SYMBOL".
bool takeRisk(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Risk;
    options->symbol = rest.value(1);
    *error = QStringLiteral("risk takes 'show SYMBOL', and --json");
    return isOneArgument(rest, "show");
}

/// Nothing, "export" or "record FILE".
bool takeMonitor(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Monitor;
    const bool isExport = rest == QStringList(QStringLiteral("export"));
    const bool isRecord = isOneArgument(rest, "record");
    if (!rest.isEmpty() && !isExport && !isRecord) {
        *error = QStringLiteral(
            "monitor takes nothing, with --json, or 'export', or 'record FILE' with --count N; "
            "--home DIR asks the client that runs there");
        return false;
    }
    options->question = isExport ? Question::Export : isRecord ? Question::Record : Question::Show;
    options->recordFile = rest.value(1);
    *error = QStringLiteral("--json is an option of monitor alone, not of export and record");
    return !options->asJson || rest.isEmpty();
}

/// "NAME".
bool takeSkin(const QStringList& rest, ShellOptions* options, QString* error) {
    constexpr int kLongest = 100;
    options->command = Command::Skin;
    options->item = rest.value(0);
    *error = QStringLiteral("skin takes the name of a skin, of at most %1 characters, and --json")
                 .arg(kLongest);
    return rest.size() == 1 && !options->item.isEmpty() && options->item.size() <= kLongest;
}

/// "orders", "deals" and so on.
bool takeHistory(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::History;
    options->list = rest.value(0);
    *error = QStringLiteral(
                 "history takes %1, with --from, --to, --account, --format table|csv|json and "
                 "--out FILE")
                 .arg(historyLists().join(QStringLiteral(", ")));
    return rest.size() == 1 && historyLists().contains(options->list);
}

/// "[EXCHANGE]".
bool takeCalendar(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Calendar;
    options->list = calendarExchange(rest.value(0, calendarExchanges().first()));
    *error = QStringLiteral("calendar takes one of %1, or nothing for %2; and --from, --to")
                 .arg(calendarExchanges().join(QStringLiteral(", ")), calendarExchanges().first());
    return rest.size() <= 1 && !options->list.isEmpty();
}

bool takeAnnouncement(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Announcement;
    *error = QStringLiteral("announcement takes no arguments but --format and --out");
    return rest.isEmpty();
}

/// "annual".
bool takeReport(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::AnnualReport;
    *error = QStringLiteral("report takes 'annual', and --format, --out");
    return rest == QStringList(QStringLiteral("annual"));
}

/// "get ITEM".
bool takeConfig(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Config;
    options->item = rest.value(1);
    *error = QStringLiteral("config takes 'get ITEM', and --format, --out");
    return isOneArgument(rest, "get");
}

/// "TOPIC".
bool takeSubscribe(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Subscribe;
    options->item = rest.value(0);
    if (options->item.contains(QLatin1Char('_'))) {
        *error = QStringLiteral("a topic cannot contain '_'");
        return false;
    }
    *error = QStringLiteral("subscribe takes a topic");
    return rest.size() == 1 && !options->item.isEmpty();
}

/// "list" or "apply ID".
bool takePatches(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Patches;
    options->question = Question::List;
    if (rest.isEmpty() || rest == QStringList(QStringLiteral("list"))) {
        return true;
    }
    options->question = Question::Apply;
    options->patch = rest.last();
    *error = QStringLiteral("patches takes 'list' or 'apply ID', and --json");
    return isOneArgument(rest, "apply");
}

bool takeDoctor(const QStringList& rest, ShellOptions* options, QString* error) {
    options->command = Command::Doctor;
    *error = QStringLiteral("doctor takes no arguments");
    return rest.isEmpty();
}

struct OwnFlag {
    const char* word;
    bool ShellOptions::*option;
};

constexpr OwnFlag kJson{"--json", &ShellOptions::asJson};
constexpr OwnFlag kCancel{"--cancel", &ShellOptions::cancels};
constexpr OwnFlag kFollow{"--follow", &ShellOptions::follow};
constexpr OwnFlag kUnread{"--unread", &ShellOptions::unread};
constexpr OwnFlag kRepair{"--repair", &ShellOptions::repair};
constexpr OwnFlag kNone{nullptr, nullptr};

struct CommandWord {
    const char* word;
    bool (*take)(const QStringList& rest, ShellOptions* options, QString* error);
    OwnFlag flags[3] = {kNone, kNone, kNone};
};

constexpr CommandWord kCommands[] = {
    {"call", takeCall},
    {"functions", takeFunctions},
    {"accounts", takeAccounts, {kJson, kNone, kNone}},
    {"symbols", takeSymbols},
    {"rules", takeRules},
    {"ticks", takeTicks},
    {"orders", takeOrders, {kJson, kCancel, kNone}},
    {"profit", takeProfit, {kJson, kFollow, kNone}},
    {"value", takeValue, {kJson, kFollow, kNone}},
    {"messages", takeMessages, {kJson, kUnread, kRepair}},
    {"menus", takeMenus, {kJson, kNone, kNone}},
    {"risk", takeRisk, {kJson, kNone, kNone}},
    {"monitor", takeMonitor, {kJson, kNone, kNone}},
    {"skin", takeSkin, {kJson, kNone, kNone}},
    {"history", takeHistory},
    {"calendar", takeCalendar},
    {"announcement", takeAnnouncement},
    {"report", takeReport},
    {"config", takeConfig},
    {"subscribe", takeSubscribe},
    {"patches", takePatches, {kJson, kNone, kNone}},
    {"doctor", takeDoctor},
};

const CommandWord* commandOf(const QString& word) {
    for (const CommandWord& command : kCommands) {
        if (word == QLatin1String(command.word)) {
            return &command;
        }
    }
    return nullptr;
}

}  // namespace

void CommandWords::takeFlags(const QString& command, QStringList* words, ShellOptions* options) {
    const CommandWord* const known = commandOf(command);
    if (!known) {
        return;
    }
    for (const OwnFlag& flag : known->flags) {
        if (flag.word) {
            options->*flag.option = words->removeAll(QLatin1String(flag.word)) > 0;
        }
    }
}

bool CommandWords::take(const QString& command, const QStringList& words, ShellOptions* options,
                        QString* error) {
    if (const CommandWord* const known = commandOf(command)) {
        return known->take(words, options, error);
    }
    QStringList all;
    for (const CommandWord& one : kCommands) {
        all.append(QLatin1String(one.word));
    }
    const QStringList close = closeNames(command, all);
    *error = QStringLiteral("unknown command '%1'").arg(command);
    if (!close.isEmpty()) {
        *error += QStringLiteral("; did you mean %1?").arg(close.join(QStringLiteral(" or ")));
    }
    *error += QStringLiteral(" (%1)").arg(all.join(QStringLiteral(", ")));
    return false;
}
