#include <QStringList>
#include <QtTest>

#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "vocabulary_lists.h"

namespace {

// Every field key: fields of all groups may meet in one record.
const QStringList kFieldKeys = {CustomField::priceType,
                                Instruction::InstructionID,
                                MDCFieldDefine::mdcSecurityType,
                                MDCFieldDefine::mdcSubSecurityType,
                                Security::LotSize,
                                Security::alterType,
                                Security::avgPx,
                                Security::cancelledQty,
                                Security::chineseName,
                                Security::clOrdID,
                                Security::contractMultiplier,
                                Security::cumQty,
                                Security::entrustType,
                                Security::execID,
                                Security::lastQty,
                                Security::leaveQty,
                                Security::listID,
                                Security::maxPriceLevels,
                                Security::minEntrustRatio,
                                Security::minQty,
                                Security::nominalQty,
                                Security::omsAverageCost,
                                Security::orderFlowType,
                                Security::orderID,
                                Security::orderQty,
                                Security::orderStation,
                                Security::orderStatus,
                                Security::orderType,
                                Security::parentOrderID,
                                Security::securityID,
                                Security::securityIDSource,
                                Security::side,
                                Security::subscriptionRequestType,
                                Security::symbol,
                                Security::systemNodeId,
                                Security::timeInForce,
                                Security::transActTime,
                                Strategy::logTriggerTime,
                                System::BusiMsgLevel,
                                System::BusiMsgSubType,
                                System::BusiMsgType,
                                System::accessLevel,
                                System::businessDate,
                                System::clientMsgID,
                                System::createTime,
                                System::deleteFlag,
                                System::fuzzy,
                                System::ip,
                                System::itemType,
                                System::itemValue,
                                System::itemValueEx,
                                System::msgType,
                                System::operType,
                                System::pageNo,
                                System::pageSize,
                                System::positionStr,
                                System::profileData,
                                System::profileKey,
                                System::requestExeStatus,
                                System::requestNumber,
                                System::subGroupNumber,
                                System::subscriptionTopic,
                                System::sysConfigKey,
                                System::sysConfigValue,
                                System::textDescription,
                                System::totalSize,
                                UserAccount::ExchangeExecStat,
                                UserAccount::ExchangeExecType,
                                UserAccount::accountStatus,
                                UserAccount::assetAccount,
                                UserAccount::assetAccountList,
                                UserAccount::assetAccountName,
                                UserAccount::investType,
                                UserAccount::investorAccount,
                                UserAccount::investorName,
                                UserAccount::isMainAccount,
                                UserAccount::loginUserId,
                                UserAccount::menuCaption,
                                UserAccount::menuId,
                                UserAccount::menuPosition,
                                UserAccount::menuType,
                                UserAccount::organCode,
                                UserAccount::productAccount,
                                UserAccount::productName,
                                UserAccount::seatNo,
                                UserAccount::securityAccount,
                                UserAccount::securityExchange,
                                UserAccount::tradeDate,
                                UserAccount::tradingAccount,
                                UserAccount::tradingAccountName,
                                UserAccount::userID,
                                UserAccount::userName,
                                UserAccount::userStatus,
                                UserAccount::userType,
                                AppraisementCalculate::IsIncludeCancel,
                                AppraisementCalculate::IsIncludeDischarge,
                                AppraisementInfo::ProductRecord,
                                AppraisementInfo::benefitTotal,
                                AssetDeliver::BusinessTime,
                                BusiMsgCenter::PopSwitch,
                                BusiMsgCenter::ReadStatus,
                                BusiMsgCenter::RemindSwitch,
                                BusiMsgCenter::SaveDB,
                                BusiMsgCenter::ServerMsgId,
                                ClientPatch::ExcludeUpdated,
                                ClientPatch::PatchId,
                                ClientPatch::PatchStatus,
                                ClientPatch::PatchUrl,
                                ClientPatch::Remark,
                                ETF::EtfInstCancelRedoFlag,
                                ETF::EtfInstOrderUnit,
                                ETF::EtfInstanceStage,
                                ETF::UserReference1,
                                GoldTrade::TradeUnitQty,
                                HKSExchgRate::HKLevelPrice,
                                HKSExchgRate::HKLevelUpPrice,
                                HKSExchgRate::HKPriceUnitType,
                                HKSExchgRate::HKSExchgRateBuy,
                                HKSExchgRate::HKSExchgRateMid,
                                HKSExchgRate::HKSExchgRateSell,
                                Margin::executionCommission,
                                NewStock::securityName,
                                PanfenEquityFlowInfo::OccurredDate,
                                PanfenEquityFlowInfo::ProductRecord,
                                QuantMsgField::textTitle,
                                Security::ListingDate,
                                Security::STFlag,
                                Security::ScienTechGrowFlag,
                                Security::delistDate,
                                Security::delistFlag,
                                Security::lastAmount,
                                Security::replyMode,
                                Security::riskRemindInfo,
                                SymbolRiskType::riskFlagType,
                                SysTradeDate::Days,
                                SysTradeDate::InitEndDate,
                                SysTradeDate::InitStartDate,
                                SysTradeDate::TradeDate,
                                SysTradeDate::TradeDayType,
                                System::CpuUsage,
                                System::GatewayType,
                                System::MemUsage,
                                System::NetElapse,
                                System::SubMsgType,
                                System::alterType,
                                System::avgNetElapse,
                                System::clientTimeDiff,
                                System::dataKey,
                                System::dataVersion,
                                System::endDate,
                                System::endTime,
                                System::itemDesp,
                                System::itemName,
                                System::itemValueNum,
                                System::queryDate,
                                System::startDate,
                                System::timeStamp,
                                UserAccount::OTCFundAccount,
                                UserAccount::account,
                                UserAccount::accountType,
                                UserAccount::authType,
                                UserAccount::authValue,
                                UserAccount::counterSiteType,
                                UserAccount::passStatus,
                                VelmarStrategy::instanceId};

const QStringList kMessageTypes = {Quindar_MsgType::getUserProfileDataRequest,
                                   Quindar_MsgType::menuConfigurationRequest,
                                   Quindar_MsgType::newOrderList,
                                   Quindar_MsgType::orderCancelRequest,
                                   Quindar_MsgType::subscribeTopicRequest,
                                   Quindar_MsgType::sysConfigRequest,
                                   Quindar_MsgType::quant::GetUserRequest,
                                   Velmar_MsgType::AlterClientPatchInfoRequest,
                                   Velmar_MsgType::BusiHeartBeatRequest,
                                   Velmar_MsgType::BusiHeartBeatResponse,
                                   Velmar_MsgType::ClientInfoUploadAPMRequest,
                                   Velmar_MsgType::ClientInfoUploadRequest,
                                   Velmar_MsgType::ClientPatchInfoPush,
                                   Velmar_MsgType::HKPriceUnitRequest,
                                   Velmar_MsgType::HKStockExchangeRateRequest,
                                   Velmar_MsgType::MessageCenterPushMsg,
                                   Velmar_MsgType::QueryClientPatchInfoRequest,
                                   Velmar_MsgType::QueryMonitorSymbolsRequest,
                                   Velmar_MsgType::QueryPanfenFlowRequest,
                                   Velmar_MsgType::QueryRiskSecurityFlagInfoRequest,
                                   Velmar_MsgType::alterAccountAuthPermRequest,
                                   Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest,
                                   Velmar_MsgType::getAccountAuthPermRequest,
                                   Velmar_MsgType::getAnnualReportRequest,
                                   Velmar_MsgType::getSysConfigRequest,
                                   Velmar_MsgType::getSysMenuRequest,
                                   Velmar_MsgType::getSysTradeDateByInitDateRequest,
                                   Velmar_MsgType::getSysTradeDateByScopeRequest,
                                   Velmar_MsgType::getSysUserTradingPermRequest,
                                   Velmar_MsgType::queryBusiMessagesRequest,
                                   Velmar_MsgType::queryHistoryAppraisementRequest,
                                   Velmar_MsgType::queryHistoryAssetDeliveryRequest,
                                   Velmar_MsgType::queryHistoryExchangeOrderRequest,
                                   Velmar_MsgType::queryHistoryExecutionRequest,
                                   Velmar_MsgType::queryHistoryMarginFundRequest,
                                   Velmar_MsgType::queryHistoryNormalFundRequest,
                                   Velmar_MsgType::queryHistoryProfitRequest,
                                   Velmar_MsgType::queryProductDataVersionRequest,
                                   Velmar_MsgType::queryProductRiskInfoRequest,
                                   Velmar_MsgType::queryTodayNormalFundRequest,
                                   Velmar_MsgType::salesTradeRealGatherHistoryRequest};

// The process-wide board is one flat table for all writers.
const QStringList kBoardKeys = {ClientPerformItem::DealCount,
                                ClientPerformItem::OrderCount,
                                ClientPerformItem::PositionCount,
                                ClientPerformItem::ClientCpuUsage,
                                ClientPerformItem::ClientMemUsage,
                                ClientPerformItem::ClientScaleFactor,
                                ClientPerformItem::ClientSkin,
                                ClientPerformItem::CpuFreq,
                                ClientPerformItem::CpuLogicCount,
                                ClientPerformItem::CpuName,
                                ClientPerformItem::DumpFileCount,
                                ClientPerformItem::DumpFileSize,
                                ClientPerformItem::InfoLatency,
                                ClientPerformItem::InfoMsgCount,
                                ClientPerformItem::InfoMsgSize,
                                ClientPerformItem::LogFileCount,
                                ClientPerformItem::LogFileSize,
                                ClientPerformItem::MdcLatency,
                                ClientPerformItem::MdcMsgCount,
                                ClientPerformItem::MdcMsgSize,
                                ClientPerformItem::MdcTotalMsgCount,
                                ClientPerformItem::MdcTotalMsgSize,
                                ClientPerformItem::OSName,
                                ClientPerformItem::OSVersion,
                                ClientPerformItem::OrderDbFileSize,
                                ClientPerformItem::RemainDisk,
                                ClientPerformItem::RemainMem,
                                ClientPerformItem::ScreenInfo,
                                ClientPerformItem::ThreadNum,
                                ClientPerformItem::TotalCpuUsage,
                                ClientPerformItem::TotalDisk,
                                ClientPerformItem::TotalInfoMsgCount,
                                ClientPerformItem::TotalInfoMsgSize,
                                ClientPerformItem::TotalMemUsage,
                                ClientPerformItem::TotalTradeMsgCount,
                                ClientPerformItem::TotalTradeMsgSize,
                                ClientPerformItem::TradeLatency,
                                ClientPerformItem::TradeMsgCount,
                                ClientPerformItem::TradeMsgSize,
                                ClientErrorType::ComputerResume,
                                ClientErrorType::ComputerSuspend,
                                ClientMonitor::TagDump,
                                AutoLoginSetting::AutoLogin};

// Some field keys and a cache key are also section names of the static configuration.
const QStringList kSectionNames = {DictionaryKey::BusiMsgMenuRela,
                                   DictionaryKey::HkFundPriceUnitDict,
                                   DictionaryKey::HkStockPriceUnitDict,
                                   DictionaryKey::Markert2SymbolPost,
                                   DictionaryKey::VelmarBusiMsgDefaultSetting,
                                   DictionaryKey::VelmarBusiMsgTypeDict,
                                   UserAccount::authType,
                                   System::BusiMsgType,
                                   System::BusiMsgSubType,
                                   Constants::ORDERSTATUSSWITCH,
                                   QStringLiteral("StepQtyRule"),
                                   QStringLiteral("MinQtyRule"),
                                   QStringLiteral("MaxQtyRule"),
                                   QStringLiteral("BusiMsgCenter"),
                                   QStringLiteral("NetGateName"),
                                   QStringLiteral("ProductReports")};

}  // namespace

