#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>
#include <ctime>
#include <thread>
#include <vector>

#include "exchange_clock.h"
#include "market_server.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kQuery = Velmar_MsgType::queryBusiMessagesRequest;
inline const QString kTopic = Velmar_MsgType::MessageCenterPushMsg;

/// The local time zone of the tests, whose times are those of the exchanges.
constexpr const char* kZone = "CST-8";

void setZone(const QByteArray& zone) {
    qputenv("TZ", zone);
    ::tzset();
}

QDateTime at(int day, int hour, int minute) {
    return inExchangeZone(QDateTime(QDate(2026, 3, day), QTime(hour, minute)));
}

QVariantMap cursor(const QString& position, int count = 1000,
                   const QString& user = SampleLogin::user) {
    return {{UserAccount::userID, user},
            {System::positionStr, position},
            {System::requestNumber, count}};
}

QVariantMap message(const QString& text) {
    return {{System::textDescription, text},
            {System::BusiMsgType, "2"},
            {System::BusiMsgSubType, "2001"},
            {System::BusiMsgLevel, "1"}};
}

QVariantMap with(QVariantMap fields, const QString& key, const QVariant& value) {
    fields.insert(key, value);
    return fields;
}

/// Keeps the pushes of a session.
class Receiver : public PushTarget {
public:
    void pushed(const QString& topic, const QVariant& body) override {
        topics.append(topic);
        bodies.append(body);
    }
    QStringList topics;
    QVariantList bodies;
};

}  // namespace

/// The message centre of the sample market's server.
class MessageHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        setZone(kZone);
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }
    void init() {
        QString error;
        QVERIFY2(m_server.open(&error), qPrintable(error));
        setTime(at(2, 17, 0));
    }

    void firstQuery_ofADay_givesItsMessagesAtTheirTimes();
    void firstQuery_inEachTimeZone_givesMessagesOfTheLocalDate_data();
    void firstQuery_inEachTimeZone_givesMessagesOfTheLocalDate();
    void firstQuery_atAnyTimeOfTheDay_givesAllOfThemBefore_data();
    void firstQuery_atAnyTimeOfTheDay_givesAllOfThemBefore();
    void positions_sortAsTextsInTheOrderOfTime();
    void secondQuery_sameDay_givesTheSameMessages();
    void query_smallPages_giveTheWholeListOnce();
    void query_behindTheEnd_isEmptyAndKeepsThePosition();
    void query_nextDay_givesThatDayAlone();
    void query_byPage_givesTheWholeListInOrder();
    void query_badField_isRefused();
    void publish_message_isPushedAsOneRowOnTheHeader();
    void publish_message_isFoundBehindTheLastPosition();
    void publish_otherUser_isNotPushed();
    void publish_whileAway_isFoundAfterARestartOfTheServer();
    void publish_whileAwayOverMidnight_isFoundOnTheNextDay();
    void publish_deliveredBeforeMidnight_doesNotComeBack();
    void publish_sameInstant_keepsTheOrder();
    void publish_clockThatWentBack_keepsThePositionsAscending();
    void publish_beforeTheFirstQueryOfADay_comesBeforeItsMessages();
    void publish_badField_isRefusedAndStoresNothing_data();
    void publish_badField_isRefusedAndStoresNothing();
    void publish_valuesOfOtherTypes_becomeTexts();
    void publish_fromManyThreads_givesEachItsOwnPosition();
    void messagesOf_aUser_areThoseOfTheDayAndDeliverNothing();
    void messages_olderThanThirtyDays_areRemoved();

