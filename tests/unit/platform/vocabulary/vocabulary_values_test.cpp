#include <QDateTime>
#include <QMap>
#include <QStringList>
#include <QtTest>

#include "vocabulary/constants.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_event_msg_id.h"
#include "vocabulary_lists.h"

namespace {

QStringList exchangeCodes() {
    return {Exchange::cffex,
            Exchange::czce,
            Exchange::dcz,
            Exchange::hhk,
            Exchange::hk,
            Exchange::sh,
            Exchange::shf,
            Exchange::ssc,
            Exchange::sz,
            Exchange::szc,
            Exchange::szhk,
            Exchange::yhj,
            Exchange::HkStockCirculation,
            Exchange::bj,
            Exchange::sge};
}

QStringList securityTypes() {
    return {MdcSecurityType::BondType,   MdcSecurityType::FundType,  MdcSecurityType::FuturesType,
            MdcSecurityType::OptionType, MdcSecurityType::StockType, MdcSecurityType::SpotType};
}

QStringList securitySubTypes() {
    return {MdcSubSecurityType::Asharenewsharesbid,
            MdcSubSecurityType::Assetbackedsecurities,
            MdcSubSecurityType::Convertiblebond,
            MdcSubSecurityType::Gemstock,
            MdcSubSecurityType::Pledgetypetreasurybondrepurchase,
            MdcSubSecurityType::Thecorporatebondpledgedrepo,
            MdcSubSecurityType::TradingopenindexfundETF,
            MdcSubSecurityType::BjSelectedStock,
            MdcSubSecurityType::DirectedConBond,
            MdcSubSecurityType::GuZhuanBase,
            MdcSubSecurityType::GuZhuanInnovate,
            MdcSubSecurityType::HStcokCirculation,
            MdcSubSecurityType::ScienTechInnovateBoard};
}

QStringList cageFields() {
    return {CageField::buyPercent,      CageField::buyUnit,        CageField::controlType,
            CageField::securityType,    CageField::sellPercent,    CageField::sellUnit,
            CageField::status,          CageField::userBuyPercent, CageField::userBuyUnit,
            CageField::userSellPercent, CageField::userSellUnit};
}

QStringList callStackTexts() {
    return {DumpCallStackString::fastDb, DumpCallStackString::grpc, DumpCallStackString::libcef};
}

struct ValueGroup {
    const char* name;
    QStringList values;
};

// Values that must differ, since they occur in the same field or the same file.
const ValueGroup kValueGroups[] = {
    {"AccountType",
     {AccountType::AssetAccount, AccountType::ExternUserAccount, AccountType::FundAccount,
      AccountType::InvestAccount, AccountType::ProductAccount, AccountType::SecurityAccount,
      AccountType::TradingAccount, AccountType::UserId}},
    {"AlterType", {AlterType::create, AlterType::Add, AlterType::Update}},
    {"AuthorityType",
     {AuthorityType::AccountAuthority, AuthorityType::AccountEdit, AuthorityType::AccountQuery,
      AuthorityType::AccountSubscribe, AuthorityType::AccountTrade}},
    {"BusiMsgLevel", {BusiMsgLevel::Emergency, BusiMsgLevel::Important}},
    {"BusiMsgType", {BusiMsgType::SystemMsg, BusiMsgType::TradeMsg}},
    {"ClientMonitor", {ClientMonitor::TagCallStack, ClientMonitor::TagDump}},
    {"ClientPerformType",
     {ClientPerformType::CpuUsage, ClientPerformType::DiskUsage, ClientPerformType::MemUsage,
      ClientPerformType::NetStat}},
    {"ClinetInfoUpload",
     {ClinetInfoUpload::AutoUpdateError, ClinetInfoUpload::ClientErrorInfo,
      ClinetInfoUpload::SystemButtomClicked, ClinetInfoUpload::UserOperRecord,
      ClinetInfoUpload::BusinessMessage, ClinetInfoUpload::ClientPerformanceInfo,
      ClinetInfoUpload::ClientThreadNum, ClinetInfoUpload::NetStatusInfo}},
    {"ClientErrorType",
     {ClientErrorType::ComputerResume, ClientErrorType::ComputerSuspend,
      ClientErrorType::DmpInfoError, ClientErrorType::ExceptionExitError,
      ClientErrorType::StaticInfoDbError}},
    {"CounterSysCode",
     {CounterSysCode::Normal_ZN, CounterSysCode::PUBLICRAISE, CounterSysCode::QFII_ZN}},
    {"EntrustType", {EntrustType::CancelOrder, EntrustType::cancelOrder}},
    {"EtfCodeType",
     {EtfCodeType::bond, EtfCodeType::cashBond, EtfCodeType::commodity,
      EtfCodeType::commodityFutures, EtfCodeType::crossBorder, EtfCodeType::crossMarket,
      EtfCodeType::currency, EtfCodeType::singleMarket}},
    {"EtfStatus", {EtfStatus::allow, EtfStatus::onlyAllowApplyBuy, EtfStatus::onlyAllowRedemption}},
    {"FundAccountType",
     {FundAccountType::Cash, FundAccountType::Credit, FundAccountType::Future,
      FundAccountType::Metal, FundAccountType::Option}},
    {"InitTypeCode",
     {InitTypeCode::AllTraderList, InitTypeCode::HkExchangeRate, InitTypeCode::HkPriceUnitInfo,
      InitTypeCode::PriceCageInfo}},
    {"NetGateType",
     {NetGateType::InfoGate, NetGateType::MarketGrpcGate, NetGateType::MarketTcpGate,
      NetGateType::TradeGate}},
    {"PriceType",
     {PriceType::fixedPriceAfterMarket, PriceType::limitPriceAllDealOrCancel,
      PriceType::shDealOrCancel5, PriceType::shDealOrbeLimit5, PriceType::szAllDealOrCancel,
      PriceType::szDealOrCancel, PriceType::szDealOrCancel5, PriceType::szOpponentOptimization,
      PriceType::szSelfOptimization, PriceType::shEntrustAfterHours}},
    {"SideUnion",
     {SideUnion::FixIncomeTradeBuy, SideUnion::FixIncomeTradeBuySZ, SideUnion::FixIncomeTradeSell,
      SideUnion::FixIncomeTradeSellSZ, SideUnion::financingBuy, SideUnion::normalBuy}},
    {"StFlag", {StFlag::IsST, StFlag::IsStarST, StFlag::Normal}},
    {"SymbolPost",
     {SymbolPost::cffex, SymbolPost::czce, SymbolPost::dce, SymbolPost::hk, SymbolPost::sh,
      SymbolPost::shf, SymbolPost::sz}},
    {"SystemItemName",
     {SystemItemName::TagAnnoucement, SystemItemName::TagClientPerformanceCfg,
      SystemItemName::TagPriceCage, SystemItemName::TagPriceCageApply}},
    {"ExchangeExecType", {EntrustType::cancelOrder, ExchangeExeType::innerCancel}},
    {"Constants",
     {Constants::MDC_TCP_GATEWAY, Constants::ORDERSTATUSSWITCH,
      Constants::PLUGIN_VIEWCURRENTCUSTOMHIDESTYLE, Constants::PLUGIN_VIEWCUSTOMHIDESTYLE,
      Constants::TORVI_ORDER_DBFILE, Constants::USER_ACCOUNTLIST_INITED, Constants::ZGATE_GATEWAY,
      Constants::ZINFO_GATEWAY}},
    {"PluginID", {PluginID::BOTTOM_WIDGET, PluginID::PLUGINNET_GLOBALID}},
    {"PluginPropety",
     {PluginPropety::CONTAINERID, PluginPropety::MENUID, PluginPropety::MENUSCREENHEIGHT,
      PluginPropety::MENUSCREENWIDTH, PluginPropety::PLUGINCUSTOMPROPERTITY,
      PluginPropety::PLUGININSTANCE_ID, PluginPropety::PLUGIN_ID}},
    {"NET_STATE", {NET_STATE::CONNECTED, NET_STATE::CONNECTTING, NET_STATE::NOCONNECT}},
    {"EventMsgName",
     {EventMsgName::BUSI_HEART_BEAT_STATISTIC, EventMsgName::BUSI_MSG_ADD,
      EventMsgName::BUSI_MSG_LOADED, EventMsgName::BUSI_MSG_UPDATED,
      EventMsgName::CalcRealizedProfitInitEvent, EventMsgName::ClientPatchUpdateEvent,
      EventMsgName::ETFTRADESETTING_TRADEFEECHANGE, EventMsgName::LogUploadEvent,
      EventMsgName::PRICE_CAGE_INFO_FINISH_INIT, EventMsgName::RealizedProfitInitedEvent,
      EventMsgName::RealizedProfitUpdateEvent, EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED,
      EventMsgName::Velmar_Fundaccount_Inited}},
    {"DateTimeFormatString",
     {DateTimeFormatString::EXPORT_DATE_TIME_FORMAT, DateTimeFormatString::STD_DATE_FORMAT,
      DateTimeFormatString::STD_DATE_TIME_MS_FORMAT, DateTimeFormatString::TRANS_DATE_FROMAT,
      DateTimeFormatString::TRANS_TIME_FORMAT}},
    {"settings",
     {SettingFieldName::AccountListOrder, SettingFieldName::LocalSecurityAccount,
      AutoLoginSetting::AutoLogin, ETFTradeSetting::EtfTrade_ETFBuyFee_SH,
      ETFTradeSetting::EtfTrade_ETFBuyFee_SZ, ETFTradeSetting::EtfTrade_FeeEnable,
      ETFTradeSetting::EtfTrade_FeeSettings, ETFTradeSetting::EtfTrade_StockBuyFee_SH,
      ETFTradeSetting::EtfTrade_StockBuyFee_SZ, ETFTradeSetting::EtfTrade_StockTransferFee_SH,
      ETFTradeSetting::EtfTrade_StockTransferFee_SZ, ETFTradeSetting::Self_AllPriceCageApply,
      ETFTradeSetting::Self_AllPriceCageMap, SystemSetting::SysMultiTimeOutCount,
      SystemSetting::SysMultiTimeOutHandle, Constants::TORVI_ORDER_DBFILE,
      QStringLiteral("skinInitState")}},
    {"Torvi_SecurityExchange", {Torvi_SecurityExchange::SH, Torvi_SecurityExchange::SZ}},
    {"OwnKeys",
     {OwnKeys::ignoreDate, OwnKeys::symbol, OwnKeys::boxInput, OwnKeys::riskInfoItem,
      OwnKeys::dumpFileName, OwnKeys::dumpCreateTime, OwnKeys::ruleBase}},
    {"RequestExeStatus", {RequestExeStatus::success, RequestExeStatus::timeout}}};

/// Every list of this file that covers a group of the headers, by the group's name.
QMap<QString, QStringList> listedGroups() {
    QMap<QString, QStringList> groups{{"Exchange", exchangeCodes()},
                                      {"MdcSecurityType", securityTypes()},
                                      {"MdcSubSecurityType", securitySubTypes()},
                                      {"CageField", cageFields()},
                                      {"DumpCallStackString", callStackTexts()}};
    for (const ValueGroup& group : kValueGroups) {
        groups.insert(group.name, group.values);
    }
    return groups;
}

}  // namespace

