#include <sys/wait.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QtTest>

#include "market_fixture.h"

class MarketMakingTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void sameOptions_makeTheSameBytes();
    void otherSeedOrSize_makesOtherBytes();
    void progress_countsUpToItsTotal();
    void progress_thatStops_leavesWhatStoodThere();
    void making_killedHalfWay_leavesNothingUsable();
    void making_overOlderMarket_replacesIt();
    void making_impossible_namesTheReason();
    void scale_multipliesEverything_data() { scales(); }
    void scale_multipliesEverything();
    void scale_isTheSameBytesEachTime_data() { scales(); }
    void scale_isTheSameBytesEachTime();
    void scale_outOfItsRange_isRefused();
    void making_standardSize_hasItsCountsAndOpensAtOnce();

private:
    static void scales() {
        QTest::addColumn<int>("scale");
        for (const int scale : {2, 10, kMaxMarketScale}) {
            QTest::addRow("%d", scale) << scale;
        }
    }
    static MarketOptions tinyOfScale(int scale) {
        MarketOptions options;
        options.accounts = 10;
        options.symbols = 60;
        options.historyOrders = 120;
        options.scale = scale;
        return options;
    }

    /// Makes the market of a scale and counts its rows; empty when it could not be made.
    static QMap<QString, int> countsOfTiny(int scale, const QString& dir) {
        QString error;
        if (!makeSampleMarket(dir, tinyOfScale(scale), {}, &error) ||
            !sampleMarketReady(dir, tinyOfScale(scale))) {
            qWarning("no market: %s", qPrintable(error));
            return {};
        }
        const auto store = MarketStore::open(marketStoreFile(dir), &error);
        const auto statics = MarketStore::open(staticDatabaseFile(dir), &error);
        const auto rows = [](const std::shared_ptr<const MarketStore>& of, const QString& from) {
            return of ? number(*of, QStringLiteral("SELECT COUNT(*) FROM ") + from) : -1;
        };
        const QString first = QStringLiteral(" AND trading_account = 'T000001'");
        return {{"accounts of the first login",
                 rows(store, "account_authority WHERE user_id = '" + SampleLogin::user + "'")},
                {"all accounts", rows(store, "trading_account")},
                {"securities", rows(statics, "reference WHERE kind = 'security'")},
                {"orders", rows(store, "history_order WHERE entrust_type <> 'F'" + first)},
                {"deals", rows(store, "history_deal WHERE exchange_exec_type = '0'" + first)},
                {"days of orders", rows(store, "(SELECT DISTINCT trade_date FROM history_order)")},
                {"trade days", rows(store, "trade_calendar")}};
    }

    MarketFixture m_market;
};

void MarketMakingTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
    QVERIFY(sampleMarketReady(m_market.path(), smallMarket()));
}

void MarketMakingTest::sameOptions_makeTheSameBytes() {
    QTemporaryDir second;
    QString error;
    QVERIFY(makeSampleMarket(second.path(), smallMarket(), {}, &error));
    QVERIFY(!hashOf(marketStoreFile(second.path())).isEmpty());
    QCOMPARE(hashOf(marketStoreFile(second.path())), hashOf(marketStoreFile(m_market.path())));
    QCOMPARE(hashOf(staticDatabaseFile(second.path())),
             hashOf(staticDatabaseFile(m_market.path())));
}

void MarketMakingTest::otherSeedOrSize_makesOtherBytes() {
    MarketOptions otherSeed = smallMarket();
    otherSeed.seed = 7;
    MarketOptions otherSize = smallMarket();
    otherSize.accounts = 201;
    for (const MarketOptions& options : {otherSeed, otherSize}) {
        QTemporaryDir dir;
        QString error;
        QVERIFY(makeSampleMarket(dir.path(), options, {}, &error));
        QVERIFY(hashOf(marketStoreFile(dir.path())) != hashOf(marketStoreFile(m_market.path())));
    }
}

void MarketMakingTest::progress_countsUpToItsTotal() {
    QTemporaryDir dir;
    QString error;
    int last = 0;
    int total = 0;
    int calls = 0;
    QVERIFY(makeSampleMarket(
        dir.path(), smallMarket(),
        [&](int done, int of) {
            const bool rising = done > last && done <= of;
            last = done;
            total = of;
            ++calls;
            return rising;
        },
        &error));
    QCOMPARE(last, total);
    QVERIFY(calls > 3);
}

