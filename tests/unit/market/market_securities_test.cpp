#include <QtTest>

#include "market_fixture.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

class MarketSecuritiesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void securities_coverEveryBoardAndHaveDistinctSymbols();
    void securities_riskMarksAndGrowthMarksAreThere();
    void securities_ofAnyCount_areExactlySoMany_data();
    void securities_ofAnyCount_areExactlySoMany();

private:
    MarketFixture m_market;
};

void MarketSecuritiesTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
    QVERIFY(sampleMarketReady(m_market.path(), smallMarket()));
}

void MarketSecuritiesTest::securities_coverEveryBoardAndHaveDistinctSymbols() {
    const auto securities = reference(m_market.staticDatabase(), QStringLiteral("security"));
    QCOMPARE(securities.size(), 500);
    QMap<QString, int> boards;
    for (auto it = securities.cbegin(); it != securities.cend(); ++it) {
        const QVariantMap& record = it.value();
        QCOMPARE(record.value(Security::symbol).toString(), it.key());
        QCOMPARE(it.key().section('.', 0, 0), record.value(Security::securityID).toString());
        for (const QString& key :
             {Security::chineseName, Security::ListingDate, UserAccount::securityExchange,
              MDCFieldDefine::mdcSecurityType, MDCFieldDefine::mdcSubSecurityType}) {
            QVERIFY2(!record.value(key).toString().isEmpty(), qPrintable(it.key() + key));
        }
        QVERIFY(QDate::fromString(record.value(Security::ListingDate).toString(),
                                  DateTimeFormatString::TRANS_DATE_FROMAT)
                    .isValid());
        QCOMPARE(record.value(MDCFieldDefine::mdcSubSecurityType).toString().left(2).toInt(),
                 record.value(MDCFieldDefine::mdcSecurityType).toInt());
        boards[record.value(UserAccount::securityExchange).toString() + '/' +
               record.value(MDCFieldDefine::mdcSubSecurityType).toString()]++;
    }
    const QString sh = Exchange::sh + '/';
    const QString sz = Exchange::sz + '/';
    for (const QString& board :
         {sh + "02001", sz + "02001", sh + MdcSubSecurityType::ScienTechInnovateBoard,
          sz + MdcSubSecurityType::Gemstock,
          Exchange::bj + '/' + MdcSubSecurityType::BjSelectedStock,
          sh + MdcSubSecurityType::Convertiblebond, sz + MdcSubSecurityType::Convertiblebond,
          sh + MdcSubSecurityType::BondRepurchaseTypeList.first(),
          sz + MdcSubSecurityType::BondRepurchaseTypeList.first(),
          sh + MdcSubSecurityType::TradingopenindexfundETF,
          Exchange::hhk + '/' + MdcSubSecurityType::HKSharesTypeList.first()}) {
        QVERIFY2(boards.value(board) >= 9, qPrintable(board));
    }
    QVERIFY(securities.contains("600000.SH"));
    QVERIFY(securities.contains("688001.SH"));
    QVERIFY(securities.contains("300001.SZ"));
    QVERIFY(securities.contains("204001.SH"));
}

void MarketSecuritiesTest::securities_riskMarksAndGrowthMarksAreThere() {
    QMap<QString, int> flags;
    int early = 0;
    int late = 0;
    int delisted = 0;
    int lots = 0;
    for (const QVariantMap& record :
         reference(m_market.staticDatabase(), QStringLiteral("security"))) {
        const QString flag = record.value(Security::STFlag).toString();
        const QString name = record.value(Security::chineseName).toString();
        flags[flag]++;
        QCOMPARE(name.startsWith("*ST"), flag == StFlag::IsStarST);
        QCOMPARE(name.startsWith("ST"), flag == StFlag::IsST);
        if (name.endsWith("-U")) {
            (record.value(Security::ListingDate).toString() < "20250713" ? early : late)++;
        }
        delisted += record.value(Security::delistFlag).toBool() ? 1 : 0;
        const bool hongKong = record.value(Security::symbol).toString().endsWith(".HK");
        QVERIFY(!hongKong || record.value(Security::LotSize).toInt() >= 100);
        lots += record.contains(Security::LotSize) ? 1 : 0;
    }
    QVERIFY(flags.value(StFlag::IsST) > 0);
    QVERIFY(flags.value(StFlag::IsStarST) > 0);
    QVERIFY(early > 0);
    QVERIFY(late > 0);
    QVERIFY(delisted > 0);
    QVERIFY(lots > 30 && lots < 150);
}

void MarketSecuritiesTest::securities_ofAnyCount_areExactlySoMany_data() {
    QTest::addColumn<int>("symbols");
    for (const int symbols : {1, 17, 100, 10000}) {
        QTest::addRow("%d", symbols) << symbols;
    }
}

void MarketSecuritiesTest::securities_ofAnyCount_areExactlySoMany() {
    QFETCH(int, symbols);
    MarketOptions options = smallMarket();
    options.accounts = 1;
    options.symbols = symbols;
    QTemporaryDir dir;
    QString error;
    QVERIFY2(makeSampleMarket(dir.path(), options, {}, &error), qPrintable(error));
    const auto store = MarketStore::open(staticDatabaseFile(dir.path()), &error);
    QVERIFY(store);
    QCOMPARE(number(*store, "SELECT COUNT(*) FROM reference WHERE kind = 'security'"), symbols);
}

QTEST_GUILESS_MAIN(MarketSecuritiesTest)
#include "market_securities_test.moc"
