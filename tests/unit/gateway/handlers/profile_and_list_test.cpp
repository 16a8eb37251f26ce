#include <QLoggingCategory>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include "host_msg_type.h"
#include "log_capture.h"
#include "profile_request.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "server_engine.h"
#include "small_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

/// The handlers of lists and of profiles, over the sample market.
class ProfileAndListTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void profile_written_isReadBackByFuzzyKey();
    void profile_exactKey_givesItAlone();
    void profile_exactKey_looksAtNoOther();
    void profile_writtenAgain_isReplaced();
    void profile_otherUser_seesNothingOfIt();
    void profile_engineAnew_keepsIt();
    void profile_withoutRecords_isAnEmptySuccess();
    void profile_badRow_isRefusedAndNothingWritten_data();
    void profile_badRow_isRefusedAndNothingWritten();
    void profile_unknownUser_isRefused();
    void anyRequest_fewerRowsThanStated_isRefused();
    void anyRequest_invalidNumberOfRows_isRefused_data();
    void anyRequest_invalidNumberOfRows_isRefused();
    void anyRequest_moreRowsThanStated_usesTheStatedOnes();
    void securityAccounts_pages_areThoseOfTheLogin();
    void securityAccounts_positions_giveTheSameList();
    void lists_anyPart_isReadWithoutSorting_data();
    void lists_anyPart_isReadWithoutSorting();
    void securityAccounts_someAccounts_areTheirs();
    void securityAccounts_unknownUser_isRefused();

private:
    QVariantMap ask(const QString& type, QVariantMap fields, const QList<QVariantMap>& rows = {}) {
        fields.insert(System::msgType, type);
        m_answer = m_engine->handle(m_session, type, packRows(fields, rows));
        return headerOf(m_answer);
    }
    bool write(const QList<QVariantMap>& rows) { return isSuccess(ask(kWrite, {}, rows)); }
    QList<QVariantMap> read(const QString& key, const QString& fuzzy,
                            const QString& user = SampleLogin::user) {
        const QVariantMap header =
            ask(kRead,
                {{UserAccount::userID, user}, {System::profileKey, key}, {System::fuzzy, fuzzy}});
        return isSuccess(header) ? rowsOf(m_answer) : QList<QVariantMap>{{{"refused", 1}}};
    }
    static bool isSuccess(const QVariantMap& header) {
        return header.value(System::requestExeStatus).toString() == RequestExeStatus::success;
    }
    QString refusal() const { return headerOf(m_answer).value(System::textDescription).toString(); }
    void openEngine() {
        QString error;
        m_engine = ServerEngine::open(marketStoreFile(m_dir.path()), &error, m_state);
        QVERIFY2(m_engine, qPrintable(error));
        m_session = m_engine->openSession({});
    }

    QTemporaryDir m_dir;
    std::shared_ptr<ServerState> m_state;
    std::shared_ptr<ServerEngine> m_engine;
    Session m_session;
    QVariant m_answer;
};

void ProfileAndListTest::initTestCase() {
    QString error;
    QVERIFY2(makeSampleMarket(m_dir.path(), smallMarket(), {}, &error), qPrintable(error));
}

void ProfileAndListTest::init() {
    m_state = ServerState::inMemory();
    openEngine();
}

void ProfileAndListTest::profile_written_isReadBackByFuzzyKey() {
    QVERIFY(write(
        {profileRow(kApply, "{\"ETF\":1}"), profileRow(kCages, "{}"), profileRow("other", "x")}));
    const QList<QVariantMap> statuses = rowsOf(m_answer);
    QCOMPARE(statuses.size(), 3);
    for (const QVariantMap& row : statuses) {
        QVERIFY(isSuccess(row));
        QVERIFY(!row.value(System::profileKey).toString().isEmpty());
    }
    const QList<QVariantMap> rows = read("user_priceCage", "1");
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.at(0).value(System::profileKey).toString(), kCages);
    QCOMPARE(rows.at(1).value(System::profileKey).toString(), kApply);
    QCOMPARE(rows.at(1).value(System::profileData).toString(), QStringLiteral("{\"ETF\":1}"));
    QCOMPARE(rows.at(1).value(System::accessLevel), QVariant(2));
    QCOMPARE(rows.at(1).value(UserAccount::userID).toString(), SampleLogin::user);
}

