#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QtTest>

#include "market_fixture.h"
#include "sqlite_connection.h"

namespace {

/// Another process that makes a market and pauses half way, until goOn() or giveUp().
class OtherMaker {
public:
    explicit OtherMaker(const QString& dir) {
        if (pipe(m_begun) != 0 || pipe(m_order) != 0) {
            qFatal("no pipe");
        }
        m_pid = fork();
        if (m_pid == 0) {
            make(dir);
        }
        char byte = 0;
        if (read(m_begun[0], &byte, 1) != 1) {
            qFatal("the other maker did not begin");
        }
    }
    ~OtherMaker() {
        kill(m_pid, SIGKILL);
        int status = 0;
        waitpid(m_pid, &status, 0);
        for (const int end : {m_begun[0], m_begun[1], m_order[0], m_order[1]}) {
            close(end);
        }
    }
    Q_DISABLE_COPY(OtherMaker)

    void goOn() { order('g'); }
    void giveUp() { order('x'); }
    QString pid() const { return QString::number(m_pid); }

private:
    [[noreturn]] void make(const QString& dir) const {
        bool waited = false;
        const auto progress = [&](int done, int total) {
            if (!waited && done > total / 2) {
                waited = true;
                char byte = 'b';
                if (write(m_begun[1], &byte, 1) != 1 || read(m_order[0], &byte, 1) != 1 ||
                    byte != 'g') {
                    _exit(1);
                }
            }
            return true;
        };
        QString error;
        makeSampleMarket(dir, smallMarket(), progress, &error);
        _exit(0);
    }
    void order(char byte) const {
        if (write(m_order[1], &byte, 1) != 1) {
            qFatal("the other maker cannot be reached");
        }
    }

    int m_begun[2] = {-1, -1};
    int m_order[2] = {-1, -1};
    pid_t m_pid = -1;
};

}  // namespace

class MarketProvidingTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void folderOfEachSize_isAnother();
    void missingMarket_isMade_thenOpened();
    void readyMarket_withRebuild_isMadeAgain();
    void marketOfOtherOptions_staysUnlessRebuilt();
    void damagedMarket_staysUnlessRebuilt();
    void outdatedMarket_isReplaced();
    void otherProcessMaking_isWaitedFor_andItsMarketOpened_data();
    void otherProcessMaking_isWaitedFor_andItsMarketOpened();
    void otherProcessGivingUp_leavesTheMakingToThisOne();
    void interruptWhileWaiting_endsItSoonWithItsText();
    void interruptWhileMaking_endsItWithItsText_data();
    void interruptWhileMaking_endsItWithItsText();

private:
    MarketProvided provide(bool rebuild = false, const MarketWatch& watch = {}) {
        m_error.clear();
        return provideSampleMarket(m_dir->path(), smallMarket(), rebuild, watch, &m_error);
    }
    /// When the store was written.
    QDateTime written() const { return QFileInfo(marketStoreFile(m_dir->path())).lastModified(); }
    void makeOther() {
        MarketOptions other = smallMarket();
        other.accounts = 20;
        QVERIFY2(makeSampleMarket(m_dir->path(), other, {}, &m_error), qPrintable(m_error));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_error;
};

void MarketProvidingTest::folderOfEachSize_isAnother() {
    const MarketOptions standard;
    QCOMPARE(sampleMarketDir("/home", standard), QString("/home/market"));
    QStringList folders{sampleMarketDir("/home", standard)};
    const QVector<std::function<void(MarketOptions&)>> changes{
        [](MarketOptions& of) { of.scale = 10; },
        [](MarketOptions& of) { of.seed = 10; },
        [](MarketOptions& of) { of.accounts = 10; },
        [](MarketOptions& of) { of.symbols = 10; },
        [](MarketOptions& of) { of.historyOrders = 10; },
    };
    for (const auto& change : changes) {
        MarketOptions options;
        change(options);
        const QString folder = sampleMarketDir("/home", options);
        QVERIFY2(folder.startsWith("/home/market-"), qPrintable(folder));
        QVERIFY2(!folders.contains(folder), qPrintable(folder));
        folders.append(folder);
    }
}

void MarketProvidingTest::missingMarket_isMade_thenOpened() {
    QCOMPARE(provide(), MarketProvided::Made);
    const QDateTime made = written();
    QCOMPARE(provide(), MarketProvided::Opened);
    QCOMPARE(written(), made);
    QVERIFY(sampleMarketReady(m_dir->path(), smallMarket()));
}

void MarketProvidingTest::readyMarket_withRebuild_isMadeAgain() {
    QCOMPARE(provide(), MarketProvided::Made);
    const QDateTime made = written();
    QCOMPARE(provide(true), MarketProvided::Made);
    QVERIFY(written() != made);
}

