#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QtTest>

#include "status_file.h"
#include "test_paths.h"

/// Runs the real program on a pseudo-terminal.
class ClientTerminalTest : public QObject {
    Q_OBJECT

private slots:
    void answerApart_marketIsMade_showsTheBarOnStderr();
    void callThatTakesLong_showsItsProgressOnStderr();
    void terminal_staysWithALiveLine_untilCtrlC();
    void terminal_showsGatesMoneyAndDeals();
    void figuresInPlace_areNotDrawnBetweenOtherLines_data();
    void figuresInPlace_areNotDrawnBetweenOtherLines();
    void monitorOnATerminal_isRedrawnUntilCtrlC();
    void narrowTerminal_cutsLineAndTable();
    void terminal_once_endsByItself();

private:
    struct Terminal {
        int master = -1;
        pid_t child = -1;
        QByteArray out;
    };

    Terminal open(const char* staying, int columns) const;
    static Terminal open(std::vector<const char*> arguments, int columns, bool answerApart);
    bool readUntil(Terminal& terminal, const QByteArray& text, int times = 1) const;
    bool readUntil(Terminal& terminal, const QRegularExpression& form) const;
    bool readUntil(Terminal& terminal, const std::function<bool(const QByteArray&)>& seen) const;
    int ended(Terminal& terminal) const;

    QTemporaryDir m_home;
};

namespace {
constexpr int kLimitMs = 100000;
constexpr int kLookAgainMs = 50;
}  // namespace

/// With `answerApart`, stdout does not go to the terminal.
ClientTerminalTest::Terminal ClientTerminalTest::open(std::vector<const char*> arguments,
                                                      int columns, bool answerApart) {
    Terminal terminal;
    winsize size{};
    size.ws_row = 24;
    size.ws_col = static_cast<unsigned short>(columns);
    arguments.insert(arguments.begin(), "velmar-client");
    arguments.push_back(nullptr);
    terminal.child = forkpty(&terminal.master, nullptr, nullptr, &size);
    if (terminal.child == 0) {
        if (answerApart) {
            dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
        }
        execv(VELMAR_BINARY_DIR "/bin/velmar-client", const_cast<char**>(arguments.data()));
        _exit(127);
    }
    return terminal;
}

ClientTerminalTest::Terminal ClientTerminalTest::open(const char* staying, int columns) const {
    const QByteArray home = m_home.path().toUtf8();
    std::vector<const char*> arguments{"--home", home.constData()};
    if (staying) {
        arguments.push_back(staying);
    }
    return open(arguments, columns, false);
}

bool ClientTerminalTest::readUntil(Terminal& terminal, const QByteArray& text, int times) const {
    return readUntil(terminal, [&](const QByteArray& out) { return out.count(text) >= times; });
}

bool ClientTerminalTest::readUntil(Terminal& terminal, const QRegularExpression& form) const {
    return readUntil(terminal, [&](const QByteArray& out) {
        return form.match(QString::fromUtf8(out)).hasMatch();
    });
}

bool ClientTerminalTest::readUntil(Terminal& terminal,
                                   const std::function<bool(const QByteArray&)>& seen) const {
    QElapsedTimer limit;
    limit.start();
    while (!seen(terminal.out)) {
        pollfd ready{terminal.master, POLLIN, 0};
        const int left = kLimitMs - static_cast<int>(limit.elapsed());
        char bytes[4096];
        // What is waited for may come without further output.
        const int readyCount = left > 0 ? poll(&ready, 1, qMin(left, kLookAgainMs)) : -1;
        if (readyCount < 0) {
            return false;
        }
        if (readyCount == 0) {
            continue;
        }
        const ssize_t count = read(terminal.master, bytes, sizeof(bytes));
        if (count <= 0) {
            return false;
        }
        terminal.out.append(bytes, static_cast<int>(count));
    }
    return true;
}