class VocabularyValuesTest : public QObject {
    Q_OBJECT

private slots:
    void exchangeCodes_inBuiltInTexts_areThoseCodes();
    void securityClasses_inBuiltInTexts_areThoseCodes();
    void cageFields_inBuiltInTexts_areThoseKeys();
    void fundProperties_asMaskBits_keepTheirValues();
    void requestStatus_successAndTimeout_differ();
    void dateFormats_onAKnownMoment_giveTheExpectedText();
    void exportFormat_readBackFromItsText_keepsTheSecondWithoutSeparators();
    void flagsReadAsNumbers_forTheirMeaning_keepTheirValues();
    void businessMessages_typesAndLevels_areDecimalTexts();
    void cancels_entrustAndDeal_differ();
    void sharedNames_ofBothFamilies_haveOneValue();
    void listConstants_membersWithAConstant_areInTheirList();
    void eventNames_asLookUpTexts_areTheirOwnNames();
    void ownKeys_ofFilesAndReports_keepTheirTexts();
    void exchangeCodes_ofBothFamilies_areUnique();
    void securityClasses_typesAndSubTypes_areUniqueAndDisjoint();
    void securityClasses_inComposedKeys_holdNoJoiningCharacter();
    void businessMessageCodes_inComposedKeys_holdNoJoiningCharacter();
    void cageFields_besideTheTitle_areUnique();
    void performanceTypes_besideTheDestinationKey_differFromIt();
    void callStackTexts_searchedInTurn_holdNoneOfTheOthers();
    void valueGroup_againstTheHeaders_isListedWhole_data();
    void valueGroup_againstTheHeaders_isListedWhole();
    void valueGroup_withinItself_isUnique_data();
    void valueGroup_withinItself_isUnique();
    void listConstants_allOfThem_areFilledAndWithoutRepeats_data();
    void listConstants_allOfThem_areFilledAndWithoutRepeats();
    void sideLists_ofDifferentBusinesses_shareNoSide();
};

