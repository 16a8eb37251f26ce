#include <QSet>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include "authority_rows.h"
#include "host_msg_type.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "server_engine.h"
#include "small_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kGet = Velmar_MsgType::getAccountAuthPermRequest;
inline const QString kAlter = Velmar_MsgType::alterAccountAuthPermRequest;
inline const QString kBound = Velmar_MsgType::getSysUserTradingPermRequest;
inline const QString kUsers = Quindar_MsgType::quant_GetUserRequest;

QVariantMap authority(const QString& type, const QString& kind, const QString& account) {
    return {{UserAccount::userID, SampleLogin::user},
            {UserAccount::authType, type},
            {UserAccount::accountType, kind},
            {UserAccount::account, account}};
}

QVariantMap orderAmount(const QString& account) {
    return authority(SampleAuthority::orderAmount, AccountType::TradingAccount, account);
}

QVariantMap with(QVariantMap fields, const QVariantMap& more) {
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        fields.insert(it.key(), it.value());
    }
    return fields;
}

QVariantMap change(const QVariant& value) {
    return {{UserAccount::authValue, value}, {System::alterType, Velmar_Values::AlterType::Add}};
}

}  // namespace

/// Requests for authorities and traders to the sample market's server.
class AuthorityHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(makeSampleMarket(m_dir.path(), smallMarket(), {}, &error), qPrintable(error));
    }
    void init() { QVERIFY(open(QString())); }

    void authority_eachKind_hasAValueOfItsFirstAccount_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("field");
        QTest::newRow("user") << SampleAuthority::loginCount << AccountType::UserId << "";
        QTest::newRow("trading") << SampleAuthority::orderAmount << AccountType::TradingAccount
                                 << UserAccount::tradingAccount;
        QTest::newRow("investor") << SampleAuthority::investorReport << AccountType::InvestAccount
                                  << UserAccount::investorAccount;
        QTest::newRow("product") << SampleAuthority::productExport << AccountType::ProductAccount
                                 << UserAccount::productAccount;
        QTest::newRow("asset") << SampleAuthority::assetTransfer << AccountType::AssetAccount
                               << UserAccount::assetAccount;
        QTest::newRow("fund") << SampleAuthority::fundTransfer << AccountType::FundAccount
                              << "10081";
        QTest::newRow("security") << SampleAuthority::securityLending
                                  << AccountType::SecurityAccount << UserAccount::securityAccount;
    }
    void authority_eachKind_hasAValueOfItsFirstAccount() {
        QFETCH(QString, type);
        QFETCH(QString, kind);
        QFETCH(QString, field);
        const QString account = field.isEmpty() ? SampleLogin::user : firstAccount(field);
        QVERIFY(!account.isEmpty());
        QCOMPARE(status(kGet, authority(type, kind, account)), RequestExeStatus::success);
        QCOMPARE(rows().size(), 1);
        QCOMPARE(rows().first().value(UserAccount::account).toString(), account);
        QVERIFY(!rows().first().value(UserAccount::authValue).toString().isEmpty());
    }

    void authority_accountWithoutValue_isASuccessWithoutRows() {
        QCOMPARE(status(kGet, authority(SampleAuthority::algorithmTrade,
                                        AccountType::TradingAccount, "T000001")),
                 RequestExeStatus::success);
        QVERIFY(rows().isEmpty());
    }

    void authority_badField_isRefused_data() {
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<QString>("text");
        QTest::newRow("user") << with(orderAmount("T000001"), {{UserAccount::userID, "nobody"}})
                              << "用户nobody不存在";
        QTest::newRow("type") << with(orderAmount("T000001"), {{UserAccount::authType, "NoType"}})
                              << "权限类型NoType不存在";
        QTest::newRow("kind") << with(orderAmount("T000001"),
                                      {{UserAccount::accountType, AccountType::UserId}})
                              << "权限类型MaxOrderAmount不适用于账号类型UserId";
        QTest::newRow("account") << orderAmount("T999999") << "用户demo01没有账号T999999";
        QTest::newRow("no account") << orderAmount(QString()) << "用户demo01没有账号";
        QTest::newRow("external") << authority(SampleAuthority::externalTrade,
                                               AccountType::ExternUserAccount, "X")
                                  << "用户demo01没有账号X";
        QTest::newRow("another user")
            << authority(SampleAuthority::loginCount, AccountType::UserId, SampleLogin::secondUser)
            << "用户demo01没有账号demo02";
    }
    void authority_badField_isRefused() {
        QFETCH(QVariantMap, fields);
        QFETCH(QString, text);
        QCOMPARE(refusal(kGet, fields), text);
        QCOMPARE(refusal(kAlter, with(fields, change(1))), text);
    }

    void alter_value_isAnsweredFromThenOn() {
        QCOMPARE(status(kAlter, with(orderAmount("T000001"), change(77))),
                 RequestExeStatus::success);
        ask(kGet, orderAmount("T000001"));
        QCOMPARE(rows().first().value(UserAccount::authValue), QVariant(77));
        ask(kGet, orderAmount("T000002"));
        QCOMPARE(rows().first().value(UserAccount::authValue).toString(), QString("2000000"));
    }

    void alter_accountWithoutValue_hasOneThen() {
        const QVariantMap fields =
            authority(SampleAuthority::algorithmTrade, AccountType::TradingAccount, "T000001");
        QCOMPARE(status(kAlter, with(fields, change("1"))), RequestExeStatus::success);
        ask(kGet, fields);
        QCOMPARE(rows().size(), 1);
    }

    void alter_value_outlivesTheServer() {
        const QTemporaryDir dir;
        const QString file = dir.filePath("state.sqlite");
        QVERIFY(open(file));
        QCOMPARE(status(kAlter, with(orderAmount("T000001"), change("kept"))),
                 RequestExeStatus::success);
        QVERIFY(open(file));
        ask(kGet, orderAmount("T000001"));
        QCOMPARE(rows().first().value(UserAccount::authValue).toString(), QString("kept"));
    }

    void alter_badField_isRefusedAndChangesNothing() {
        const QVariantMap fields = orderAmount("T000001");
        QCOMPARE(refusal(kAlter, with(fields, {{System::alterType, "add"}})),
                 QString("权限修改请求缺少权限值"));
        QCOMPARE(refusal(kAlter, with(fields, {{UserAccount::authValue, 1}})),
                 QString("不支持的修改方式：\"\""));
        QCOMPARE(refusal(kAlter, with(fields, {{UserAccount::authValue, 1},
                                               {System::alterType, "remove"}})),
                 QString("不支持的修改方式：\"remove\""));
        ask(kGet, fields);
        QCOMPARE(rows().first().value(UserAccount::authValue).toString(), QString("1000000"));
    }

    void bound_eachKind_hasTradersOfTheOrganisation() {
        for (const QString& field : {UserAccount::productAccount, UserAccount::tradingAccount,
                                     UserAccount::investorAccount}) {
            QCOMPARE(status(kBound, {{field, firstAccount(field)}}), RequestExeStatus::success);
            QVERIFY(!rows().isEmpty());
            QVERIFY(rows().first().value(UserAccount::userID).toString().startsWith("trader"));
            QVERIFY(!rows().first().value(UserAccount::userName).toString().isEmpty());
        }
    }

    void bound_traderBoundTwice_standsTwice() {
        int repeated = 0;
        for (int i = 1; i <= 8; ++i) {
            ask(kBound, {{UserAccount::tradingAccount, QString("T%1").arg(i, 6, 10, QChar('0'))}});
            QSet<QString> users;
            for (const QVariantMap& row : rows()) {
                users.insert(row.value(UserAccount::userID).toString());
            }
            repeated += rows().size() - users.size();
        }
        QCOMPARE(repeated, 2);
    }

    void bound_badField_isRefused() {
        QCOMPARE(refusal(kBound, {{UserAccount::tradingAccount, "T999999"}}),
                 QString("账号T999999不存在"));
        QCOMPARE(refusal(kBound, {{UserAccount::productAccount, "T000001"}}),
                 QString("账号T000001不存在"));
        QCOMPARE(refusal(kBound, {}),
                 QString("绑定权限查询须指定一个产品、交易或投资者账号，请求了0个"));
        QCOMPARE(refusal(kBound, {{UserAccount::productAccount, "P00001"},
                                  {UserAccount::tradingAccount, "T000001"}}),
                 QString("绑定权限查询须指定一个产品、交易或投资者账号，请求了2个"));
    }

    void users_twoPages_holdEachGoodOneOnce() {
        const QVariantMap fields{{UserAccount::organCode, "0101"},
                                 {UserAccount::userStatus, UserStatus::good},
                                 {System::pageSize, 1000}};
        QSet<QString> users;
        int total = 0;
        for (int page = 1; page <= 2; ++page) {
            total = ask(kUsers, with(fields, {{System::pageNo, page}}))
                        .value(System::totalSize)
                        .toInt();
            QCOMPARE(rows().size(), page == 1 ? 1000 : total - 1000);
            for (const QVariantMap& row : rows()) {
                users.insert(row.value(UserAccount::userID).toString());
                QCOMPARE(row.value(UserAccount::organCode).toString(), QString("0101"));
                QCOMPARE(row.value(UserAccount::userStatus).toString(), UserStatus::good);
            }
        }
        QVERIFY(total > 1000 && total < 2000);
        QCOMPARE(users.size(), total);
        QVERIFY(users.contains(SampleLogin::user));
        ask(kUsers, with(fields, {{System::pageNo, 3}}));
        QVERIFY(rows().isEmpty());
    }

    void users_withoutState_haveThoseWhoLeftToo() {
        const QVariantMap organ{
            {UserAccount::organCode, "0101"}, {System::pageNo, 1}, {System::pageSize, 1}};
        const int all = ask(kUsers, organ).value(System::totalSize).toInt();
        const int good = ask(kUsers, with(organ, {{UserAccount::userStatus, UserStatus::good}}))
                             .value(System::totalSize)
                             .toInt();
        QVERIFY(all > good);
        QCOMPARE(status(kUsers, {{UserAccount::organCode, "no such"}}), RequestExeStatus::success);
        QVERIFY(rows().isEmpty());
    }

    void users_badField_isRefused_data() {
        QTest::addColumn<QVariantMap>("fields");
        const QVariantMap organ{{UserAccount::organCode, "0101"}};
        QTest::newRow("no organ") << QVariantMap();
        QTest::newRow("page 0") << with(organ, {{System::pageNo, 0}});
        QTest::newRow("page -1") << with(organ, {{System::pageNo, -1}});
        QTest::newRow("page as text") << with(organ, {{System::pageNo, "first"}});
        QTest::newRow("no rows") << with(organ, {{System::pageSize, 0}});
        QTest::newRow("too many rows") << with(organ, {{System::pageSize, 5001}});
    }
    void users_badField_isRefused() {
        QFETCH(QVariantMap, fields);
        QVERIFY(refusal(kUsers, fields).startsWith("用户查询"));
    }

    void types_ofTheClient_areThoseOfTheServer() {
        QString error;
        const auto statics = MarketStore::open(staticDatabaseFile(m_dir.path()), &error);
        const auto store = MarketStore::open(marketStoreFile(m_dir.path()), &error);
        QVERIFY2(statics && store, qPrintable(error));
        const auto read = [](const MarketStore& from, const QString& sql) {
            QStringList lines;
            from.select(sql, {}, [&lines](const QSqlQuery& query) {
                lines.append(query.value(0).toString() + ' ' + query.value(1).toString());
            });
            return lines;
        };
        const QStringList ofServer =
            read(*store, "SELECT auth_type, account_type FROM authority_type ORDER BY auth_type");
        QCOMPARE(read(*statics,
                      "SELECT key, value FROM static_cfg WHERE section = 'authType'"
                      " ORDER BY key"),
                 ofServer);
        QCOMPARE(ofServer.size(), sampleAuthorityTypes().size());
    }