private:
    void setTime(const QDateTime& time) {
        m_server.engine->setClock([time] { return time; });
    }
    QStringList ids(const QString& position = {}, const QString& user = SampleLogin::user) {
        m_server.ask(kQuery, cursor(position, 1000, user));
        return m_server.column(BusiMsgCenter::ServerMsgId);
    }
    QVariantMap publish(const QString& text, const QString& user = SampleLogin::user) {
        QVariantMap stored;
        QString error;
        if (!m_server.engine->publishMessage(user, message(text), &stored, nullptr, &error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
        return stored;
    }
    QVariantMap lastRow() const { return m_server.rows().value(m_server.rows().size() - 1); }

    MarketServer m_server;
};

void MessageHandlersTest::firstQuery_ofADay_givesItsMessagesAtTheirTimes() {
    QCOMPARE(m_server.refusal(kQuery, cursor({})), QString());
    QVERIFY(m_server.rows().size() >= 48);
    for (const QVariantMap& row : m_server.rows()) {
        for (auto it = row.cbegin(); it != row.cend(); ++it) {
            QVERIFY2(!it->toString().isEmpty(), qPrintable(it.key()));
        }
        QVERIFY(row.contains(System::textDescription) && row.contains(System::BusiMsgType));
        QCOMPARE(row.value(System::createTime).userType(), int(QMetaType::QString));
    }
    const auto timeOf = [](const QVariantMap& row) {
        return QDateTime::fromMSecsSinceEpoch(row.value(System::createTime).toLongLong());
    };
    QCOMPARE(timeOf(m_server.rows().first()), at(2, 7, 2));
    QCOMPARE(timeOf(lastRow()), at(2, 16, 30));
}

void MessageHandlersTest::firstQuery_inEachTimeZone_givesMessagesOfTheLocalDate_data() {
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("hour");
    for (const char* zone : {"UTC0", "HST10", "CST-8"}) {
        for (const int hour : {1, 9, 17, 23}) {
            QTest::addRow("%s at %d", zone, hour) << QByteArray(zone) << hour;
        }
    }
}
void MessageHandlersTest::firstQuery_inEachTimeZone_givesMessagesOfTheLocalDate() {
    QFETCH(QByteArray, zone);
    QFETCH(int, hour);
    setZone(zone);
    const auto restored = qScopeGuard([] { setZone(kZone); });
    const QDateTime now = at(3, hour, 0);
    setTime(now);
    m_server.ask(kQuery, cursor({}));
    QVERIFY(m_server.rows().size() >= 48);
    for (const QString& text : m_server.column(System::createTime)) {
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(text.toLongLong());
        QCOMPARE(time.date(), now.toLocalTime().date());
        QVERIFY(time <= now);
    }
}

void MessageHandlersTest::firstQuery_atAnyTimeOfTheDay_givesAllOfThemBefore_data() {
    QTest::addColumn<int>("minutes");
    for (const int minutes : {0, 1, 60, 9 * 60, 15 * 60, 24 * 60 - 1}) {
        QTest::addRow("%d minutes", minutes) << minutes;
    }
}
void MessageHandlersTest::firstQuery_atAnyTimeOfTheDay_givesAllOfThemBefore() {
    QFETCH(int, minutes);
    const QDateTime now = at(3, 0, 0).addSecs(minutes * 60);
    setTime(now);
    m_server.ask(kQuery, cursor({}));
    QVERIFY(m_server.rows().size() >= 48);
    for (const QString& text : m_server.column(System::createTime)) {
        QVERIFY(text.toLongLong() >= at(3, 0, 0).toMSecsSinceEpoch());
        QVERIFY(text.toLongLong() <= now.toMSecsSinceEpoch());
    }
}

void MessageHandlersTest::positions_sortAsTextsInTheOrderOfTime() {
    m_server.ask(kQuery, cursor({}));
    QString before;
    qint64 timeBefore = 0;
    for (const QVariantMap& row : m_server.rows()) {
        const QString position = row.value(System::positionStr).toString();
        QVERIFY(QRegularExpression("^[0-9]{16}$").match(position).hasMatch());
        QVERIFY2(before < position, qPrintable(position));
        QVERIFY(timeBefore <= row.value(System::createTime).toLongLong());
        before = position;
        timeBefore = row.value(System::createTime).toLongLong();
    }
    const QVariantMap later = publish("later");
    QVERIFY(before < later.value(System::positionStr).toString());
}

void MessageHandlersTest::secondQuery_sameDay_givesTheSameMessages() {
    setTime(at(2, 9, 0));
    m_server.ask(kQuery, cursor({}));
    const QList<QVariantMap> first = m_server.rows();
    setTime(at(2, 23, 59));
    m_server.ask(kQuery, cursor({}));
    QCOMPARE(m_server.rows(), first);
}

void MessageHandlersTest::query_smallPages_giveTheWholeListOnce() {
    const QStringList all = ids();
    QStringList collected;
    QString position;
    for (int page = 0; page < 100; ++page) {
        const QVariantMap header = m_server.ask(kQuery, cursor(position, 7));
        collected += m_server.column(BusiMsgCenter::ServerMsgId);
        position = header.value(System::positionStr).toString();
        if (m_server.rows().size() < 7) {
            break;
        }
        QCOMPARE(position, lastRow().value(System::positionStr).toString());
    }
    QCOMPARE(collected, all);
    QCOMPARE(QSet<QString>(all.cbegin(), all.cend()).size(), all.size());
}

void MessageHandlersTest::query_behindTheEnd_isEmptyAndKeepsThePosition() {
    ids();
    const QString last = lastRow().value(System::positionStr).toString();
    const QVariantMap header = m_server.ask(kQuery, cursor(last));
    QVERIFY(m_server.rows().isEmpty());
    QCOMPARE(header.value(System::positionStr).toString(), last);
    QVERIFY(header.value(System::totalSize).toInt() >= 48);
}

void MessageHandlersTest::query_nextDay_givesThatDayAlone() {
    const QStringList first = ids();
    const QString last = lastRow().value(System::positionStr).toString();
    setTime(at(3, 17, 0));
    const QStringList second = ids();
    QCOMPARE(second.size(), first.size());
    for (const QString& id : second) {
        QVERIFY(!first.contains(id));
    }
    QCOMPARE(ids(last), second);
}

void MessageHandlersTest::query_byPage_givesTheWholeListInOrder() {
    const QVariantMap fields{{UserAccount::userID, SampleLogin::user}, {System::pageSize, 20}};
    QStringList collected;
    int total = 1;
    for (int page = 1; collected.size() < total && page < 10; ++page) {
        const QVariantMap header = m_server.ask(kQuery, with(fields, System::pageNo, page));
        QCOMPARE(header.value(System::pageNo).toInt(), page);
        total = header.value(System::totalSize).toInt();
        collected += m_server.column(BusiMsgCenter::ServerMsgId);
    }
    QCOMPARE(collected, ids());
}

void MessageHandlersTest::query_badField_isRefused() {
    QCOMPARE(m_server.refusal(kQuery, cursor({}, 10, "nobody")), QString("用户nobody不存在"));
    QCOMPARE(m_server.refusal(kQuery, cursor("x")), QString("查询位置无效：x"));
    QVERIFY(m_server.refusal(kQuery, cursor({}, 0)).startsWith("每页条数无效"));
}

void MessageHandlersTest::publish_message_isPushedAsOneRowOnTheHeader() {
    const auto receiver = std::make_shared<Receiver>();
    m_server.session = m_server.engine->openSession(receiver);
    QVERIFY(!m_server.engine->hasMessageSubscriber(SampleLogin::user));
    QCOMPARE(m_server.refusal(Quindar_MsgType::subscribeTopicRequest,
                              {{System::subscriptionTopic, kTopic},
                               {Security::subscriptionRequestType, SubscribeType::subscribe},
                               {UserAccount::userID, SampleLogin::user}}),
             QString());
    QVERIFY(m_server.engine->hasMessageSubscriber(SampleLogin::user));
    QVERIFY(!m_server.engine->hasMessageSubscriber(SampleLogin::secondUser));
    QVariantMap stored;
    int sessions = 0;
    QString error;
    QVERIFY2(m_server.engine->publishMessage(SampleLogin::user,
                                             with(message("新消息"), System::itemName, ""), &stored,
                                             &sessions, &error),
             qPrintable(error));
    QCOMPARE(sessions, 1);
    QCOMPARE(receiver->topics, QStringList(kTopic));
    QCOMPARE(headerOf(receiver->bodies.first()), stored);
    QVERIFY(rowsOf(receiver->bodies.first()).isEmpty());
    QVERIFY(!stored.contains(System::itemName));
    QCOMPARE(stored.value(System::createTime).toString(),
             QString::number(at(2, 17, 0).toMSecsSinceEpoch()));
    QVERIFY(!stored.value(BusiMsgCenter::ServerMsgId).toString().isEmpty());
}

void MessageHandlersTest::publish_message_isFoundBehindTheLastPosition() {
    ids();
    const QString last = lastRow().value(System::positionStr).toString();
    const QVariantMap stored = publish("behind");
    ids(last);
    QCOMPARE(m_server.rows(), QList<QVariantMap>{stored});
}

void MessageHandlersTest::publish_otherUser_isNotPushed() {
    const auto receiver = std::make_shared<Receiver>();
    m_server.session = m_server.engine->openSession(receiver);
    m_server.ask(Quindar_MsgType::subscribeTopicRequest,
                 {{System::subscriptionTopic, kTopic},
                  {Security::subscriptionRequestType, SubscribeType::subscribe},
                  {UserAccount::userID, SampleLogin::user}});
    const QVariantMap stored = publish("for another", SampleLogin::secondUser);
    QVERIFY(receiver->topics.isEmpty());
    const QString id = stored.value(BusiMsgCenter::ServerMsgId).toString();
    QVERIFY(ids({}, SampleLogin::secondUser).contains(id));
    QVERIFY(!ids().contains(id));
}

void MessageHandlersTest::publish_whileAway_isFoundAfterARestartOfTheServer() {
    const QTemporaryDir dir;
    const QString file = dir.filePath("state.sqlite");
    QString error;
    QVERIFY2(m_server.open(&error, file), qPrintable(error));
    setTime(at(2, 17, 0));
    const QStringList before = ids();
    const QString last = lastRow().value(System::positionStr).toString();
    const QVariantMap stored = publish("while away");
    QVERIFY2(m_server.open(&error, file), qPrintable(error));
    setTime(at(2, 18, 0));
    ids(last);
    QCOMPARE(m_server.rows(), QList<QVariantMap>{stored});
    QCOMPARE(ids(), before + QStringList(stored.value(BusiMsgCenter::ServerMsgId).toString()));
}

void MessageHandlersTest::publish_whileAwayOverMidnight_isFoundOnTheNextDay() {
    ids();
    setTime(at(2, 23, 50));
    const QString id = publish("late").value(BusiMsgCenter::ServerMsgId).toString();
    setTime(at(3, 17, 0));
    const QStringList next = ids();
    QCOMPARE(next.first(), id);
    QVERIFY(next.size() > 48);
    // The list stays the same for the day; on the next one it has been delivered.
    QCOMPARE(ids(), next);
    setTime(at(4, 17, 0));
    QVERIFY(!ids().contains(id));
}

void MessageHandlersTest::publish_deliveredBeforeMidnight_doesNotComeBack() {
    const auto receiver = std::make_shared<Receiver>();
    m_server.session = m_server.engine->openSession(receiver);
    m_server.ask(Quindar_MsgType::subscribeTopicRequest,
                 {{System::subscriptionTopic, kTopic},
                  {Security::subscriptionRequestType, SubscribeType::subscribe},
                  {UserAccount::userID, SampleLogin::user}});
    ids();
    setTime(at(2, 23, 50));
    const QString id = publish("late").value(BusiMsgCenter::ServerMsgId).toString();
    QCOMPARE(receiver->topics.size(), 1);
    setTime(at(3, 17, 0));
    QVERIFY(!ids().contains(id));
}

void MessageHandlersTest::publish_sameInstant_keepsTheOrder() {
    ids();
    const QString last = lastRow().value(System::positionStr).toString();
    for (int i = 0; i < 20; ++i) {
        publish(QString::number(i));
    }
    ids(last);
    const QStringList texts = m_server.column(System::textDescription);
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(texts.value(i), QString::number(i));
    }
}

