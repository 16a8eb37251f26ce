#include <QtTest>
#include <memory>
#include <thread>

#include "client_world.h"
#include "data_stores.h"
#include "log_capture.h"
#include "message_fixture.h"
#include "message_store.h"
#include "wait_for.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"

namespace {

/// The messages that a start at this time finds.
QMap<QString, QVariantMap> loadAt(const QDateTime& now) {
    MovedClock clock;
    clock.set(now);
    MessageStore store(clock);
    store.initBusiMsgCenterData();
    const auto tables = store.m_busiMsgLock.read();
    return tables->m_busiMsgMap;
}

QMap<QString, QVariantMap> load() {
    return loadAt(MovedClock().now());
}

int execute(const QString& statement) {
    return CDBWorkInfoManager::getInstance()->executeUpdate(QStringList(statement));
}

QVariant valueOf(const QString& query) {
    ZnSqlQuery select;
    select.prepare(query);
    const QList<QVariant> rows = CDBWorkInfoManager::getInstance()->executeQuery(select);
    return rows.isEmpty() ? QVariant() : rows.constFirst().toMap().first();
}

/// Writes the messages in a run of the client that ends in good order.
void writeInARun(const QList<QVariantMap>& messages, const QList<QVariantMap>& updates = {}) {
    const MovedClock clock;
    MessageStore store(clock);
    store.startWriter();
    store.initBusiMsgCenterData();
    for (const QVariantMap& message : messages) {
        store.appendBusiMsg(message, true);
    }
    for (const QVariantMap& message : updates) {
        store.saveBusiMsgRead(message);
    }
}

/// Writes the messages in one call, where the writer may take them in several.
void insertAtOnce(const QList<QVariantMap>& messages) {
    const MovedClock clock;
    MessageStore store(clock);
    store.initBusiMsgCenterData();
    store.insertToDataBase(messages);
}

QVariantMap asRead(QVariantMap message) {
    message.insert(BusiMsgCenter::ReadStatus, true);
    return message;
}

/// The message as a later run has it: the level is an integer column.
QVariantMap asLoaded(QVariantMap message) {
    message.insert(System::BusiMsgLevel, message.value(System::BusiMsgLevel).toInt());
    return message;
}

}  // namespace

class MessageTableTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        m_world->login();
    }
    void cleanup() { m_world.reset(); }

    void firstStart_hasNoMessagesAndNoPosition() {
        const MovedClock clock;
        MessageStore store(clock);
        LogCapture log;
        store.initBusiMsgCenterData();
        QString position = "untouched";
        QVERIFY(store.getBusiMsgPos(position));
        QVERIFY(position.isEmpty());
        const auto tables = store.m_busiMsgLock.read();
        QVERIFY(tables->m_busiMsgMap.isEmpty());
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void secondStart_sameDay_bringsBackEveryMessageAsItWas() {
        const QVariantMap first = messageOf("a");
        const QVariantMap second = messageOf("b", {{BusiMsgCenter::ServerMsgId, ""},
                                                   {System::positionStr, ""},
                                                   {System::textDescription, "plain"}});
        writeInARun({first, second}, {asRead(first)});
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.keys(), QStringList({"a", "b"}));
        QCOMPARE(loaded["a"], asLoaded(asRead(first)));
        QCOMPARE(loaded["b"], asLoaded(second));
        QCOMPARE(loaded["a"][BusiMsgCenter::ReadStatus].userType(), int(QMetaType::Bool));
        QCOMPARE(loaded["a"][System::createTime].userType(), int(QMetaType::QDateTime));
        // The level is text again where it is compared.
        QCOMPARE(loaded["a"][System::BusiMsgLevel].toString(), BusiMsgLevel::Important);
    }

    void restarts_onTheSameDay_keepAddingUp() {
        writeInARun({messageOf("a")});
        writeInARun({messageOf("b")}, {asRead(messageOf("a"))});
        writeInARun({messageOf("c")});
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.keys(), QStringList({"a", "b", "c"}));
        QCOMPARE(loaded["a"][BusiMsgCenter::ReadStatus], QVariant(true));
        QCOMPARE(loaded["b"][BusiMsgCenter::ReadStatus], QVariant(false));
    }

    void start_rowsAgedSinceTheLastRun_keepsTodaysOnly() {
        writeInARun({messageOf("today"), messageOf("last second"), messageOf("midnight")});
        QCOMPARE(execute("UPDATE BUSI_MSG_CENTER SET time = 20260309235959 WHERE clientMsgId = "
                         "'last second'"),
                 1);
        QCOMPARE(execute("UPDATE BUSI_MSG_CENTER SET time = 20260310000000 WHERE clientMsgId = "
                         "'midnight'"),
                 1);
        QCOMPARE(load().keys(), QStringList({"midnight", "today"}));
        QCOMPARE(valueOf("SELECT count(*) FROM BUSI_MSG_CENTER").toInt(), 2);
    }

    void start_afterMidnight_isEmptyAndForgetsThePosition() {
        const QDateTime lastSecond(QDate(2026, 3, 10), QTime(23, 59, 59));
        writeInARun({messageOf("a", {{System::createTime, lastSecond}})});
        QCOMPARE(loadAt(lastSecond).keys(), QStringList("a"));
        QVERIFY(loadAt(lastSecond.addSecs(1)).isEmpty());
        QCOMPARE(valueOf("SELECT count(*) FROM BUSI_MSG_CENTER").toInt(), 0);
    }

    void midnight_whileTheClientRuns_dropsNothingUntilTheNextStart() {
        MovedClock clock;
        const QDateTime lastSecond(QDate(2026, 3, 10), QTime(23, 59, 59));
        clock.set(lastSecond);
        {
            MessageStore store(clock);
            store.initBusiMsgCenterData();
            store.insertToDataBase({messageOf("old", {{System::createTime, lastSecond}})});
            clock.set(lastSecond.addSecs(1));
            store.insertToDataBase({messageOf("new", {{System::createTime, clock.now()}}),
                                    messageOf("undated", {{System::createTime, QVariant()}})});
            QCOMPARE(valueOf("SELECT count(*) FROM BUSI_MSG_CENTER").toInt(), 3);
        }
        QCOMPARE(loadAt(clock.now()).keys(), QStringList({"new", "undated"}));
    }

    void insert_anIdASecondTime_replacesTheRow() {
        LogCapture log;
        writeInARun({messageOf("a", {{System::textDescription, "first"}}), messageOf("a"),
                     messageOf("a", {{System::textDescription, "last"}})});
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        QCOMPARE(load().size(), 1);
        QCOMPARE(load()["a"][System::textDescription].toString(), QString("last"));
    }

    void insert_ofAQuote_losesTheRowsOfItsStatementOnly() {
        QList<QVariantMap> messages;
        for (int i = 0; i < 150; ++i) {
            messages.append(messageOf(numberedId(i)));
        }
        messages[7].insert(System::textDescription, "it's");
        LogCapture log;
        insertAtOnce(messages);
        QVERIFY(log.contains(QtWarningMsg,
                             "ZnBusinessDataManager::insertToDataBase 100 of 150 "
                             "messages are not in the table"));
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.size(), 50);
        QCOMPARE(loaded.firstKey(), numberedId(100));
    }

    void insert_percentBeforeADigit_isStoredWithThePositionInItsPlace() {
        LogCapture log;
        writeInARun({messageOf("a", {{System::textDescription, "down %1 today"}})});
        QCOMPARE(load()["a"][System::textDescription].toString(), QString("down 000001 today"));
        QCOMPARE(load()["a"][System::positionStr].toString(), QString("%13"));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }

    void text_ofAnyKind_comesBack_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString("");
        QTest::newRow("emoji") << QStringLiteral("涨停 🚀📈");
        QTest::newRow("control characters") << QString("a\tb\nc\x01\x1f\x7f");
        QTest::newRow("double quotes, semicolon, comment") << QString(R"(a "b"; -- c /* d)");
        QTest::newRow("percent without a digit") << QString("100% %s");
        QTest::newRow("1 MB") << QString(1024 * 1024, QChar(0x6da8));
    }
    void text_ofAnyKind_comesBack() {
        QFETCH(QString, text);
        LogCapture log;
        writeInARun({messageOf("a", {{System::textDescription, text}}), messageOf("b")});
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.size(), 2);
        QVERIFY(loaded["a"][System::textDescription].toString() == text);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void text_withANul_losesItsStatementWithAWarning() {
        LogCapture log;
        QString text("a b");
        text[1] = QChar(0);
        writeInARun({messageOf("a", {{System::textDescription, text}})});
        writeInARun({messageOf("b")});
        QCOMPARE(load().keys(), QStringList("b"));
        QVERIFY(log.contains(QtWarningMsg, "1 of 1 messages are not in the table"));
    }

    void level_unknown_isWrittenAsItsNumber_data() {
        QTest::addColumn<QVariant>("level");
        QTest::addColumn<int>("stored");
        QTest::newRow("number") << QVariant(77) << 77;
        QTest::newRow("text") << QVariant("high") << 0;
        QTest::newRow("missing") << QVariant() << 0;
        QTest::newRow("negative") << QVariant("-1") << -1;
    }
    void level_unknown_isWrittenAsItsNumber() {
        QFETCH(QVariant, level);
        QFETCH(int, stored);
        writeInARun({messageOf("a", {{System::BusiMsgLevel, level}})});
        QCOMPARE(load()["a"][System::BusiMsgLevel], QVariant(qlonglong(stored)));
    }

    void time_inTheYear9999_isKept() {
        const QDateTime time(QDate(9999, 12, 31), QTime(23, 59, 59));
        writeInARun({messageOf("a", {{System::createTime, time}})});
        QCOMPARE(load()["a"][System::createTime].toDateTime(), time);
    }

    void update_changesReadStateAndPositionAlone() {
        const QVariantMap message = messageOf("a");
        writeInARun({message}, {messageOf("a", {{BusiMsgCenter::ReadStatus, true},
                                                {System::positionStr, "000009"},
                                                {System::textDescription, "changed"},
                                                {System::BusiMsgType, "9"}})});
        QVariantMap expected = asLoaded(asRead(message));
        expected.insert(System::positionStr, "000009");
        QCOMPARE(load()["a"], expected);
    }

    void update_thatFails_losesItselfAlone() {
        const QVariantMap bad = asRead(messageOf("b", {{System::positionStr, "it's"}}));
        writeInARun({messageOf("a"), messageOf("b"), messageOf("c")},
                    {asRead(messageOf("a")), bad, asRead(messageOf("c"))});
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded["a"][BusiMsgCenter::ReadStatus], QVariant(true));
        QCOMPARE(loaded["b"][BusiMsgCenter::ReadStatus], QVariant(false));
        QCOMPARE(loaded["c"][BusiMsgCenter::ReadStatus], QVariant(true));
    }

    void insert_textThatIsSql_losesItsStatementOnly_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("a second statement") << "'); DELETE FROM BUSI_MSG_CENTER; --";
        QTest::newRow("a second row") << "',''),('x";
    }
    void insert_textThatIsSql_losesItsStatementOnly() {
        QFETCH(QString, text);
        writeInARun({messageOf("earlier")});
        QList<QVariantMap> messages;
        for (int i = 0; i < 150; ++i) {
            messages.append(messageOf(numberedId(i)));
        }
        messages[7].insert(System::textDescription, text);
        LogCapture log;
        insertAtOnce(messages);
        writeInARun({}, {asRead(messages[120])});
        QVERIFY(log.contains(QtWarningMsg, "100 of 150 messages are not in the table"));
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.size(), 51);
        QCOMPARE(loaded["earlier"], asLoaded(messageOf("earlier")));
        QCOMPARE(loaded[numberedId(120)], asLoaded(asRead(messages[120])));
        QCOMPARE(loaded.firstKey(), numberedId(100));
    }

    void closeOfThePlatform_aloneWritesWhatALivingStoreHasQueued() {
        const MovedClock clock;
        MessageStore store(clock);
        store.startWriter();
        store.initBusiMsgCenterData();
        store.appendBusiMsg(messageOf("a"), true);
        store.appendBusiMsg(messageOf("b"), true);
        store.saveBusiMsgRead(asRead(messageOf("b")));
        const QString login = DataStores::businessData().loginAccount();
        LocalPlatform::instance().close();
        startAgain(login);
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.keys(), QStringList({"a", "b"}));
        QCOMPARE(loaded["b"], asLoaded(asRead(messageOf("b"))));
        // The writer of the living store has ended with the platform.
        LogCapture log;
        store.appendBusiMsg(messageOf("c"), true);
        QVERIFY(log.contains(QtWarningMsg, "the writer has ended"));
        store.startWriter();
        QVERIFY(waitFor([] { return load().contains("c"); }, 10000));
    }

    void storeDestroyedOnAnotherThread_whileThePlatformCloses_writesWhatIsQueued() {
        const QString login = DataStores::businessData().loginAccount();
        const MovedClock clock;
        QStringList ids;
        for (int round = 0; round < 20; ++round) {
            auto store = std::make_unique<MessageStore>(clock);
            store->startWriter();
            store->initBusiMsgCenterData();
            ids.append(numberedId(round));
            store->appendBusiMsg(messageOf(ids.constLast()), true);
            std::thread owner([&store] { store.reset(); });
            LocalPlatform::instance().close();
            owner.join();
            startAgain(login);
        }
        QCOMPARE(load().keys(), ids);
    }

    void update_ofAnUnknownId_changesNothing() {
        writeInARun({messageOf("a")}, {asRead(messageOf("stranger"))});
        QCOMPARE(load().keys(), QStringList("a"));
        QCOMPARE(load()["a"][BusiMsgCenter::ReadStatus], QVariant(false));
    }

    void writer_runningClient_writesWithinSeconds() {
        const MovedClock clock;
        MessageStore store(clock);
        store.startWriter();
        store.initBusiMsgCenterData();
        store.appendBusiMsg(messageOf("a"), true);
        QVERIFY(waitFor([] { return valueOf("SELECT count(*) FROM BUSI_MSG_CENTER").toInt() == 1; },
                        10000));
    }

    void table_withOtherColumns_isLoadedAndLossesAreLogged() {
        QVERIFY(execute("CREATE TABLE BUSI_MSG_CENTER (clientMsgId PRIMARY KEY, time INTEGER)") >=
                0);
        QCOMPARE(execute("INSERT INTO BUSI_MSG_CENTER VALUES ('few', 20260310101500)"), 1);
        LogCapture log;
        writeInARun({messageOf("a")});
        QVERIFY(log.contains(QtWarningMsg, "1 of 1 messages are not in the table"));
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.keys(), QStringList("few"));
        QCOMPARE(loaded["few"].size(), 13);
        QCOMPARE(loaded["few"][System::createTime].toDateTime(),
                 QDateTime(QDate(2026, 3, 10), QTime(10, 15)));
    }

    void table_oddValues_areLoaded() {
        load();
        QCOMPARE(execute("INSERT INTO BUSI_MSG_CENTER VALUES (17,NULL,'high',4,NULL,1.5,NULL,'',"
                         "NULL,'soon','yes',x'00ff',12)"),
                 1);
        LogCapture log;
        const QMap<QString, QVariantMap> loaded = load();
        QCOMPARE(loaded.keys(), QStringList("17"));
        QVERIFY(!loaded["17"][System::createTime].toDateTime().isValid());
        QVERIFY(log.contains(QtWarningMsg, "a row lacks its id or its time"));
    }

private:
    /// Starts the platform in the same home, as a later run of the client does.
    void startAgain(const QString& login) {
        LocalPlatform::Options options;
        options.homeDir = m_world->homeDir();
        QString error;
        QVERIFY2(LocalPlatform::instance().start(options, &error), qPrintable(error));
        DataStores::businessData().setLogin({{UserAccount::userID, login}});
    }

    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(MessageTableTest)
#include "message_table_test.moc"
