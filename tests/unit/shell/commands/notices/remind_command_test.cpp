#include "remind_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>
#include <limits>

#include "facade_recorder.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();

MessageWords someWords() {
    MessageWords words;
    words.types = {{"1", "系统"}, {"4", "交易"}};
    words.subTypes = {{"4001", "风险警示"}};
    words.levelNames = {{"2", "重要"}, {"3", "紧急"}};
    words.levels = QStringList{"2", "3"};
    return words;
}

/// Keeps settings by type, sub-type and level.
class Settings final : public FacadeRecorder {
public:
    QMap<QStringList, QJsonObject> stored;
    QStringList subTypes{"BASE", "4001"};
    QJsonArray unread;
    QJsonArray popUps;
    bool isEnded = false;
    bool canStore = true;
    bool canWrite = true;

    QVariant fileValue(const QString& key) const {
        if (!canWrite) {
            return {};
        }
        if (key == "IgnoreDate") {
            return isEnded ? "20260302" : "";
        }
        const QStringList kind{key.section('/', 0, 0), key.section('/', 1).section('_', 0, 0),
                               key.section('_', 1)};
        return QString::fromUtf8(QJsonDocument(stored.value(kind)).toJson());
    }

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        if (name == "GetBusiMsgRemindSettingInfo") {
            answer->insert("result", stored.value(arguments.mid(0, 3), {{"sound", "ding"}}));
        } else if (name == "SetBusiMsgRemindSettingInfo") {
            const QJsonObject setting = QJsonDocument::fromJson(arguments.at(3).toUtf8()).object();
            const QStringList targets =
                arguments.at(1).isEmpty() ? subTypes : QStringList(arguments.at(1));
            for (const QString& subType : targets) {
                if (canStore) {
                    stored[{arguments.at(0), subType, arguments.at(2)}] = setting;
                }
            }
            answer->insert("result", true);
        } else if (name == "GetUnreadBusiMsgList") {
            answer->insert("result", unread);
        } else if (name == "GetRemindBusiMsgList") {
            answer->insert("result", popUps);
        } else if (name == "SetNoMoreRemindInDay") {
            isEnded = canStore;
        } else if (name == "GetNoMoreRemindInDayFlag") {
            answer->insert("result", isEnded);
        }
    }
};

}  // namespace

class RemindCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }
    void init() { m_settings = std::make_unique<Settings>(); }

    void show_ofAllTypes_hasEveryKindAndLevel() {
        m_settings->stored[{"4", "4001", "3"}] =
            QJsonObject{{BusiMsgCenter::RemindSwitch, true}, {BusiMsgCenter::PopSwitch, true}};
        const CommandAnswer answer = command().show({}, kWide);
        QCOMPARE(answer.lines.size(), 2 + 2 + 4 + 1);
        QCOMPARE(answer.lines.at(7).simplified(), QString("4 交易 4001 风险警示 3 紧急 yes yes"));
        QCOMPARE(answer.lines.at(2).simplified(),
                 QString("1 系统 all 2 重要 no no {\"sound\":\"ding\"}"));
        QCOMPARE(answer.lines.last(), QString("reminders are not ended for today"));
        QCOMPARE(answer.json.toObject().value("settings").toArray().size(), 6);
    }

    void show_unreadMessages_areCountedByKindAsTheListsHaveThem() {
        const auto message = [](const char* subType) {
            return QJsonObject{{System::BusiMsgType, "4"},
                               {System::BusiMsgSubType, subType},
                               {System::BusiMsgLevel, "3"}};
        };
        m_settings->unread = {message("4001"), message("4001"), message("4777")};
        m_settings->popUps = {message("4001")};
        const CommandAnswer answer = command().show({}, kWide);
        QCOMPARE(answer.lines.at(5).simplified(),
                 QString("4 交易 all 3 紧急 no no 0 of 1 {\"sound\":\"ding\"}"));
        QCOMPARE(answer.lines.at(7).simplified(),
                 QString("4 交易 4001 风险警示 3 紧急 no no 1 of 2 {\"sound\":\"ding\"}"));
        const QJsonObject last =
            answer.json.toObject().value("settings").toArray().last().toObject();
        QCOMPARE(last.value("unread").toInt(), 2);
        QCOMPARE(last.value("unreadPoppingUp").toInt(), 1);
    }

    void show_ofOneType_leavesTheOthersOut() {
        QCOMPARE(command().show("1", kWide).json.toObject().value("settings").toArray().size(), 2);
        QVERIFY(command().show("7", kWide).error.contains("types: 1, 4"));
    }

    void set_eachWord_setsBothSwitches_data() {
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("reminds");
        QTest::addColumn<bool>("popsUp");
        QTest::newRow("on") << "on" << true << true;
        QTest::newRow("quiet") << "quiet" << true << false;
        QTest::newRow("off") << "off" << false << false;
    }
    void set_eachWord_setsBothSwitches() {
        QFETCH(QString, word);
        QFETCH(bool, reminds);
        QFETCH(bool, popsUp);
        const CommandAnswer answer = command().set("4/4001", "3", word, kWide);
        QVERIFY2(!answer.isFault && answer.error.isEmpty(), qPrintable(answer.lines.join('\n')));
        QCOMPARE(m_settings->stored.size(), 1);
        const QJsonObject setting = m_settings->stored.value({"4", "4001", "3"});
        QCOMPARE(setting, (QJsonObject{{BusiMsgCenter::RemindSwitch, reminds},
                                       {BusiMsgCenter::PopSwitch, popsUp},
                                       {"sound", "ding"}}));
    }

    void set_ofAType_reachesItsSubTypes() {
        QVERIFY(!command().set("4", "3", "on", kWide).isFault);
        QCOMPARE(m_settings->stored.size(), 2);
        m_settings->subTypes.removeLast();
        m_settings->stored.clear();
        QVERIFY(command().set("4", "3", "on", kWide).isFault);
    }

    void set_unknownNames_areWrongUsage() {
        QVERIFY(command().set("7", "3", "on", kWide).error.contains("'7'"));
        QVERIFY(command().set("4/5", "3", "on", kWide).error.contains("sub-types: 4001"));
        QVERIFY(command().set("4", "8", "on", kWide).error.contains("2 重要, 3 紧急"));
        QVERIFY(m_settings->stored.isEmpty());
    }

    void set_thatIsNotStored_isAFault() {
        m_settings->canStore = false;
        QVERIFY(command().set("4/4001", "3", "on", kWide).isFault);
        QVERIFY(command().endToday().isFault);
    }

    void set_thatIsNotInTheFile_isAFault() {
        m_settings->canWrite = false;
        const CommandAnswer answer = command().set("4/4001", "3", "on", kWide);
        QVERIFY(answer.isFault);
        QVERIFY(answer.lines.first().startsWith("the settings file was not written"));
        const CommandAnswer ended = command().endToday();
        QVERIFY(ended.isFault);
        QVERIFY(ended.lines.last().startsWith("the settings file was not written"));
    }

    void endToday_isReadBack() {
        const CommandAnswer answer = command().endToday();
        QVERIFY(!answer.isFault);
        QCOMPARE(answer.lines, QStringList("reminders are ended for today"));
        QCOMPARE(command().show({}, kWide).lines.last(), answer.lines.first());
    }

    void interrupt_isReported() {
        m_settings->interruptAfter = 1;
        QVERIFY(command().show({}, kWide).interrupted);
        m_settings = std::make_unique<Settings>();
        m_settings->interruptAfter = 1;
        QVERIFY(command().set("4", "3", "on", kWide).interrupted);
    }

private:
    RemindCommand command() {
        return {m_library, m_settings->function(), someWords(),
                [this](const QString& key) { return m_settings->fileValue(key); }};
    }

    FacadeLibrary m_library;
    std::unique_ptr<Settings> m_settings;
};

QTEST_GUILESS_MAIN(RemindCommandTest)
#include "remind_command_test.moc"
