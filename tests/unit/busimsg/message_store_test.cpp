#include "message_store.h"

#include <QScopeGuard>
#include <QtTest>
#include <ctime>

#include "busi_msg_table.h"
#include "log_capture.h"
#include "message_fixture.h"
#include "recorded_work_database.h"

namespace {

const QString kCreate =
    "CREATE TABLE IF NOT EXISTS BUSI_MSG_CENTER(clientMsgId PRIMARY KEY ON CONFLICT "
    "REPLACE,serverMsgId TEXT, msgLevel INTEGER, msgType TEXT, msgSubType TEXT, tradingAccount "
    "TEXT,productAccount TEXT,itemName TEXT,itemValue TEXT,time INTEGER, readStatus "
    "INTEGER,content TEXT,posStr TEXT)";

RecordedWorkDatabase& database() {
    return RecordedWorkDatabase::instance();
}

QVariantMap rowOf(const QString& id, const QVariantMap& changes = {}) {
    QVariantMap row{
        {"clientMsgId", id},        {"serverMsgId", "s-" + id}, {"msgLevel", 2},
        {"msgType", "4"},           {"msgSubType", "4001"},     {"tradingAccount", "T1"},
        {"productAccount", "P1"},   {"itemName", "symbol"},     {"itemValue", "600000"},
        {"time", 20260310093015LL}, {"readStatus", 1},          {"content", "text"},
        {"posStr", "000001"}};
    for (auto it = changes.cbegin(); it != changes.cend(); ++it) {
        row.insert(it.key(), it.value());
    }
    return row;
}

QList<QVariantMap> numberedMessages(int count) {
    QList<QVariantMap> rows;
    for (int i = 0; i < count; ++i) {
        rows.append(messageOf(numberedId(i)));
    }
    return rows;
}

}  // namespace

class MessageStoreTest : public QObject {
    Q_OBJECT

private slots:
    void init() { database() = RecordedWorkDatabase(); }

    void load_createsTheTableDropsEarlierDaysAndSelectsToday() {
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.initBusiMsgCenterData();
        QCOMPARE(database().single,
                 QStringList({kCreate, "DELETE FROM BUSI_MSG_CENTER WHERE time < 20260310000000"}));
        QCOMPARE(database().queries,
                 QStringList("SELECT * FROM BUSI_MSG_CENTER WHERE time>=20260310000000"));
        QCOMPARE(log.count(QtDebugMsg, "ZnBusinessDataManager::initBusiMsgCenterData " + kCreate),
                 1);
    }

    void load_clockInAnotherZone_takesTheLocalDay() {
        MovedClock clock;
        const QDateTime local(QDate(2026, 3, 10), QTime(0, 0, 1));
        const int offset = local.offsetFromUtc();
        // A zone in which it is still the day before.
        clock.set(local.toOffsetFromUtc(offset - 3600));
        MessageStore store(clock);
        store.initBusiMsgCenterData();
        QVERIFY(database().queries.constFirst().endsWith("time>=20260310000000"));
    }

    void load_dayWithoutAMidnight_selectsItsMessages() {
        const QByteArray zone = qgetenv("TZ");
        const auto restore = qScopeGuard([&zone] {
            qputenv("TZ", zone);
            ::tzset();
        });
        qputenv("TZ", "America/Havana");
        ::tzset();
        const QDate day(2026, 3, 8);
        QVERIFY(!QDateTime(day, QTime(0, 0)).isValid());
        MovedClock clock;
        clock.set(QDateTime(day, QTime(9, 30)));
        MessageStore store(clock);
        store.initBusiMsgCenterData();
        QCOMPARE(database().single.constLast(),
                 QString("DELETE FROM BUSI_MSG_CENTER WHERE time < 20260308000000"));
        QCOMPARE(database().queries,
                 QStringList("SELECT * FROM BUSI_MSG_CENTER WHERE time>=20260308000000"));
    }

