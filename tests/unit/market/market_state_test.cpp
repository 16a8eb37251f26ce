#include <QtTest>

#include "database_seal.h"
#include "market_fixture.h"
#include "sqlite_connection.h"

class MarketStateTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void state_emptyFolder_isMissing();
    void state_oneFileGone_isMissing();
    void state_otherOptions_isOther_data();
    void state_otherOptions_isOther();
    void state_writtenByAnotherVersion_isOutdated_data();
    void state_writtenByAnotherVersion_isOutdated();
    void state_damagedFile_namesIt_data();
    void state_damagedFile_namesIt();
    void state_incompleteFile_isUnusable();
    void sealedFile_damaged_isNamed_data();
    void sealedFile_damaged_isNamed();
    void sealedFile_changedBySql_isCheckedPageByPage();

private:
    /// Runs a statement in a file.
    static bool change(const QString& path, const QString& sql) {
        return !SqliteConnection(path).run(sql, {}, {});
    }
    /// Both files are above the size up to which every page is checked.
    static MarketOptions largeEnough() {
        MarketOptions options;
        options.symbols = 22000;
        options.historyOrders = 25000;
        return options;
    }

    MarketFixture m_market;
    QTemporaryDir m_large;
};

void MarketStateTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
    QVERIFY(sampleMarketReady(m_market.path(), smallMarket()));
    QVERIFY2(makeSampleMarket(m_large.path(), largeEnough(), {}, &error), qPrintable(error));
}

void MarketStateTest::state_emptyFolder_isMissing() {
    QTemporaryDir dir;
    QString text;
    QCOMPARE(sampleMarketState(dir.path(), smallMarket(), &text), MarketState::Missing);
    QVERIFY(text.contains(marketStoreFile(dir.path())));
}

void MarketStateTest::state_oneFileGone_isMissing() {
    QTemporaryDir dir;
    QString error;
    QVERIFY(makeSampleMarket(dir.path(), smallMarket(), {}, &error));
    QVERIFY(QFile::remove(staticDatabaseFile(dir.path())));
    QString text;
    QCOMPARE(sampleMarketState(dir.path(), smallMarket(), &text), MarketState::Missing);
    QVERIFY(text.contains(staticDatabaseFile(dir.path())));
}

void MarketStateTest::state_otherOptions_isOther_data() {
    QTest::addColumn<int>("seed");
    QTest::addColumn<int>("accounts");
    QTest::addColumn<int>("symbols");
    QTest::addColumn<int>("history");
    QTest::addColumn<int>("scale");
    const MarketOptions standard = smallMarket();
    const auto row = [&](const char* mark, int seed, int accounts, int symbols, int history,
                         int scale) {
        QTest::newRow(mark) << seed << accounts << symbols << history << scale;
    };
    const int seed = int(standard.seed);
    row("seed", 1, standard.accounts, standard.symbols, standard.historyOrders, 1);
    row("accounts", seed, 199, standard.symbols, standard.historyOrders, 1);
    row("symbols", seed, standard.accounts, 501, standard.historyOrders, 1);
    row("history", seed, standard.accounts, standard.symbols, 440, 1);
    row("scale", seed, standard.accounts, standard.symbols, standard.historyOrders, 2);
}

void MarketStateTest::state_otherOptions_isOther() {
    QFETCH(int, seed);
    QFETCH(int, accounts);
    QFETCH(int, symbols);
    QFETCH(int, history);
    QFETCH(int, scale);
    MarketOptions options = smallMarket();
    options.seed = quint32(seed);
    options.accounts = accounts;
    options.symbols = symbols;
    options.historyOrders = history;
    options.scale = scale;
    QString text;
    QCOMPARE(sampleMarketState(m_market.path(), options, &text), MarketState::Other);
    QVERIFY(text.contains(QLatin1String(QTest::currentDataTag())));
    QVERIFY(!sampleMarketReady(m_market.path(), options));
}

void MarketStateTest::state_writtenByAnotherVersion_isOutdated_data() {
    QTest::addColumn<QString>("key");
    QTest::newRow("contents") << "contents";
    QTest::newRow("format") << "format";
}

void MarketStateTest::state_writtenByAnotherVersion_isOutdated() {
    QFETCH(QString, key);
    QTemporaryDir dir;
    QString text;
    QVERIFY(makeSampleMarket(dir.path(), smallMarket(), {}, &text));
    QVERIFY(change(staticDatabaseFile(dir.path()),
                   "UPDATE meta SET value = '1' WHERE key = '" + key + "'"));
    QCOMPARE(sampleMarketState(dir.path(), smallMarket(), &text), MarketState::Outdated);
    QVERIFY2(text.contains(staticDatabaseFile(dir.path())) && text.contains(key), qPrintable(text));
}

void MarketStateTest::state_damagedFile_namesIt_data() {
    QTest::addColumn<bool>("store");
    QTest::addColumn<QString>("damage");
    QTest::newRow("store, cut") << true << "cut";
    QTest::newRow("store, overwritten page") << true << "page";
    QTest::newRow("store, no database") << true << "text";
    QTest::newRow("store, empty") << true << "empty";
    QTest::newRow("static, cut") << false << "cut";
    QTest::newRow("static, overwritten page") << false << "page";
    QTest::newRow("static, no database") << false << "text";
    QTest::newRow("static, empty") << false << "empty";
}