void ProfileAndListTest::profile_exactKey_givesItAlone() {
    QVERIFY(write({profileRow("key", "a"), profileRow("key2", "b")}));
    QCOMPARE(read("key", "").size(), 1);
    QCOMPARE(read("key", "").first().value(System::profileData).toString(), QStringLiteral("a"));
    QCOMPARE(read("key", "1").size(), 2);
    QVERIFY(read("ke", "0").isEmpty());
}

void ProfileAndListTest::profile_exactKey_looksAtNoOther() {
    const QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("state.sqlite"));
    QString error;
    m_state = ServerState::open(file, &error);
    QVERIFY2(m_state, qPrintable(error));
    openEngine();
    QVERIFY(write({profileRow("key", "a"), profileRow("key2", "b"), profileRow("key%", "c")}));
    const SqliteConnection connection(file);
    QSqlQuery broken(QSqlDatabase::database(connection.name(), false));
    QVERIFY(broken.exec(QStringLiteral("UPDATE document SET record = x'00' WHERE key LIKE '%2'")));
    const LogCapture log;
    QCOMPARE(read("key", "").size(), 1);
    QVERIFY(!log.contains(QtWarningMsg, QStringLiteral("has an unreadable record")));
    // A prefix finds both valid records and logs the broken one.
    QCOMPARE(read("key", "1").size(), 2);
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("has an unreadable record")));
}

void ProfileAndListTest::profile_writtenAgain_isReplaced() {
    QVERIFY(write({profileRow("key", "a")}));
    QVariantMap again = profileRow("key", "b");
    again.insert(Security::alterType, AlterType::Update);
    QVERIFY(write({again}));
    const QList<QVariantMap> rows = read("key", "1");
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(System::profileData).toString(), QStringLiteral("b"));
}

void ProfileAndListTest::profile_otherUser_seesNothingOfIt() {
    QVERIFY(write({profileRow("key", "a")}));
    QVERIFY(read("", "1", SampleLogin::secondUser).isEmpty());
    QVERIFY(write({profileRow("key", "b", SampleLogin::secondUser)}));
    QCOMPARE(read("", "1").size(), 1);
    QCOMPARE(read("", "1").first().value(System::profileData).toString(), QStringLiteral("a"));
}

void ProfileAndListTest::profile_engineAnew_keepsIt() {
    const QString file = m_dir.filePath(QStringLiteral("state.sqlite"));
    QString error;
    m_state = ServerState::open(file, &error);
    openEngine();
    QVERIFY(write({profileRow("key", "a")}));
    m_engine.reset();
    m_state = ServerState::open(file, &error);
    openEngine();
    QCOMPARE(read("key", "1").size(), 1);
}

void ProfileAndListTest::profile_withoutRecords_isAnEmptySuccess() {
    QVERIFY(read("user_priceCage", "1").isEmpty());
}

void ProfileAndListTest::profile_badRow_isRefusedAndNothingWritten_data() {
    QTest::addColumn<QString>("field");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("part");
    QTest::newRow("unknown user") << UserAccount::userID << QVariant("nobody") << "nobody";
    QTest::newRow("no user") << UserAccount::userID << QVariant() << "不存在";
    QTest::newRow("no key") << System::profileKey << QVariant("") << "缺少键";
    QTest::newRow("unknown action") << Security::alterType << QVariant("burn") << "burn";
    QTest::newRow("no action") << Security::alterType << QVariant() << "操作类型";
}

void ProfileAndListTest::profile_badRow_isRefusedAndNothingWritten() {
    QFETCH(QString, field);
    QFETCH(QVariant, value);
    QFETCH(QString, part);
    QVariantMap bad = profileRow("bad", "b");
    bad.insert(field, value);
    QVERIFY(!write({profileRow("good", "a"), bad}));
    QVERIFY2(refusal().contains(part), qPrintable(refusal()));
    QVERIFY(read("", "1").isEmpty());
}

