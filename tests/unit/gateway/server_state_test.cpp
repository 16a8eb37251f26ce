#include "server_state.h"

#include <QDateTime>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTime>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

namespace {

using Records = QList<QPair<QString, QVariantMap>>;

inline const QString kTable = QStringLiteral("notes");

}  // namespace

class ServerStateTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void write_thenRead_everyTypeSurvives_data();
    void write_thenRead_everyTypeSurvives();
    void write_again_replaces();
    void records_areSortedByKeyAndOfTheirTableOnly();
    void records_prefix_isTakenLiterally();
    void records_anyPrefix_areThoseThatBeginWithIt_data();
    void records_anyPrefix_areThoseThatBeginWithIt();
    void between_keys_givesThePartOfTheListWithoutItsEnds();
    void removeBetween_keys_removesThoseOfTheTableOnly();
    void remove_record_isGone_missingOrNamelessOneIsNoError();
    void open_again_keepsWhatWasWritten();
    void open_inMemory_eachHasItsOwn();
    void open_damagedOrForeignFile_isRefusedByName_data();
    void open_damagedOrForeignFile_isRefusedByName();
    void open_databaseOfSomethingElse_isRefusedAndLeftAlone();
    void open_twice_bothSeeTheSame();
    void write_manyThreads_allAreKept_data();
    void write_manyThreads_allAreKept();
    void write_fileGone_failsWithAText();

private:
    QString file() const { return m_dir->filePath(QStringLiteral("state.sqlite")); }
    std::shared_ptr<ServerState> open(const QString& name) {
        return ServerState::open(name, &m_error);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_error;
};

void ServerStateTest::write_thenRead_everyTypeSurvives_data() {
    QTest::addColumn<bool>("inMemory");
    QTest::newRow("file") << false;
    QTest::newRow("memory") << true;
}

void ServerStateTest::write_thenRead_everyTypeSurvives() {
    QFETCH(bool, inMemory);
    const auto state = open(inMemory ? QString() : file());
    QVERIFY2(state, qPrintable(m_error));
    const QVariantMap record{
        {"text", QStringLiteral("虚岚")},
        {"int", 7},
        {"long", Q_INT64_C(9007199254740993)},
        {"double", 0.1},
        {"bool", true},
        {"time", QTime(9, 30, 1, 5)},
        {"moment", QDateTime(QDate(2026, 1, 5), QTime(9, 30), Qt::UTC)},
        {"list", QVariantList{1, QStringLiteral("two"), QVariantMap{{"three", 3}}}},
        {"nothing", QVariant()}};
    QVERIFY(state->write(kTable, QStringLiteral("k"), record, &m_error));
    const auto read = state->record(kTable, QStringLiteral("k"));
    QVERIFY(read);
    QCOMPARE(*read, record);
    for (auto it = record.cbegin(); it != record.cend(); ++it) {
        QCOMPARE(read->value(it.key()).userType(), it.value().userType());
    }
    QVERIFY(!state->record(kTable, QStringLiteral("other")));
}

void ServerStateTest::write_again_replaces() {
    const auto state = open(file());
    QVERIFY(state->write(kTable, QStringLiteral("k"), {{"a", 1}, {"b", 2}}, &m_error));
    QVERIFY(state->write(kTable, QStringLiteral("k"), {{"a", 3}}, &m_error));
    QCOMPARE(state->records(kTable), (Records{{"k", {{"a", 3}}}}));
}

void ServerStateTest::records_areSortedByKeyAndOfTheirTableOnly() {
    const auto state = open(file());
    for (const char* key : {"b", "c", "a", "B"}) {
        QVERIFY(state->write(kTable, QString::fromLatin1(key), {{"n", key[0]}}, &m_error));
    }
    QVERIFY(state->write(QStringLiteral("others"), QStringLiteral("a"), {}, &m_error));
    QStringList keys;
    for (const auto& record : state->records(kTable)) {
        keys.append(record.first);
        QCOMPARE(record.second.value("n").toInt(), int(record.first.at(0).toLatin1()));
    }
    QCOMPARE(keys, (QStringList{"B", "a", "b", "c"}));
    QVERIFY(state->records(QStringLiteral("none")).isEmpty());
}

void ServerStateTest::between_keys_givesThePartOfTheListWithoutItsEnds() {
    const auto state = ServerState::inMemory();
    QString error;
    for (const QString& key : QStringList{"a/1", "a/2", "a/3", "a/4", "a0", "b/1"}) {
        QVERIFY(state->write("t", key, {{"key", key}}, &error));
    }
    const auto keys = [&](const QString& after, const QString& before, int limit, qint64 offset) {
        QList<QPair<QString, QVariantMap>> found;
        QStringList list;
        if (state->between("t", after, before, limit, offset, &found)) {
            for (const auto& one : qAsConst(found)) {
                list.append(one.second.value("key").toString());
            }
        }
        return list;
    };
    QCOMPARE(keys("a/1", "a0", -1, 0), (QStringList{"a/2", "a/3", "a/4"}));
    QCOMPARE(keys("a/", "a0", 2, 1), (QStringList{"a/2", "a/3"}));
    QCOMPARE(keys("a/4", "a0", -1, 0), QStringList());
    QCOMPARE(state->countBetween("t", "a/", "a0"), 4);
    QCOMPARE(state->countBetween("other", "a/", "a0"), 0);
}