    void load_rows_becomeRecords() {
        database().rows = {rowOf("a"), rowOf("b", {{"readStatus", 0}, {"serverMsgId", ""}})};
        const MovedClock clock;
        MessageStore store(clock);
        store.initBusiMsgCenterData();
        const auto tables = store.m_busiMsgLock.read();
        QCOMPARE(tables->m_busiMsgMap.keys(), QStringList({"a", "b"}));
        const QVariantMap expected{
            {System::clientMsgID, "a"},
            {BusiMsgCenter::ServerMsgId, "s-a"},
            {System::BusiMsgLevel, 2},
            {System::BusiMsgType, "4"},
            {System::BusiMsgSubType, "4001"},
            {UserAccount::tradingAccount, "T1"},
            {UserAccount::productAccount, "P1"},
            {System::itemName, "symbol"},
            {System::itemValue, "600000"},
            {System::createTime, QDateTime(QDate(2026, 3, 10), QTime(9, 30, 15))},
            {BusiMsgCenter::ReadStatus, true},
            {System::textDescription, "text"},
            {System::positionStr, "000001"}};
        const QVariantMap read = tables->m_busiMsgMap["a"];
        QCOMPARE(read, expected);
        QCOMPARE(read[System::createTime].userType(), int(QMetaType::QDateTime));
        QCOMPARE(read[BusiMsgCenter::ReadStatus].userType(), int(QMetaType::Bool));
        QCOMPARE(tables->m_busiMsgMap["b"][BusiMsgCenter::ReadStatus], QVariant(false));
        QCOMPARE(tables->m_serverMsgIdMap, (QMap<QString, QString>{{"s-a", "a"}}));
    }

    void load_time_isTheTextsLocalTime_data() {
        QTest::addColumn<QVariant>("value");
        for (const char* text :
             {"20260310093015", "20261231235959", "20260310000000", "20260230000000",
              "20260310240000", "2026031009301", "202603100930155", "+0260310093015", "soon", "",
              "00000310093015", "99991231235959"}) {
            QTest::newRow(*text ? text : "empty") << QVariant(text);
        }
        QTest::newRow("number") << QVariant(20260310093015LL);
        QTest::newRow("null") << QVariant();
        QTest::newRow("list") << QVariant(QVariantList{1});
    }
    void load_time_isTheTextsLocalTime() {
        QFETCH(QVariant, value);
        const QDateTime expected = QDateTime::fromString(value.toString(), "yyyyMMddhhmmss");
        const QDateTime time =
            BusiMsgTable::recordOf({{"time", value}})[System::createTime].toDateTime();
        QCOMPARE(time, expected);
        QCOMPARE(time.isValid(), expected.isValid());
    }

    void load_largestPosition_isTheLastAsText_data() {
        QTest::addColumn<QStringList>("positions");
        QTest::addColumn<QString>("largest");
        QTest::newRow("9 after 10") << QStringList{"10", "9"} << "9";
        QTest::newRow("9 before 10") << QStringList{"9", "10"} << "9";
        QTest::newRow("empty ones") << QStringList{"", "5", ""} << "5";
        QTest::newRow("only empty") << QStringList{"", ""} << "";
        QTest::newRow("empty table") << QStringList{} << "";
    }
    void load_largestPosition_isTheLastAsText() {
        QFETCH(QStringList, positions);
        QFETCH(QString, largest);
        for (const QString& position : positions) {
            database().rows.append(
                rowOf(QString::number(database().rows.size()), {{"posStr", position}}));
        }
        const MovedClock clock;
        MessageStore store(clock);
        store.initBusiMsgCenterData();
        QString read = "untouched";
        QVERIFY(store.getBusiMsgPos(read));
        QCOMPARE(read, largest);
    }

    void load_logsEachPositionWithTheMaximumBeforeIt() {
        database().rows = {rowOf("a", {{"posStr", "0007"}}), rowOf("b", {{"posStr", "00123"}})};
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.initBusiMsgCenterData();
        const QString tag = "ZnBusinessDataManager::initBusiMsgCenterData ";
        QCOMPARE(log.count(QtDebugMsg, tag + R"("0007" "" 4 0)"), 1);
        QCOMPARE(log.count(QtDebugMsg, tag + R"("00123" "0007" 5 4)"), 1);
    }

    void position_beforeTheLoadHasEnded_isNotReady() {
        const MovedClock clock;
        MessageStore store(clock);
        QString position;
        QVERIFY(!store.getBusiMsgPos(position));
        bool readyDuringTheQuery = true;
        database().beforeQueryReturns = [&] {
            readyDuringTheQuery = store.getBusiMsgPos(position);
        };
        store.initBusiMsgCenterData();
        QVERIFY(!readyDuringTheQuery);
        QVERIFY(store.getBusiMsgPos(position));
    }

