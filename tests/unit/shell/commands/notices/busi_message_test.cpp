#include "busi_message.h"

#include <QJsonArray>
#include <QtTest>
#include <limits>

#include "exact_json.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();
const QDate kToday(2026, 3, 2);

MessageWords someWords() {
    MessageWords words;
    words.types = {{"1", "系统"}, {"4", "交易"}, {"9", ""}};
    words.subTypes = {{"4001", "风险警示"}, {"1001", "连接"}};
    words.levelNames = {{"2", "重要"}, {"3", "紧急"}};
    words.levels = QStringList{"1", "2", "3"};
    return words;
}

}  // namespace

class BusiMessageTest : public QObject {
    Q_OBJECT

private slots:
    void record_asAnsweredAndAsPublished_readsTheSame() {
        const QVariantMap record{{System::clientMsgID, "C1"},
                                 {BusiMsgCenter::ServerMsgId, "S1"},
                                 {System::BusiMsgLevel, 2},
                                 {System::BusiMsgType, "4"},
                                 {System::createTime, QDateTime(kToday, QTime(9, 30, 1))},
                                 {BusiMsgCenter::ReadStatus, true},
                                 {System::textDescription, "一\n二"},
                                 {System::positionStr, "0005"}};
        const BusiMessage published = BusiMessage::ofRecord(record);
        const QList<BusiMessage> answered =
            BusiMessage::ofAnswer(QJsonArray{exactJsonObject(record)});
        QCOMPARE(answered.size(), 1);
        for (const BusiMessage& message : {published, answered.first()}) {
            QCOMPARE(message.clientId, QString("C1"));
            QCOMPARE(message.serverId, QString("S1"));
            QCOMPARE(message.level, QString("2"));
            QCOMPARE(message.time, QDateTime(kToday, QTime(9, 30, 1)));
            QVERIFY(message.isRead);
            QVERIFY(!message.asksForStorage);
            QCOMPARE(message.line(), QString("一 二"));
            QCOMPARE(message.position, QString("0005"));
        }
    }

    void tableRow_numbersOfTheDatabase_areRead() {
        const BusiMessage message = BusiMessage::ofTableRow({{"clientMsgId", "C1"},
                                                             {"serverMsgId", "S1"},
                                                             {"msgLevel", 3},
                                                             {"time", 20260302093001LL},
                                                             {"readStatus", 1},
                                                             {"content", "x"},
                                                             {"posStr", "0005"}});
        QCOMPARE(message.time, QDateTime(kToday, QTime(9, 30, 1)));
        QCOMPARE(message.level, QString("3"));
        QVERIFY(message.isRead);
        QCOMPARE(message.position, QString("0005"));
        QVERIFY(!BusiMessage::ofTableRow({{"readStatus", 0}}).isRead);
    }

    void serverRow_timeInEitherForm_isRead() {
        const QDateTime time(kToday, QTime(9, 30, 1));
        const auto timeOf = [](const QVariant& value) {
            return BusiMessage::ofServerRow({{System::createTime, value}}).time;
        };
        QCOMPARE(timeOf(time.toMSecsSinceEpoch()), time);
        QCOMPARE(timeOf(QString::number(time.toMSecsSinceEpoch())), time);
        QCOMPARE(timeOf("20260302 093001"), time);
        QVERIFY(!timeOf("0").isValid());
        QVERIFY(!timeOf("soon").isValid());
    }

    void words_codesWithoutAName_stayCodes() {
        const MessageWords words = someWords();
        QCOMPARE(words.level(BusiMsgLevel::Emergency), QString("3 紧急"));
        QCOMPARE(words.level("1"), QString("1"));
        QCOMPARE(words.kind("4", "4001"), QString("4 交易, 4001 风险警示"));
        QCOMPARE(words.kind("9", ""), QString("9"));
        QCOMPARE(words.kind("", ""), QString());
        QCOMPARE(words.subTypesOf("4"), QStringList("4001"));
    }

    void table_messages_areOrderedByTime() {
        BusiMessage early;
        early.clientId = "C2";
        early.time = QDateTime(kToday, QTime(9, 0));
        early.isRead = true;
        BusiMessage late;
        late.clientId = "C1";
        late.time = QDateTime(kToday, QTime(10, 0));
        late.text = "a\x1b[2J";
        const QStringList lines = messageTable({late, early}, someWords(), kToday, kWide);
        QCOMPARE(lines.size(), 4);
        QVERIFY2(lines.at(2).startsWith("C2"), qPrintable(lines.join('\n')));
        QVERIFY(lines.at(2).contains("09:00:00") && lines.at(2).contains("read"));
        QVERIFY(lines.at(3).startsWith("C1") && !lines.at(3).contains('\x1b'));
    }

    void tailLine_newAndReadMessage_fitTheTerminal() {
        BusiMessage message;
        message.clientId = "C1";
        message.level = "2";
        message.type = "4";
        message.tradingAccount = "T1";
        message.time = QDateTime(kToday, QTime(9, 30));
        message.text = "检测到\n交易";
        QCOMPARE(messageTailLine(message, someWords(), kToday, kWide),
                 QString("09:30:00  new   2 重要  4 交易  T1  检测到 交易  [C1]"));
        message.isRead = true;
        QVERIFY(messageTailLine(message, someWords(), kToday, kWide).contains("  read  "));
        QVERIFY(messageTailLine(message, someWords(), kToday.addDays(1), kWide)
                    .startsWith("2026-03-02 09:30:00"));
        QCOMPARE(messageTailLine(message, someWords(), kToday, 12), QString("09:30:00  r…"));
    }
};

QTEST_GUILESS_MAIN(BusiMessageTest)
#include "busi_message_test.moc"