using T = VocabularyValuesTest;

void T::exchangeCodes_inBuiltInTexts_areThoseCodes() {
    QCOMPARE(Exchange::sh, QString("1"));
    QCOMPARE(Exchange::sz, QString("2"));
    QCOMPARE(Exchange::hhk, QString("G"));
    QCOMPARE(Exchange::szhk, QString("S"));
    QCOMPARE(Torvi_SecurityExchange::SH, Exchange::sh);
    QCOMPARE(Torvi_SecurityExchange::SZ, Exchange::sz);
    QCOMPARE(SymbolPost::sh, QString("SH"));
    QCOMPARE(SymbolPost::sz, QString("SZ"));
}

void T::securityClasses_inBuiltInTexts_areThoseCodes() {
    QCOMPARE(MdcSecurityType::StockType, QString("2"));
    QCOMPARE(MdcSubSecurityType::ScienTechInnovateBoard, QString("02200"));
}

void T::cageFields_inBuiltInTexts_areThoseKeys() {
    QCOMPARE(CageField::userBuyPercent, QString("buyPriceLimitRatio"));
    QCOMPARE(CageField::userBuyUnit, QString("buyPriceLimitUnit"));
    QCOMPARE(CageField::userSellPercent, QString("sellPriceLimitRatio"));
    QCOMPARE(CageField::userSellUnit, QString("sellPriceLimitUnit"));
    QCOMPARE(CageField::controlType, QString("controlType"));
    QCOMPARE(CageField::securityType, QString("securityType"));
    QCOMPARE(CageField::status, QString("status"));
}