private:
    bool open(const QString& stateFile) {
        QString error;
        m_engine.reset();
        m_engine = ServerEngine::open(marketStoreFile(m_dir.path()), &error,
                                      ServerState::open(stateFile, &error));
        if (m_engine) {
            m_session = m_engine->openSession({});
        }
        return m_engine != nullptr;
    }
    QVariantMap ask(const QString& msgType, QVariantMap fields) {
        fields.insert(System::msgType, msgType);
        m_answer = m_engine->handle(m_session, msgType, packRows(fields, {}));
        return headerOf(m_answer);
    }
    QString status(const QString& msgType, const QVariantMap& fields) {
        return ask(msgType, fields).value(System::requestExeStatus).toString();
    }
    /// The text of a refusal; empty after a success.
    QString refusal(const QString& msgType, const QVariantMap& fields) {
        const QVariantMap header = ask(msgType, fields);
        return header.value(System::requestExeStatus).toString() == RequestExeStatus::success
                   ? QString()
                   : header.value(System::textDescription).toString();
    }
    QList<QVariantMap> rows() const { return rowsOf(m_answer); }
    /// A field of the first account that the login sees, from the tree or from the counter.
    QString firstAccount(const QString& field) {
        ask(HostMsgType::accountTree, {{UserAccount::loginUserId, SampleLogin::user}});
        const QVariantMap tree = rows().value(0);
        if (tree.contains(field)) {
            return tree.value(field).toString();
        }
        ask("120006", {{UserAccount::loginUserId, SampleLogin::user},
                       {UserAccount::tradingAccount, tree.value(UserAccount::tradingAccount)},
                       {"10094", 2}});
        return rows().value(0).value(field).toString();
    }

    QTemporaryDir m_dir;
    std::shared_ptr<ServerEngine> m_engine;
    Session m_session;
    QVariant m_answer;
};

QTEST_GUILESS_MAIN(AuthorityHandlersTest)
#include "authority_handlers_test.moc"
