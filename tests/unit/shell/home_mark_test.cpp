#include "home_mark.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "child_process.h"
#include "test_paths.h"

using HomeMark::Outcome;
using HomeMark::Owner;

namespace {

inline const QString kProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");

bool writeFile(const QString& file, const QByteArray& text = "text") {
    QFile out(file);
    return QDir().mkpath(QFileInfo(file).absolutePath()) && out.open(QFile::WriteOnly) &&
           out.write(text) == text.size();
}

/// Every file below a folder with its content.
QMap<QString, QByteArray> contentOf(const QString& folder) {
    QMap<QString, QByteArray> content;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        content.insert(file.fileName(),
                       file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("unreadable"));
    }
    return content;
}

}  // namespace

class HomeMarkTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_home = m_dir->filePath("home");
    }

    void missingOrEmptyFolder_isTakenByEither_data() {
        QTest::addColumn<bool>("exists");
        QTest::addColumn<bool>("forScenario");
        QTest::newRow("missing, client") << false << false;
        QTest::newRow("missing, scenario") << false << true;
        QTest::newRow("empty, client") << true << false;
        QTest::newRow("empty, scenario") << true << true;
    }
    void missingOrEmptyFolder_isTakenByEither() {
        QFETCH(bool, exists);
        QFETCH(bool, forScenario);
        QVERIFY(!exists || QDir().mkpath(m_home));
        const Owner owner = forScenario ? Owner::Scenario : Owner::Client;
        QCOMPARE(take(owner), Outcome::Taken);
        QVERIFY(QFile::exists(QDir(m_home).filePath(HomeMark::fileName())));
        // Once more, now with files in it.
        QVERIFY(writeFile(m_home + "/log/client.log"));
        QCOMPARE(take(owner), Outcome::Taken);
    }

    void homeOfAClient_isRefusedToAScenario() {
        QCOMPARE(take(Owner::Client), Outcome::Taken);
        QCOMPARE(take(Owner::Scenario), Outcome::Refused);
        QVERIFY2(m_error.contains(m_home) && m_error.contains("scenario"), qPrintable(m_error));
    }

    void homeOfAScenario_isTakenByTheClientAndStaysTheScenarios() {
        QCOMPARE(take(Owner::Scenario), Outcome::Taken);
        QCOMPARE(take(Owner::Client), Outcome::Taken);
        QCOMPARE(take(Owner::Scenario), Outcome::Taken);
    }

    void olderHome_isTakenOverAsAClients_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("folder");
        QTest::newRow("settings") << "settings/client.ini"
                                  << "market";
        QTest::newRow("no setting saved yet") << "market/market.sqlite"
                                              << "settings";
    }
    void olderHome_isTakenOverAsAClients() {
        QFETCH(QString, file);
        QFETCH(QString, folder);
        QVERIFY(writeFile(m_home + '/' + file));
        QVERIFY(QDir().mkpath(m_home + '/' + folder));
        QCOMPARE(take(Owner::Scenario), Outcome::Refused);
        QVERIFY(!QFile::exists(QDir(m_home).filePath(HomeMark::fileName())));
        QCOMPARE(take(Owner::Client), Outcome::Taken);
        QVERIFY(QFile::exists(QDir(m_home).filePath(HomeMark::fileName())));
        QCOMPARE(take(Owner::Scenario), Outcome::Refused);
    }

    void foreignFolder_isRefusedAndStaysAsItIs_data() {
        QTest::addColumn<QString>("file");
        QTest::newRow("any file") << "notes.txt";
        QTest::newRow("hidden file") << ".profile";
        QTest::newRow("a folder alone") << "market/readme";
        QTest::newRow("settings alone") << "settings/client.ini";
        QTest::newRow("market alone") << "market/market.sqlite";
    }
    void foreignFolder_isRefusedAndStaysAsItIs() {
        QFETCH(QString, file);
        QVERIFY(writeFile(m_home + '/' + file));
        const auto before = contentOf(m_dir->path());
        for (const Owner owner : {Owner::Client, Owner::Scenario}) {
            QCOMPARE(take(owner), Outcome::Refused);
            QVERIFY2(m_error.contains(m_home) && m_error.contains("not empty"),
                     qPrintable(m_error));
        }
        QCOMPARE(contentOf(m_dir->path()), before);
    }

    void fileInsteadOfAFolder_isRefused() {
        QVERIFY(writeFile(m_home));
        QCOMPARE(take(Owner::Client), Outcome::Refused);
        QVERIFY2(m_error.contains("not a folder"), qPrintable(m_error));
    }

    void folderBelowAFile_cannotBeCreated() {
        QVERIFY(writeFile(m_home));
        m_home += "/below";
        QCOMPARE(take(Owner::Client), Outcome::Unwritable);
        QVERIFY2(m_error.contains(m_home), qPrintable(m_error));
    }

    void program_foreignFolder_exitsWithWrongUsage_data() {
        QTest::addColumn<QStringList>("command");
        QTest::newRow("start") << QStringList{"--once"};
        QTest::newRow("call") << QStringList{"call", "GetAllProductAccountMap"};
        QTest::newRow("accounts") << QStringList{"accounts"};
        QTest::newRow("rules") << QStringList{"rules", "explain", "600000.SH"};
        QTest::newRow("ticks") << QStringList{"ticks", "watch", "600000.SH"};
        QTest::newRow("scenario") << QStringList{
            "--scenario", VELMAR_SOURCE_DIR "/tests/scenario/login_refused.scn"};
    }
    void program_foreignFolder_exitsWithWrongUsage() {
        QFETCH(QStringList, command);
        QVERIFY(writeFile(m_home + "/notes.txt"));
        const ChildResult result = runChild(kProgram, QStringList{"--home", m_home} + command);
        QVERIFY2(result.started && !result.crashed && result.exitCode == 2,
                 qPrintable(result.output));
        QVERIFY2(result.output.contains(m_home + " is not empty"), qPrintable(result.output));
        QCOMPARE(result.output.trimmed().count('\n'), 0);
        QCOMPARE(contentOf(m_home).size(), 1);
    }

    void program_scenario_keepsTheClientsHome() {
        QVERIFY(writeFile(m_home + "/settings/client.ini", "[General]\nname=mine\n"));
        QVERIFY(QDir().mkpath(m_home + "/market"));
        QCOMPARE(take(Owner::Client), Outcome::Taken);
        const auto before = contentOf(m_home);
        const QStringList arguments{"--home", m_home, "--scenario",
                                    VELMAR_SOURCE_DIR "/tests/scenario/login_refused.scn"};
        const ChildResult refused = runChild(kProgram, arguments);
        QVERIFY2(refused.exitCode == 2 && !refused.crashed, qPrintable(refused.output));
        QCOMPARE(contentOf(m_home), before);
        QVERIFY(QDir(m_home).removeRecursively());
        const ChildResult first = runChild(kProgram, arguments);
        QVERIFY2(first.succeeded(), qPrintable(first.output));
        const ChildResult again = runChild(kProgram, arguments);
        QVERIFY2(again.succeeded(), qPrintable(again.output));
    }

private:
    Outcome take(Owner owner) {
        m_error.clear();
        return HomeMark::take(m_home, owner, &m_error);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_home;
    QString m_error;
};

QTEST_GUILESS_MAIN(HomeMarkTest)
#include "home_mark_test.moc"
