#include <QtTest>

#include "log_capture.h"
#include "risk_fixture.h"

namespace {

const QString kOrderModule = QStringLiteral("普通下单");
const QString kInstruction = QStringLiteral("投资指令");

}  // namespace

/// What a check of symbols that are about to be traded reports.
class SymbolRiskFlagsTest : public QObject {
    Q_OBJECT

private slots:
    void check_beforeTheFirstNotices_returnsFalse() {
        RiskFixture fixture;
        fixture.loadTypes({typeRow(riskSymbol(1), SymbolRiskType::BreakingIssuePrice)});
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kInstruction));
        QVERIFY(fixture.sink.texts().isEmpty());
        QVERIFY(fixture.waiver.ignoreRiskSymbols().isEmpty());
    }

    void check_noticesWithoutRows_returnsFalseForEverySymbol() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({});
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1), "", "999999.XX"}, kOrderModule));
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({}, kOrderModule));
        QVERIFY(fixture.sink.texts().isEmpty());
    }

    void check_riskWarningSymbols_raiseOneMessage_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("module");
        QTest::addColumn<QString>("expected");
        const QString three = "600001.SH、600002.SH、600003.SH";
        QTest::newRow("one") << 1 << kOrderModule
                             << "检测到普通下单模块尝试交易代码：600001.SH为风险警示股，";
        QTest::newRow("three") << 3 << kOrderModule
                               << "检测到普通下单模块尝试交易代码：" + three + "为风险警示股，";
        QTest::newRow("four") << 4 << kOrderModule
                              << "检测到普通下单模块尝试交易代码：" + three + "等为风险警示股，";
        QTest::newRow("one, instruction")
            << 1 << kInstruction << "检测到投资指令尝试交易代码：600001.SH为风险警示股，";
        QTest::newRow("nine, instruction")
            << 9 << kInstruction << "检测到投资指令尝试交易代码：" + three + "等为风险警示股，";
    }
    void check_riskWarningSymbols_raiseOneMessage() {
        QFETCH(int, count);
        QFETCH(QString, module);
        QFETCH(QString, expected);
        RiskFixture fixture;
        QList<QVariantMap> rows;
        QStringList symbols;
        for (int number = 1; number <= count; ++number) {
            symbols.append(riskSymbol(number));
            rows.prepend(stRow(symbols.last(), "重点关注"));
        }
        fixture.flags.slotNoticeSymbolChanged(rows);
        QVERIFY(fixture.flags.CheckSymbolRiskInfo(symbols, module));
        const QStringList texts = fixture.sink.texts();
        QCOMPARE(texts.size(), 1 + count);
        QCOMPARE(texts.first(), expected + kBuyLimitRule);
    }

    void check_remindedSymbols_raiseOneMessageEachInTheOrderOfTheRequest() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(
            {riskRow(riskSymbol(1), {{Security::riskRemindInfo, "已被立案调查"}}),
             riskRow(riskSymbol(2), {{Security::riskRemindInfo, "股价异常波动"}})});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(2), riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.take(),
                 (QStringList{"检测到普通下单模块尝试交易代码：600002.SH，该代码股价异常波动",
                              "检测到普通下单模块尝试交易代码：600001.SH，该代码已被立案调查"}));
        fixture.flags.slotNoticeSymbolChanged(
            {riskRow(riskSymbol(3), {{Security::riskRemindInfo, "股价异常波动"}})});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(3)}, kInstruction));
        QCOMPARE(fixture.sink.take(),
                 QStringList{"检测到投资指令尝试交易代码：600003.SH，该代码股价异常波动"});
    }

    void check_rowWithoutAnyText_isReportedWithAnEmptyOne() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({riskRow(riskSymbol(1))});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts(),
                 QStringList{"检测到普通下单模块尝试交易代码：600001.SH，该代码"});
    }

    void check_comingDelisting_namesTheDayInPlaceOfTheReminder_data() {
        QTest::addColumn<QVariant>("date");
        QTest::addColumn<QString>("expected");
        const auto text = [](const QString& date, const QString& days) {
            return "检测到普通下单模块尝试交易代码：600001."
                   "SH，该代码即将终止上市，最后交易日预估为" +
                   date + "，剩余交易日预估为" + days + "天，请注意退市风险，谨慎投资。";
        };
        QTest::newRow("three weeks") << QVariant("20260331") << text("2026-03-31", "21");
        QTest::newRow("a number") << QVariant(20260331) << text("2026-03-31", "21");
        QTest::newRow("today") << QVariant("20260310") << text("2026-03-10", "0");
        QTest::newRow("past") << QVariant("20260309") << text("2026-03-09", "-1");
    }
    void check_comingDelisting_namesTheDayInPlaceOfTheReminder() {
        QFETCH(QVariant, date);
        QFETCH(QString, expected);
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({delistRow(riskSymbol(1), date, "重点关注")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts(), QStringList{expected});
    }

    void check_delistDateThatIsNotADate_logsAWarningAndLeavesTheReminder_data() {
        QTest::addColumn<QVariant>("date");
        QTest::newRow("words") << QVariant("soon");
        QTest::newRow("dashes") << QVariant("2026-03-31");
        QTest::newRow("no such day") << QVariant("20260231");
        QTest::newRow("empty") << QVariant("");
        QTest::newRow("missing") << QVariant();
    }
    void check_delistDateThatIsNotADate_logsAWarningAndLeavesTheReminder() {
        QFETCH(QVariant, date);
        RiskFixture fixture;
        LogCapture log;
        fixture.flags.slotNoticeSymbolChanged({delistRow(riskSymbol(1), date, "重点关注")});
        QVERIFY(log.contains(QtWarningMsg,
                             "the risk notice of \"600001.SH\" has a last trading "
                             "day that is not a date"));
        QVERIFY(log.contains("退市股票0条"));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts(),
                 QStringList{"检测到普通下单模块尝试交易代码：600001.SH，该代码重点关注"});
    }

    void check_delistFlag_isReadAsABool_data() {
        QTest::addColumn<QVariant>("flag");
        QTest::addColumn<bool>("expected");
        QTest::newRow("true") << QVariant(true) << true;
        QTest::newRow("text one") << QVariant("1") << true;
        QTest::newRow("false") << QVariant(false) << false;
        QTest::newRow("text zero") << QVariant("0") << false;
        QTest::newRow("empty") << QVariant("") << false;
        QTest::newRow("missing") << QVariant() << false;
    }
    void check_delistFlag_isReadAsABool() {
        QFETCH(QVariant, flag);
        QFETCH(bool, expected);
        RiskFixture fixture;
        QVariantMap row = delistRow(riskSymbol(1), "20260331", "重点关注");
        if (flag.isValid()) {
            row.insert(Security::delistFlag, flag);
        } else {
            row.remove(Security::delistFlag);
        }
        const LogCapture log;
        fixture.flags.slotNoticeSymbolChanged({row});
        QVERIFY(log.contains(expected ? "退市股票1条" : "退市股票0条"));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        const QString text = fixture.sink.texts().join('\n');
        QCOMPARE(text.contains("即将终止上市"), expected);
        QCOMPARE(text.contains("重点关注"), !expected);
    }

    void check_breakerThatAnOrdinaryModuleReported_isNotReportedForAnInstruction() {
        RiskFixture fixture;
        fixture.loadTypes({typeRow(riskSymbol(1), SymbolRiskType::BrokenNetPrice)});
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "重点关注")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.take().size(), 2);
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kInstruction));
        QVERIFY(fixture.sink.texts().isEmpty());
    }

    void check_breakersWithAComingDelisting_raiseBothMessages() {
        RiskFixture fixture;
        fixture.loadTypes({typeRow(riskSymbol(1), SymbolRiskType::BreakingIssuePrice),
                           typeRow(riskSymbol(2), SymbolRiskType::BrokenNetPrice)});
        fixture.flags.slotNoticeSymbolChanged({delistRow(riskSymbol(2), "20260331", "重点关注")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(2), riskSymbol(1)}, kInstruction));
        QCOMPARE(
            fixture.sink.texts(),
            (QStringList{"检测到投资指令尝试交易代码：600002.SH，该代码即将终止上市，最后交易"
                         "日预估为2026-03-31，剩余交易日预估为21天，请注意退市风险，谨慎投资。",
                         "检测到投资指令下达尝试破发或破净标的，交易代码："
                         "600002.SH、600001.SH"}));
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1), riskSymbol(2)}, kInstruction));
    }

    void check_riskWarningAndDelisting_keepsTheReminder() {
        RiskFixture fixture;
        QVariantMap row = delistRow(riskSymbol(1), "20260331", "重点关注");
        row.insert(Security::STFlag, true);
        fixture.flags.slotNoticeSymbolChanged({row});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(
            fixture.sink.texts(),
            (QStringList{"检测到普通下单模块尝试交易代码：600001.SH为风险警示股，" + kBuyLimitRule,
                         "检测到普通下单模块尝试交易代码：600001.SH，该代码重点关注"}));
    }

    void check_breakers_areReportedForInstructionsAlone() {
        RiskFixture fixture;
        fixture.loadTypes({typeRow(riskSymbol(1), SymbolRiskType::BreakingIssuePrice),
                           typeRow(riskSymbol(2), SymbolRiskType::BrokenNetPrice),
                           typeRow(riskSymbol(3), SymbolRiskType::BrokenNetPrice),
                           typeRow(riskSymbol(4), SymbolRiskType::BreakingIssuePrice),
                           typeRow(riskSymbol(5), 3)});
        fixture.flags.slotNoticeSymbolChanged({});
        const QStringList four{riskSymbol(4), riskSymbol(3), riskSymbol(2), riskSymbol(1)};
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo(four, kOrderModule));
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(5)}, kInstruction));
        QVERIFY(fixture.sink.texts().isEmpty());
        QVERIFY(fixture.flags.CheckSymbolRiskInfo(four.mid(3), kInstruction));
        QCOMPARE(fixture.sink.take(),
                 QStringList{"检测到投资指令下达尝试破发或破净标的，交易代码：600001.SH"});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo(four, kInstruction));
        QCOMPARE(fixture.sink.take(), QStringList{"检测到投资指令下达尝试破发或破净标的，交易代码："
                                                  "600004.SH、600003.SH、600002.SH"});
    }

    void check_moreThanThreeBreakers_areShortened() {
        RiskFixture fixture;
        QStringList symbols;
        QList<QVariantMap> rows;
        for (int number = 1; number <= 4; ++number) {
            symbols.append(riskSymbol(number));
            rows.append(typeRow(symbols.last(), SymbolRiskType::BrokenNetPrice));
        }
        fixture.loadTypes(rows);
        fixture.flags.slotNoticeSymbolChanged({});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo(symbols, "指令"));
        QCOMPARE(fixture.sink.texts(), QStringList{"检测到指令下达尝试破发或破净标的，交易代码："
                                                   "600001.SH、600002.SH、600003.SH等"});
    }

    void check_symbolInEveryList_raisesTheMessagesInTheirOrder() {
        RiskFixture fixture;
        fixture.loadTypes({typeRow(riskSymbol(1), SymbolRiskType::BreakingIssuePrice),
                           typeRow(riskSymbol(1), SymbolRiskType::BrokenNetPrice)});
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "重点关注")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kInstruction));
        QCOMPARE(fixture.sink.texts(),
                 (QStringList{"检测到投资指令尝试交易代码：600001.SH为风险警示股，" + kBuyLimitRule,
                              "检测到投资指令尝试交易代码：600001.SH，该代码重点关注",
                              "检测到投资指令下达尝试破发或破净标的，交易代码：600001.SH"}));
    }

    void check_twiceOnOneDay_raisesNothingMoreAndLogsIt() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "重点关注")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        fixture.sink.take();
        fixture.clock.m_now = QDateTime(QDate(2026, 3, 10), QTime(23, 59, 59, 999));
        LogCapture log;
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kInstruction));
        QVERIFY(fixture.sink.texts().isEmpty());
        QCOMPARE(log.texts(QtDebugMsg),
                 QStringList{"ZnBusinessDataManager::CheckSymbolRiskInfo \"600001.SH\" "
                             "已被告警过！"});
    }

    void check_symbolTwiceInTheList_isReportedOnce() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "重点关注")});
        LogCapture log;
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1), riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts().size(), 2);
        QCOMPARE(log.texts(QtDebugMsg).filter("已被告警过！").size(), 1);
    }

    void check_someReportedBefore_reportsTheOthers() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(
            {riskRow(riskSymbol(1), {{Security::riskRemindInfo, "甲"}}),
             riskRow(riskSymbol(2), {{Security::riskRemindInfo, "乙"}})});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        fixture.sink.take();
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1), riskSymbol(2)}, kOrderModule));
        QCOMPARE(fixture.sink.texts(),
                 QStringList{"检测到普通下单模块尝试交易代码：600002.SH，该代码乙"});
        QCOMPARE(RiskFixture::saved("symbol"), QString("600001.SH|600002.SH"));
    }

    void check_percentSignsInNamesAndTexts_staySigns() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "%1%2%3%4%5%99")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, "%2%5%3"));
        QCOMPARE(
            fixture.sink.texts(),
            (QStringList{"检测到%2%5%3模块尝试交易代码：600001.SH为风险警示股，" + kBuyLimitRule,
                         "检测到%2%5%3模块尝试交易代码：600001.SH，该代码%1%2%3%4%5%99"}));
    }

    void check_emptyModuleName_isAModuleWithoutAName() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(
            {riskRow(riskSymbol(1), {{Security::riskRemindInfo, "甲"}})});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, QString()));
        QCOMPARE(fixture.sink.texts(), QStringList{"检测到模块尝试交易代码：600001.SH，该代码甲"});
    }

    void check_messages_areRaisedWithoutALock() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "重点关注")});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts().size(), 2);
        QCOMPARE(fixture.sink.underLock(), 0);
    }

    void notices_unknownSymbols_areLoggedAndLeftOut() {
        RiskFixture fixture;
        LogCapture log;
        fixture.flags.slotNoticeSymbolChanged({stRow("999999.SH", "甲"),
                                               {},
                                               {{Security::securityID, QVariantList{1}},
                                                {UserAccount::securityExchange, QVariantMap()}},
                                               stRow(riskSymbol(1), "乙"),
                                               delistRow(riskSymbol(2), "20260331", "丙")});
        QCOMPARE(log.count(QtDebugMsg, "风险警示股过滤主产品库不存在代码：999999." + Exchange::sh),
                 1);
        QCOMPARE(log.count(QtDebugMsg, "风险警示股过滤主产品库不存在代码：."), 2);
        QCOMPARE(log.count(QtDebugMsg, "初始化/更新风险警示股，ST（*ST）1条，退市股票1条"), 1);
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({"999999.SH", "."}, kOrderModule));
    }

    void notices_againstOnes_replaceThemAll() {
        RiskFixture fixture;
        QVariantMap delisted = delistRow(riskSymbol(2), "20260331", "乙");
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(1), "甲"), delisted});
        LogCapture log;
        fixture.flags.slotNoticeSymbolChanged({stRow(riskSymbol(3), "丙")});
        QCOMPARE(log.count(QtDebugMsg, "初始化/更新风险警示股，ST（*ST）1条，退市股票0条"), 1);
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo({riskSymbol(1), riskSymbol(2)}, kOrderModule));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(3)}, kOrderModule));
    }

    void notices_symbolTwice_theLastTextStays() {
        RiskFixture fixture;
        fixture.flags.slotNoticeSymbolChanged(
            {riskRow(riskSymbol(1), {{Security::riskRemindInfo, "甲"}}),
             riskRow(riskSymbol(1), {{Security::riskRemindInfo, "乙"}})});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts(),
                 QStringList{"检测到普通下单模块尝试交易代码：600001.SH，该代码乙"});
    }

    void notices_stFlag_isReadAsABool_data() {
        QTest::addColumn<QVariant>("flag");
        QTest::addColumn<bool>("expected");
        QTest::newRow("true") << QVariant(true) << true;
        QTest::newRow("one") << QVariant(1) << true;
        QTest::newRow("text one") << QVariant("1") << true;
        QTest::newRow("text true") << QVariant("true") << true;
        QTest::newRow("text two") << QVariant("2") << true;
        QTest::newRow("false") << QVariant(false) << false;
        QTest::newRow("zero") << QVariant(0) << false;
        QTest::newRow("text zero") << QVariant("0") << false;
        QTest::newRow("text false") << QVariant("false") << false;
        QTest::newRow("empty") << QVariant("") << false;
        QTest::newRow("missing") << QVariant() << false;
    }
    void notices_stFlag_isReadAsABool() {
        QFETCH(QVariant, flag);
        QFETCH(bool, expected);
        RiskFixture fixture;
        LogCapture log;
        fixture.flags.slotNoticeSymbolChanged(
            {riskRow(riskSymbol(1), {{Security::STFlag, flag}, {Security::riskRemindInfo, "甲"}})});
        QVERIFY(log.contains(expected ? "ST（*ST）1条" : "ST（*ST）0条"));
        QVERIFY(fixture.flags.CheckSymbolRiskInfo({riskSymbol(1)}, kOrderModule));
        QCOMPARE(fixture.sink.texts().size(), expected ? 2 : 1);
    }

    void check_tenThousandSymbols_areOneMessageAndOneWriteOfTheFile() {
        StaticDbBuilder data;
        QStringList symbols;
        QList<QVariantMap> rows;
        for (int number = 1; number <= 10000; ++number) {
            symbols.append(riskSymbol(number));
            addRiskSecurity(data, symbols.last(), Exchange::sh);
            rows.append(typeRow(symbols.last(), SymbolRiskType::BrokenNetPrice));
        }
        RiskFixture fixture(data);
        fixture.world.link().on(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest,
                                [rows](const QVariant& body) {
                                    const int page = headerOf(body).value(System::pageNo).toInt();
                                    return makeAnswer(body, rows.mid((page - 1) * 1000, 1000),
                                                      {{System::totalSize, rows.size()}});
                                });
        fixture.flags.InitSymbolRiskTypeInfo(fixture.owned.presenter);
        fixture.flags.slotNoticeSymbolChanged({});
        QVERIFY(fixture.flags.CheckSymbolRiskInfo(symbols, kInstruction));
        QCOMPARE(fixture.sink.texts().size(), 1);
        QCOMPARE(RiskFixture::saved("symbol").split('|').size(), 10000);
        QVERIFY(!fixture.flags.CheckSymbolRiskInfo(symbols, kInstruction));
    }
};

QTEST_GUILESS_MAIN(SymbolRiskFlagsTest)
#include "symbol_risk_flags_test.moc"