void ServerStateTest::removeBetween_keys_removesThoseOfTheTableOnly() {
    const auto state = ServerState::inMemory();
    QString error;
    for (const QString& table : QStringList{"t", "u"}) {
        for (const QString& key : QStringList{"a/1", "a/2", "a/3"}) {
            QVERIFY(state->write(table, key, {{"x", 1}}, &error));
        }
    }
    QVERIFY(state->removeBetween("t", "a/", "a/3", &error));
    QCOMPARE(state->records("t").size(), 1);
    QVERIFY(state->record("t", "a/3").has_value());
    QCOMPARE(state->records("u").size(), 3);
}

void ServerStateTest::records_prefix_isTakenLiterally() {
    const auto state = open(file());
    for (const char* key : {"a_b:1", "a_b:2", "axb:3", "A_B:4", "a%:5"}) {
        QVERIFY(state->write(kTable, QString::fromLatin1(key), {}, &m_error));
    }
    QCOMPARE(state->records(kTable, QStringLiteral("a_b:")),
             (Records{{"a_b:1", {}}, {"a_b:2", {}}}));
    QCOMPARE(state->records(kTable, QStringLiteral("a%")), (Records{{"a%:5", {}}}));
    QCOMPARE(state->records(kTable).size(), 5);
}

void ServerStateTest::records_anyPrefix_areThoseThatBeginWithIt_data() {
    const auto text = [](std::initializer_list<uint> points) {
        return QString::fromUcs4(points.begin(), static_cast<int>(points.size()));
    };
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<int>("count");
    QTest::newRow("none") << QString() << 4;
    QTest::newRow("percent") << "a%" << 3;
    QTest::newRow("underscore") << "a_" << 3;
    QTest::newRow("letter before a capital's") << "@" << 3;
    QTest::newRow("Chinese") << text({0x4EF7, 0x683C}) << 3;
    QTest::newRow("last before the surrogates") << text({'a', 0xD7FF}) << 3;
    QTest::newRow("behind the surrogates") << text({0xE000}) << 3;
    QTest::newRow("beyond 16 bits") << text({0x1F600}) << 3;
    QTest::newRow("last of all") << text({'a', 0x10FFFF}) << 3;
    QTest::newRow("nothing behind it") << text({0x10FFFF, 0x10FFFF}) << 3;
    // SQLite's length() stops at a zero, the text does not.
    QTest::newRow("zero inside") << text({'a', 0, 'b'}) << 3;
}

void ServerStateTest::records_anyPrefix_areThoseThatBeginWithIt() {
    QFETCH(QString, prefix);
    QFETCH(int, count);
    const auto state = open(file());
    // Keys near it: shorter ones, other letter cases, and those sorted after the prefix.
    QStringList keys{QStringLiteral("zzzz")};
    if (!prefix.isEmpty()) {
        QVector<uint> points = prefix.toUcs4();
        const uint last = points.takeLast();
        const QString begin = QString::fromUcs4(points.constData(), points.size());
        for (const uint other : {last - 1, last == 0xD7FF ? 0xE000 : last + 1}) {
            if (other <= 0x10FFFF && !QChar::isSurrogate(other)) {
                keys << begin + QString::fromUcs4(&other, 1);
            }
        }
        keys << begin << prefix.toUpper() + QLatin1Char('x');
    }
    for (const QString& rest : {QString(), QStringLiteral("x"), QString(QChar(0xFFFD))}) {
        keys << prefix + rest;
    }
    QStringList expected;
    for (const QString& key : qAsConst(keys)) {
        QVERIFY(state->write(kTable, key, {}, &m_error));
        if (key.startsWith(prefix)) {
            expected << key;
        }
    }
    expected.removeDuplicates();
    QStringList found;
    for (const auto& record : state->records(kTable, prefix)) {
        found << record.first;
    }
    expected.sort();
    found.sort();
    QCOMPARE(found, expected);
    QCOMPARE(found.size(), count);
}

void ServerStateTest::remove_record_isGone_missingOrNamelessOneIsNoError() {
    const auto state = open(file());
    QVERIFY(state->write(kTable, QStringLiteral("a"), {}, &m_error));
    QVERIFY(state->write(kTable, QStringLiteral("b"), {}, &m_error));
    QVERIFY(state->remove(kTable, QStringLiteral("a"), &m_error));
    QVERIFY(state->remove(kTable, QStringLiteral("a"), &m_error));
    QCOMPARE(state->records(kTable), (Records{{"b", {}}}));
    QVERIFY(state->write(kTable, QString(), {{"a", 1}}, &m_error));
    QCOMPARE(*state->record(kTable, QString()), (QVariantMap{{"a", 1}}));
}