class VocabularyUniquenessTest : public QObject {
    Q_OBJECT

private slots:
    void fieldKeys_againstTheHeaders_areAllListedHere();
    void fieldKeys_overAllGroups_areUnique();
    void fieldKeys_besideNumericTags_differFromThem();
    void fieldKeys_inComposedKeys_holdNoJoiningCharacter();
    void messageTypes_againstTheHeaders_areAllListedHere();
    void messageTypes_ofBothFamilies_areUnique();
    void messageTypes_besideLiteralTypes_differFromThem();
    void messageTypes_asSubscriptionTopics_holdNoJoiningCharacter();
    void boardKeys_ofAllWriters_areUnique();
    void boardKeys_performanceItemsOfTheHeaders_areAllListedHere();
    void sectionNames_besideLiteralOnes_areUnique();
};

using T = VocabularyUniquenessTest;

void T::fieldKeys_againstTheHeaders_areAllListedHere() {
    QCOMPARE(sorted(kFieldKeys),
             sorted(literalsOf({"quindar_fields.h", "velmar_fields.h", "algo_fields.h"})));
}

void T::fieldKeys_overAllGroups_areUnique() {
    QCOMPARE(repeated(kFieldKeys), QStringList());
    QVERIFY(!kFieldKeys.contains(QString()));
}