void T::fundProperties_asMaskBits_keepTheirValues() {
    QCOMPARE(Torvi_InnerFundProp::normalTrade, 1);
    QCOMPARE(Torvi_InnerFundProp::marginTrade, 2);
    QCOMPARE(Torvi_InnerFundProp::optionTrade, 4);
    QCOMPARE(Torvi_InnerFundProp::futuresTrade, 8);
    QCOMPARE(Torvi_InnerFundProp::metalTrade, 16);
}

void T::requestStatus_successAndTimeout_differ() {
    QCOMPARE(RequestExeStatus::success, QString("0"));
    bool isNumber = false;
    const int timeout = RequestExeStatus::timeout.toInt(&isNumber);
    QVERIFY(isNumber);
    QVERIFY2(!QList<int>({0, 1, -1}).contains(timeout), "taken for the result of a send");
}

void T::dateFormats_onAKnownMoment_giveTheExpectedText() {
    const QDateTime moment(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
    QCOMPARE(moment.toString(DateTimeFormatString::TRANS_DATE_FROMAT), QString("20240305"));
    QCOMPARE(moment.toString(DateTimeFormatString::TRANS_TIME_FORMAT), QString("140709"));
    QCOMPARE(moment.toString(DateTimeFormatString::STD_DATE_FORMAT), QString("2024-03-05"));
    QCOMPARE(moment.toString(DateTimeFormatString::STD_DATE_TIME_MS_FORMAT),
             QString("2024-03-05 14:07:09.042"));
}

void T::exportFormat_readBackFromItsText_keepsTheSecondWithoutSeparators() {
    const QDateTime moment(QDate(2024, 3, 5), QTime(14, 7, 9));
    const QString text = moment.toString(DateTimeFormatString::EXPORT_DATE_TIME_FORMAT);
    QCOMPARE(QDateTime::fromString(text, DateTimeFormatString::EXPORT_DATE_TIME_FORMAT), moment);
    QCOMPARE(holdingAnyOf({text}, QStringLiteral("|/")), QStringList());
}

void T::flagsReadAsNumbers_forTheirMeaning_keepTheirValues() {
    QCOMPARE(StFlag::Normal, QString("0"));
    QCOMPARE(AccountStatus::freezing, QString("1"));
    QVERIFY(SymbolRiskType::BreakingIssuePrice != 0);
    QVERIFY(SymbolRiskType::BrokenNetPrice != 0);
    QVERIFY(SymbolRiskType::BreakingIssuePrice != SymbolRiskType::BrokenNetPrice);
    QCOMPARE(VelmarEventMsgID::TORVI_BASE_TYPE, 0x20000);
}

void T::businessMessages_typesAndLevels_areDecimalTexts() {
    QCOMPARE(BusiMsgType::TradeMsg, QString("4"));
    QCOMPARE(BusiMsgType::SystemMsg, QString("1"));
    for (const QString& level : {BusiMsgLevel::Emergency, BusiMsgLevel::Important}) {
        bool isNumber = false;
        level.toInt(&isNumber);
        QVERIFY2(isNumber, qPrintable(level));
    }
}

void T::cancels_entrustAndDeal_differ() {
    QVERIFY(EntrustType::CancelOrder != EntrustType::cancelOrder);
    QVERIFY(EntrustType::cancelOrder != ExchangeExeType::innerCancel);
}

void T::sharedNames_ofBothFamilies_haveOneValue() {
    QCOMPARE(Quindar_Values::ClinetInfoUpload::ClientErrorInfo,
             Velmar_Values::ClinetInfoUpload::ClientErrorInfo);
    QCOMPARE(ClinetInfoUpload::ClientErrorInfo, Velmar_Values::ClinetInfoUpload::ClientErrorInfo);
    QCOMPARE(Quindar_MsgType::quant_GetUserRequest, Quindar_MsgType::quant::GetUserRequest);
}

void T::listConstants_membersWithAConstant_areInTheirList() {
    const QStringList& repos = MdcSubSecurityType::BondRepurchaseTypeList;
    QVERIFY(repos.contains(MdcSubSecurityType::Pledgetypetreasurybondrepurchase));
    QVERIFY(repos.contains(MdcSubSecurityType::Thecorporatebondpledgedrepo));
    QVERIFY(SideUnion::normalSideList.contains(SideUnion::normalBuy));
    QVERIFY(SideUnion::normalSideList.contains(SideUnion::FixIncomeTradeBuy));
    QVERIFY(SideUnion::normalSideList.contains(SideUnion::FixIncomeTradeSell));
    QVERIFY(SideUnion::normalSideList.contains(SideUnion::FixIncomeTradeBuySZ));
    QVERIFY(SideUnion::normalSideList.contains(SideUnion::FixIncomeTradeSellSZ));
    QVERIFY(SideUnion::marginOrderSideList.contains(SideUnion::financingBuy));
}

void T::eventNames_asLookUpTexts_areTheirOwnNames() {
    QCOMPARE(EventMsgName::BUSI_MSG_ADD, QString("BUSI_MSG_ADD"));
    QCOMPARE(EventMsgName::ETFTRADESETTING_TRADEFEECHANGE,
             QString("ETFTRADESETTING_TRADEFEECHANGE"));
    QCOMPARE(EventMsgName::Velmar_Fundaccount_Inited, QString("Velmar_Fundaccount_Inited"));
}

void T::ownKeys_ofFilesAndReports_keepTheirTexts() {
    QCOMPARE(OwnKeys::ignoreDate, QString("IgnoreDate"));
    QCOMPARE(OwnKeys::symbol, QString("symbol"));
    QCOMPARE(OwnKeys::boxInput, QString("box_input"));
    QCOMPARE(OwnKeys::riskInfoItem, QString("productinfo.riskInfo"));
    QCOMPARE(OwnKeys::dumpFileName, QString("fileName"));
    QCOMPARE(OwnKeys::dumpCreateTime, QString("createTime"));
    QCOMPARE(OwnKeys::ruleBase, QString("BASE"));
}

void T::exchangeCodes_ofBothFamilies_areUnique() {
    QCOMPARE(repeated(exchangeCodes()), QStringList());
}

void T::securityClasses_typesAndSubTypes_areUniqueAndDisjoint() {
    QCOMPARE(repeated(securityTypes() + securitySubTypes()), QStringList());
    // Members without a constant of their own must differ from all types as well.
    QCOMPARE(common(MdcSubSecurityType::HKSharesTypeList, securityTypes() + securitySubTypes()),
             QStringList());
    QCOMPARE(common(MdcSubSecurityType::BondRepurchaseTypeList, securityTypes()), QStringList());
}

void T::securityClasses_inComposedKeys_holdNoJoiningCharacter() {
    const QStringList codes = exchangeCodes() + securityTypes() + securitySubTypes() +
                              MdcSubSecurityType::HKSharesTypeList +
                              MdcSubSecurityType::BondRepurchaseTypeList;
    QCOMPARE(holdingAnyOf(codes, QStringLiteral("-_*,:")), QStringList());
}

void T::businessMessageCodes_inComposedKeys_holdNoJoiningCharacter() {
    const QStringList codes = {BusiMsgType::TradeMsg, BusiMsgType::SystemMsg,
                               BusiMsgLevel::Emergency, BusiMsgLevel::Important,
                               SubscribeTopicSubType::clientPatchInfo};
    QCOMPARE(holdingAnyOf(codes, QStringLiteral("_/|")), QStringList());
}

void T::cageFields_besideTheTitle_areUnique() {
    QCOMPARE(repeated(cageFields() + QStringList{"title"}), QStringList());
}

void T::performanceTypes_besideTheDestinationKey_differFromIt() {
    const QStringList types = {ClientPerformType::CpuUsage, ClientPerformType::DiskUsage,
                               ClientPerformType::MemUsage, ClientPerformType::NetStat};
    QVERIFY(!types.contains(QStringLiteral("UploadDst")));
}

void T::callStackTexts_searchedInTurn_holdNoneOfTheOthers() {
    const QStringList texts = callStackTexts();
    for (const QString& text : texts) {
        QCOMPARE(texts.filter(text), QStringList(text));
    }
}

void T::valueGroup_againstTheHeaders_isListedWhole_data() {
    QTest::addColumn<QStringList>("listed");
    QTest::addColumn<QStringList>("inHeaders");
    const QMap<QString, QStringList> listed = listedGroups();
    const QMap<QString, QStringList> groups =
        groupsOf({"quindar_values.h", "torvi_values.h", "velmar_values.h"});
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        // A single value cannot collide, unless it reports a header that could not be parsed;
        // performance items are listed with the keys of the board.
        const bool isGroup = it->size() > 1 || it.key().endsWith(".h");
        if (isGroup && it.key() != "ClientPerformItem") {
            QTest::newRow(qPrintable(it.key())) << listed.value(it.key()) << *it;
        }
    }
}