void ProfileAndListTest::profile_unknownUser_isRefused() {
    QVERIFY(!isSuccess(ask(kRead, {{UserAccount::userID, "nobody"}})));
    QVERIFY2(refusal().contains("nobody"), qPrintable(refusal()));
    QVERIFY(!write({}));
    QVERIFY(!refusal().isEmpty());
}

void ProfileAndListTest::anyRequest_fewerRowsThanStated_isRefused() {
    QVERIFY(!isSuccess(ask(kWrite, {{System::subGroupNumber, 2}}, {profileRow("key", "a")})));
    QVERIFY2(refusal().contains(kWrite) && refusal().contains("2"), qPrintable(refusal()));
    QVERIFY(read("", "1").isEmpty());
}

void ProfileAndListTest::anyRequest_invalidNumberOfRows_isRefused_data() {
    QTest::addColumn<QVariant>("stated");
    QTest::newRow("negative") << QVariant(-1);
    QTest::newRow("no number") << QVariant("x");
    QTest::newRow("fraction") << QVariant(0.5);
    QTest::newRow("truth value") << QVariant(true);
    QTest::newRow("list") << QVariant(QVariantList{1});
}

void ProfileAndListTest::anyRequest_invalidNumberOfRows_isRefused() {
    QFETCH(QVariant, stated);
    QVERIFY(!isSuccess(ask(kWrite, {{System::subGroupNumber, stated}}, {profileRow("key", "a")})));
    QVERIFY2(refusal().contains(kWrite) && refusal().contains("行数无效"), qPrintable(refusal()));
    QVERIFY(read("", "1").isEmpty());
}

void ProfileAndListTest::anyRequest_moreRowsThanStated_usesTheStatedOnes() {
    QVERIFY(isSuccess(ask(kWrite, {{System::subGroupNumber, 1}},
                          {profileRow("key", "a"), profileRow("key2", "b")})));
    QCOMPARE(rowsOf(m_answer).size(), 1);
    const QList<QVariantMap> rows = read("", "1");
    QCOMPARE(rows.size(), 1);
    QCOMPARE(rows.first().value(System::profileKey).toString(), QStringLiteral("key"));
}

void ProfileAndListTest::securityAccounts_pages_areThoseOfTheLogin() {
    ask(HostMsgType::accountTree, {{UserAccount::loginUserId, SampleLogin::user}});
    QStringList tree;
    for (const QVariantMap& row : rowsOf(m_answer)) {
        tree.append(row.value(UserAccount::tradingAccount).toString());
    }
    ask(HostMsgType::securityAccounts, {{UserAccount::loginUserId, SampleLogin::user}});
    const QList<QVariantMap> all = rowsOf(m_answer);
    QVERIFY(all.size() > 200);
    int place = 0;
    for (const QVariantMap& row : all) {
        const int its = tree.indexOf(row.value(UserAccount::tradingAccount).toString());
        QVERIFY(its >= place);
        place = its;
        QVERIFY(!row.value(UserAccount::securityAccount).toString().isEmpty());
        QVERIFY(!row.value(UserAccount::securityExchange).toString().isEmpty());
    }
    QList<QVariantMap> paged;
    for (int page = 1; paged.size() < all.size(); ++page) {
        const QVariantMap header =
            ask(HostMsgType::securityAccounts, {{UserAccount::loginUserId, SampleLogin::user},
                                                {System::pageNo, page},
                                                {System::pageSize, 37}});
        QVERIFY(isSuccess(header));
        QCOMPARE(header.value(System::totalSize).toInt(), all.size());
        QCOMPARE(header.value(System::pageNo).toInt(), page);
        QVERIFY(!rowsOf(m_answer).isEmpty());
        paged += rowsOf(m_answer);
    }
    QCOMPARE(paged, all);
}

