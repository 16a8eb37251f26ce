#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUrl>
#include <QtTest>

#include "process_per_case.h"
#include "shared_settings.h"
#include "startup_record.h"
#include "vocabulary/constants.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zncore/zn_core.h"

namespace {

using Request = ScriptedLink::Request;

inline const QString kCore = QStringLiteral("ZnBusinessDataManager::");
inline const QString kPresenter = QStringLiteral("VelmarBusinessDataManagerPresenterClass::");
inline const QString kPatch = QStringLiteral("P7");
inline const QString kProbe = QStringLiteral("probe");

QString textForm(const QVariantMap& record) {
    QString error;
    return VelmarUtils::TransMap2Str(record, error);
}

void writeFile(const QString& path, const QString& text) {
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    QVERIFY2(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size(), qPrintable(path));
}

QString defaultConfig(const QString& name) {
    return VelmarUtils::GetDefaultUserCfgFileDir() + name;
}

/// What earlier runs and the user leave for a start: error files, a crash with its record, an
/// applied patch, settings.
void leaveTraces(const QString& home) {
    const QDateTime now = QDateTime::currentDateTime();
    writeFile(home + "/log/ZnUpdateClient/ErrorRecord.csv", textForm({{"ErrorCode", "E5"}}));
    const QVariantMap crash{{"time", now.toString(DateTimeFormatString::STD_DATE_TIME_MS_FORMAT)},
                            {ClientMonitor::TagCallStack, QVariantList{DumpCallStackString::grpc}}};
    writeFile(home + "/log/dmpLog_1.txt", textForm({{ClientMonitor::TagDump, crash}}));
    writeFile(home + "/crash.dmp", QString());
    writeFile(defaultConfig("dmpRecord.txt"), "old.dmp|20260101_000000|1MB");
    QVERIFY(QDir::setCurrent(home));  // dumps of the application's folder are looked up there
    writeFile(defaultConfig("ignoreSmallScreen.ini"), "[General]\nIgnoreSmallScreen=true\n");
    SharedSettings(defaultConfig("patchClientSet.cfg"), nullptr)
        .lockedSetValue("P1/" + ClientPatch::PatchStatus, "1");
    ZnCore::instance()->saveSetting(Constants::PLUGIN_VIEWCUSTOMHIDESTYLE + "/orders", "1");
    ZnCore::instance()->setCommonInfo(kProbe, 7);
}

QVariantMap cageOfAll() {
    return {{CageField::controlType, 1}, {CageField::buyPercent, 2},
            {CageField::buyUnit, 10},    {CageField::sellPercent, 2},
            {CageField::sellUnit, 10},   {CageField::securityType, QVariantList{"*-*-*"}}};
}

/// The server's own settings: the cage, whether it applies, what performance items are reported,
/// and whether logs are sent up after a crash.
ScriptedReply systemItem(const Request& request) {
    const QString name = request.header.value(System::itemName).toString();
    if (name == SystemItemName::TagPriceCage) {
        return ScriptedReply::rows({{{System::itemValue, textForm({{"cage", cageOfAll()}})}}});
    }
    if (name == SystemItemName::TagPriceCageApply) {
        const QVariantMap applies{{CageField::status, true}};
        return ScriptedReply::rows({{{System::itemValue, textForm({{"1", applies}})}}});
    }
    if (name == SystemItemName::TagClientPerformanceCfg) {
        const QVariantMap once{{"items", QStringList{kProbe}}, {"period", 0}};
        const QVariantMap hourly{{"items", QStringList{kProbe}}, {"period", 3600}};
        return ScriptedReply::rows(
            {{{System::itemValue,
               textForm({{"UploadDst", 2}, {"once", once}, {"hourly", hourly}})}}});
    }
    return ScriptedReply::rows({{{System::sysConfigValue, "true"}}});
}

/// A server that has an answer to every request of a start, with rows wherever they lead to a
/// further step.
void answerEverything(ScriptedLink& link, const QString& offeredPatch) {
    for (const QString& type :
         {Velmar_MsgType::HKStockExchangeRateRequest, Velmar_MsgType::HKPriceUnitRequest,
          Quindar_MsgType::getUserProfileDataRequest, Quindar_MsgType::subscribeTopicRequest,
          Velmar_MsgType::AlterClientPatchInfoRequest,
          Velmar_MsgType::QueryRiskSecurityFlagInfoRequest}) {
        link.on(type, ScriptedReply::rows({}));
    }
    link.onEach(Velmar_MsgType::getSysConfigRequest, systemItem);
    link.onEach(Quindar_MsgType::sysConfigRequest, systemItem);
    link.on(Velmar_MsgType::queryBusiMessagesRequest,
            ScriptedReply::rows({{{BusiMsgCenter::ServerMsgId, "S1"},
                                  {System::positionStr, "1"},
                                  {System::textDescription, "text"},
                                  {System::BusiMsgLevel, BusiMsgLevel::Important},
                                  {System::BusiMsgType, BusiMsgType::TradeMsg},
                                  {System::BusiMsgSubType, "4001"},
                                  {System::createTime, QDateTime::currentMSecsSinceEpoch()}}}));
    link.on(Velmar_MsgType::queryProductDataVersionRequest,
            ScriptedReply::rows(
                {{{System::dataKey, OwnKeys::riskInfoItem}, {System::dataVersion, 1}}}));
    link.on(Velmar_MsgType::queryProductRiskInfoRequest,
            ScriptedReply::rows({{{Security::securityID, "600000"},
                                  {UserAccount::securityExchange, Exchange::sh}}}));
    link.on(Velmar_MsgType::QueryClientPatchInfoRequest,
            ScriptedReply::rows({{{ClientPatch::PatchId, kPatch},
                                  {ClientPatch::PatchUrl, offeredPatch},
                                  {ClientPatch::Remark, "remark"},
                                  {System::dataVersion, VelmarUtils::GetAppVersion()}}}));
}

/// What the thread that starts the plug-in does: the core's constructor, then the presenter's.
QStringList linesOfTheStartingThread() {
    const QString rules = kCore + "initSymbolQtyRules ";
    return {"init ZnBusinessDataManager", "init ZnBusinessDataManager curNewMsgIdIndex",
            "加载标准券代码共计： 2", rules + "证券代码数量步长初始化:",
            rules + "证券代码最小委托数量初始化:", rules + "单笔订单委托数量最大值初始化",
            "获取到消息中心设置文件", kCore + "initBusiMsgCenterData ",
            // Nobody has saved trade fees.
            kCore + "slotTradeFeeSettingChanged 转换交易费率设置失败！", subscribes(0x31000),
            subscribes(0x31001), subscribes(0x31002), subscribes(EventMsgName::BUSI_MSG_ADD),
            subscribes(0x35000), subscribes(0x35001),
            subscribes(EventMsgName::ETFTRADESETTING_TRADEFEECHANGE), subscribes(0x30001),
            subscribes(0x30006), subscribes(0x30004), subscribes(0x10006), subscribes(0x1000B),
            subscribes(0x10005), subscribes(0x10012), subscribes(0x1000A),
            "subscribes to push " + Velmar_MsgType::MessageCenterPushMsg,
            "subscribes to push " + Velmar_MsgType::ClientPatchInfoPush,
            subscribes(EventMsgName::CalcRealizedProfitInitEvent),
            "lauch VelmarBusinessDataManager ", "VelmarBusinessData first load! "};
}

/// The same with what the constructor's reports log, which stand behind the message table.
QStringList withReports(QStringList lines, const QStringList& reports) {
    const int table = lines.indexOf(kCore + "initBusiMsgCenterData ");
    for (int i = 0; i < reports.size(); ++i) {
        lines.insert(table + 1 + i, reports.at(i));
    }
    return lines;
}

/// The first steps of the object thread: one account is loaded, and the prices' requests that
/// follow.
QStringList linesOfTheAccounts() {
    const QString query = QStringLiteral("syncQueryExFundAccount------ ");
    return {"userAccountDataInited check not ready !!!!!!!!!!",
            "第1次InitFundAccountList开始执行",
            kCore + "initCurSecurityAccount 首次初始化当前股东账号信息",
            "++++++++InitFundAccountList获取到交易交易帐号： (\"T0001\")",
            kCore + "InitFundAccountList  authority type list:",
            "开始查询外部绑定表信息",
            query + "begin send request",
            "sends 120006",
            query + "get response code: 0",
            "获取到账号信息，交易账号T0001，",
            "产品P1-产品一下交易账号：T0001",
            "结束查询外部绑定表信息",
            "初始化账号优先级排序：",
            "修改后账号优先级排序：",
            "第1次InitFundAccountList处理完毕",
            "InitFundAccountList over putevent:",
            publishes(EventMsgName::Velmar_Fundaccount_Inited)};
}

QStringList linesOfInitData() {
    return {"positions were read again:", kCore + "InitData 初始化新股信息",
            kCore + "InitData 初始化融券通代码信息",
            // Once more when the timer for them has started.
            "positions were read again:"};
}

/// From the first beat of the trade gate to that of market data.
QStringList linesOfBeats() {
    return {"sends " + Velmar_MsgType::BusiHeartBeatRequest,
            "sends 325005 with " + Velmar_MsgType::BusiHeartBeatRequest,
            publishes(EventMsgName::BUSI_HEART_BEAT_STATISTIC),
            kPresenter + "recordNetElapseToRemind \"MarketTcpGate\" "};
}

}  // namespace