void T::valueGroup_againstTheHeaders_isListedWhole() {
    QFETCH(QStringList, listed);
    QFETCH(QStringList, inHeaders);
    QCOMPARE(sorted(listed), sorted(inHeaders));
}

void T::valueGroup_withinItself_isUnique_data() {
    QTest::addColumn<QStringList>("values");
    for (const ValueGroup& group : kValueGroups) {
        QTest::newRow(group.name) << group.values;
    }
}

void T::valueGroup_withinItself_isUnique() {
    QFETCH(QStringList, values);
    QCOMPARE(repeated(values), QStringList());
    QVERIFY(!values.contains(QString()));
}

void T::listConstants_allOfThem_areFilledAndWithoutRepeats_data() {
    QTest::addColumn<QStringList>("values");
    QTest::newRow("Hong Kong shares") << MdcSubSecurityType::HKSharesTypeList;
    QTest::newRow("repos") << MdcSubSecurityType::BondRepurchaseTypeList;
    QTest::newRow("cash") << SideUnion::normalSideList;
    QTest::newRow("margin") << SideUnion::marginOrderSideList;
    QTest::newRow("futures") << SideUnion::futuresSideList;
    QTest::newRow("options") << SideUnion::optionSideList;
}

void T::listConstants_allOfThem_areFilledAndWithoutRepeats() {
    QFETCH(QStringList, values);
    QVERIFY(!values.isEmpty());
    QVERIFY(!values.contains(QString()));
    QCOMPARE(repeated(values), QStringList());
}

void T::sideLists_ofDifferentBusinesses_shareNoSide() {
    QCOMPARE(repeated(SideUnion::normalSideList + SideUnion::marginOrderSideList +
                      SideUnion::futuresSideList + SideUnion::optionSideList),
             QStringList());
}

QTEST_APPLESS_MAIN(VocabularyValuesTest)
#include "vocabulary_values_test.moc"