    void load_oddRows_areLoggedAndTheRestIsLoaded() {
        database().rows = {QVariant(),
                           QVariant(17),
                           QVariantMap{{"clientMsgId", "few"}},
                           rowOf("odd", {{"time", "soon"},
                                         {"readStatus", QVariantList{1}},
                                         {"posStr", QVariantMap{{"a", 1}}},
                                         {"msgLevel", "high"}}),
                           rowOf("foreign", {{"column of a later version", 1}}),
                           rowOf("good")};
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.initBusiMsgCenterData();
        const auto tables = store.m_busiMsgLock.read();
        QCOMPARE(tables->m_busiMsgMap.keys(), QStringList({"few", "foreign", "good", "odd"}));
        QCOMPARE(tables->m_busiMsgMap["few"].value(System::textDescription), QVariant());
        QCOMPARE(tables->m_busiMsgMap["few"].value(BusiMsgCenter::ReadStatus), QVariant(false));
        QCOMPARE(tables->m_busiMsgMap["foreign"].size(), 13);
        QCOMPARE(tables->m_busiMsgMaxPos, QString("000001"));
        QCOMPARE(log.texts(QtWarningMsg).filter("not a row").size(), 2);
        QCOMPARE(log.texts(QtWarningMsg).filter("a row lacks its id or its time").size(), 2);
    }

    void insert_ofARecord_fillsTheTemplate() {
        const MovedClock clock;
        MessageStore store(clock);
        store.insertToDataBase({messageOf("c1", {{BusiMsgCenter::ReadStatus, true}})});
        QCOMPARE(database().lists, QList<QStringList>({QStringList(QStringLiteral(
                                       "INSERT INTO BUSI_MSG_CENTER VALUES "
                                       "('c1','s-c1',2,'4','4001','T1','P1','symbol','600000.SH','"
                                       "20260310093015',1,'风险提示','000001');"))}));
    }

    void insert_ofAnEmptyRecord_writesEmptyTextsAndTheClocksTime() {
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase({QVariantMap()});
        QCOMPARE(database().lists.constFirst(),
                 QStringList("INSERT INTO BUSI_MSG_CENTER VALUES "
                             "('','',0,'','','','','','','20260310093000',0,'','');"));
        QVERIFY(log.contains(QtWarningMsg, "has no usable time"));
    }

    void insert_timeThatTheTableCannotFind_becomesTheClocks_data() {
        QTest::addColumn<QVariant>("time");
        QTest::newRow("null") << QVariant();
        QTest::newRow("invalid") << QVariant(QDateTime());
        QTest::newRow("text") << QVariant("soon");
        QTest::newRow("year 10000") << QVariant(QDateTime(QDate(10000, 1, 1), QTime(0, 0)));
        QTest::newRow("before year 1") << QVariant(QDateTime(QDate(-5, 1, 1), QTime(0, 0)));
    }
    void insert_timeThatTheTableCannotFind_becomesTheClocks() {
        QFETCH(QVariant, time);
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase({messageOf("c1", {{System::createTime, time}})});
        QVERIFY(database().lists[0][0].contains("'20260310093000'"));
        QCOMPARE(log.texts(QtWarningMsg).filter("message \"c1\" has no usable time").size(), 1);
    }

    void insert_timeOfAnotherZone_isWrittenAsLocalTime() {
        const QDateTime midnight(QDate(2026, 3, 10), QTime(0, 0));
        const QDateTime lastSecond = midnight.addSecs(-1);
        constexpr int kHalfDay = 12 * 3600;
        const auto inZone = [](const QDateTime& time, int offset) {
            return messageOf("zone", {{System::createTime, time.toOffsetFromUtc(offset)}});
        };
        const MovedClock clock;
        MessageStore store(clock);
        store.insertToDataBase({inZone(midnight, -kHalfDay), inZone(midnight, kHalfDay),
                                inZone(lastSecond, -kHalfDay), inZone(lastSecond, kHalfDay)});
        QCOMPARE(database().lists[0][0].count("'20260310000000'"), 2);
        QCOMPARE(database().lists[0][0].count("'20260309235959'"), 2);
    }