/// Plays the start-up to its end and compares what every thread of the plug-in did, in order.
class WholeStartupTest : public QObject {
    Q_OBJECT

private slots:
    void startUp_everyRequestAnswered_keepsTheOrderOnEveryThread() {
        StartupRecord record(
            StaticDbBuilder().referenceText("bond", "one", "{").reference("bond", "two", {}));
        const QString home = record.world().homeDir();
        leaveTraces(home);
        writeFile(home + "/offer.zip", "zip");
        answerEverything(record.world().link(),
                         QUrl::fromLocalFile(home + "/offer.zip").toString());
        record.play();
        QVERIFY(record.log().waitFor(kCore + "insertToDataBase", kLongMs));

        const QString dumps = kCore + "uploadDmpMonitorInfo ";
        QStringList starting = withReports(
            linesOfTheStartingThread(), {dumps + "\"dmpLog_1.txt\"", dumps + "record exception map",
                                         kCore + "uploadSkinChangeInfo "});
        // The risk notices reach the core there.
        starting +=
            QStringList{"风险警示股过滤主产品库不存在代码：600000.", "初始化/更新风险警示股"};
        compare(record.linesOf(record.startingThread()), starting);

        const QString cage = kCore + "initCageMap ";
        const QString performance = kPresenter + "startClientPerformUpload ";
        const QString dump = kPresenter + "uploadDmpInfo ";
        compare(
            record.linesOf(record.objectThread()),
            linesOfTheAccounts() +
                QStringList{"sends " + Velmar_MsgType::HKStockExchangeRateRequest,
                            "sends " + Velmar_MsgType::HKPriceUnitRequest,
                            "sends " + Velmar_MsgType::HKPriceUnitRequest,
                            "sends " + Quindar_MsgType::getUserProfileDataRequest, cage + "user",
                            cage + "local", "sends " + Velmar_MsgType::getSysConfigRequest,
                            cage + "server", "sends " + Velmar_MsgType::getSysConfigRequest,
                            cage + "united", publishes(EventMsgName::PRICE_CAGE_INFO_FINISH_INIT)} +
                linesOfInitData() +
                QStringList{"sends 325005 with " + Quindar_MsgType::subscribeTopicRequest,
                            "sends " + Velmar_MsgType::queryBusiMessagesRequest,
                            publishes(EventMsgName::BUSI_MSG_LOADED)} +
                linesOfBeats() +
                QStringList{"sends " + Quindar_MsgType::sysConfigRequest, performance,
                            "sends " + Velmar_MsgType::queryProductDataVersionRequest,
                            "sends " + Velmar_MsgType::queryProductRiskInfoRequest,
                            "sends " + Velmar_MsgType::AlterClientPatchInfoRequest,
                            "the reported dumps: QSet(\"old.dmp\")", dump + "(\"crash.dmp\")",
                            "sends " + Quindar_MsgType::sysConfigRequest, dump + "QDateTime(",
                            publishes(EventMsgName::LogUploadEvent),
                            "sends " + Quindar_MsgType::subscribeTopicRequest,
                            kCore + "subPushMessage ",
                            "sends " + Velmar_MsgType::QueryClientPatchInfoRequest,
                            publishes(EventMsgName::ClientPatchUpdateEvent),
                            "sends " + Velmar_MsgType::QueryRiskSecurityFlagInfoRequest,
                            "risk types: 0 rows"});

        QCOMPARE(record.requestsAtTheServer(),
                 record.linesOf(record.objectThread()).filter(QRegularExpression("^sends ")));
        const QString statistic = publishes(EventMsgName::BUSI_HEART_BEAT_STATISTIC);
        compare(record.linesOf(record.messageThread()), {statistic, statistic});
        compare(record.linesOfOthers(),
                {"VelmarBusiMsgDataBase::run", "VelmarBusiMsgDataBase::run insert length  1",
                 kCore + "insertToDataBase 1"});

        const QString error = ClinetInfoUpload::ClientErrorInfo + ' ';
        compare(
            record.clientInfo(10),
            {ClinetInfoUpload::AutoUpdateError + " E5", error + ClientErrorType::ExceptionExitError,
             ClinetInfoUpload::SystemButtomClicked + " ZNApp.Frame.MainFrame",
             error + ClientErrorType::StaticInfoDbError,
             ClinetInfoUpload::BusinessMessage + " IgnoreSmallScreen",
             ClinetInfoUpload::BusinessMessage + " PlatformTableColumnVisible",
             ClinetInfoUpload::ClientPerformanceInfo + ' ' + kProbe,
             error + ClientErrorType::StaticInfoDbError, error + ClientErrorType::DmpInfoError,
             ClinetInfoUpload::UserOperRecord + ' ' + AutoLoginSetting::AutoLogin});
    }