void MarketMakingTest::progress_thatStops_leavesWhatStoodThere() {
    QTemporaryDir dir;
    QString error;
    MarketOptions small = smallMarket();
    small.accounts = 20;
    QVERIFY(makeSampleMarket(dir.path(), small, {}, &error));
    const QByteArray before = hashOf(marketStoreFile(dir.path()));
    QVERIFY(!makeSampleMarket(
        dir.path(), smallMarket(), [](int done, int total) { return done < total / 2; }, &error));
    QVERIFY(!error.isEmpty());
    QCOMPARE(hashOf(marketStoreFile(dir.path())), before);
    QVERIFY(sampleMarketReady(dir.path(), small));
    QCOMPARE(filesIn(dir.path()), (QStringList{"market.sqlite", "static.sqlite"}));
}

void MarketMakingTest::making_killedHalfWay_leavesNothingUsable() {
    QTemporaryDir dir;
    const pid_t child = fork();
    if (child == 0) {
        QString error;
        makeSampleMarket(
            dir.path(), smallMarket(),
            [](int done, int total) {
                if (done > total / 2) {
                    _exit(9);
                }
                return true;
            },
            &error);
        _exit(0);
    }
    QVERIFY(child > 0);
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QCOMPARE(WEXITSTATUS(status), 9);
    QVERIFY(!filesIn(dir.path()).isEmpty());  // it had begun
    QVERIFY(!filesIn(dir.path()).contains("market.sqlite"));
    QCOMPARE(sampleMarketState(dir.path(), smallMarket()), MarketState::Missing);

    // The next making succeeds and removes the remains.
    QString error;
    QVERIFY2(makeSampleMarket(dir.path(), smallMarket(), {}, &error), qPrintable(error));
    QVERIFY(sampleMarketReady(dir.path(), smallMarket()));
    QCOMPARE(filesIn(dir.path()), (QStringList{"market.sqlite", "static.sqlite"}));
    QCOMPARE(hashOf(marketStoreFile(dir.path())), hashOf(marketStoreFile(m_market.path())));
}

void MarketMakingTest::making_overOlderMarket_replacesIt() {
    QTemporaryDir dir;
    QString error;
    MarketOptions small = smallMarket();
    small.accounts = 20;
    QVERIFY(makeSampleMarket(dir.path(), small, {}, &error));
    QVERIFY(makeSampleMarket(dir.path(), smallMarket(), {}, &error));
    QVERIFY(sampleMarketReady(dir.path(), smallMarket()));
    QVERIFY(!sampleMarketReady(dir.path(), small));
}

void MarketMakingTest::making_impossible_namesTheReason() {
    QTemporaryDir dir;
    QFile blocker(dir.filePath("file"));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    QString error;
    QVERIFY(!makeSampleMarket(dir.filePath("file/below"), smallMarket(), {}, &error));
    QVERIFY(error.contains(dir.filePath("file/below")));
    MarketOptions none = smallMarket();
    none.accounts = 0;
    error.clear();
    QVERIFY(!makeSampleMarket(dir.path(), none, {}, &error));
    QVERIFY(!error.isEmpty());
}

void MarketMakingTest::scale_multipliesEverything() {
    QFETCH(int, scale);
    QTemporaryDir baseDir;
    QTemporaryDir dir;
    const QMap<QString, int> base = countsOfTiny(1, baseDir.path());
    const QMap<QString, int> scaled = countsOfTiny(scale, dir.path());
    QCOMPARE(base.value("accounts of the first login"), 10);
    QCOMPARE(base.value("all accounts"), 10 + 3);
    QCOMPARE(base.value("securities"), 60);
    QCOMPARE(base.value("orders"), 120);
    QVERIFY(base.value("deals") > 120);
    for (const char* of : {"accounts of the first login", "securities", "orders", "deals"}) {
        QVERIFY2(scaled.value(of) == scale * base.value(of), of);
    }
    // The scale does not change the second login's own three accounts and the length of the year.
    QCOMPARE(scaled.value("all accounts"), scale * 10 + 3);
    QCOMPARE(scaled.value("trade days"), base.value("trade days"));
    QVERIFY(scaled.value("days of orders") <= 243);

    QVERIFY(!sampleMarketReady(dir.path(), tinyOfScale(1)));
    // Ten times the options are another market than the scale 10.
    MarketOptions larger = tinyOfScale(1);
    larger.accounts *= scale;
    larger.symbols *= scale;
    larger.historyOrders *= scale;
    QCOMPARE(sampleMarketState(dir.path(), larger), MarketState::Other);
}

