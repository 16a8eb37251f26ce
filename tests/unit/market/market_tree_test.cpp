#include <QtTest>
#include <algorithm>

#include "market_fixture.h"
#include "vocabulary/values.h"

namespace {

bool holdsAnyOfTheFive(const QString& authorities) {
    const QStringList types = authorities.split(',');
    return types.contains(AuthorityType::AccountQuery) ||
           types.contains(AuthorityType::AccountEdit) ||
           types.contains(AuthorityType::AccountAuthority) ||
           types.contains(AuthorityType::AccountSubscribe) ||
           types.contains(AuthorityType::AccountTrade);
}

QStringList authorityMixes(const MarketStore& store, const QString& userId) {
    return column(store,
                  "SELECT authority_types FROM account_authority WHERE user_id = '" + userId + "'");
}

}  // namespace

class MarketTreeTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void tree_hasFourLevelsThatHangTogether();
    void tree_hasEveryKindOfAccount();
    void tree_sharesFundAccountsOfOneKind();
    void tree_someProductsMayOnlyBeQueried();
    void tree_authorityMixesIncludeAnEmptyOne();
    void tree_securityAccountsStartWithThatOfTheRecord();
    void tree_ofAnySize_hasExactlySoManyAccounts_data();
    void tree_ofAnySize_hasExactlySoManyAccounts();

private:
    MarketFixture m_market;
};

void MarketTreeTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
    QVERIFY(sampleMarketReady(m_market.path(), smallMarket()));
}

void MarketTreeTest::tree_hasFourLevelsThatHangTogether() {
    const QString joined = QStringLiteral(
        "SELECT COUNT(*) FROM trading_account t JOIN asset_account USING(asset_account)"
        " JOIN product USING(product_account) JOIN investor USING(investor_account)");
    QCOMPARE(number(m_market.store(), joined), 203);  // 200, and 3 that only the second login sees
    const int investors = number(m_market.store(), "SELECT COUNT(*) FROM investor");
    const int products = number(m_market.store(), "SELECT COUNT(*) FROM product");
    const int assets = number(m_market.store(), "SELECT COUNT(*) FROM asset_account");
    QVERIFY(investors > 5);
    QVERIFY(products > investors);
    QVERIFY(assets > products);
    QVERIFY(203 > assets);
    QCOMPARE(number(m_market.store(), "SELECT COUNT(DISTINCT name) FROM product"), products);
}

void MarketTreeTest::tree_hasEveryKindOfAccount() {
    const QStringList kinds = column(
        m_market.store(), "SELECT DISTINCT fund_account_type FROM trading_account ORDER BY 1");
    QCOMPARE(kinds,
             (QStringList{FundAccountType::Cash, FundAccountType::Credit, FundAccountType::Option,
                          FundAccountType::Future, FundAccountType::Metal}));
    const int frozen =
        number(m_market.store(), "SELECT COUNT(*) FROM trading_account WHERE account_status = " +
                                     AccountStatus::freezing);
    QVERIFY2(frozen >= 8 && frozen <= 16, qPrintable(QString::number(frozen)));
    const int distributed = number(
        m_market.store(), "SELECT COUNT(*) FROM trading_account WHERE counter_site_type = 1");
    QVERIFY2(distributed >= 14 && distributed <= 26, qPrintable(QString::number(distributed)));
    const QStringList codes =
        column(m_market.store(), "SELECT DISTINCT ext_counter_code FROM trading_account");
    QCOMPARE(QSet<QString>(codes.begin(), codes.end()),
             (QSet<QString>{CounterSysCode::Normal_ZN, CounterSysCode::QFII_ZN,
                            CounterSysCode::PUBLICRAISE}));
}

void MarketTreeTest::tree_sharesFundAccountsOfOneKind() {
    const auto shared = [this](const QString& field) {
        return number(m_market.store(),
                      QStringLiteral("SELECT COUNT(*) FROM (SELECT %1 FROM trading_account"
                                     " GROUP BY %1 HAVING COUNT(*) > 1)")
                          .arg(field));
    };
    QVERIFY(shared("fund_account") >= 5);
    QVERIFY(shared("client_no") >= 5);
    QVERIFY(shared("otc_fund_account") >= 5);
    QCOMPARE(number(m_market.store(),
                    "SELECT COUNT(*) FROM (SELECT fund_account FROM trading_account GROUP BY"
                    " fund_account HAVING COUNT(DISTINCT fund_account_type || client_no) > 1)"),
             0);
}