    void startUp_nothingButTheAccountsAnswered_goesOnToItsEnd() {
        StartupRecord record;
        record.play();
        compare(record.linesOf(record.startingThread()),
                withReports(linesOfTheStartingThread(),
                            {kCore + "uploadDmpMonitorInfo record exception map",
                             kCore + "uploadSkinChangeInfo "}));

        const QString cage = kCore + "initCageMap ";
        const QString dump = kPresenter + "uploadDmpInfo ";
        const QStringList pushes{
            "sends " + Quindar_MsgType::subscribeTopicRequest,
            "request " + Quindar_MsgType::subscribeTopicRequest,
            "客户端1次订阅" + Velmar_MsgType::ClientPatchInfoPush + "主题失败"};
        compare(
            record.linesOf(record.objectThread()),
            linesOfTheAccounts() + refused(Velmar_MsgType::HKStockExchangeRateRequest) +
                refused(Velmar_MsgType::HKPriceUnitRequest) +
                refused(Velmar_MsgType::HKPriceUnitRequest) +
                refused(Quindar_MsgType::getUserProfileDataRequest) + QStringList{cage + "local"} +
                refused(Velmar_MsgType::getSysConfigRequest) +
                refused(Velmar_MsgType::getSysConfigRequest) +
                QStringList{"读取内置价格笼子应用设置:", "读取本地价格笼子应用设置:",
                            "读取内置价格笼子参数设置:", "读取本地价格笼子参数设置:",
                            "本地SecurityType证券索引:", cage + "united",
                            publishes(EventMsgName::PRICE_CAGE_INFO_FINISH_INIT)} +
                linesOfInitData() +
                QStringList{"sends 325005 with " + Quindar_MsgType::subscribeTopicRequest} +
                refused(Velmar_MsgType::queryBusiMessagesRequest) +
                QStringList{publishes(EventMsgName::BUSI_MSG_LOADED)} + linesOfBeats() +
                QStringList{"没有新增的产品数据库错误"} +
                refused(Quindar_MsgType::sysConfigRequest) +
                QStringList{kPresenter + "startClientPerformUpload 查询终端指标上报配置失败："} +
                refused(Velmar_MsgType::queryProductDataVersionRequest) + QStringList{dump + "()"} +
                pushes + refused(Velmar_MsgType::QueryClientPatchInfoRequest) +
                refused(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest));

        const QString statistic = publishes(EventMsgName::BUSI_HEART_BEAT_STATISTIC);
        compare(record.linesOf(record.messageThread()),
                {"request " + Quindar_MsgType::subscribeTopicRequest, statistic, statistic});
        compare(record.linesOfOthers(), {"VelmarBusiMsgDataBase::run"});
        compare(record.clientInfo(2),
                {ClinetInfoUpload::SystemButtomClicked + " ZNApp.Frame.MainFrame",
                 ClinetInfoUpload::UserOperRecord + ' ' + AutoLoginSetting::AutoLogin});
    }

private:
    /// A request and the line about its refusal.
    static QStringList refused(const QString& type) { return {"sends " + type, "request " + type}; }
};

VELMAR_PROCESS_PER_CASE_MAIN(WholeStartupTest)
#include "whole_startup_test.moc"