void MarketProvidingTest::marketOfOtherOptions_staysUnlessRebuilt() {
    makeOther();
    const QByteArray before = hashOf(marketStoreFile(m_dir->path()));
    QCOMPARE(provide(), MarketProvided::Failed);
    QVERIFY2(m_error.contains("accounts") && m_error.contains("--rebuild"), qPrintable(m_error));
    QCOMPARE(hashOf(marketStoreFile(m_dir->path())), before);
    QCOMPARE(provide(true), MarketProvided::Made);
    QVERIFY(sampleMarketReady(m_dir->path(), smallMarket()));
}

void MarketProvidingTest::damagedMarket_staysUnlessRebuilt() {
    QCOMPARE(provide(), MarketProvided::Made);
    QVERIFY(QFile::resize(marketStoreFile(m_dir->path()), 5000));
    QCOMPARE(provide(), MarketProvided::Failed);
    QVERIFY2(m_error.contains("damaged") && m_error.contains("--rebuild"), qPrintable(m_error));
    QCOMPARE(QFileInfo(marketStoreFile(m_dir->path())).size(), qint64(5000));
    QCOMPARE(provide(true), MarketProvided::Made);
}

void MarketProvidingTest::outdatedMarket_isReplaced() {
    QCOMPARE(provide(), MarketProvided::Made);
    QVERIFY(!SqliteConnection(marketStoreFile(m_dir->path()))
                 .run("UPDATE meta SET value = '1' WHERE key = 'contents'", {}, {}));
    QCOMPARE(provide(), MarketProvided::Made);
    QVERIFY(sampleMarketReady(m_dir->path(), smallMarket()));
}

void MarketProvidingTest::otherProcessMaking_isWaitedFor_andItsMarketOpened_data() {
    QTest::addColumn<bool>("rebuild");
    QTest::newRow("missing") << false;
    QTest::newRow("rebuild") << true;
}

void MarketProvidingTest::otherProcessMaking_isWaitedFor_andItsMarketOpened() {
    QFETCH(bool, rebuild);
    if (rebuild) {
        QCOMPARE(provide(), MarketProvided::Made);
    }
    OtherMaker other(m_dir->path());
    QStringList said;
    MarketWatch watch;
    watch.waits = [&](const QString& text) {
        said.append(text);
        other.goOn();
    };
    int making = 0;
    watch.progress = [&making](int, int) { return ++making > 0; };
    QVERIFY2(provide(rebuild, watch) == MarketProvided::Opened, qPrintable(m_error));
    QCOMPARE(making, 0);
    QCOMPARE(said.size(), 1);
    QVERIFY2(said.first().contains(other.pid()) && said.first().contains(m_dir->path()),
             qPrintable(said.first()));
    QVERIFY(sampleMarketReady(m_dir->path(), smallMarket()));
}

void MarketProvidingTest::otherProcessGivingUp_leavesTheMakingToThisOne() {
    OtherMaker other(m_dir->path());
    MarketWatch watch;
    watch.waits = [&other](const QString&) { other.giveUp(); };
    QVERIFY2(provide(false, watch) == MarketProvided::Made, qPrintable(m_error));
}

void MarketProvidingTest::interruptWhileWaiting_endsItSoonWithItsText() {
    const OtherMaker other(m_dir->path());
    QElapsedTimer since;
    MarketWatch watch;
    watch.waits = [&since](const QString&) { since.start(); };
    watch.interrupted = [&since] { return since.isValid(); };
    QCOMPARE(provide(false, watch), MarketProvided::Failed);
    QVERIFY(since.elapsed() < 10000);
    QVERIFY2(m_error.startsWith("interrupted") && m_error.contains(other.pid()),
             qPrintable(m_error));
}

void MarketProvidingTest::interruptWhileMaking_endsItWithItsText_data() {
    QTest::addColumn<bool>("isWriting");
    QTest::newRow("before the first row is written") << false;
    QTest::newRow("while rows are written") << true;
}

void MarketProvidingTest::interruptWhileMaking_endsItWithItsText() {
    QFETCH(bool, isWriting);
    int written = 0;
    MarketWatch watch;
    watch.progress = [&written](int done, int) {
        written = done;
        return true;
    };
    watch.interrupted = [&] { return !isWriting || written > 0; };
    QCOMPARE(provide(false, watch), MarketProvided::Failed);
    QCOMPARE(written > 0, isWriting);
    QVERIFY2(m_error.startsWith("interrupted"), qPrintable(m_error));
    QCOMPARE(filesIn(m_dir->path()), QStringList());
}

QTEST_GUILESS_MAIN(MarketProvidingTest)
#include "market_providing_test.moc"
