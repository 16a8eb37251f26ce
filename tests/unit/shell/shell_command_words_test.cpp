#include "shell_command_words.h"

#include <QtTest>

#include "shell_options.h"

namespace {

using Command = ShellOptions::Command;
using Question = ShellOptions::Question;

QStringList words(const QString& line) {
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

}  // namespace

Q_DECLARE_METATYPE(ShellOptions::Command)
Q_DECLARE_METATYPE(ShellOptions::Question)

class ShellCommandWordsTest : public QObject {
    Q_OBJECT

private slots:
    void question_withItsOptionsAnywhere_isRead_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<Command>("command");
        QTest::addColumn<Question>("question");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("options");
        const auto row = [](const char* line, Command command, Question question,
                            const char* argument, const char* options) {
            QTest::newRow(line) << line << command << question << argument << options;
        };
        row("orders check f", Command::Orders, Question::Check, "f", "");
        row("orders --json check --cancel f", Command::Orders, Question::Check, "f", "json cancel");
        row("orders replay f --json", Command::Orders, Question::Replay, "f", "json");
        row("orders replay --home /h f", Command::Orders, Question::Replay, "f", "");
        row("profit", Command::Profit, Question::Show, "", "");
        row("profit show", Command::Profit, Question::Show, "", "");
        row("profit show T1 --follow", Command::Profit, Question::Show, "T1", "follow");
        row("profit check --json", Command::Profit, Question::Check, "", "json");
        row("value --follow show --json T1", Command::Value, Question::Show, "T1", "json follow");
        row("value check", Command::Value, Question::Check, "", "");
        row("messages", Command::Messages, Question::List, "", "");
        row("messages list --unread --json", Command::Messages, Question::List, "", "json unread");
        row("messages tail --json", Command::Messages, Question::Tail, "", "json");
        row("messages --repair check", Command::Messages, Question::Check, "", "repair");
        row("messages read a b", Command::Messages, Question::Read, "a b", "");
        row("messages remind show", Command::Messages, Question::RemindShow, "", "");
        row("messages remind show 4", Command::Messages, Question::RemindShow, "4", "");
        row("messages remind set 4/4001 2 quiet", Command::Messages, Question::RemindSet,
            "4/4001 2 quiet", "");
        row("messages remind set today off", Command::Messages, Question::RemindSet, "today off",
            "");
        row("menus --json", Command::Menus, Question::Show, "", "json");
        row("menus tree", Command::Menus, Question::Show, "", "");
        row("risk show 600000.SH", Command::Risk, Question::Show, "600000.SH", "");
        row("patches", Command::Patches, Question::List, "", "");
        row("patches list --json", Command::Patches, Question::List, "", "json");
        row("patches --json apply P1", Command::Patches, Question::Apply, "P1", "json");
        row("monitor", Command::Monitor, Question::Show, "", "");
        row("monitor --json", Command::Monitor, Question::Show, "", "json");
        row("monitor --home /h export", Command::Monitor, Question::Export, "", "");
        row("monitor record f --count 3", Command::Monitor, Question::Record, "f", "");
        row("skin dark", Command::Skin, Question::Show, "dark", "");
    }
    void question_withItsOptionsAnywhere_isRead() {
        QFETCH(QString, line);
        QFETCH(Command, command);
        QFETCH(Question, question);
        QFETCH(QString, argument);
        QFETCH(QString, options);
        ShellOptions read;
        QString error;
        QVERIFY2(parseShellOptions(words(line), &read, &error), qPrintable(error));
        QCOMPARE(read.command, command);
        QCOMPARE(read.question, question);
        QStringList taken = read.messageIds;
        taken << read.item << read.recordFile << read.account << read.symbol << read.remindKind
              << read.remindLevel << read.remindSwitch << read.patch;
        taken.removeAll(QString());
        QCOMPARE(taken.join(' '), argument);
        QCOMPARE(read.unread, options.contains("unread"));
        QCOMPARE(read.repair, options.contains("repair"));
        QCOMPARE(read.asJson, options.contains("json"));
        QCOMPARE(read.cancels, options.contains("cancel"));
        QCOMPARE(read.follow, options.contains("follow"));
    }