void MessageHandlersTest::publish_clockThatWentBack_keepsThePositionsAscending() {
    ids();
    const QString late = publish("late").value(System::positionStr).toString();
    setTime(at(2, 12, 0));
    const QVariantMap stored = publish("earlier");
    QVERIFY(late < stored.value(System::positionStr).toString());
    ids(late);
    QCOMPARE(m_server.rows(), QList<QVariantMap>{stored});
}

void MessageHandlersTest::publish_beforeTheFirstQueryOfADay_comesBeforeItsMessages() {
    const int daily = ids().size();
    setTime(at(3, 0, 5));
    const QVariantMap early = publish("early");
    setTime(at(3, 17, 0));
    // A client that got it as a push asks for what is behind it.
    ids(early.value(System::positionStr).toString());
    QCOMPARE(m_server.rows().size(), daily);
    for (const QString& time : m_server.column(System::createTime)) {
        QVERIFY(time.toLongLong() >= at(3, 0, 5).toMSecsSinceEpoch());
        QVERIFY(time.toLongLong() <= at(3, 17, 0).toMSecsSinceEpoch());
    }
    QCOMPARE(ids().first(), early.value(BusiMsgCenter::ServerMsgId).toString());
}

void MessageHandlersTest::publish_badField_isRefusedAndStoresNothing_data() {
    QTest::addColumn<QString>("user");
    QTest::addColumn<QVariantMap>("fields");
    QTest::addColumn<QString>("text");
    const QVariantMap good = message("x");
    const QString user = SampleLogin::user;
    QTest::newRow("user") << "nobody" << good << "用户nobody不存在";
    QTest::newRow("no text") << user << with(good, System::textDescription, "")
                             << "消息缺少字段：" + System::textDescription;
    QTest::newRow("no type") << user << with(good, System::BusiMsgType, QVariant())
                             << "消息缺少字段：" + System::BusiMsgType;
    QTest::newRow("no level") << user << with(good, System::BusiMsgLevel, "")
                              << "消息缺少字段：" + System::BusiMsgLevel;
    QTest::newRow("unknown") << user << with(good, "colour", "red") << "消息有未知字段：colour";
    QTest::newRow("own id") << user << with(good, BusiMsgCenter::ServerMsgId, "1")
                            << "消息有未知字段：" + BusiMsgCenter::ServerMsgId;
    QTest::newRow("list") << user << with(good, System::itemValue, QVariantList{1})
                          << "消息字段" + System::itemValue + "应为单个值";
    QTest::newRow("null character")
        << user << with(good, System::textDescription, QString("a") + QChar(0) + "b")
        << "消息字段textDescription含有空字符";
    QTest::newRow("time") << user << with(good, System::createTime, "noon") << "消息时间无效：noon";
}
void MessageHandlersTest::publish_badField_isRefusedAndStoresNothing() {
    QFETCH(QString, user);
    QFETCH(QVariantMap, fields);
    QFETCH(QString, text);
    const QStringList before = ids();
    QString error;
    QVERIFY(!m_server.engine->publishMessage(user, fields, nullptr, nullptr, &error));
    QCOMPARE(error, text);
    QCOMPARE(ids(), before);
}

