#include <QFile>
#include <QtTest>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "zncore/zn_core.h"
#include "zndatabase/c_data_base.h"

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeContent(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

/// Large enough for several pages, so that a damaged one can lie in the middle.
StaticDbBuilder largeDatabase() {
    QMap<QString, QString> values;
    for (int i = 0; i < 2000; ++i) {
        values.insert(QStringLiteral("key%1").arg(i), QString(50, QLatin1Char('v')));
    }
    return StaticDbBuilder().section("large", values);
}

}  // namespace

class StaticDatabaseTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<TempHome>(); }

    void values_areReadBySectionAndKey() {
        const QString file = databaseFile();
        StaticDbBuilder()
            .section("Dict", {{"b", "2"}, {"a", "1"}, {"empty", ""}})
            .section("Other", {{"a", QString::fromUtf8("账号|x")}})
            .write(file);
        openOrFail(file);
        QCOMPARE(base().GetStaticCfgValue("Dict", "a"), QString("1"));
        QCOMPARE(base().GetStaticCfgValue("Other", "a"), QString::fromUtf8("账号|x"));
        const QMap<QString, QString> expected{{"a", "1"}, {"b", "2"}, {"empty", ""}};
        QCOMPARE(base().GetStaticValuesBySection("Dict"), expected);
    }

    void absentSectionOrKey_isEmpty() {
        const QString file = databaseFile();
        StaticDbBuilder().section("Dict", {{"a", "1"}}).write(file);
        openOrFail(file);
        QCOMPARE(base().GetStaticCfgValue("Dict", "b"), QString());
        QCOMPARE(base().GetStaticCfgValue("dict", "a"), QString());
        QVERIFY(base().GetStaticValuesBySection("None").isEmpty());
    }

    void noFileNamed_meansNoStaticData() {
        const QString file = databaseFile();
        StaticDbBuilder().section("Dict", {{"a", "1"}}).write(file);
        openOrFail(file);
        QVERIFY(!base().GetStaticValuesBySection("Dict").isEmpty());
        openOrFail(QString());
        QVERIFY(base().GetStaticValuesBySection("Dict").isEmpty());
        QCOMPARE(base().GetStaticCfgValue("Dict", "a"), QString());
    }

    void otherFile_replacesTheOneBefore() {
        StaticDbBuilder().section("Dict", {{"a", "1"}}).write(m_home->filePath("one.db"));
        StaticDbBuilder().section("Dict", {{"b", "2"}}).write(m_home->filePath("two.db"));
        openOrFail(m_home->filePath("one.db"));
        openOrFail(m_home->filePath("two.db"));
        QCOMPARE(base().GetStaticCfgValue("Dict", "a"), QString());
        QCOMPARE(base().GetStaticCfgValue("Dict", "b"), QString("2"));
    }

    void soundFile_isNotChangedByReadingIt() {
        const QString file = databaseFile();
        largeDatabase().write(file);
        const QByteArray before = contentOf(file);
        openOrFail(file);
        QCOMPARE(base().GetStaticValuesBySection("large").size(), 2000);
        QCOMPARE(contentOf(file), before);
        QCOMPARE(QDir(m_home->path()).entryList({"static.db*"}, QDir::Files),
                 QStringList{"static.db"});
    }

    void missingFile_isNamedAndNotMade() {
        const QString file = databaseFile();
        expectRefusal(file, "is missing");
        QVERIFY(!QFile::exists(file));
    }

    void folderInsteadOfAFile_isNamed() {
        QVERIFY(QDir().mkpath(databaseFile()));
        expectRefusal(databaseFile(), "is not a file", "check the permissions");
    }

    void damagedFile_isNamed_data() {
        QTest::addColumn<QByteArray>("content");
        TempHome home;
        largeDatabase().write(home.filePath("sound.db"));
        const QByteArray sound = contentOf(home.filePath("sound.db"));
        QVERIFY(sound.size() > 40000);
        QByteArray middle = sound;
        middle.replace(sound.size() / 2, 8192, QByteArray(8192, '\x5a'));
        QByteArray head = sound;
        head.replace(0, 100, QByteArray(100, '\x5a'));
        QTest::newRow("no byte") << QByteArray();
        QTest::newRow("garbage") << QByteArray(5000, '\x5a');
        QTest::newRow("text") << QByteArray("this is no database\n");
        QTest::newRow("first page damaged") << head;
        QTest::newRow("pages in the middle damaged") << middle;
        QTest::newRow("cut in half") << sound.left(sound.size() / 2);
        QTest::newRow("cut in the first page") << sound.left(1000);
        QTest::newRow("last page lost") << sound.left(sound.size() - 4096);
    }

    void damagedFile_isNamed() {
        QFETCH(QByteArray, content);
        writeContent(databaseFile(), content);
        expectRefusal(databaseFile(), QString());
        QCOMPARE(contentOf(databaseFile()), content);
    }

    void fileWithoutMetaTable_isNamed() {
        StaticDbBuilder().section("Dict", {{"a", "1"}}).withoutMeta().write(databaseFile());
        expectRefusal(databaseFile(), "no meta table");
    }

    void fileThatWasNotWrittenToItsEnd_isNamed() {
        StaticDbBuilder().section("Dict", {{"a", "1"}}).incomplete().write(databaseFile());
        expectRefusal(databaseFile(), "not written to its end");
    }

    void fileOfAnotherFormat_isNamed() {
        StaticDbBuilder().section("Dict", {{"a", "1"}}).withFormat("3").write(databaseFile());
        expectRefusal(databaseFile(), "unknown format \"3\"");
    }

    void refusedFile_leavesNothingOpen() {
        StaticDbBuilder().section("Dict", {{"a", "1"}}).write(databaseFile());
        openOrFail(databaseFile());
        ZnCore::instance()->saveSetting("key", 1);
        expectRefusal(m_home->filePath("other.db"), "is missing");
        QCOMPARE(base().GetStaticCfgValue("Dict", "a"), QString());
        QVERIFY(!ZnCore::instance()->settings("key").isValid());
    }

    void manyThreads_readAtOnce() {
        largeDatabase().write(databaseFile());
        openOrFail(databaseFile());
        std::atomic<int> complete{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&complete]() {
                for (int i = 0; i < 50; ++i) {
                    const QString key = QStringLiteral("key%1").arg(i);
                    complete += base().GetStaticValuesBySection("large").size() == 2000 &&
                                        !base().GetStaticCfgValue("large", key).isEmpty()
                                    ? 1
                                    : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(complete.load(), 200);
    }

private:
    static CDataBase& base() { return *CDataBase::GetInstance(); }

    QString databaseFile() const { return m_home->filePath("static.db"); }

    void openOrFail(const QString& file) {
        QString error;
        const bool opened = LocalPlatform::instance().start(m_home->options(file), &error);
        QVERIFY2(opened, qPrintable(error));
        QCOMPARE(error, QString());
    }

    void expectRefusal(const QString& file, const QString& reason,
                       const QString& advice = QStringLiteral("./run --rebuild")) {
        QString error;
        QVERIFY(!LocalPlatform::instance().start(m_home->options(file), &error));
        QVERIFY2(error.contains(file), qPrintable(error));
        QVERIFY2(error.contains(advice), qPrintable(error));
        QVERIFY2(error.contains(reason), qPrintable(error));
    }

    std::unique_ptr<TempHome> m_home;
};

QTEST_GUILESS_MAIN(StaticDatabaseTest)
#include "static_database_test.moc"
