#include "market_store.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "market_file.h"
#include "sealed_database.h"

namespace {

const QString kCount = QStringLiteral("SELECT COUNT(*) FROM meta");

int countOf(const MarketStore& store) {
    int count = -1;
    store.select(kCount, {}, [&count](const QSqlQuery& query) { count = query.value(0).toInt(); });
    return count;
}

}  // namespace

class MarketStoreTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void open_missingFile_namesItAndCreatesNothing();
    void open_otherFormat_isRefused();
    void meta_ofOpenStore_isRead();
    void select_badStatement_failsWithText();
    void select_writing_isRefused();
    void select_boundValues_areTakenAsTheyStand();
    void connections_endWithTheirThread();
    void connections_endWithTheStore();
    void select_manyThreads_eachReadsEverything();

private:
    QString makeFile(const QString& name, const QString& format) {
        const QString path = m_dir.filePath(name);
        MarketFile file(path);
        return file.create(QStringLiteral("static.sql")) &&
                       file.insert(QStringLiteral("static_cfg"), {"s", "k'ey", "it's"}) &&
                       file.finish({{QStringLiteral("format"), format},
                                    {QStringLiteral("seed"), QStringLiteral("5")}})
                   ? path
                   : QString();
    }

    QTemporaryDir m_dir;
    QString m_file;
};

void MarketStoreTest::initTestCase() {
    m_file = makeFile(QStringLiteral("whole.sqlite"), SealedDatabase::format);
    QVERIFY(!m_file.isEmpty());
}

void MarketStoreTest::open_missingFile_namesItAndCreatesNothing() {
    const QString path = m_dir.filePath("none.sqlite");
    QString error;
    QVERIFY(!MarketStore::open(path, &error));
    QVERIFY(error.contains(path));
    QVERIFY(error.contains("./run --rebuild"));
    QVERIFY(!QFile::exists(path));
}

void MarketStoreTest::open_otherFormat_isRefused() {
    const QString path = makeFile(QStringLiteral("other.sqlite"), QStringLiteral("0"));
    QString error;
    QVERIFY(!MarketStore::open(path, &error));
    QVERIFY(error.contains(path));
    QVERIFY(error.contains("format"));
}

void MarketStoreTest::meta_ofOpenStore_isRead() {
    QString error;
    const auto store = MarketStore::open(m_file, &error);
    QVERIFY2(store, qPrintable(error));
    QCOMPARE(store->meta("seed"), QStringLiteral("5"));
    QCOMPARE(store->meta("nothing"), QString());
    QCOMPARE(store->file(), m_file);
}

void MarketStoreTest::select_badStatement_failsWithText() {
    QString error;
    const auto store = MarketStore::open(m_file, &error);
    int rows = 0;
    QVERIFY(!store->select(
        "SELECT a FROM nowhere", {}, [&rows](const QSqlQuery&) { ++rows; }, &error));
    QVERIFY(error.contains("nowhere"));
    QCOMPARE(rows, 0);
}

void MarketStoreTest::select_writing_isRefused() {
    QString error;
    const auto store = MarketStore::open(m_file, &error);
    const int before = countOf(*store);
    QVERIFY(!store->select(
        "DELETE FROM meta", {}, [](const QSqlQuery&) {}, &error));
    QCOMPARE(countOf(*store), before);
}

void MarketStoreTest::select_boundValues_areTakenAsTheyStand() {
    QString error;
    const auto store = MarketStore::open(m_file, &error);
    QString found;
    QVERIFY(store->select("SELECT value FROM static_cfg WHERE key = ?", {"k'ey"},
                          [&found](const QSqlQuery& query) { found = query.value(0).toString(); }));
    QCOMPARE(found, QStringLiteral("it's"));
}

void MarketStoreTest::connections_endWithTheirThread() {
    QString error;
    const auto store = MarketStore::open(m_file, &error);
    QCOMPARE(store->connectionCount(), 1);
    int inside = 0;
    std::thread reader([&] {
        countOf(*store);
        countOf(*store);
        inside = store->connectionCount();
    });
    reader.join();
    QCOMPARE(inside, 2);
    QCOMPARE(store->connectionCount(), 1);
}

void MarketStoreTest::connections_endWithTheStore() {
    QString error;
    auto store = MarketStore::open(m_file, &error);
    std::mutex mutex;
    std::condition_variable changed;
    bool read = false;
    bool closed = false;
    int again = -1;
    std::thread reader([&] {
        countOf(*store);
        std::unique_lock<std::mutex> lock(mutex);
        read = true;
        changed.notify_all();
        changed.wait(lock, [&] { return closed; });
        // The thread lives on and reads another store.
        QString reason;
        const auto second = MarketStore::open(m_file, &reason);
        again = second ? countOf(*second) : -1;
    });
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return read; });
        QCOMPARE(QSqlDatabase::connectionNames().size(), 2);
        store.reset();
        QCOMPARE(QSqlDatabase::connectionNames().size(), 0);
        closed = true;
        changed.notify_all();
    }
    reader.join();
    QCOMPARE(again, 3);
    QCOMPARE(QSqlDatabase::connectionNames().size(), 0);
}

void MarketStoreTest::select_manyThreads_eachReadsEverything() {
    QString error;
    const auto store = MarketStore::open(m_file, &error);
    std::atomic<int> right{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 8; ++i) {
        readers.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                right += countOf(*store) == 3 ? 1 : 0;
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
    QCOMPARE(right.load(), 400);
    QCOMPARE(store->connectionCount(), 1);
}

QTEST_GUILESS_MAIN(MarketStoreTest)
#include "market_store_test.moc"