void ProfileAndListTest::securityAccounts_positions_giveTheSameList() {
    ask(HostMsgType::securityAccounts, {{UserAccount::loginUserId, SampleLogin::user}});
    const QList<QVariantMap> all = rowsOf(m_answer);
    QList<QVariantMap> followed;
    QString position;
    for (int rows = 50; rows == 50; rows = rowsOf(m_answer).size()) {
        const QVariantMap header =
            ask(HostMsgType::securityAccounts, {{UserAccount::loginUserId, SampleLogin::user},
                                                {System::positionStr, position},
                                                {System::requestNumber, 50}});
        QVERIFY(isSuccess(header));
        QVERIFY(header.value(System::positionStr).toString() >= position);
        position = header.value(System::positionStr).toString();
        followed += rowsOf(m_answer);
    }
    QCOMPARE(followed, all);
}

void ProfileAndListTest::lists_anyPart_isReadWithoutSorting_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QVariantMap>("part");
    QTest::addColumn<QString>("seeks");
    const QVariantMap page{{System::pageNo, 3}, {System::pageSize, 10}};
    const QVariantMap cursor{{System::positionStr, "0000000000050000"},
                             {System::requestNumber, 10}};
    const QString accounts = HostMsgType::securityAccounts;
    const QString users = Quindar_MsgType::quant_GetUserRequest;
    QTest::newRow("security accounts, page") << accounts << page << QString();
    QTest::newRow("security accounts, cursor") << accounts << cursor << QStringLiteral("rowid>?");
    QTest::newRow("users, page") << users << page << QString();
    QTest::newRow("users, cursor") << users << cursor << QStringLiteral("rowid>?");
}

void ProfileAndListTest::lists_anyPart_isReadWithoutSorting() {
    QFETCH(QString, type);
    QFETCH(QVariantMap, part);
    QFETCH(QString, seeks);
    part.insert(UserAccount::loginUserId, SampleLogin::user);
    part.insert(UserAccount::organCode, QStringLiteral("0101"));
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.gateway.sql.debug=true"));
    QStringList statements;
    {
        const LogCapture log;
        QVERIFY2(isSuccess(ask(type, part)), qPrintable(refusal()));
        statements = log.texts(QtDebugMsg).filter(QStringLiteral("ORDER BY"));
    }
    QLoggingCategory::setFilterRules({});
    QCOMPARE(statements.size(), 1);

    const SqliteConnection connection(marketStoreFile(m_dir.path()));
    QSqlQuery query(QSqlDatabase::database(connection.name(), false));
    QVERIFY(query.prepare(QStringLiteral("EXPLAIN QUERY PLAN ") + statements.first()));
    for (int i = statements.first().count(QLatin1Char('?')); i > 0; --i) {
        query.addBindValue(1);
    }
    QVERIFY(query.exec());
    QString plan;
    while (query.next()) {
        plan += query.value(3).toString() + QLatin1Char('\n');
    }
    QVERIFY2(!plan.isEmpty() && !plan.contains(QStringLiteral("TEMP B-TREE")), qPrintable(plan));
    QVERIFY2(plan.contains(seeks), qPrintable(plan));
}

void ProfileAndListTest::securityAccounts_someAccounts_areTheirs() {
    ask(HostMsgType::securityAccounts, {{UserAccount::loginUserId, SampleLogin::user},
                                        {UserAccount::tradingAccount, "T000003,T000001,nobody"}});
    QSet<QString> accounts;
    for (const QVariantMap& row : rowsOf(m_answer)) {
        accounts.insert(row.value(UserAccount::tradingAccount).toString());
    }
    QCOMPARE(accounts, (QSet<QString>{"T000001", "T000003"}));
}

void ProfileAndListTest::securityAccounts_unknownUser_isRefused() {
    QVERIFY(!isSuccess(ask(HostMsgType::securityAccounts, {{UserAccount::loginUserId, "nobody"}})));
    QVERIFY2(refusal().contains("nobody"), qPrintable(refusal()));
}

QTEST_GUILESS_MAIN(ProfileAndListTest)
#include "profile_and_list_test.moc"
