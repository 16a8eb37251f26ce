#include "messages_check.h"

#include <QJsonArray>
#include <QtTest>
#include <limits>

#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();
const QDate kToday(2026, 3, 2);

QVariantMap serverRow(const QString& id, const QDateTime& time = {kToday, QTime(9, 0)}) {
    return {{BusiMsgCenter::ServerMsgId, id},
            {System::createTime, time.toMSecsSinceEpoch()},
            {System::textDescription, "text of " + id},
            {UserAccount::tradingAccount, ""},
            {System::positionStr, "000" + id}};
}

BusiMessage held(const QString& id, const QString& clientId = {}) {
    BusiMessage message = BusiMessage::ofServerRow(serverRow(id));
    message.clientId = clientId.isEmpty() ? "C" + id : clientId;
    return message;
}

BusiMessage ownNotice(const QString& clientId) {
    BusiMessage message;
    message.clientId = clientId;
    message.time = QDateTime(kToday, QTime(9, 0));
    return message;
}

MessageCheck check(const MessagePlaces& places) {
    return checkMessages(places, kToday, [](const QString& account) { return account == "T999"; });
}

}  // namespace

class MessagesCheckTest : public QObject {
    Q_OBJECT

private slots:
    void places_thatHoldTheSame_agree() {
        const MessageCheck found = check(
            {{serverRow("1"), serverRow("2")}, {held("1"), held("2")}, {held("2"), held("1")}});
        QVERIFY(found.agrees());
        QCOMPARE(found.server, 2);
        QCOMPARE(found.table, 2);
        QCOMPARE(found.memory, 2);
        QVERIFY(found.missing.isEmpty());
    }

    void message_thatAPlaceLacks_isADifference_data() {
        QTest::addColumn<bool>("onServer");
        QTest::addColumn<bool>("inTable");
        QTest::addColumn<bool>("inMemory");
        QTest::addColumn<QString>("what");
        QTest::newRow("all lost") << true << false << false << "neither in the table nor in memory";
        QTest::newRow("not in memory") << true << true << false << "not in memory";
        QTest::newRow("not in the table") << true << false << true << "not in the table";
        QTest::newRow("not at the server") << false << true << true << "not in the server's list";
        QTest::newRow("table only") << false << true << false << "not in the server's list";
        QTest::newRow("memory only") << false << false << true << "not in the server's list";
    }
    void message_thatAPlaceLacks_isADifference() {
        QFETCH(bool, onServer);
        QFETCH(bool, inTable);
        QFETCH(bool, inMemory);
        QFETCH(QString, what);
        MessagePlaces places;
        if (onServer) {
            places.server = {serverRow("1")};
        }
        if (inTable) {
            places.table = {held("1")};
        }
        if (inMemory) {
            places.memory = {held("1")};
        }
        const MessageCheck found = check(places);
        QCOMPARE(found.differences.size(), 1);
        QCOMPARE(found.differences.first().what, what);
        QCOMPARE(found.differences.first().serverId, QString("1"));
        QCOMPARE(found.missing.size(), onServer && !inMemory ? 1 : 0);
    }

    void message_ofAnAccountThatThePluginLacks_hasTheReason() {
        QVariantMap row = serverRow("1");
        row.insert(UserAccount::tradingAccount, "T999");
        const auto reasonOf = [](const QVariantMap& serverRow) {
            return check({{serverRow}, {}, {}}).differences.first().reason;
        };
        QVERIFY(reasonOf(row).contains("T999"));
        row.insert(UserAccount::productAccount, "P1");
        QCOMPARE(reasonOf(row), QString());
        row = serverRow("1");
        row.insert(UserAccount::tradingAccount, "T1");
        QCOMPARE(reasonOf(row), QString());
    }

    void message_withASingleQuote_explainsTheMissingRow() {
        QVariantMap row = serverRow("1");
        row.insert(System::textDescription, "it's");
        const MessageCheck found = check({{row}, {}, {held("1")}});
        QVERIFY(found.differences.first().reason.contains("single quote"));
    }

    void message_nearARowWithAQuote_hasAReason() {
        QVariantMap row = serverRow("1");
        row.insert(System::textDescription, "it's");
        const MessageCheck found = check({{row, serverRow("2")}, {}, {}});
        QCOMPARE(found.differences.size(), 2);
        QVERIFY(found.differences.at(0).reason.contains("its text has a single quote"));
        QVERIFY(found.differences.at(1).reason.contains("one SQL statement"));
        QCOMPARE(found.lacking, 2);
    }

    void message_withOtherContents_isADifference_data() {
        QTest::addColumn<QString>("what");
        QTest::newRow("type") << "type";
        QTest::newRow("sub-type") << "sub-type";
        QTest::newRow("level") << "level";
        QTest::newRow("account") << "account";
        QTest::newRow("text") << "text";
    }
    void message_withOtherContents_isADifference() {
        QFETCH(QString, what);
        BusiMessage other = held("1");
        (what == "type"       ? other.type
         : what == "sub-type" ? other.subType
         : what == "level"    ? other.level
         : what == "account"  ? other.tradingAccount
                              : other.text) = "X";
        const MessageCheck inTable = check({{serverRow("1")}, {other}, {held("1")}});
        QCOMPARE(inTable.differences.size(), 1);
        QVERIFY(inTable.differences.first().what.startsWith(what + " 'X' in the table, '"));
        const MessageCheck atServer = check({{serverRow("1")}, {other}, {other}});
        QCOMPARE(atServer.differences.size(), 1);
        QVERIFY(atServer.differences.first().what.endsWith("'X' in memory"));
    }