/// Reads the rest of the output and returns the exit code; -1 after a signal.
int ClientTerminalTest::ended(Terminal& terminal) const {
    readUntil(terminal, QByteArrayLiteral("nothing prints this"));
    int status = 0;
    waitpid(terminal.child, &status, 0);
    close(terminal.master);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ClientTerminalTest::answerApart_marketIsMade_showsTheBarOnStderr() {
    // In a new home a market has to be made.
    const QByteArray home = m_home.path().toUtf8();
    Terminal terminal = open({"--home", home.constData(), "accounts", "list"}, 80, true);
    QVERIFY(terminal.child > 0);
    QCOMPARE(ended(terminal), 0);
    QVERIFY2(terminal.out.contains("\rmaking the sample market  [#"), terminal.out);
    // The bar is erased at the end.
    QVERIFY2(terminal.out.endsWith("\r\x1b[K"), terminal.out);
}

void ClientTerminalTest::callThatTakesLong_showsItsProgressOnStderr() {
    const QByteArray home = m_home.path().toUtf8();
    Terminal terminal = open(
        {"--home", home.constData(), "--fault", "queryHistoryExecutionRequest every delay ms=60",
         "call", "GetHistoryDealList", "[\"T000001\"]", "2025-01-01", "2025-12-31"},
        90, true);
    QVERIFY(terminal.child > 0);
    QVERIFY2(ended(terminal) == 0, terminal.out);
    const QRegularExpression bar(
        QStringLiteral("\rGetHistoryDealList T000001  \\[[# ]+\\] +\\d+ %\x1b\\[K"));
    QVERIFY2(QString::fromUtf8(terminal.out).contains(bar), terminal.out);
    QVERIFY2(terminal.out.endsWith("\r\x1b[K"), terminal.out);
}

void ClientTerminalTest::terminal_staysWithALiveLine_untilCtrlC() {
    Terminal terminal = open(nullptr, 100);
    QVERIFY(terminal.child > 0);
    // Drawn in place, and again after a second.
    QVERIFY2(readUntil(terminal, "\rup 00:00:0"), terminal.out);
    // The first line may still count a request under way.
    const QRegularExpression form(
        QStringLiteral("\rup [^\r]*[1-9]\\d* accounts \\| gates 4/4 up \\| 0 pending \\| "
                       "5 presenters"));
    QVERIFY2(readUntil(terminal, form), terminal.out);
    QVERIFY2(readUntil(terminal, "\rup ", 2), terminal.out);
    // Ctrl-C, as a keyboard sends it.
    QCOMPARE(write(terminal.master, "\x03", 1), ssize_t(1));
    QCOMPARE(ended(terminal), 0);
    QVERIFY2(terminal.out.contains("\r\nshut down\r\n"), terminal.out);
}

void ClientTerminalTest::terminal_showsGatesMoneyAndDeals() {
    const QByteArray home = m_home.path().toUtf8();
    Terminal terminal =
        open({"--home", home.constData(), "--deals", "20", "--seed", "3"}, 100, false);
    QVERIFY(terminal.child > 0);
    // A gate with the delay of its last beat, the money, a deal.
    for (const char* form : {"\rTradeGate +up +\\d+ ms ",
                             "\rmarket value [1-9]\\d*\\.\\d\\d \\| realized profit "
                             "-?\\d+\\.\\d\\d \\| \\d+ unread message",
                             "\r\\d\\d:\\d\\d:\\d\\d  T\\d+  \\S+ +(buy|sell) +\\d+ at \\d"}) {
        QVERIFY2(readUntil(terminal, QRegularExpression(QString::fromLatin1(form))), terminal.out);
    }
    QCOMPARE(write(terminal.master, "\x03", 1), ssize_t(1));
    QCOMPARE(ended(terminal), 0);
    QVERIFY2(terminal.out.contains("\r\nshut down\r\n"), terminal.out);
}

void ClientTerminalTest::figuresInPlace_areNotDrawnBetweenOtherLines_data() {
    QTest::addColumn<QByteArrayList>("options");
    QTest::newRow("lines of the log") << QByteArrayList{"--verbose"};
    QTest::newRow("lines of a plug-in")
        << QByteArrayList{"--plugin", VELMAR_BINARY_DIR "/plugins/libNeighbourPlugin.so"};
}

void ClientTerminalTest::figuresInPlace_areNotDrawnBetweenOtherLines() {
    QFETCH(QByteArrayList, options);
    const QByteArray home = m_home.path().toUtf8();
    const QString status = StatusFile::pathIn(m_home.path());
    QVERIFY(!QFile::exists(status));
    std::vector<const char*> arguments{"--home", home.constData()};
    for (const QByteArray& option : options) {
        arguments.push_back(option.constData());
    }
    Terminal terminal = open(arguments, 100, false);
    QVERIFY(terminal.child > 0);
    QVERIFY2(readUntil(terminal, "running, Ctrl-C ends it"), terminal.out);
    // Written right before the first figures would be drawn.
    QVERIFY2(readUntil(terminal, [&](const QByteArray&) { return QFile::exists(status); }),
             terminal.out);
    QCOMPARE(write(terminal.master, "\x03", 1), ssize_t(1));
    QCOMPARE(ended(terminal), 0);
    QVERIFY2(!terminal.out.contains("\rup "), terminal.out);
}

void ClientTerminalTest::monitorOnATerminal_isRedrawnUntilCtrlC() {
    const QByteArray home = m_home.path().toUtf8();
    qputenv("VELMAR_HOME", home);
    Terminal terminal = open({"monitor"}, 100, false);
    qunsetenv("VELMAR_HOME");
    QVERIFY(terminal.child > 0);
    QVERIFY2(readUntil(terminal, QRegularExpression("\rTradeGate +up +\\d+ ms ")), terminal.out);
    // Drawn again in place: the cursor goes up.
    QVERIFY2(readUntil(terminal, QRegularExpression("\r\x1b\\[\\d+A")), terminal.out);
    QCOMPARE(write(terminal.master, "\x03", 1), ssize_t(1));
    QCOMPARE(ended(terminal), 0);
}

void ClientTerminalTest::narrowTerminal_cutsLineAndTable() {
    Terminal terminal = open(nullptr, 30);
    QVERIFY2(readUntil(terminal, "\rup 00:00:0"), terminal.out);
    QVERIFY2(readUntil(terminal, "\x1b[K"), terminal.out);
    QCOMPARE(write(terminal.master, "\x03", 1), ssize_t(1));
    QCOMPARE(ended(terminal), 0);
    const int from = terminal.out.indexOf("\rup ") + 1;
    const QByteArray line = terminal.out.mid(from, terminal.out.indexOf('\x1b', from) - from);
    QVERIFY2(line.size() < 30, line);
    const int title = terminal.out.indexOf("\nAccount") + 1;
    QVERIFY(title > 0);
    QVERIFY(terminal.out.indexOf('\r', title) - title <= 30);
}

void ClientTerminalTest::terminal_once_endsByItself() {
    Terminal terminal = open("--once", 100);
    QCOMPARE(ended(terminal), 0);
    QVERIFY2(terminal.out.contains("shut down"), terminal.out);
    QVERIFY(!terminal.out.contains("\rup "));
}

QTEST_GUILESS_MAIN(ClientTerminalTest)
#include "client_terminal_test.moc"
