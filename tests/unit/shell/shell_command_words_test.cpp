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
        QCOMPARE(command == Command::Orders ? read.recordFile : read.account, argument);
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

    void help_namesEveryCommandOfMoneyAndOrders() {
        const QString help = shellHelpText();
        for (const char* usage :
             {"orders check FILE", "orders replay FILE", "profit show [ACCOUNT]", "profit check",
              "value show [ACCOUNT]", "value check", "--follow", "--cancel"}) {
            QVERIFY2(help.contains(usage), usage);
        }
        for (const QString& line : help.split('\n')) {
            QVERIFY2(line.size() <= 100, qPrintable(line));
        }
    }
};

QTEST_GUILESS_MAIN(ShellCommandWordsTest)
#include "shell_command_words_test.moc"
