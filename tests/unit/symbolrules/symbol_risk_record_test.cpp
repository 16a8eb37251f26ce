#include <QtTest>

#include "log_capture.h"
#include "risk_fixture.h"

namespace {

const QString kShortText = QStringLiteral(
    "【退市风险警示】该标的股票已被实施退市风险警示，请及时关注标的公司"
    "公告，注意相关风险，审慎理性投资");
const QString kStText = QStringLiteral(
    "【其他风险警示、50万股买入限制】该标的股票已被实施其他风险警示，请"
    "及时关注标的公司公告，注意相关风险，审慎理性投资。同时，根据交易所"
    "相关规定，投资者当日通过竞价交易、大宗交易和盘后定价交易累计买入的"
    "单只风险警示股票，当日累计买入数量(含已申报但未成交、未撤销部分)，"
    "不得超过50万股，投资者以本人名义开立的多个普通证券账户与信用证券账"
    "户的买入数量将合并计算，违规交易将被交易所采取相应监管措施或纪律处"
    "分");
const QString kStarStText = QStringLiteral(
    "【退市风险警示、50万股买入限制】该标的股票已被实施退市风险警示，请"
    "及时关注标的公司公告，注意相关风险，审慎理性投资。同时，根据交易所"
    "相关规定，投资者当日通过竞价交易、大宗交易和盘后定价交易累计买入的"
    "单只风险警示股票，累计买入数量(含已申报但未成交、未撤销部分)不得超"
    "过50万股，投资者以本人名义开立的多个普通证券账户与信用证券账户的买"
    "入数量将合并计算，违规交易将被交易所采取相应监管措施或纪律处分");

const QString kSymbol = QStringLiteral("600001.SH");

StaticDbBuilder one(const QString& exchange, const QVariantMap& fields) {
    StaticDbBuilder data;
    addRiskSecurity(data, kSymbol, exchange, fields);
    return data;
}

}  // namespace

/// What follows from a symbol's record alone.
class SymbolRiskRecordTest : public QObject {
    Q_OBJECT

private slots:
    void stType_eachFlagAndExchange_hasItsTextAndFlag_data() {
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QVariant>("flag");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isSt");
        const QString before = "before";
        QTest::newRow("normal") << Exchange::sh << QVariant("0") << "0" << before << false;
        QTest::newRow("empty") << Exchange::sh << QVariant("") << "0" << before << false;
        QTest::newRow("missing") << Exchange::sh << QVariant() << "0" << before << false;
        QTest::newRow("normal, Beijing") << Exchange::bj << QVariant("0") << "0" << before << false;
        QTest::newRow("ST") << Exchange::sh << QVariant("1") << "1" << kStText << true;
        QTest::newRow("ST, a number") << Exchange::sz << QVariant(1) << "1" << kStText << true;
        QTest::newRow("*ST") << Exchange::sz << QVariant("2") << "2" << kStarStText << true;
        QTest::newRow("ST, Beijing") << Exchange::bj << QVariant("1") << "1" << kShortText << true;
        QTest::newRow("*ST, Beijing") << Exchange::bj << QVariant("2") << "2" << kShortText << true;
        QTest::newRow("other, Beijing")
            << Exchange::bj << QVariant("7") << "7" << kShortText << false;
        QTest::newRow("other") << Exchange::sh << QVariant("7") << "7" << before << false;
    }
    void stType_eachFlagAndExchange_hasItsTextAndFlag() {
        QFETCH(QString, exchange);
        QFETCH(QVariant, flag);
        QFETCH(QString, expected);
        QFETCH(QString, text);
        QFETCH(bool, isSt);
        const QVariantMap fields =
            flag.isValid() ? QVariantMap{{Security::STFlag, flag}} : QVariantMap();
        const RiskFixture fixture(one(exchange, fields));
        QString found = "before";
        QCOMPARE(fixture.flags.GetSymbolStType(kSymbol, found), expected);
        QCOMPARE(found, text);
        QCOMPARE(fixture.flags.IsSymbolInST(kSymbol), isSt);
    }