void MarketTreeTest::tree_someProductsMayOnlyBeQueried() {
    const QString perProduct = QStringLiteral(
        "SELECT COUNT(*) FROM (SELECT product_account FROM account_authority"
        " JOIN trading_account USING(trading_account) JOIN asset_account USING(asset_account)"
        " WHERE user_id = '%1' GROUP BY product_account"
        " HAVING SUM(authority_types LIKE '%%%2%%') %3)");
    const auto count = [&](const QString& condition) {
        return number(m_market.store(), QString(perProduct)
                                            .replace("%%", "%")
                                            .replace("%1", SampleLogin::user)
                                            .replace("%2", AuthorityType::AccountTrade)
                                            .replace("%3", condition));
    };
    QVERIFY(count("= 0") >= 3);
    QVERIFY(count("> 0") >= 20);
}

void MarketTreeTest::tree_authorityMixesIncludeAnEmptyOne() {
    const QStringList mixes = authorityMixes(m_market.store(), SampleLogin::user);
    QCOMPARE(mixes.size(), 200);
    // Clients do not list an account without any of the five authorities.
    for (const QString& mix : mixes) {
        QVERIFY2(holdsAnyOfTheFive(mix), qPrintable(mix));
    }
    const QStringList ofSecond = authorityMixes(m_market.store(), SampleLogin::secondUser);
    QVERIFY(!std::all_of(ofSecond.cbegin(), ofSecond.cend(), holdsAnyOfTheFive));
    QVERIFY(QSet<QString>(mixes.begin(), mixes.end()).size() >= 6);
    const QString all = QStringList{AuthorityType::AccountQuery, AuthorityType::AccountEdit,
                                    AuthorityType::AccountAuthority,
                                    AuthorityType::AccountSubscribe, AuthorityType::AccountTrade}
                            .join(',');
    QVERIFY(mixes.count(all) > 20);
}

void MarketTreeTest::tree_securityAccountsStartWithThatOfTheRecord() {
    QCOMPARE(number(m_market.store(), "SELECT COUNT(*) FROM security_account WHERE position = 0"),
             203);
    const QStringList exchanges =
        column(m_market.store(), "SELECT DISTINCT exchange FROM security_account");
    for (const QString& exchange :
         {Exchange::sh, Exchange::sz, Exchange::bj, Exchange::hhk, Exchange::szhk,
          Exchange::HkStockCirculation, Exchange::cffex, Exchange::shf, Exchange::sge}) {
        QVERIFY2(exchanges.contains(exchange), qPrintable(exchange));
    }
    // Accounts with two on one exchange: in some none is the main one, in some the second one is.
    const QString pairs = QStringLiteral(
        "SELECT COUNT(*) FROM (SELECT trading_account FROM security_account GROUP BY"
        " trading_account, exchange HAVING COUNT(*) = 2 AND SUM(is_main) = %1)");
    QVERIFY(number(m_market.store(), pairs.arg(0)) > 0);
    QVERIFY(number(m_market.store(), pairs.arg(1)) > 0);
    QCOMPARE(number(m_market.store(), pairs.arg(2)), 0);
}

void MarketTreeTest::tree_ofAnySize_hasExactlySoManyAccounts_data() {
    QTest::addColumn<int>("accounts");
    for (const int accounts : {1, 2, 30, 5000}) {
        QTest::addRow("%d", accounts) << accounts;
    }
}

void MarketTreeTest::tree_ofAnySize_hasExactlySoManyAccounts() {
    QFETCH(int, accounts);
    MarketOptions options = smallMarket();
    options.accounts = accounts;
    options.symbols = 20;
    QTemporaryDir dir;
    QString error;
    QVERIFY2(makeSampleMarket(dir.path(), options, {}, &error), qPrintable(error));
    QVERIFY(sampleMarketReady(dir.path(), options));
    const auto store = MarketStore::open(marketStoreFile(dir.path()), &error);
    QVERIFY(store);
    QCOMPARE(number(*store, "SELECT COUNT(*) FROM account_authority WHERE user_id = '" +
                                SampleLogin::user + "'"),
             accounts);
    QCOMPARE(number(*store, "SELECT COUNT(*) FROM trading_account"), accounts + 3);
    if (accounts >= 30) {
        QCOMPARE(number(*store, "SELECT COUNT(DISTINCT fund_account_type) FROM trading_account"),
                 5);
    }
}

QTEST_GUILESS_MAIN(MarketTreeTest)
#include "market_tree_test.moc"