    void insert_rows_goInStatementsOf100InOneCall_data() {
        QTest::addColumn<int>("rows");
        QTest::addColumn<QList<int>>("sizes");
        QTest::newRow("1") << 1 << QList<int>{1};
        QTest::newRow("100") << 100 << QList<int>{100};
        QTest::newRow("101") << 101 << QList<int>{100, 1};
        QTest::newRow("250") << 250 << QList<int>{100, 100, 50};
    }
    void insert_rows_goInStatementsOf100InOneCall() {
        QFETCH(int, rows);
        QFETCH(QList<int>, sizes);
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase(numberedMessages(rows));
        QCOMPARE(database().lists.size(), 1);
        QList<int> found;
        for (const QString& statement : database().lists.constFirst()) {
            QVERIFY(statement.startsWith("INSERT INTO BUSI_MSG_CENTER VALUES ('"));
            QVERIFY(statement.endsWith("');"));
            found.append(statement.count("),(") + 1);
        }
        QCOMPARE(found, sizes);
        QVERIFY(database().lists[0].last().contains("('" + numberedId(rows - 1) + "'"));
        const QString line = QString("ZnBusinessDataManager::insertToDataBase %1 ").arg(rows);
        QCOMPARE(log.texts(QtDebugMsg).filter(line).size(), 1);
    }

    void insertAndUpdate_ofNothing_doNothing() {
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase({});
        store.updateToDataBase({});
        QVERIFY(database().lists.isEmpty());
        QVERIFY(log.texts().isEmpty());
    }

    void insert_fewerRowsChangedThanSent_warnsOfTheLost_data() {
        QTest::addColumn<int>("changed");
        QTest::addColumn<QStringList>("lost");
        const QString tag = "ZnBusinessDataManager::insertToDataBase ";
        QTest::newRow("all there") << 150 << QStringList();
        QTest::newRow("one statement")
            << 50 << QStringList(tag + "100 of 150 messages are not in the table");
        QTest::newRow("none") << 0 << QStringList(tag + "150 of 150 messages are not in the table");
        QTest::newRow("no database")
            << -1 << QStringList(tag + "150 of 150 messages are not in the table");
        QTest::newRow("more than sent") << 151 << QStringList();
    }
    void insert_fewerRowsChangedThanSent_warnsOfTheLost() {
        QFETCH(int, changed);
        QFETCH(QStringList, lost);
        database().changed = [changed](const QStringList&) { return changed; };
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase(numberedMessages(150));
        QCOMPARE(log.texts(QtWarningMsg), lost);
    }

