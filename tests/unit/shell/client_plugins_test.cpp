#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

#include "child_process.h"
#include "test_paths.h"

namespace {

inline const QString kPlugins = QStringLiteral(VELMAR_BINARY_DIR "/plugins/");
inline const QString kNeighbour = kPlugins + "libNeighbourPlugin.so";
inline const QString kFixture = kPlugins + "fixtures/libFixturePlugin.so";
inline const QString kUnresolved = kPlugins + "fixtures/libUnresolvedPlugin.so";
inline const QString kClient = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");
constexpr int kLimitMs = 100000;

bool copyWith(const QString& from, const QString& to, const QByteArray& text,
              const QByteArray& other) {
    QFile source(from);
    QFile target(to);
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly)) {
        return false;
    }
    QByteArray bytes = source.readAll();
    return bytes.contains(text) && target.write(bytes.replace(text, other)) == bytes.size();
}

QString contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

}  // namespace

/// The real program over a folder of plug-in libraries.
class ClientPluginsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        link(kPlugins + "libVelmarBusinessDataManager.so", "libVelmarBusinessDataManager.so");
    }

    void folder_pluginsThatFit_areLoadedAndTheOthersSkippedWithALineEach() {
        link(kNeighbour, "libNeighbourPlugin.so");
        link(kNeighbour, "libSameAgain.so");
        link(kFixture, "libFixturePlugin.so");
        link(kUnresolved, "libUnresolved.so");
        QVERIFY(copyWith(kFixture, in("libOld.so"), "2.0.0", "1.0.0"));
        QVERIFY(copyWith(kFixture, in("libWidget.so"), "ZNAppPlugin", "ZNAppWidget"));
        QFile text(in("libText.so"));
        QVERIFY(text.open(QIODevice::WriteOnly) && text.write("not a library") > 0);
        text.close();
        QVERIFY(QFile::copy(in("libText.so"), in("notes.txt")));

        const ChildResult run = start({"--once"});
        QVERIFY2(run.succeeded(), qPrintable(run.output));
        for (const char* const line :
             {"plug-in library loaded (NeighbourPlugin)", "plug-in library loaded (FixturePlugin)",
              "plug-in object initialised (Neighbour)", "plug-in object initialised (Good)"}) {
            QCOMPARE(linesWith(run, line).size(), 1);
        }
        const QStringList skipped = linesWith(run, "plug-in skipped: ");
        const QStringList expected[] = {
            {"libOld.so", "version 1.0.0 of the plug-in interface, at least 2.0.0"},
            {"libText.so", "not a plug-in"},
            {"libUnresolved.so", "isDefinedNowhere"},
            {"libWidget.so", "\"ZNAppWidget\""},
            {"libFixturePlugin.so", "\"TextMetaId\""},
            {"libFixturePlugin.so", "\"UnknownMetaId\""},
            {"libFixturePlugin.so", "\"QtMetaId\""},
        };
        QCOMPARE(skipped.size(), int(std::size(expected)));
        for (int i = 0; i < skipped.size(); ++i) {
            for (const QString& part : expected[i]) {
                QVERIFY2(skipped.at(i).contains(part), qPrintable(skipped.at(i)));
            }
        }
    }

    void pluginOption_fileFromElsewhere_isLoadedOnce() {
        const ChildResult run = start({"--plugin", kNeighbour, "--plugin", kNeighbour, "--once"});
        QVERIFY2(run.succeeded(), qPrintable(run.output));
        QCOMPARE(linesWith(run, "plug-in object initialised (Neighbour)").size(), 1);
        QCOMPARE(linesWith(run, "skipped"), QStringList());
    }

    void pluginOption_fileOfTheFolder_isLoadedOnce() {
        link(kNeighbour, "libNeighbourPlugin.so");
        const ChildResult run = start({"--plugin", in("libNeighbourPlugin.so"), "--once"});
        QVERIFY2(run.succeeded(), qPrintable(run.output));
        QCOMPARE(linesWith(run, "plug-in object initialised (Neighbour)").size(), 1);
        QCOMPARE(linesWith(run, "skipped"), QStringList());
    }

    void pluginOption_libraryThatDoesNotFit_endsTheStart_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("why");
        QTest::newRow("cannot be loaded") << kUnresolved << "isDefinedNowhere";
        QTest::newRow("has an object of no class") << kFixture << "TextMetaId";
    }

    void pluginOption_libraryThatDoesNotFit_endsTheStart() {
        QFETCH(QString, file);
        QFETCH(QString, why);
        const ChildResult run = start({"--plugin", file, "--once"});
        QVERIFY2(!run.crashed && run.exitCode == 1, qPrintable(run.output));
        QCOMPARE(linesWith(run, "velmar-client: ").size(), 1);
        QVERIFY2(run.output.contains(file) && run.output.contains(why), qPrintable(run.output));
    }

    void command_printsItsAnswerAndLoadsNoOtherPlugin() {
        link(kNeighbour, "libNeighbourPlugin.so");
        link(kUnresolved, "libUnresolved.so");
        const ChildResult run = start({"call", "IsBjOrGz", "600000.SH"});
        QVERIFY2(run.succeeded(), qPrintable(run.output));
        QVERIFY2(run.output.startsWith("{\n") && run.output.endsWith("}\n"),
                 qPrintable(run.output));
    }

    void example_sentEventAndTicks_takesThemAndStopsCleanly() {
        link(kNeighbour, "libNeighbourPlugin.so");
        QFile::resize(m_home.filePath("log/client.log"), 0);  // lines of other cases
        QProcess client;
        // The event is late enough to find the example subscribed.
        client.start(kClient, with({"--stay", "--tick-rate", "20", "--fault",
                                    "getUserProfileDataRequest 1 delay ms=8000"}));
        const auto logHas = [this](const char* text) {
            return contentOf(m_home.filePath("log/client.log")).contains(text);
        };
        const bool tookTick = QTest::qWaitFor([&] { return logHas("first tick of"); }, kLimitMs);
        const bool tookEvent =
            QTest::qWaitFor([&] { return logHas("the price cage is loaded"); }, kLimitMs);
        ::kill(static_cast<pid_t>(client.processId()), SIGINT);
        QVERIFY(client.waitForFinished(kLimitMs));
        const QString log = contentOf(m_home.filePath("log/client.log"));
        QVERIFY2(tookTick && tookEvent, qPrintable(log.right(4000)));
        QCOMPARE(client.exitStatus(), QProcess::NormalExit);
        QCOMPARE(client.exitCode(), 0);
        const QRegularExpression end(
            "example\\.neighbour.*shut down after [1-9]\\d* ticks and 1 events");
        QVERIFY2(end.match(log).hasMatch(), qPrintable(log.right(4000)));
    }

private:
    QString in(const QString& name) const { return m_folder->filePath(name); }
    void link(const QString& library, const QString& name) const {
        QVERIFY(QFile::link(library, in(name)));
    }
    QStringList with(const QStringList& arguments) const {
        return QStringList{"--home", m_home.path(), "--plugins", m_folder->path()} + arguments;
    }
    ChildResult start(const QStringList& arguments) const {
        return runChild(kClient, with(arguments), {}, kLimitMs);
    }
    static QStringList linesWith(const ChildResult& run, const QString& text) {
        return run.output.split('\n').filter(text);
    }

    QTemporaryDir m_home;  // one market for all cases
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(ClientPluginsTest)
#include "client_plugins_test.moc"
