#include <QtTest>

#include "client_world.h"
#include "symbol_identity.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbasebusinessdatamgr/zn_new_stock_data_handler.h"
#include "znbasebusinessdatamgr/zn_rqt_base_data_handler.h"

namespace {

QVariantMap record(const QString& id, const QString& exchange, const QString& subType,
                   const QString& name) {
    return {{Security::securityID, id},
            {UserAccount::securityExchange, exchange},
            {MDCFieldDefine::mdcSecurityType, MdcSecurityType::StockType},
            {MDCFieldDefine::mdcSubSecurityType, subType},
            {Security::chineseName, name}};
}

StaticDbBuilder symbols() {
    using namespace MdcSubSecurityType;
    return StaticDbBuilder()
        .section(DictionaryKey::Markert2SymbolPost, {{"1", "SH"}, {"2", "SZ"}, {"B", "BJ"}})
        .reference("security", "600000.SH", record("600000", "1", "02001", "主板"))
        .reference("security", "00700.HK", record("00700", "G,S", HKSharesTypeList.at(0), "港股"))
        .reference("security", "BOTH.X", record("BOTH", "G,2", "02001", "两地"))
        .reference("security", "HTOB.X", record("HTOB", "2,1", "02001", "两地"))
        .reference("security", "OTHT.X", record("OTHT", "1,2", "02001", "两地"))
        .reference("security", "ODD.SH", record("ODD", "?", "02001", "别处"))
        .reference("security", "920001.BJ", record("920001", "B", BjSelectedStock, "北交"))
        .reference("security", "GZ1", record("GZ1", "N", GuZhuanBase, ""))
        .reference("security", "GZ2", record("GZ2", "N", GuZhuanInnovate, ""))
        .reference("security", "204001.SH",
                   record("204001", "1", BondRepurchaseTypeList.at(0), "GC001"))
        .reference("security", "204002.SH",
                   record("204002", "1", BondRepurchaseTypeList.at(1), "GC002"))
        .reference("etf", "510011.SH", record("510011", "1", "08900", "申赎"))
        .reference("newstock", "603901.SH",
                   QVariantMap{{"subscribeId", "732901"},
                               {"name", "first"},
                               {UserAccount::securityExchange, "1"},
                               {MDCFieldDefine::mdcSecurityType, "2"},
                               {MDCFieldDefine::mdcSubSecurityType, Asharenewsharesbid}})
        .reference("rqt", "R00001.SH", record("R00001", "1", "02001", "组合"));
}

}  // namespace

class SymbolIdentityTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), symbols());
        QVERIFY(ZnEtfDataHandler::instance().load());
        ZnNewStockDataHandler::instance().init(ZnNewStockDataHandler::Issues);
        ZnRqtBaseDataHandler::instance().initData(ZnRqtBaseDataHandler::Symbols);
    }
    void cleanupTestCase() { m_world.reset(); }

    void details_eachSource_answers_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");
        QTest::newRow("security") << "600000.SH" << Security::chineseName << "主板";
        QTest::newRow("redemption code") << "510011.SH" << Security::chineseName << "申赎";
        QTest::newRow("new issue") << "603901.SH"
                                   << "name"
                                   << "first";
        QTest::newRow("its subscription") << "732901"
                                          << "name"
                                          << "first";
        QTest::newRow("portfolio") << "R00001.SH" << Security::chineseName << "组合";
    }
    void details_eachSource_answers() {
        QFETCH(QString, symbol);
        QFETCH(QString, field);
        QFETCH(QString, value);
        QCOMPARE(identity.GetSecurityDetailsBySymbol(symbol).value(field).toString(), value);
    }

    void unknownSymbol_everyAnswer_isEmpty() {
        for (const QString symbol : {"", "nobody.SH", "nobody"}) {
            QVERIFY(identity.GetSecurityDetailsBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetSecurityTypeBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetSecuritySubTypeBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetASecurityExchangeBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetFirstSecurityExchangeBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetSecurityExchangeListBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetExchangeNameBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetSecurityIDBySymbol(symbol).isEmpty());
            QVERIFY(identity.GetSecurityChineseName(symbol).isEmpty());
            QVERIFY(!identity.IsBjOrGz(symbol));
            QVERIFY(!identity.IsSymbolBondRepurchase(symbol));
        }
    }

    void types_notInTheSecurities_comeFromTheDetails() {
        QCOMPARE(identity.GetSecurityTypeBySymbol("600000.SH"), QString("2"));
        QCOMPARE(identity.GetSecurityTypeBySymbol("732901"), QString("2"));
        QCOMPARE(identity.GetSecuritySubTypeBySymbol("732901"),
                 MdcSubSecurityType::Asharenewsharesbid);
        QCOMPARE(identity.GetSecuritySubTypeBySymbol("510011.SH"), QString("08900"));
    }

    void exchanges_eachSymbol_areListedInTheirOrder_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("aExchange");
        QTest::addColumn<QStringList>("all");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("one") << "600000.SH"
                             << "1" << QStringList{"1"} << QStringList{"上海"};
        QTest::newRow("not of A shares")
            << "00700.HK"
            << "" << QStringList{"G", "S"} << QStringList{"沪港通", "深港通"};
        QTest::newRow("Shenzhen second")
            << "BOTH.X"
            << "2" << QStringList{"G", "2"} << QStringList{"沪港通", "深圳"};
        QTest::newRow("Shenzhen first")
            << "HTOB.X"
            << "2" << QStringList{"2", "1"} << QStringList{"深圳", "上海"};
        QTest::newRow("Shanghai first")
            << "OTHT.X"
            << "1" << QStringList{"1", "2"} << QStringList{"上海", "深圳"};
        QTest::newRow("exchange without a name, named by the suffix")
            << "ODD.SH"
            << "" << QStringList{"?"} << QStringList{"上海"};
        // Not among the securities: the exchange of the details, which is not one of A shares.
        QTest::newRow("redemption code") << "510011.SH"
                                         << "" << QStringList{"1"} << QStringList{"上海"};
    }
    void exchanges_eachSymbol_areListedInTheirOrder() {
        QFETCH(QString, symbol);
        QFETCH(QString, aExchange);
        QFETCH(QStringList, all);
        QFETCH(QStringList, names);
        QCOMPARE(identity.GetASecurityExchangeBySymbol(symbol), aExchange);
        QCOMPARE(identity.GetSecurityExchangeListBySymbol(symbol), all);
        QCOMPARE(identity.GetFirstSecurityExchangeBySymbol(symbol), all.first());
        QCOMPARE(identity.GetExchangeNameBySymbol(symbol), names);
    }

    void securityId_eachSource_hasItsOwn_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("id");
        QTest::newRow("security") << "00700.HK"
                                  << "00700";
        QTest::newRow("redemption code, before the dot") << "510011.SH"
                                                         << "510011";
        QTest::newRow("new issue, itself") << "603901.SH"
                                           << "603901.SH";
        QTest::newRow("subscription, itself") << "732901"
                                              << "732901";
        QTest::newRow("portfolio") << "R00001.SH"
                                   << "R00001";
    }
    void securityId_eachSource_hasItsOwn() {
        QFETCH(QString, symbol);
        QFETCH(QString, id);
        QCOMPARE(identity.GetSecurityIDBySymbol(symbol), id);
    }

    void symbolOfAnId_unknownToTheSecurities_isAssembled_data() {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QString>("symbol");
        QTest::newRow("known") << "600000"
                               << "1"
                               << "600000.SH";
        QTest::newRow("known on its second exchange") << "00700"
                                                      << "S"
                                                      << "00700.HK";
        QTest::newRow("assembled, a redemption code") << "510011"
                                                      << "1"
                                                      << "510011.SH";
        QTest::newRow("assembled, unknown") << "600001"
                                            << "1"
                                            << "";
        QTest::newRow("another exchange") << "600000"
                                          << "2"
                                          << "";
        QTest::newRow("exchange without a suffix") << "600001"
                                                   << "?"
                                                   << "";
        QTest::newRow("nothing") << ""
                                 << ""
                                 << "";
    }
    void symbolOfAnId_unknownToTheSecurities_isAssembled() {
        QFETCH(QString, id);
        QFETCH(QString, exchange);
        QFETCH(QString, symbol);
        QCOMPARE(identity.GetSymbolBySecurityIDAndExchange(id, exchange), symbol);
        const QVariantMap fields{{Security::securityID, id},
                                 {UserAccount::securityExchange, exchange}};
        QCOMPARE(identity.GetSymbolFromMap(fields), symbol);
    }

    void symbolOfARecord_unknownSymbol_isNotRepaired() {
        QVariantMap fields{{Security::symbol, "nobody.SH"},
                           {Security::securityID, "600000"},
                           {UserAccount::securityExchange, "1"}};
        QCOMPARE(identity.GetSymbolFromMap(fields), QString());
        fields.insert(Security::symbol, "00700.HK");
        QCOMPARE(identity.GetSymbolFromMap(fields), QString("00700.HK"));
    }

    void chineseName_notInTheSecurities_comesFromTheDetails() {
        QCOMPARE(identity.GetSecurityChineseName("600000.SH"), QString("主板"));
        QCOMPARE(identity.GetSecurityChineseName("R00001.SH"), QString("组合"));
    }

    void kinds_eachSubType_isRecognised() {
        QVERIFY(identity.IsBjOrGz("920001.BJ") && identity.IsBjOrGz("GZ1") &&
                identity.IsBjOrGz("GZ2"));
        QVERIFY(!identity.IsBjOrGz("600000.SH"));
        QVERIFY(identity.IsSymbolBondRepurchase("204001.SH"));
        QVERIFY(identity.IsSymbolBondRepurchase("204002.SH"));
        QVERIFY(!identity.IsSymbolBondRepurchase("600000.SH"));
    }

    void chineseNames_exchangesAndSuffixes_haveTheirNames() {
        QCOMPARE(identity.TransferFromExchange2Ch(Torvi_SecurityExchange::SH), QString("上海"));
        QCOMPARE(identity.TransferFromExchange2Ch(Torvi_SecurityExchange::SZ), QString("深圳"));
        QCOMPARE(identity.TransferFromExchange2Ch(Exchange::bj), QString("未知"));
        const QList<QPair<QString, QString>> posts{{SymbolPost::czce, "郑商"},
                                                   {SymbolPost::dce, "大商"},
                                                   {SymbolPost::sh, "上海"},
                                                   {SymbolPost::shf, "上期"},
                                                   {SymbolPost::sz, "深圳"},
                                                   {SymbolPost::hk, "港交所"},
                                                   {SymbolPost::cffex, "中金"},
                                                   {"BJ", "未知"},
                                                   {"", "未知"}};
        for (const auto& post : posts) {
            QCOMPARE(identity.TransferFromSymbolPost2Ch(post.first), post.second);
        }
    }

    // Last, since it replaces the static database of the other cases.
    void symbolOfSeveralSources_isAnsweredByTheFirst() {
        const QString name = QStringLiteral("name");
        const auto of = [&name](const QString& source, const QString& subscription = {}) {
            return QVariantMap{{name, source},
                               {Security::securityID, "id of " + source},
                               {"subscribeId", subscription}};
        };
        StaticDbBuilder builder;
        for (const QString kind : {"security", "etf", "newstock", "rqt"}) {
            builder.reference(kind, "ALL.1.SH", of(kind));
        }
        for (const QString kind : {"etf", "newstock", "rqt"}) {
            builder.reference(kind, "CODE.1.SH", of(kind));
        }
        builder.reference("etf", "732.2.SH", of("etf"))
            .reference("newstock", "A.SH", of("subscription of A", "732.2.SH"))
            .reference("newstock", "ISSUE.SH", of("newstock"))
            .reference("newstock", "B.SH", of("subscription of B", "ISSUE.SH"))
            .reference("rqt", "ISSUE.SH", of("rqt"))
            .reference("newstock", "C.SH", of("subscription of C", "733.SH"))
            .reference("rqt", "733.SH", of("rqt"))
            .reference("rqt", "LAST.SH", of("rqt"));
        m_world.reset();
        const ClientWorld world({}, builder);
        QVERIFY(ZnEtfDataHandler::instance().load());
        ZnNewStockDataHandler::instance().init(ZnNewStockDataHandler::Issues);
        ZnRqtBaseDataHandler::instance().initData(ZnRqtBaseDataHandler::Symbols);
        struct Answer {
            QString symbol;
            QString source;
            QString id;
        };
        for (const Answer& one :
             {Answer{"ALL.1.SH", "security", "id of security"},
              // Before the first of the dots.
              Answer{"CODE.1.SH", "etf", "CODE"}, Answer{"732.2.SH", "etf", "732"},
              Answer{"ISSUE.SH", "newstock", "ISSUE.SH"},
              Answer{"733.SH", "subscription of C", "733.SH"},
              Answer{"LAST.SH", "rqt", "id of rqt"}}) {
            QCOMPARE(identity.GetSecurityDetailsBySymbol(one.symbol).value(name).toString(),
                     one.source);
            QCOMPARE(identity.GetSecurityIDBySymbol(one.symbol), one.id);
        }
    }

private:
    const SymbolIdentity identity{};
    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(SymbolIdentityTest)
#include "symbol_identity_test.moc"