    void insert_percentBeforeADigit_takesTheLaterValueAndWarns() {
        const MovedClock clock;
        MessageStore store(clock);
        database().changed = [](const QStringList&) { return 1; };
        LogCapture log;
        // The item name's place is taken by the item value, the next one to be filled in, and each
        // later value goes one place up.
        store.insertToDataBase({messageOf("c1", {{System::itemName, "down %1"}})});
        QCOMPARE(database().lists[0][0],
                 QStringLiteral("INSERT INTO BUSI_MSG_CENTER VALUES "
                                "('c1','s-c1',2,'4','4001','T1','P1','down 600000.SH','"
                                "20260310093015','0',风险提示,'000001','%13');"));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.texts(QtWarningMsg)[0].contains(R"(message "c1" contains % before a digit)"));
        QVERIFY(log.texts(QtWarningMsg)[0].contains(System::itemName));
    }

    void insert_percentSigns_warnOncePerMessageAndOnlyBeforeADigit_data() {
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<int>("warnings");
        using Fields = QVariantMap;
        QTest::newRow("none") << Fields{} << 0;
        QTest::newRow("after a digit") << Fields{{System::textDescription, "up 5%"}} << 0;
        QTest::newRow("before a letter") << Fields{{System::textDescription, "%a %L %%"}} << 0;
        QTest::newRow("at the end") << Fields{{System::positionStr, "7%"}} << 0;
        QTest::newRow("before a digit") << Fields{{System::textDescription, "5%%6"}} << 1;
        QTest::newRow("localised form") << Fields{{System::textDescription, "%L3"}} << 1;
        QTest::newRow("two fields")
            << Fields{{System::textDescription, "%1 %2"}, {System::itemName, "%9"}} << 1;
        QTest::newRow("in the id") << Fields{{System::clientMsgID, "%20"}} << 1;
    }
    void insert_percentSigns_warnOncePerMessageAndOnlyBeforeADigit() {
        QFETCH(QVariantMap, fields);
        QFETCH(int, warnings);
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase({messageOf("c1", fields)});
        QCOMPARE(log.texts(QtWarningMsg).filter("contains % before a digit").size(), warnings);
    }

    void insert_manyPercentSigns_areLoggedInPart() {
        QList<QVariantMap> messages = numberedMessages(150);
        for (QVariantMap& message : messages) {
            message.insert(System::textDescription, "%1");
        }
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.insertToDataBase(messages);
        QCOMPARE(log.texts(QtWarningMsg).filter("contains % before a digit").size(), 20);
        QVERIFY(log.contains(QtWarningMsg, "150 of 150 messages contain % before a digit"));
    }

    void warnings_ofLongValues_areCut() {
        const QString longText(100000, 'x');
        database().rows = {QVariantMap{{"clientMsgId", longText}, {"time", longText}},
                           QVariant(longText)};
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.initBusiMsgCenterData();
        store.insertToDataBase({messageOf(
            longText, {{System::createTime, longText}, {System::textDescription, "%1"}})});
        const QStringList warnings = log.texts(QtWarningMsg);
        QVERIFY(warnings.size() >= 4);
        for (const QString& warning : warnings) {
            QVERIFY2(warning.size() < 400, qPrintable(warning.left(200)));
        }
    }

    void insert_quote_isWrittenAsItStands() {
        const MovedClock clock;
        MessageStore store(clock);
        store.insertToDataBase({messageOf("c1", {{System::textDescription, "it's"}})});
        QVERIFY(database().lists[0][0].contains(",'it's',"));
    }

    void update_setsReadStateAndPositionById() {
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.updateToDataBase({messageOf("c1", {{BusiMsgCenter::ReadStatus, true}}),
                                messageOf("c2", {{System::positionStr, "9"}})});
        QCOMPARE(database().lists,
                 QList<QStringList>({{"UPDATE BUSI_MSG_CENTER SET readStatus = 1, posStr = "
                                      "'000001' WHERE clientMsgId = 'c1';",
                                      "UPDATE BUSI_MSG_CENTER SET readStatus = 0, posStr = '9' "
                                      "WHERE clientMsgId = 'c2';"}}));
        QCOMPARE(log.texts(QtDebugMsg).filter("ZnBusinessDataManager::updateToDataBase 2 ").size(),
                 1);
    }

    void update_moreThan10000_goesInCallsOf10000() {
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.updateToDataBase(numberedMessages(20001));
        QCOMPARE(database().lists.size(), 3);
        QCOMPARE(database().lists[0].size(), 10000);
        QCOMPARE(database().lists[1].size(), 10000);
        QCOMPARE(database().lists[2].size(), 1);
        QVERIFY(database().lists[2][0].contains("'" + numberedId(20000) + "'"));
        QCOMPARE(
            log.texts(QtDebugMsg).filter("ZnBusinessDataManager::updateToDataBase 20001 ").size(),
            1);
    }

    void queueing_withTheMessageLockHeld_reachesTheTableBeforeTheStoreIsGone() {
        const MovedClock clock;
        {
            MessageStore store(clock);
            store.startWriter();
            const auto tables = store.m_busiMsgLock.write();
            const QVariantMap message = messageOf("c1");
            tables->m_busiMsgMap.insert("c1", message);
            store.appendBusiMsg(message, true);
            store.saveBusiMsgRead(messageOf("c1", {{BusiMsgCenter::ReadStatus, true}}));
        }
        QCOMPARE(database().lists.size(), 2);
        QVERIFY(database().lists[0][0].startsWith("INSERT INTO "));
        QVERIFY(database().lists[1][0].startsWith("UPDATE BUSI_MSG_CENTER SET readStatus = 1"));
    }
};

QTEST_GUILESS_MAIN(MessageStoreTest)
#include "message_store_test.moc"