    void wrongWords_areRefusedWithAText_data() {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("named");
        const auto row = [](const char* line, const char* named) {
            QTest::newRow(line) << line << named;
        };
        row("orders", "orders takes 'check FILE'");
        row("orders check", "orders takes 'check FILE'");
        row("orders check a b", "orders takes 'check FILE'");
        row("orders show a", "orders takes 'check FILE'");
        row("orders replay a --cancel", "--cancel is an option of orders check");
        row("orders replay a --follow", "follow");
        row("profit tell", "profit takes 'show [ACCOUNT]'");
        row("profit show a b", "profit takes 'show [ACCOUNT]'");
        row("profit check a", "profit takes 'show [ACCOUNT]'");
        row("profit check --follow", "--follow is an option of profit show");
        row("value check --follow", "--follow is an option of value show");
        row("value replay f", "value takes 'show [ACCOUNT]'");
        row("value show --cancel", "cancel");
        row("accounts --follow", "follow");
        row("messages show", "messages takes 'list'");
        row("messages list a", "messages takes 'list'");
        row("messages read", "messages takes 'list'");
        row("messages read a --unread", "--unread is an option of messages list");
        row("messages tail --repair", "--repair is an option of messages check");
        row("messages list --count 3",
            "--count goes with ticks watch, messages tail and monitor record only");
        row("messages remind", "messages remind takes 'show [TYPE]' or 'set'");
        row("messages remind show 4 5", "messages remind takes 'show [TYPE]' or 'set'");
        row("messages remind set 4 2", "messages remind set takes TYPE");
        row("messages remind set 4/ 2 on", "messages remind set takes TYPE");
        row("messages remind set 4 2 loud", "messages remind set takes TYPE");
        row("messages remind set today on", "messages remind set takes TYPE");
        row("menus list", "menus takes 'tree'");
        row("risk", "risk takes 'show SYMBOL'");
        row("risk show a b", "risk takes 'show SYMBOL'");
        row("patches apply", "patches takes 'list' or 'apply ID'");
        row("patches apply a b", "patches takes 'list' or 'apply ID'");
        row("patches remove a", "patches takes 'list' or 'apply ID'");
        row("patches list --follow", "follow");
        row("monitor show", "monitor takes nothing");
        row("monitor export f", "monitor takes nothing");
        row("monitor record", "monitor takes nothing");
        row("monitor export --json", "--json is an option of monitor alone");
        row("monitor record f --json", "--json is an option of monitor alone");
        row("monitor --count 3", "--count goes with ticks watch");
        row("monitor export --count 3", "--count goes with ticks watch");
        row("skin", "skin takes the name of a skin");
        row("skin a b", "skin takes the name of a skin");
    }
    void wrongWords_areRefusedWithAText() {
        QFETCH(QString, line);
        QFETCH(QString, named);
        ShellOptions options;
        QString error;
        QVERIFY(!parseShellOptions(words(line), &options, &error));
        QVERIFY2(error.contains(named), qPrintable(error));
    }

    void mistypedCommand_namesSimilarOnes() {
        ShellOptions options;
        QString error;
        QVERIFY(!parseShellOptions({"order", "check"}, &options, &error));
        QVERIFY2(error.startsWith("unknown command 'order'; did you mean orders?"),
                 qPrintable(error));
        QVERIFY(!parseShellOptions({"zzzzzzzz"}, &options, &error));
        QVERIFY2(error.startsWith("unknown command 'zzzzzzzz' (call, "), qPrintable(error));
    }

    void tail_takesACount() {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions(words("messages tail --count 3"), &options, &error),
                 qPrintable(error));
        QCOMPARE(options.count, 3);
    }

    void help_namesEveryQuestion() {
        const QString help = shellHelpText();
        for (const char* usage : {"orders check FILE",
                                  "orders replay FILE",
                                  "profit show [ACCOUNT]",
                                  "profit check",
                                  "value show [ACCOUNT]",
                                  "value check",
                                  "--follow",
                                  "--cancel",
                                  "messages list",
                                  "messages tail",
                                  "messages read ID...",
                                  "messages remind show [TYPE]",
                                  "messages remind set TYPE[/SUBTYPE] LEVEL on|quiet|off",
                                  "messages check",
                                  "--unread",
                                  "--repair",
                                  "menus tree",
                                  "risk show SYMBOL",
                                  "monitor export",
                                  "monitor record FILE",
                                  "skin NAME"}) {
            QVERIFY2(help.contains(usage), usage);
        }
        for (const QString& line : help.split('\n')) {
            QVERIFY2(line.size() <= 100, qPrintable(line));
        }
    }
};

QTEST_GUILESS_MAIN(ShellCommandWordsTest)
#include "shell_command_words_test.moc"
