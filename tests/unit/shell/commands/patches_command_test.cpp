#include "patches_command.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>
#include <limits>

#include "client_run.h"
#include "settings_codec.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

/// A home with the settings file of the client's patches.
struct PatchHome {
    PatchHome() { QDir().mkpath(folder() + "/patch"); }

    QString path() const { return m_dir.path(); }
    QString folder() const { return m_dir.filePath("config/default"); }
    QString listFile() const { return folder() + "/patchClientSet.cfg"; }
    QString zip(const QString& id) const { return QString("%1/patch/%2.zip").arg(folder(), id); }

    void enter(const QString& id, const QString& status,
               const QByteArray& bytes = "PK\x03\x04zip") {
        QSettings settings(listFile(), QSettings::IniFormat);
        settings.setIniCodec(settingsCodec());
        settings.setValue(id + "/Remark", "补丁" + id);
        settings.setValue(id + "/timeStamp", "20260105093000");
        settings.setValue(id + "/PatchStatus", status);
        settings.setValue(id + "/PatchUrl", zip(id));
        QFile file(zip(id));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
            qFatal("the zip file cannot be written");
        }
    }
    QString status(const QString& id) const {
        QSettings settings(listFile(), QSettings::IniFormat);
        settings.setIniCodec(settingsCodec());
        return settings.value(id + "/PatchStatus").toString();
    }
    QByteArray listBytes() const {
        QFile file(listFile());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_dir;
};

}  // namespace

class PatchesCommandTest : public QObject {
    Q_OBJECT

private slots:
    void list_eachPatch_hasItsStateAndFile() {
        PatchHome home;
        home.enter("P1", "0");
        home.enter("P2", "1", "PK\x05\x06");
        home.enter("P3", "0", "text");
        home.enter("P4", "7");
        QVERIFY(QFile::remove(home.zip("P4")));
        const CommandAnswer answer = PatchesCommand(home.path()).list(kWide);
        QCOMPARE(answer.error, QString());
        QVERIFY(!answer.isFault);
        QCOMPARE(answer.lines.size(), 6);
        const QList<QStringList> expected{
            {"P1", "补丁P1", "20260105093000", "downloaded", "P1.zip (7 bytes)"},
            {"P2", "补丁P2", "applied", "P2.zip (4 bytes)"},
            {"P3", "downloaded", "P3.zip (not a zip file)"},
            {"P4", "unknown (7)", "P4.zip (missing)"}};
        for (int i = 0; i < expected.size(); ++i) {
            for (const QString& part : expected.at(i)) {
                QVERIFY2(answer.lines.at(i + 2).contains(part), qPrintable(answer.lines.at(i + 2)));
            }
        }
        const QJsonArray rows = answer.json.toArray();
        QCOMPARE(rows.size(), 4);
        QCOMPARE(rows.at(0).toObject(), (QJsonObject{{"id", "P1"},
                                                     {"name", "补丁P1"},
                                                     {"time", "20260105093000"},
                                                     {"status", "downloaded"},
                                                     {"file", home.zip("P1")}}));
        QCOMPARE(rows.at(3).toObject().value("fault").toString(), QString("missing"));
    }

    void list_noListYet_saysSoAndMakesNothing() {
        const QTemporaryDir dir;
        const QString home = dir.filePath("home");
        const CommandAnswer answer = PatchesCommand(home).list(kWide);
        QCOMPARE(answer.error, QString());
        QCOMPARE(answer.lines, QStringList("no patches are downloaded"));
        QVERIFY(answer.json.toArray().isEmpty());
        QVERIFY(!QFile::exists(home));
    }

    void list_thatCannotBeRead_isAnError_data() {
        QTest::addColumn<bool>("isFolder");
        QTest::newRow("a folder") << true;
        QTest::newRow("a link in a circle") << false;
    }
    void list_thatCannotBeRead_isAnError() {
        QFETCH(bool, isFolder);
        PatchHome home;
        QVERIFY(isFolder ? QDir().mkpath(home.listFile())
                         : QFile::link("patchClientSet.cfg", home.listFile()));
        QVERIFY(PatchesCommand(home.path()).list(kWide).error.contains("cannot be read"));
        QVERIFY(PatchesCommand(home.path()).apply("P1").error.contains("cannot be read"));
    }

    void apply_downloadedPatch_setsItsStateOnly() {
        PatchHome home;
        home.enter("P1", "0");
        home.enter("P2", "0");
        const CommandAnswer answer = PatchesCommand(home.path()).apply("P1");
        QVERIFY(!answer.isFault && answer.error.isEmpty());
        QVERIFY(answer.lines.value(0).startsWith("P1 is applied;"));
        QCOMPARE(answer.json.toObject(), (QJsonObject{{"id", "P1"}, {"applied", true}}));
        QCOMPARE(home.status("P1"), QString("1"));
        QCOMPARE(home.status("P2"), QString("0"));
        QVERIFY(QFile::exists(home.zip("P1")));
    }