void MarketMakingTest::scale_outOfItsRange_isRefused() {
    for (const int scale : {0, -1, kMaxMarketScale + 1}) {
        QTemporaryDir dir;
        QString error;
        QVERIFY(!makeSampleMarket(dir.path(), tinyOfScale(scale), {}, &error));
        QVERIFY2(error.contains("scale"), qPrintable(error));
        QCOMPARE(filesIn(dir.path()), QStringList());
    }
}

void MarketMakingTest::scale_isTheSameBytesEachTime() {
    QFETCH(int, scale);
    QTemporaryDir first;
    QTemporaryDir second;
    QTemporaryDir otherSeed;
    MarketOptions other = tinyOfScale(scale);
    ++other.seed;
    QString error;
    QVERIFY(makeSampleMarket(first.path(), tinyOfScale(scale), {}, &error));
    QVERIFY(makeSampleMarket(second.path(), tinyOfScale(scale), {}, &error));
    QVERIFY(makeSampleMarket(otherSeed.path(), other, {}, &error));
    for (const auto& fileOf : {marketStoreFile, staticDatabaseFile}) {
        const QByteArray hash = hashOf(fileOf(first.path()));
        QVERIFY(!hash.isEmpty());
        QCOMPARE(hashOf(fileOf(second.path())), hash);
        QVERIFY(hashOf(fileOf(otherSeed.path())) != hash);
    }
}

void MarketMakingTest::making_standardSize_hasItsCountsAndOpensAtOnce() {
    QTemporaryDir dir;
    QString error;
    QElapsedTimer timer;
    timer.start();
    int last = 0;
    int total = 0;
    QVERIFY(makeSampleMarket(
        dir.path(), {},
        [&](int done, int of) {
            last = done;
            total = of;
            return true;
        },
        &error));
    const qint64 made = timer.restart();
    QVERIFY(sampleMarketReady(dir.path(), {}));
    const qint64 opened = timer.elapsed();
    qInfo("%d rows made in %lld ms, opened in %lld ms", total, made, opened);
    QCOMPARE(last, total);

    const auto store = MarketStore::open(marketStoreFile(dir.path()), &error);
    const auto statics = MarketStore::open(staticDatabaseFile(dir.path()), &error);
    QVERIFY2(store && statics, qPrintable(error));
    const auto kinds = [&statics](const QString& subTypes) {
        return number(*statics, QStringLiteral("SELECT COUNT(*) FROM reference WHERE kind ="
                                               " 'security' AND"
                                               " json_extract(record, '$.mdcSubSecurityType') IN"
                                               " (%1)")
                                    .arg(subTypes));
    };
    QCOMPARE(kinds("'02001'"), 1700 + 1500);
    QCOMPARE(kinds("'02200'"), 600);
    QCOMPARE(kinds("'02100'"), 900);
    QCOMPARE(kinds("'02300'"), 300);
    QCOMPARE(kinds("'08100'"), 1500);
    QCOMPARE(kinds("'03100','03200','03310','03400'"), 3000);
    QCOMPARE(kinds("'02400','02410','08400'"), 828);
    QCOMPARE(kinds("'06100'"), 1540);
    QCOMPARE(kinds("'05100'"), 60);
    QCOMPARE(kinds("'05200'"), 60);
    QCOMPARE(kinds("'09100'"), 12);
    QCOMPARE(number(*store, "SELECT COUNT(*) FROM trading_account"), 203);
    QCOMPARE(number(*store, "SELECT COUNT(*) FROM history_deal WHERE trading_account = 'T000001'"),
             205000);
    QCOMPARE(number(*store,
                    "SELECT COUNT(*) FROM history_order WHERE trading_account ="
                    " 'T000001'"),
             120000);
    QCOMPARE(number(*store, "SELECT COUNT(DISTINCT trading_account) FROM history_day"), 15);
}

QTEST_GUILESS_MAIN(MarketMakingTest)
#include "market_making_test.moc"
