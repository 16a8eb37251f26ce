#include <QMap>
#include <QtTest>
#include <atomic>
#include <thread>

#include "account_fixture.h"
#include "client_world.h"
#include "log_capture.h"
#include "security_accounts_reader.h"
#include "symbol_identity.h"
#include "tradability.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

/// Accounts as a test defines them; records which of their functions were called.
class FakeAccounts final : public SecurityAccountsReader {
public:
    void waitForAccounts() const override { calls.append("wait"); }
    QString fundAccountTypeOf(const QString& account) const override {
        calls.append("type");
        return types.value(account);
    }
    QStringList securityExchangesOf(const QString& account) override {
        calls.append("exchanges");
        return exchanges.value(account);
    }
    QString GetCurrentSecurityAccountByTradingAndExchange(const QString&, const QString&) override {
        calls.append("current");
        return {};
    }

    QMap<QString, QString> types;
    QMap<QString, QStringList> exchanges;
    mutable QStringList calls;
};

QVariantMap record(const QString& exchange, const QString& type, const QString& subType,
                   bool deleted = false) {
    return {{UserAccount::securityExchange, exchange},
            {MDCFieldDefine::mdcSecurityType, type},
            {MDCFieldDefine::mdcSubSecurityType, subType},
            {System::deleteFlag, deleted}};
}

StaticDbBuilder symbols() {
    using namespace MdcSubSecurityType;
    return StaticDbBuilder()
        .reference("security", "STOCK.SH", record("1", "2", "02001"))
        .reference("security", "GONE.SH", record("1", "2", "02001", true))
        .reference("security", "STOCK.SZ", record("2", "2", Gemstock))
        .reference("security", "BOND.SH", record("1", "3", "03200"))
        .reference("security", "FUND.SH", record("1", "8", TradingopenindexfundETF))
        .reference("security", "ABS.SZ", record("2", "0", Assetbackedsecurities))
        .reference("security", "SHARE.HK", record("G", "2", HKSharesTypeList.at(0)))
        .reference("security", "CIRC.HK", record("Q", "2", HStcokCirculation))
        .reference("security", "FUT.CFE", record("7", "5", "05100"))
        .reference("security", "OPT.SH", record("1", "6", "06100"))
        .reference("security", "AU.SGE", record("E", "9", "09100"))
        // Its exchange has a suffix.
        .section(DictionaryKey::Markert2SymbolPost, {{"2", "SZ"}})
        .reference("security", "PLAIN", record("2", "2", "02001"))
        .reference("security", "ODD.SH", record("1", "0", "00100"));
}

}  // namespace

class TradabilityTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), symbols());
        accounts = FakeAccounts();
        accounts.types = {{"future", FundAccountType::Future}, {"option", FundAccountType::Option},
                          {"credit", FundAccountType::Credit}, {"cash", FundAccountType::Cash},
                          {"metal", FundAccountType::Metal},   {"odd", "77"}};
    }
    void cleanup() { m_world.reset(); }

    void sides_eachAccountType_areThoseOfItsList_data() {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QStringList>("sides");
        QTest::newRow("future") << "future" << SideUnion::futuresSideList;
        QTest::newRow("option") << "option" << SideUnion::optionSideList;
        QTest::newRow("credit") << "credit" << SideUnion::marginOrderSideList;
        QTest::newRow("cash") << "cash" << SideUnion::normalSideList;
        QTest::newRow("metal") << "metal" << QStringList();
        QTest::newRow("odd") << "odd" << QStringList();
        QTest::newRow("unknown") << "nobody" << QStringList();
    }
    void sides_eachAccountType_areThoseOfItsList() {
        QFETCH(QString, account);
        QFETCH(QStringList, sides);
        QCOMPARE(rules.GetSupportSideUnionListByAccount(account), sides);
        QVERIFY(!rules.IsSideUnionSupportByAccount(account, "999"));
        for (const QString& side : sides) {
            QVERIFY(rules.IsSideUnionSupportByAccount(account, side));
        }
        QCOMPARE(rules.IsSideUnionSupportByAccount(account, SideUnion::normalBuy),
                 account == "cash");
    }

    void tradable_eachAccountAndSymbol_goesByTypeAndExchanges_data() {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QStringList>("exchanges");
        QTest::addColumn<QStringList>("tradable");
        const QStringList mainland{"STOCK.SH", "GONE.SH", "STOCK.SZ",
                                   "BOND.SH",  "FUND.SH", "ABS.SZ"};
        QTest::newRow("future") << "future" << QStringList() << QStringList{"FUT.CFE"};
        QTest::newRow("option") << "option" << QStringList() << QStringList{"OPT.SH"};
        QTest::newRow("metal") << "metal" << QStringList() << QStringList{"AU.SGE"};
        QTest::newRow("cash, no exchange") << "cash" << QStringList() << mainland;
        QTest::newRow("cash, Shanghai's connect")
            << "cash" << QStringList{"1", Exchange::hhk} << mainland + QStringList{"SHARE.HK"};
        QTest::newRow("credit, Shenzhen's connect")
            << "credit" << QStringList{Exchange::szhk} << mainland + QStringList{"SHARE.HK"};
        QTest::newRow("cash, Hong Kong itself") << "cash" << QStringList{Exchange::hk} << mainland;
        QTest::newRow("cash, circulation") << "cash" << QStringList{Exchange::HkStockCirculation}
                                           << mainland + QStringList{"CIRC.HK"};
        QTest::newRow("odd") << "odd" << QStringList{"1"} << QStringList();
        QTest::newRow("unknown") << "nobody" << QStringList{"1"} << QStringList();
        QTest::newRow("no account") << "" << QStringList{"1"} << QStringList();
    }
    void tradable_eachAccountAndSymbol_goesByTypeAndExchanges() {
        QFETCH(QString, account);
        QFETCH(QStringList, exchanges);
        QFETCH(QStringList, tradable);
        accounts.exchanges.insert(account, exchanges);
        accounts.types.insert("", FundAccountType::Cash);
        for (const char* const symbol :
             {"STOCK.SH", "GONE.SH", "STOCK.SZ", "BOND.SH", "FUND.SH", "ABS.SZ", "SHARE.HK",
              "CIRC.HK", "FUT.CFE", "OPT.SH", "AU.SGE", "ODD.SH", "nobody", ""}) {
            QVERIFY2(rules.IsSymbolTradableByAccount(account, symbol) == tradable.contains(symbol),
                     symbol);
        }
        QVERIFY(!accounts.calls.contains("wait"));
    }

    void filter_eachField_admitsOrRefuses_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QList<SymbolListType>>("filter");
        QTest::addColumn<bool>("fits");
        using Filter = QList<SymbolListType>;
        const SymbolListType stocks{"2", {}, {}, false, {}};
        QTest::newRow("type") << "STOCK.SH" << Filter{stocks} << true;
        QTest::newRow("other type") << "BOND.SH" << Filter{stocks} << false;
        QTest::newRow("no entry") << "STOCK.SH" << Filter{} << false;
        QTest::newRow("sub-type") << "STOCK.SH" << Filter{{"2", {"02001"}, {}, false, {}}} << true;
        QTest::newRow("other sub-type")
            << "STOCK.SZ" << Filter{{"2", {"02001"}, {}, false, {}}} << false;
        QTest::newRow("suffix") << "STOCK.SH" << Filter{{"2", {}, {"SZ", "SH"}, false, {}}} << true;
        QTest::newRow("other suffix")
            << "STOCK.SH" << Filter{{"2", {}, {"SZ"}, false, {}}} << false;
        // Unlike in the rules of prices, the suffix is that of the symbol's own text.
        QTest::newRow("suffix of a symbol without a dot")
            << "PLAIN" << Filter{{"2", {}, {"SZ"}, false, {}}} << false;
        QTest::newRow("empty suffix of a symbol without a dot")
            << "PLAIN" << Filter{{"2", {}, {""}, false, {}}} << true;
        QTest::newRow("deleted") << "GONE.SH" << Filter{stocks} << false;
        QTest::newRow("deleted may pass")
            << "GONE.SH" << Filter{stocks, {"2", {}, {}, true, {}}} << true;
        QTest::newRow("excluded") << "STOCK.SH" << Filter{{"2", {}, {}, false, {"02001"}}} << false;
        QTest::newRow("excluded, the next entry admits")
            << "STOCK.SH" << Filter{{"2", {}, {}, false, {"02001"}}, stocks} << true;
        QTest::newRow("unknown symbol, an entry without a type")
            << "nobody" << Filter{{"", {}, {}, false, {}}} << true;
    }
    void filter_eachField_admitsOrRefuses() {
        QFETCH(QString, symbol);
        QFETCH(QList<SymbolListType>, filter);
        QFETCH(bool, fits);
        QCOMPARE(rules.IsSymbolFitSymbolType(symbol, filter), fits);
    }

    void lists_filledBefore_areReplaced() {
        accounts.exchanges.insert("cash", {"1"});
        QStringList out{"old"};
        rules.GetTradableSymbolListByAccount("cash", out);
        QCOMPARE(out, (QStringList{"BOND.SH", "FUND.SH", "STOCK.SH"}));
        rules.GetTradableSymbolListForSearchByAccount("cash", out);
        QCOMPARE(out, (QStringList{"BOND.SH", "FUND.SH", "GONE.SH", "STOCK.SH"}));
        rules.GetTradableSymbolListByAccount("nobody", out);
        QVERIFY(out.isEmpty());
        QVERIFY(!accounts.calls.contains("wait"));
    }

    void superEtf_financedFundOnAMarginAccount_matchesOnly_data() {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("side");
        QTest::addColumn<bool>("matches");
        QTest::newRow("fund") << "credit"
                              << "FUND.SH" << SideUnion::financingBuy << true;
        QTest::newRow("share") << "credit"
                               << "STOCK.SH" << SideUnion::financingBuy << false;
        QTest::newRow("cash") << "cash"
                              << "FUND.SH" << SideUnion::financingBuy << false;
        QTest::newRow("unknown") << "nobody"
                                 << "FUND.SH" << SideUnion::financingBuy << false;
        QTest::newRow("side") << "credit"
                              << "FUND.SH" << SideUnion::normalBuy << false;
    }
    void superEtf_financedFundOnAMarginAccount_matchesOnly() {
        QFETCH(QString, account);
        QFETCH(QString, symbol);
        QFETCH(QString, side);
        QFETCH(bool, matches);
        QCOMPARE(rules.CheckOrderMatchSuperEtf(account, symbol, side), matches);
        // First the wait; for another side nothing is called.
        QCOMPARE(accounts.calls,
                 side == SideUnion::financingBuy ? (QStringList{"wait", "type"}) : QStringList());
    }

    void superEtf_beforeTheLoad_answersOnlyAfterIt() {
        m_world.reset();
        AccountFixture fixture({TestAccount("T1").withCounter("10086", FundAccountType::Credit)},
                               symbols());
        const Tradability ownRules(identity, fixture.securityAccounts);
        fixture.world.login();
        const LogCapture log;
        std::atomic<int> answer{-1};
        std::thread asking([&] {
            answer =
                ownRules.CheckOrderMatchSuperEtf("T1", "FUND.SH", SideUnion::financingBuy) ? 1 : 0;
        });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        const int early = answer;
        fixture.load();
        asking.join();
        QVERIFY(waits);
        QCOMPARE(early, -1);
        QCOMPARE(answer.load(), 1);
    }

    void securityAccounts_asTheReader_loadOnceTheAccountTableIsLoaded() {
        m_world.reset();
        AccountFixture fixture({TestAccount("T1")
                                    .withCounter("10086", FundAccountType::Credit)
                                    .withSecurityAccount("1", "A1")
                                    .withSecurityAccount("G", "G1")});
        SecurityAccountsReader& reader = fixture.securityAccounts;
        // Nothing is loaded yet, and nothing blocks.
        QVERIFY(reader.securityExchangesOf("T1").isEmpty());
        QCOMPARE(reader.fundAccountTypeOf("T1"), QString());
        fixture.world.login();
        QVERIFY(fixture.load());
        QCOMPARE(reader.fundAccountTypeOf("T1"), FundAccountType::Credit);
        QCOMPARE(reader.securityExchangesOf("T1"), (QStringList{"1", "G"}));
        QVERIFY(reader.securityExchangesOf("T2").isEmpty());
        reader.waitForAccounts();
    }

private:
    std::unique_ptr<ClientWorld> m_world;
    const SymbolIdentity identity{};
    FakeAccounts accounts;
    const Tradability rules{identity, accounts};
};

QTEST_GUILESS_MAIN(TradabilityTest)
#include "tradability_test.moc"
