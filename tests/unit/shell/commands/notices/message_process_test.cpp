#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>

#include "client_run.h"
#include "vocabulary/fields.h"

namespace {

/// Fails the plug-in's own query for what it missed.
const QStringList kNoCatchUp{"--fault", "queryBusiMessagesRequest 1 failure"};

}  // namespace

/// messages, menus and risk of the real program, each in a process of its own, over one home.
class MessageProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        QCOMPARE(makeSampleHome(home()), QString());
    }

    void list_ofTheDay_hasTheServersMessages() {
        const Ended ended = run({"messages", "list", "--json"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        const QJsonArray messages = ended.json().array();
        QVERIFY2(!messages.isEmpty(), ended.text());
        for (const QJsonValue& message : messages) {
            const QJsonObject record = message.toObject();
            QVERIFY2(!record.value(BusiMsgCenter::ServerMsgId).toString().isEmpty(), ended.text());
            QVERIFY2(!record.value(System::textDescription).toString().isEmpty(), ended.text());
            QCOMPARE(record.value(BusiMsgCenter::ReadStatus), QJsonValue(false));
        }
        const Ended table = run({"messages", "list"});
        QVERIFY2(table.code == 0 && table.out.contains(" unread\n"), table.text());
    }

    void read_message_staysReadInTheNextProcess() {
        const QJsonArray before = run({"messages", "list", "--unread", "--json"}).json().array();
        QVERIFY(before.size() > 1);
        // Only messages of today are there after another start.
        const QString id = before.last().toObject().value(System::clientMsgID).toString();
        const Ended read = run({"messages", "read", id});
        QVERIFY2(read.code == 0 && read.out.startsWith(id + "  marked read  "), read.text());
        const Ended again = run({"messages", "read", id});
        QVERIFY2(again.code == 0 && again.out.startsWith(id + "  was read before  "), again.text());
        QVERIFY(!run({"messages", "list", "--unread", "--json"}).out.contains(id));
        const Ended check = run({"messages", "check"});
        QVERIFY2(check.code == 0 && check.out.contains("no differences"), check.text());
    }

    void read_message_staysReadInEveryTimeZone_data() {
        QTest::addColumn<QString>("zone");
        for (const char* zone : {"UTC", "Pacific/Honolulu", "Asia/Shanghai"}) {
            QTest::newRow(zone) << QString(zone);
        }
    }
    void read_message_staysReadInEveryTimeZone() {
        QFETCH(QString, zone);
        const QTemporaryDir dir;
        const QString home = dir.filePath("home");
        QString error;
        QCOMPARE(HomeMark::take(home, HomeMark::Owner::Client, &error), HomeMark::Outcome::Taken);
        QVERIFY(QDir().mkpath(home + "/market"));
        const QDir market(this->home() + "/market");
        for (const QString& name : market.entryList(QDir::Files)) {
            QVERIFY(QFile::copy(market.filePath(name), home + "/market/" + name));
        }
        const auto inZone = [&](const QStringList& arguments) {
            return run(arguments, home, zone);
        };
        const QJsonArray first = inZone({"messages", "list", "--json"}).json().array();
        QVERIFY(first.size() > 1);
        const QString id = first.first().toObject().value(System::clientMsgID).toString();
        const Ended read = inZone({"messages", "read", id});
        QVERIFY2(read.code == 0, read.text());
        const Ended later = inZone({"messages", "list", "--unread", "--json"});
        QCOMPARE(later.json().array().size(), first.size() - 1);
        const Ended check = inZone({"messages", "check"});
        QVERIFY2(check.code == 0 && check.out.contains("no differences"), check.text());
    }

    void read_unknownId_isWrongUsage() {
        const Ended ended = run({"messages", "read", "nope"});
        QVERIFY2(ended.code == 2 && ended.err.contains("nope"), ended.text());
    }

    void check_afterALostCatchUp_isRepaired() {
        const QStringList second{"--user", SampleLogin::secondUser};
        const Ended lost = run(second + kNoCatchUp + QStringList{"messages", "check", "--json"});
        QVERIFY2(lost.code == 1, lost.text());
        const QJsonObject found = lost.json().object();
        QCOMPARE(found.value("memory").toInt(-1), 0);
        const int missing = found.value("differences").toArray().size();
        QVERIFY2(missing > 0, lost.text());
        QCOMPARE(missing, found.value("server").toInt());
        const Ended list = run(second + kNoCatchUp + QStringList{"messages", "list"});
        QVERIFY2(list.code == 1 && list.err.contains("messages check --repair"), list.text());
        QVERIFY2(list.out.contains("0 messages"), list.text());

        const Ended repaired =
            run(second + kNoCatchUp + QStringList{"messages", "check", "--repair", "--json"});
        QVERIFY2(repaired.code == 0, repaired.text());
        QCOMPARE(repaired.json().object().value("pushedAgain").toInt(), missing);
        QCOMPARE(repaired.json().object().value("table").toInt(), missing);
        const Ended later = run(second + QStringList{"messages", "check"});
        QVERIFY2(later.code == 0 && later.out.contains("no differences"), later.text());
    }

    void remindSet_isShownByTheNextProcess() {
        const Ended set = run({"messages", "remind", "set", "4/4001", "2", "off"});
        QVERIFY2(set.code == 0 && set.err.isEmpty(), set.text());
        const Ended shown = run({"messages", "remind", "show", "4", "--json"});
        QVERIFY2(shown.code == 0, shown.text());
        int found = 0;
        for (const auto& one : shown.json().object().value("settings").toArray()) {
            const QJsonObject setting = one.toObject();
            if (setting.value("subType") == "4001" && setting.value("level") == "2") {
                ++found;
                QCOMPARE(setting.value("setting").toObject().value(BusiMsgCenter::RemindSwitch),
                         QJsonValue(false));
            }
        }
        QCOMPARE(found, 1);
        QCOMPARE(run({"messages", "remind", "set", "77", "2", "off"}).code, 2);
        const Ended today = run({"messages", "remind", "set", "today", "off"});
        QVERIFY2(today.code == 0, today.text());
        QVERIFY(run({"messages", "remind", "show"}).out.contains("reminders are ended for today"));
    }

    void remindSet_fileThatCannotBeWritten_isAFault() {
        const QString user = SampleLogin::secondUser;
        const QString file = home() + "/work/" + user + "/busiMsgSetting.ini";
        QFile::remove(file);
        QVERIFY(QDir().mkpath(file));
        const Ended set = run({"--user", user, "messages", "remind", "set", "4", "2", "off"});
        const Ended today = run({"--user", user, "messages", "remind", "set", "today", "off"});
        QVERIFY(QDir(file).removeRecursively());
        QVERIFY2(set.code == 1 && set.out.contains("was not written"), set.text());
        QVERIFY2(today.code == 1 && today.out.contains("was not written"), today.text());
    }

    void tail_beginsWithTheLatestMessagesAndEndsByCount() {
        const Ended ended = run({"messages", "tail", "--count", "2", "--json"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        const QStringList lines = ended.out.split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 2);
        QList<qint64> times;
        for (const auto& one : run({"messages", "list", "--json"}).json().array()) {
            times.append(timeOf(one.toObject()));
        }
        std::sort(times.begin(), times.end());
        QCOMPARE(timeOf(QJsonDocument::fromJson(lines.last().toUtf8()).object()), times.last());
        for (const QString& line : lines) {
            QVERIFY2(QJsonDocument::fromJson(line.toUtf8()).isObject(), qPrintable(line));
        }
    }

    void tail_interrupt_isItsNormalEnd() {
        RunningClient client({"--home", home(), "messages", "tail"});
        QVERIFY2(client.readUntil("\n"), client.text());
        const Ended ended = client.interrupt();
        QVERIFY2(ended.code == 0, ended.text());
    }

    void menusTree_hasTheMenusOfTheUser() {
        const Ended ended = run({"menus", "tree"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        QVERIFY2(ended.out.contains("[x] menu.trade  "), ended.text());
        QVERIFY2(ended.out.contains("\n    [x] menu.trade.order  "), ended.text());
        QVERIFY2(ended.out.contains("plug-in plugin.order, instance order-1"), ended.text());
        const Ended other = run({"--user", SampleLogin::secondUser, "menus", "tree"});
        QVERIFY2(other.code == 0 && other.out.contains("[ ] menu.risk  "), other.text());
    }

    void riskShow_knownAndUnknownSymbol() {
        const Ended ended = run({"risk", "show", "600000.SH", "--json"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        QCOMPARE(ended.json().object().value("symbol").toString(), QString("600000.SH"));
        QCOMPARE(run({"risk", "show", "NOPE.SH"}).code, 2);
    }

    void riskShow_symbolUnderRiskWarning_hasTheWarningText() {
        const Ended table = run({"symbols", "find", "ST"});
        const QRegularExpressionMatch symbol =
            QRegularExpression("\\b[06][0-9]{5}\\.(SH|SZ)\\b").match(table.out);
        QVERIFY2(symbol.hasMatch(), table.text());
        const Ended ended = run({"risk", "show", symbol.captured(), "--json"});
        QVERIFY2(ended.code == 0, ended.text());
        const QJsonObject marks = ended.json().object();
        QVERIFY2(marks.value("stFlag").toString() != "0", ended.text());
        QVERIFY2(!marks.value("text").toString().isEmpty(), ended.text());
    }

private:
    static qint64 timeOf(const QJsonObject& record) {
        const QString text = record.value(System::createTime).toString();
        return QDateTime::fromString(text, Qt::ISODateWithMs).toMSecsSinceEpoch();
    }
    QString home() const { return m_dir.filePath("home"); }
    Ended run(const QStringList& arguments) const { return run(arguments, home(), {}); }
    static Ended run(const QStringList& arguments, const QString& home, const QString& zone) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!zone.isEmpty()) {
            environment.insert("TZ", zone);
        }
        return runClient(QStringList{"--home", home, "--tick-rate", "0"} + arguments, {},
                         environment);
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(MessageProcessTest)
#include "message_process_test.moc"
