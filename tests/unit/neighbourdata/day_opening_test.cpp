#include <QSqlQuery>

#include "../market/market_fixture.h"
#include "day_book_fixture.h"

class DayOpeningTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void storedOpening_hasTheAccountsOfTheLogin_data();
    void storedOpening_hasTheAccountsOfTheLogin();
    void storedOpening_positionsAreAllKnown();
    void openingCash_isRealisticPerKind();
    void missingStore_isAFailureWithItsName();

private:
    MarketFixture m_market;
};

void DayOpeningTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
}

void DayOpeningTest::storedOpening_hasTheAccountsOfTheLogin_data() {
    QTest::addColumn<QString>("user");
    QTest::addRow("first") << SampleLogin::user;
    QTest::addRow("second") << SampleLogin::secondUser;
}

void DayOpeningTest::storedOpening_hasTheAccountsOfTheLogin() {
    QFETCH(QString, user);
    DayOpening opening;
    QString error;
    QVERIFY2(storedOpening(marketStoreFile(m_market.path()), user)(&opening, &error),
             qPrintable(error));
    const QStringList expected =
        column(m_market.store(),
               "SELECT a.trading_account FROM account_authority a JOIN trading_account t"
               " USING(trading_account) WHERE a.user_id = '" +
                   user + "' AND a.authority_types <> 'AccountReport' ORDER BY t.seq");
    const QStringList tradable = column(
        m_market.store(), "SELECT trading_account FROM account_authority WHERE user_id = '" + user +
                              "' AND ',' || authority_types || ',' LIKE '%,AccountTrade,%'");
    QStringList names;
    for (const DayOpening::Account& account : opening.accounts) {
        names.append(account.tradingAccount);
        QCOMPARE(account.mayTrade, tradable.contains(account.tradingAccount));
        QVERIFY(!account.securityAccounts.isEmpty());
        QVERIFY(account.cash > 0);
    }
    QCOMPARE(names, expected);
    for (const DayOpening::Position& position : qAsConst(opening.positions)) {
        QVERIFY(names.contains(position.tradingAccount));
    }
}

void DayOpeningTest::storedOpening_positionsAreAllKnown() {
    TempHome home;
    QString error;
    LocalPlatform::Options options = home.options();
    options.staticDbFile = staticDatabaseFile(m_market.path());
    QVERIFY2(LocalPlatform::instance().start(options, &error), qPrintable(error));
    {
        const LogCapture log;
        DayBook book(storedOpening(marketStoreFile(m_market.path()), SampleLogin::user));
        QVERIFY2(book.load(&error), qPrintable(error));
        QVERIFY2(!log.contains("left out"), qPrintable(log.texts().join('\n')));
        QCOMPARE(book.positionCount({}),
                 number(m_market.store(),
                        "SELECT COUNT(*) FROM position JOIN account_authority"
                        " USING(trading_account) WHERE user_id = 'demo01'"));
        for (const QVariantMap& row : book.positions({})) {
            QVERIFY(!row.value(Security::symbol).toString().isEmpty());
            QVERIFY(row.value(Security::nominalQty).toDouble() > 0);
        }
    }
    LocalPlatform::instance().close();
}

void DayOpeningTest::openingCash_isRealisticPerKind() {
    const QMap<QString, QPair<double, double>> ranges{{FundAccountType::Cash, {5e5, 3.1e7}},
                                                      {FundAccountType::Credit, {5e5, 2.1e7}},
                                                      {FundAccountType::Future, {5e6, 8.1e7}},
                                                      {FundAccountType::Option, {2e5, 5.1e6}},
                                                      {FundAccountType::Metal, {1e6, 4.1e7}}};
    int accounts = 0;
    m_market.store().select(
        "SELECT fund_account_type, cash FROM opening_cash JOIN trading_account"
        " USING(trading_account)",
        {}, [&](const QSqlQuery& query) {
            ++accounts;
            const auto range = ranges.value(query.value(0).toString());
            const double cash = query.value(1).toDouble();
            QVERIFY(cash >= range.first && cash <= range.second);
            QCOMPARE(cash, qRound64(cash * 100) / 100.0);
        });
    QCOMPARE(accounts, number(m_market.store(), "SELECT COUNT(*) FROM trading_account"));
}

void DayOpeningTest::missingStore_isAFailureWithItsName() {
    DayOpening opening;
    QString error;
    QVERIFY(!storedOpening(m_market.path() + "/none.sqlite", SampleLogin::user)(&opening, &error));
    QVERIFY2(error.contains("none.sqlite"), qPrintable(error));
}

QTEST_GUILESS_MAIN(DayOpeningTest)
#include "day_opening_test.moc"