    void stType_unknownSymbol_isNormal() {
        const RiskFixture fixture;
        QString text = "before";
        QCOMPARE(fixture.flags.GetSymbolStType("999999.XX", text), StFlag::Normal);
        QCOMPARE(text, QString("before"));
        QCOMPARE(fixture.flags.GetSymbolStType("", text), StFlag::Normal);
        QVERIFY(!fixture.flags.IsSymbolInST("999999.XX"));
    }

    void growthFlag_eachRecord_hasItsNumber_data() {
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<int>("expected");
        const auto record = [](const QString& name, const QVariant& listed) {
            return QVariantMap{{Security::chineseName, name}, {Security::ListingDate, listed}};
        };
        const auto with = [](QVariantMap fields, const QString& key, const QVariant& value) {
            fields.insert(key, value);
            return fields;
        };
        const QString& sh = Exchange::sh;
        QTest::newRow("first day") << sh << record("A-U", "20250713") << 2;
        QTest::newRow("later") << sh << record("A-U", "20260101") << 2;
        QTest::newRow("a number") << sh << record("A-U", 20250713) << 2;
        QTest::newRow("day before") << sh << record("A-U", "20250712") << 1;
        QTest::newRow("earlier") << sh << record("A-U", "20190722") << 1;
        QTest::newRow("no date") << sh << record("A-U", "") << 0;
        QTest::newRow("no mark") << sh << record("A", "20260101") << 0;
        QTest::newRow("small letter") << sh << record("A-u", "20260101") << 0;
        QTest::newRow("mark inside") << sh << record("A-UW", "20260101") << 0;
        QTest::newRow("no name") << sh << record("", "20260101") << 0;
        QTest::newRow("Shenzhen") << Exchange::sz << record("A-U", "20260101") << 0;
        const QString& flag = Security::ScienTechGrowFlag;
        QTest::newRow("server: yes") << sh << with(record("A", ""), flag, true) << 2;
        QTest::newRow("server: yes, earlier")
            << sh << with(record("A-U", "20190722"), flag, "1") << 2;
        QTest::newRow("server: no") << sh << with(record("A-U", "20260101"), flag, false) << 0;
        QTest::newRow("server: empty") << sh << with(record("A-U", "20260101"), flag, "") << 0;
        QTest::newRow("server, Shenzhen")
            << Exchange::sz << with(record("A-U", "20260101"), flag, true) << 0;
        const QVariantMap issue =
            with(with(record("A", "20260101"), MDCFieldDefine::mdcSubSecurityType,
                      MdcSubSecurityType::Asharenewsharesbid),
                 NewStock::securityName, "B-U");
        QTest::newRow("new issue") << sh << issue << 2;
        QTest::newRow("new issue without the mark")
            << sh << with(with(issue, NewStock::securityName, "B"), Security::chineseName, "A-U")
            << 0;
    }
    void growthFlag_eachRecord_hasItsNumber() {
        QFETCH(QString, exchange);
        QFETCH(QVariantMap, fields);
        QFETCH(int, expected);
        const RiskFixture fixture(one(exchange, fields));
        QCOMPARE(fixture.flags.GetScienTechGrowFlagBySymbol(kSymbol), expected);
    }

    void growthFlag_inShanghai_logsWhatItReads() {
        const RiskFixture fixture(one(
            Exchange::sh, {{Security::chineseName, "A-U"}, {Security::ListingDate, "20250713"}}));
        LogCapture log;
        fixture.flags.GetScienTechGrowFlagBySymbol(kSymbol);
        QVERIFY(log.contains(QtDebugMsg, "\"600001.SH\" false \"A-U\" \"20250713\""));
    }

    void growthFlag_unknownSymbol_isZero() {
        const RiskFixture fixture;
        QCOMPARE(fixture.flags.GetScienTechGrowFlagBySymbol("999999.XX"), 0);
        QCOMPARE(fixture.flags.GetScienTechGrowFlagBySymbol(""), 0);
    }
};

QTEST_GUILESS_MAIN(SymbolRiskRecordTest)
#include "symbol_risk_record_test.moc"