void MessageHandlersTest::publish_valuesOfOtherTypes_becomeTexts() {
    QVariantMap fields = message("text");
    fields.insert(System::BusiMsgLevel, 3.0);
    fields.insert(System::createTime, 1767571200000.0);
    QVariantMap stored;
    QString error;
    QVERIFY2(m_server.engine->publishMessage(SampleLogin::user, fields, &stored, nullptr, &error),
             qPrintable(error));
    QCOMPARE(stored.value(System::BusiMsgLevel), QVariant(QString("3")));
    QCOMPARE(stored.value(System::createTime), QVariant(QString("1767571200000")));
}

void MessageHandlersTest::publish_fromManyThreads_givesEachItsOwnPosition() {
    constexpr int kThreads = 4;
    constexpr int kEach = 25;
    const int before = ids().size();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([this] {
            for (int n = 0; n < kEach; ++n) {
                QString error;
                m_server.engine->publishMessage(SampleLogin::user, message("x"), nullptr, nullptr,
                                                &error);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const QStringList after = ids();
    QCOMPARE(after.size(), before + kThreads * kEach);
    QCOMPARE(QSet<QString>(after.cbegin(), after.cend()).size(), after.size());
}

void MessageHandlersTest::messagesOf_aUser_areThoseOfTheDayAndDeliverNothing() {
    QList<QVariantMap> messages;
    QString error;
    const auto list = [&](MessageCentre::Extent extent) {
        return m_server.engine->messagesOf(SampleLogin::user, extent, &messages, &error);
    };
    QVERIFY2(list(MessageCentre::Extent::Day), qPrintable(error));
    const int daily = messages.size();
    setTime(at(2, 23, 50));
    const QVariantMap late = publish("late");
    setTime(at(3, 17, 0));
    // Nobody has got the first day's messages.
    QVERIFY(list(MessageCentre::Extent::Day));
    QCOMPARE(messages.size(), 2 * daily + 1);
    QVERIFY(messages.contains(late));
    ids();
    setTime(at(4, 17, 0));
    QVERIFY(list(MessageCentre::Extent::Day));
    QCOMPARE(messages.size(), daily);
    QVERIFY(list(MessageCentre::Extent::Kept));
    QCOMPARE(messages.size(), 3 * daily + 1);
    QVERIFY(!m_server.engine->messagesOf("nobody", MessageCentre::Extent::Day, &messages, &error));
    QCOMPARE(error, QString("用户nobody不存在"));
}

void MessageHandlersTest::messages_olderThanThirtyDays_areRemoved() {
    const QString old = publish("old").value(BusiMsgCenter::ServerMsgId).toString();
    setTime(at(2, 17, 0).addDays(29));
    QVERIFY(ids().contains(old));
    setTime(at(2, 17, 0).addDays(32));
    QList<QVariantMap> messages;
    QString error;
    QVERIFY(m_server.engine->messagesOf(SampleLogin::user, MessageCentre::Extent::Kept, &messages,
                                        &error));
    for (const QVariantMap& one : qAsConst(messages)) {
        QVERIFY(one.value(BusiMsgCenter::ServerMsgId) != old);
    }
}

QTEST_GUILESS_MAIN(MessageHandlersTest)
#include "message_handlers_test.moc"