void T::fieldKeys_besideNumericTags_differFromThem() {
    const QStringList tags = {"58",    "10094", "10081", "10086", "11354",
                              "10078", "10079", "10083", "10087", "11352"};
    QCOMPARE(common(kFieldKeys, tags), QStringList());
}

void T::fieldKeys_inComposedKeys_holdNoJoiningCharacter() {
    QCOMPARE(holdingAnyOf(kFieldKeys, QStringLiteral("_,:|/")), QStringList());
}

void T::messageTypes_againstTheHeaders_areAllListedHere() {
    QCOMPARE(sorted(kMessageTypes),
             sorted(literalsOf({"quindar_msg_type.h", "velmar_msg_type.h"})));
}

void T::messageTypes_ofBothFamilies_areUnique() {
    QCOMPARE(repeated(kMessageTypes), QStringList());
    QVERIFY(!kMessageTypes.contains(QString()));
}

void T::messageTypes_besideLiteralTypes_differFromThem() {
    const QStringList literals = {"325005", "120006", "261202", "261212"};
    QCOMPARE(common(kMessageTypes, literals), QStringList());
}

void T::messageTypes_asSubscriptionTopics_holdNoJoiningCharacter() {
    QCOMPARE(holdingAnyOf(kMessageTypes, QStringLiteral("_/|")), QStringList());
}

void T::boardKeys_ofAllWriters_areUnique() {
    QCOMPARE(repeated(kBoardKeys), QStringList());
}

void T::boardKeys_performanceItemsOfTheHeaders_areAllListedHere() {
    const QStringList items =
        groupsOf({"quindar_values.h", "velmar_values.h"}).value("ClientPerformItem");
    QVERIFY(items.size() > 1);
    QCOMPARE(sorted(common(items, kBoardKeys)), sorted(items));
}

void T::sectionNames_besideLiteralOnes_areUnique() {
    QCOMPARE(repeated(kSectionNames), QStringList());
}

QTEST_APPLESS_MAIN(VocabularyUniquenessTest)
#include "vocabulary_uniqueness_test.moc"