    void message_readOrPlacedDifferently_isADifference() {
        BusiMessage read = held("1");
        read.isRead = true;
        QCOMPARE(check({{serverRow("1")}, {held("1")}, {read}}).differences.first().what,
                 QString("read in memory, not in the table"));
        QCOMPARE(check({{serverRow("1")}, {read}, {held("1")}}).differences.first().what,
                 QString("read in the table, not in memory"));
        BusiMessage moved = held("1");
        moved.position = "0009";
        QCOMPARE(check({{serverRow("1")}, {held("1")}, {moved}}).differences.first().what,
                 QString("position 0001 in the table, 0009 in memory"));
        QCOMPARE(check({{serverRow("1")}, {held("1", "C8")}, {held("1", "C9")}})
                     .differences.first()
                     .what,
                 QString("client id C8 in the table, C9 in memory"));
    }

    void serverId_heldTwice_isADifference() {
        const MessageCheck found =
            check({{serverRow("1")}, {held("1", "C1")}, {held("1", "C1"), held("1", "C2")}});
        QCOMPARE(found.differences.size(), 1);
        QCOMPARE(found.differences.first().what, QString("more than once in the memory"));
        QCOMPARE(found.differences.first().clientId, QString("C2"));
    }

    void message_ofAnEarlierDay_isNotCompared() {
        const QVariantMap old = serverRow("1", {kToday.addDays(-1), QTime(23, 59, 59)});
        BusiMessage inMemory = held("1");
        inMemory.time = QDateTime(kToday.addDays(-1), QTime(23, 59, 59));
        const MessageCheck found =
            check({{old, serverRow("2")}, {held("2")}, {inMemory, held("2")}});
        QVERIFY(found.agrees());
        QCOMPARE(found.earlier, 1);
        QCOMPARE(found.earlierInMemory, 1);
        QCOMPARE(found.server, 1);
        QCOMPARE(found.memory, 1);
        QVERIFY(found.missing.isEmpty());
    }

    void message_withoutAUsableTime_countsAsTodays() {
        QVariantMap row = serverRow("1");
        row.insert(System::createTime, "soon");
        QCOMPARE(check({{row}, {}, {}}).missing.size(), 1);
    }

    void noticeOfThisClient_isComparedByClientId() {
        QVERIFY(check({{}, {ownNotice("N1")}, {ownNotice("N1")}}).agrees());
        const MessageCheck unsaved = check({{}, {}, {ownNotice("N1")}});
        QVERIFY(unsaved.agrees());
        QCOMPARE(unsaved.memoryOnly, 1);
        BusiMessage toStore = ownNotice("N1");
        toStore.asksForStorage = true;
        QCOMPARE(check({{}, {}, {toStore}}).differences.first().what, QString("not in the table"));
        QCOMPARE(check({{}, {ownNotice("N1")}, {}}).differences.first().what,
                 QString("in the table, not in memory"));
    }

    void answer_differences_areListedAndAFault() {
        const MessageCheck found = check({{serverRow("1")}, {}, {}});
        const CommandAnswer answer = messageCheckAnswer(found, 1, kWide);
        QVERIFY(answer.isFault);
        QVERIFY(answer.lines.at(2).simplified().startsWith("1 neither in the table nor in memory"));
        QVERIFY(answer.lines.contains("pushed again: 1 message"));
        QVERIFY(
            answer.lines.contains("today's messages: server 1, table 0, memory 0; 1 difference"));
        const QJsonObject json = answer.json.toObject();
        QCOMPARE(json.value("agrees").toBool(true), false);
        QCOMPARE(json.value("pushedAgain").toInt(), 1);
        QCOMPARE(json.value("differences").toArray().size(), 1);
    }

    void answer_withoutDifferences_isOneLine() {
        const CommandAnswer answer =
            messageCheckAnswer(check({{serverRow("1")}, {held("1")}, {held("1")}}), -1, kWide);
        QVERIFY(!answer.isFault);
        QCOMPARE(answer.lines,
                 QStringList("today's messages: server 1, table 1, memory 1; no differences"));
        QVERIFY(answer.json.toObject().value("agrees").toBool());
        QVERIFY(!answer.json.toObject().contains("pushedAgain"));
    }

    void pushedRow_keepsTheServerIdAndLeavesEmptyFieldsOut() {
        QVariantMap row = serverRow("1");
        row.insert(System::clientMsgID, "request 7");
        const QVariantMap pushed = pushedRow(row);
        QCOMPARE(pushed.value(BusiMsgCenter::ServerMsgId).toString(), QString("1"));
        QCOMPARE(pushed.value(System::createTime), row.value(System::createTime));
        QCOMPARE(pushed.value(System::msgType).toString(), Velmar_MsgType::MessageCenterPushMsg);
        QVERIFY(!pushed.contains(UserAccount::tradingAccount));
        QVERIFY(!pushed.contains(System::clientMsgID));
    }
};

QTEST_GUILESS_MAIN(MessagesCheckTest)
#include "messages_check_test.moc"
