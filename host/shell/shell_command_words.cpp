#include "shell_command_words.h"

#include "facade_library.h"
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
constexpr OwnFlag kNone{nullptr, nullptr};

struct CommandWord {
    const char* word;
    bool (*take)(const QStringList& rest, ShellOptions* options, QString* error);
    OwnFlag flags[2] = {kNone, kNone};
};

constexpr CommandWord kCommands[] = {
    {"call", takeCall},
    {"functions", takeFunctions},
    {"accounts", takeAccounts, {kJson, kNone}},
    {"symbols", takeSymbols},
    {"rules", takeRules},
    {"ticks", takeTicks},
    {"orders", takeOrders, {kJson, kCancel}},
    {"profit", takeProfit, {kJson, kFollow}},
    {"value", takeValue, {kJson, kFollow}},
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