void MarketStateTest::state_damagedFile_namesIt() {
    QFETCH(bool, store);
    QFETCH(QString, damage);
    QTemporaryDir dir;
    QString error;
    QVERIFY(makeSampleMarket(dir.path(), smallMarket(), {}, &error));
    const QString path = store ? marketStoreFile(dir.path()) : staticDatabaseFile(dir.path());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    if (damage == QLatin1String("cut")) {
        QVERIFY(file.resize(file.size() / 2));
    } else if (damage == QLatin1String("page")) {
        QVERIFY(file.seek(file.size() / 4096 / 2 * 4096));
        QCOMPARE(file.write(QByteArray(4096, '\x5a')), qint64(4096));
    } else {
        QVERIFY(file.resize(0));
        file.write(damage == QLatin1String("text") ? QByteArray(5000, 'x') : QByteArray());
    }
    file.close();
    QString text;
    QCOMPARE(sampleMarketState(dir.path(), smallMarket(), &text), MarketState::Unusable);
    QVERIFY2(text.contains(path), qPrintable(text));
    QVERIFY2(text.contains("./run --rebuild"), qPrintable(text));
}

void MarketStateTest::state_incompleteFile_isUnusable() {
    QTemporaryDir dir;
    QString error;
    QVERIFY(makeSampleMarket(dir.path(), smallMarket(), {}, &error));
    QVERIFY(change(marketStoreFile(dir.path()), "DELETE FROM meta WHERE key = 'complete'"));
    QString text;
    QCOMPARE(sampleMarketState(dir.path(), smallMarket(), &text), MarketState::Unusable);
    QVERIFY(text.contains(marketStoreFile(dir.path())));
}

void MarketStateTest::sealedFile_damaged_isNamed_data() {
    QTest::addColumn<bool>("store");
    QTest::addColumn<QString>("damage");
    QTest::addColumn<QString>("named");
    for (const bool store : {true, false}) {
        const char* const file = store ? "store" : "static";
        QTest::addRow("%s, cut within a page", file) << store << "cut"
                                                     << "bytes";
        QTest::addRow("%s, last page lost", file) << store << "page lost"
                                                  << "bytes";
        QTest::addRow("%s, page too many", file) << store << "page more"
                                                 << "bytes";
        QTest::addRow("%s, page overwritten in front", file) << store << "front"
                                                             << "digest";
        QTest::addRow("%s, last page overwritten", file) << store << "last"
                                                         << "digest";
        QTest::addRow("%s, no header", file) << store << "header"
                                             << "not a database";
        QTest::addRow("%s, table of marks overwritten", file) << store << "marks"
                                                              << "";
    }
}

void MarketStateTest::sealedFile_damaged_isNamed() {
    QFETCH(bool, store);
    QFETCH(QString, damage);
    QFETCH(QString, named);
    QTemporaryDir dir;
    for (const auto& name : {marketStoreFile(QString()), staticDatabaseFile(QString())}) {
        QVERIFY(QFile::copy(QDir(m_large.path()).filePath(QFileInfo(name).fileName()),
                            dir.filePath(QFileInfo(name).fileName())));
    }
    const MarketOptions options = largeEnough();
    QVERIFY(sampleMarketReady(dir.path(), options));
    const QString path = store ? marketStoreFile(dir.path()) : staticDatabaseFile(dir.path());
    QVERIFY(!DatabaseSeal::isSmall(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    const qint64 size = file.size();
    const auto overwrite = [&file](qint64 at) {
        QVERIFY(file.seek(at));
        // One byte is enough.
        const char was = file.peek(1).at(0);
        QCOMPARE(file.write(QByteArray(1, char(was ^ 1))), qint64(1));
    };
    if (damage == "cut") {
        QVERIFY(file.resize(size - 100));
    } else if (damage == "page lost") {
        QVERIFY(file.resize(size - 4096));
    } else if (damage == "page more") {
        QVERIFY(file.resize(size + 4096));
    } else if (damage == "front") {
        overwrite(5 * 4096 + 4000);
    } else if (damage == "last") {
        overwrite(size - 1);
    } else if (damage == "header") {
        overwrite(3);
    } else {
        QVERIFY(file.seek(4096));
        file.write(QByteArray(4096, '\x5a'));
    }
    file.close();
    QString text;
    QCOMPARE(sampleMarketState(dir.path(), options, &text), MarketState::Unusable);
    QVERIFY2(text.contains(path) && text.contains("./run --rebuild"), qPrintable(text));
    QVERIFY2(text.contains(named), qPrintable(text));
}

void MarketStateTest::sealedFile_changedBySql_isCheckedPageByPage() {
    QTemporaryDir dir;
    const QString path = marketStoreFile(dir.path());
    QVERIFY(QFile::copy(marketStoreFile(m_large.path()), path));
    const auto covered = [&path] {
        QString error;
        const auto store = MarketStore::open(path, &error);
        return store && DatabaseSeal::covers(path, {{DatabaseSeal::changeKey,
                                                     store->meta(DatabaseSeal::changeKey)}});
    };
    QVERIFY(covered());
    QVERIFY(change(path, "UPDATE login SET user_name = 'other'"));
    QString error;
    QVERIFY2(MarketStore::open(path, &error), qPrintable(error));
    QVERIFY(!covered());
    // Without a seal every page is checked.
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.seek(file.size() / 4096 / 2 * 4096));
    QCOMPARE(file.write(QByteArray(4096, '\x5a')), qint64(4096));
    file.close();
    QVERIFY(!MarketStore::open(path, &error));
    QVERIFY2(error.contains("damaged"), qPrintable(error));
}

QTEST_GUILESS_MAIN(MarketStateTest)
#include "market_state_test.moc"