    void apply_appliedPatch_changesNothing() {
        PatchHome home;
        home.enter("P1", "1");
        QVERIFY(QFile::remove(home.zip("P1")));
        const QByteArray before = home.listBytes();
        const CommandAnswer answer = PatchesCommand(home.path()).apply("P1");
        QVERIFY(!answer.isFault);
        QCOMPARE(answer.lines, QStringList("P1 is applied already"));
        QCOMPARE(home.listBytes(), before);
    }

    void apply_withoutItsZipFile_isAFault_data() {
        QTest::addColumn<bool>("isMissing");
        QTest::newRow("missing") << true;
        QTest::newRow("not a zip file") << false;
    }
    void apply_withoutItsZipFile_isAFault() {
        QFETCH(bool, isMissing);
        PatchHome home;
        home.enter("P1", "0", "text");
        if (isMissing) {
            QVERIFY(QFile::remove(home.zip("P1")));
        }
        const CommandAnswer answer = PatchesCommand(home.path()).apply("P1");
        QVERIFY(answer.isFault);
        QVERIFY2(answer.lines.value(0).contains(QTest::currentDataTag()),
                 qPrintable(answer.lines.value(0)));
        QCOMPARE(answer.json.toObject().value("applied").toBool(true), false);
        QCOMPARE(home.status("P1"), QString("0"));
    }

    void apply_unknownPatch_isAnErrorThatNamesIt() {
        PatchHome home;
        home.enter("P1", "0");
        const QByteArray before = home.listBytes();
        for (const char* id : {"P2", "P1/Remark", "p1", "P1 "}) {
            const CommandAnswer answer = PatchesCommand(home.path()).apply(id);
            QVERIFY2(answer.error.contains(QString("'%1'").arg(id)), qPrintable(answer.error));
        }
        QCOMPARE(home.listBytes(), before);
    }

    void program_appliedPatch_isReportedAndNotOfferedAgain() {
        const QTemporaryDir dir;
        m_home = dir.filePath("home");
        QCOMPARE(run({"patches"}).out, QString("no patches are downloaded\n"));
        QVERIFY(!QFile::exists(m_home));
        // The start-up, with the query for patches, is over when a call is answered.
        const QStringList start{"call", "GetAllProductAccountMap"};
        Ended ended = run(start);
        QVERIFY2(ended.code == 0, ended.text());
        ended = run({"patches", "list", "--json"});
        QVERIFY2(ended.code == 0, ended.text());
        const QJsonArray patches = ended.json().array();
        QVERIFY2(patches.size() == 1, ended.text());
        const QJsonObject patch = patches.first().toObject();
        QCOMPARE(patch.value("status").toString(), QString("downloaded"));
        QVERIFY(!patch.contains("fault"));
        const QString id = patch.value("id").toString();

        ended = run({"patches", "apply", "unknown"});
        QVERIFY2(ended.code == 2 && ended.out.isEmpty(), ended.text());
        ended = run({"patches", "apply", id});
        QVERIFY2(ended.code == 0, ended.text());
        QVERIFY(run({"patches", "list"}).out.contains("applied"));

        ended = run(start);
        QVERIFY2(ended.code == 0, ended.text());
        QCOMPARE(run({"patches", "list"}).out, QString("no patches are downloaded\n"));
        QVERIFY(!QFile::exists(patch.value("file").toString()));
        ended = run(start);
        QVERIFY2(ended.code == 0, ended.text());
        QCOMPARE(run({"patches", "list"}).out, QString("no patches are downloaded\n"));
        // Another user has not applied it.
        ended = run(QStringList{"--user", "demo02"} + start);
        QVERIFY2(ended.code == 0, ended.text());
        QVERIFY(run({"patches", "list"}).out.contains(id));
    }

    void program_zipFileMissing_failsToApply() {
        PatchHome home;
        home.enter("P1", "0");
        QVERIFY(QFile::remove(home.zip("P1")));
        m_home = home.path();
        const Ended ended = run({"patches", "apply", "P1"});
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.out.startsWith("P1 is not applied: "), ended.text());
    }

private:
    Ended run(const QStringList& arguments) const {
        return runClient(QStringList{"--home", m_home} + arguments);
    }

    QString m_home;
};

QTEST_GUILESS_MAIN(PatchesCommandTest)
#include "patches_command_test.moc"