void ServerStateTest::open_again_keepsWhatWasWritten() {
    QVERIFY(open(file())->write(kTable, QStringLiteral("k"), {{"a", 1}}, &m_error));
    const auto again = open(file());
    QVERIFY2(again, qPrintable(m_error));
    QCOMPARE(again->records(kTable), (Records{{"k", {{"a", 1}}}}));
}

void ServerStateTest::open_inMemory_eachHasItsOwn() {
    const auto first = open({});
    const auto second = ServerState::inMemory();
    QVERIFY(first->write(kTable, QStringLiteral("k"), {}, &m_error));
    QVERIFY(second->records(kTable).isEmpty());
    QCOMPARE(first->records(kTable).size(), 1);
}

void ServerStateTest::open_damagedOrForeignFile_isRefusedByName_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("text")
        << QByteArray("not a database, but long enough to be read as one").repeated(99);
    QTest::newRow("torn header")
        << QByteArray("SQLite format 3\0torn", 20).leftJustified(4096, '\xff');
}

void ServerStateTest::open_damagedOrForeignFile_isRefusedByName() {
    QFETCH(QByteArray, content);
    QFile broken(file());
    QVERIFY(broken.open(QIODevice::WriteOnly));
    QCOMPARE(broken.write(content), qint64(content.size()));
    broken.close();
    QVERIFY(!open(file()));
    QVERIFY2(m_error.contains(file()) && m_error.contains("damaged"), qPrintable(m_error));
    QVERIFY(broken.open(QIODevice::ReadOnly));
    QCOMPARE(broken.readAll(), content);

    m_error.clear();
    const QString nowhere = m_dir->filePath(QStringLiteral("no/such/folder/state.sqlite"));
    QVERIFY(!open(nowhere));
    QVERIFY2(m_error.contains(nowhere) && m_error.contains("opened"), qPrintable(m_error));
}

void ServerStateTest::open_databaseOfSomethingElse_isRefusedAndLeftAlone() {
    const SqliteConnection foreign(file());
    QSqlQuery query(QSqlDatabase::database(foreign.name(), false));
    QVERIFY(query.exec(QStringLiteral("CREATE TABLE meta(key TEXT, value TEXT)")));
    QVERIFY(!open(file()));
    QVERIFY2(m_error.contains(file()) && m_error.contains("something else"), qPrintable(m_error));
    QVERIFY(query.exec(QStringLiteral("SELECT count(*) FROM sqlite_master")) && query.next());
    QCOMPARE(query.value(0).toInt(), 1);
}

void ServerStateTest::open_twice_bothSeeTheSame() {
    const auto first = open(file());
    const auto second = open(file());
    QVERIFY(first->write(kTable, QStringLiteral("k"), {{"a", 1}}, &m_error));
    QVERIFY(second->write(kTable, QStringLiteral("l"), {{"a", 2}}, &m_error));
    QCOMPARE(first->records(kTable), second->records(kTable));
    QCOMPARE(first->records(kTable).size(), 2);
}

void ServerStateTest::write_manyThreads_allAreKept_data() {
    write_thenRead_everyTypeSurvives_data();
}

void ServerStateTest::write_manyThreads_allAreKept() {
    QFETCH(bool, inMemory);
    constexpr int kThreads = 4;
    constexpr int kEach = 25;
    const auto state = open(inMemory ? QString() : file());
    std::atomic<int> written{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&state, &written, t] {
            for (int i = 0; i < kEach; ++i) {
                QString error;
                const QString key = QStringLiteral("%1-%2").arg(t).arg(i);
                const bool kept = state->write(kTable, key, {{"t", t}, {"i", i}}, &error) &&
                                  state->record(kTable, key) && !state->records(kTable).isEmpty();
                written += kept ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(written.load(), kThreads * kEach);
    QCOMPARE(state->records(kTable).size(), kThreads * kEach);
}

void ServerStateTest::write_fileGone_failsWithAText() {
    const auto state = open(file());
    QVERIFY(state->write(kTable, QStringLiteral("k"), {}, &m_error));
    // Another thread opens its own connection, to a file that is not a database any more.
    QVERIFY(QFile::remove(file()));
    QVERIFY(QFile::remove(file() + QStringLiteral("-wal")));
    QVERIFY(QFile::remove(file() + QStringLiteral("-shm")));
    QFile broken(file());
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write(QByteArray("garbage").repeated(1000));
    broken.close();
    bool written = true;
    QString error;
    std::thread([&] { written = state->write(kTable, QStringLiteral("l"), {}, &error); }).join();
    QVERIFY(!written);
    QVERIFY2(error.contains(file()), qPrintable(error));
}

QTEST_GUILESS_MAIN(ServerStateTest)
#include "server_state_test.moc"
