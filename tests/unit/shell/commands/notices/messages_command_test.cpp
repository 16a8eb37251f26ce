#include "messages_command.h"

#include <QJsonArray>
#include <QtTest>
#include <limits>

#include "exact_json.h"
#include "facade_recorder.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();
const QDate kToday(2026, 3, 2);

QJsonObject message(const QString& id, bool isRead) {
    return exactJsonObject({{System::clientMsgID, id},
                            {System::createTime, QDateTime(kToday, QTime(9, 0))},
                            {BusiMsgCenter::ReadStatus, isRead},
                            {System::textDescription, "text of " + id}});
}

/// Keeps messages by id, with whether they are read.
class Messages final : public FacadeRecorder {
public:
    QMap<QString, bool> read{{"C1", true}, {"C2", false}};
    bool canMark = true;

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        if (name == "GetAllBusiMsgList" || name == "GetUnreadBusiMsgList") {
            QJsonArray list;
            for (auto it = read.constBegin(); it != read.constEnd(); ++it) {
                if (!it.value() || name == "GetAllBusiMsgList") {
                    list.append(message(it.key(), it.value()));
                }
            }
            answer->insert("result", list);
        } else if (name == "IsBusiMsgRead") {
            answer->insert("result", read.value(arguments.first()));
        } else if (name == "SetBusiMsgRead") {
            if (canMark) {
                read[arguments.first()] = true;
            }
            answer->insert("result", canMark);
        }
    }
};

}  // namespace

class MessagesCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }
    void init() { m_messages = std::make_unique<Messages>(); }

    void list_ofAll_countsTheUnread() {
        const CommandAnswer answer = command().list(false, kToday, kWide);
        QCOMPARE(answer.lines.size(), 5);
        QCOMPARE(answer.lines.last(), QString("2 messages, 1 unread"));
        QCOMPARE(answer.json.toArray().size(), 2);
        QCOMPARE(answer.json.toArray().first().toObject(), message("C1", true));
    }

    void list_unread_leavesTheOthersOut() {
        const CommandAnswer answer = command().list(true, kToday, kWide);
        QCOMPARE(answer.lines.last(), QString("1 unread message"));
        QCOMPARE(answer.json.toArray().size(), 1);
        QVERIFY(answer.lines.filter("C1").isEmpty());
        m_messages->read["C2"] = true;
        QCOMPARE(command().list(true, kToday, kWide).lines, QStringList("0 unread messages"));
    }

    void read_messages_areMarkedOnce() {
        MessagesCommand messages = command();
        const CommandAnswer answer = messages.read({"C2", "C1"});
        QCOMPARE(answer.lines,
                 (QStringList{"C2  marked read  text of C2", "C1  was read before  text of C1"}));
        QVERIFY(!answer.isFault && answer.error.isEmpty());
        QCOMPARE(messages.marked(), QStringList("C2"));
        QVERIFY(m_messages->read.value("C2"));
    }

    void read_anUnknownId_marksNothing() {
        const CommandAnswer answer = command().read({"C2", "C9"});
        QVERIFY2(answer.error.contains("C9") && !answer.error.contains("C2"),
                 qPrintable(answer.error));
        QVERIFY(!m_messages->calls.contains("SetBusiMsgRead"));
        QVERIFY(!m_messages->read.value("C2"));
    }

    void read_refusedByThePlugin_isAFault() {
        m_messages->canMark = false;
        MessagesCommand messages = command();
        const CommandAnswer answer = messages.read({"C2"});
        QVERIFY(answer.isFault);
        QCOMPARE(answer.lines.first(), QString("C2  could not be marked read  text of C2"));
        QVERIFY(messages.marked().isEmpty());
    }

    void interrupt_isReported() {
        m_messages->interruptAfter = 0;
        QVERIFY(command().list(false, kToday, kWide).interrupted);
        QVERIFY(command().read({"C1"}).interrupted);
    }

private:
    MessagesCommand command() { return {m_library, m_messages->function(), MessageWords()}; }

    FacadeLibrary m_library;
    std::unique_ptr<Messages> m_messages;
};

QTEST_GUILESS_MAIN(MessagesCommandTest)
#include "messages_command_test.moc"
