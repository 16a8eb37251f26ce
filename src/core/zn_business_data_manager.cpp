#include "zn_business_data_manager.h"

#include <QCoreApplication>
#include <QThread>

#include "account_authority.h"
#include "account_edits.h"
#include "account_lookups.h"
#include "account_state.h"
#include "asset_delivery.h"
#include "businessdatamanager/business_data_interface.h"
#include "commonquotahandler/common_quota_handler.h"
#include "deal_statistics.h"
#include "exit_errors.h"
#include "external_account_query.h"
#include "fund_abbr_names.h"
#include "fund_account_table.h"
#include "fund_reports.h"
#include "history_lists.h"
#include "history_records.h"
#include "hong_kong_prices.h"
#include "linkage_events.h"
#include "log.h"
#include "market_values.h"
#include "menu_plugin_table.h"
#include "message_flow.h"
#include "message_store.h"
#include "order_messages.h"
#include "price_cage.h"
#include "price_rules.h"
#include "price_unit_ladders.h"
#include "product_reports.h"
#include "push_subscriptions.h"
#include "quantity_rules.h"
#include "remind_settings.h"
#include "responsible_presenter.h"
#include "risk_notice_waiver.h"
#include "security_accounts.h"
#include "server_items.h"
#include "skin_report.h"
#include "symbol_data.h"
#include "symbol_identity.h"
#include "symbol_risk_flags.h"
#include "tradability.h"
#include "trade_dates.h"
#include "trader_table.h"
#include "user_authorities.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_event_msg_id.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"
#include "znbasebusinessdatamgr/zn_new_stock_data_handler.h"
#include "znbasebusinessdatamgr/zn_rqt_base_data_handler.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"
#include "znwidget/zn_presenter_class.h"

namespace {

// True until an object claims the start-up work by an exchange.
std::atomic<bool> s_firstConstruction{true};

constexpr const char* kInitDataTag = "ZnBusinessDataManager::InitData";

}  // namespace

ZnBusinessDataManager* ZnBusinessDataManager::instance() {
    static ZnBusinessDataManager manager;
    return &manager;
}

ZnBusinessDataManager::ZnBusinessDataManager(QObject* parent)
    : QObject(parent),
      m_accountState(std::make_unique<AccountState>()),
      m_fundAbbrNames(std::make_unique<FundAbbrNames>()),
      m_securityAccounts(std::make_unique<SecurityAccounts>(
          *m_accountState, static_cast<SecurityAccountSink&>(*this))),
      m_externalAccountQuery(
          std::make_unique<ExternalAccountQuery>(*m_accountState, *m_fundAbbrNames)),
      m_fundAccountTable(std::make_unique<FundAccountTable>(*m_accountState, *m_securityAccounts,
                                                            *m_externalAccountQuery)),
      m_accountLookups(std::make_unique<AccountLookups>(*m_accountState, *m_securityAccounts)),
      m_accountEdits(std::make_unique<AccountEdits>(*m_accountState, *m_fundAbbrNames)),
      m_userAuthorities(std::make_unique<UserAuthorities>(*m_accountState)),
      m_traderTable(std::make_unique<TraderTable>()),
      m_symbolIdentity(std::make_unique<SymbolIdentity>()),
      m_quantityRules(std::make_unique<QuantityRules>(*m_symbolIdentity)),
      m_tradability(std::make_unique<Tradability>(*m_symbolIdentity, *m_securityAccounts)),
      m_priceUnitLadders(std::make_unique<PriceUnitLadders>()),
      m_hongKongPrices(std::make_unique<HongKongPrices>(*m_priceUnitLadders)),
      m_priceCage(std::make_unique<PriceCage>(*m_symbolIdentity, m_clock,
                                              static_cast<PriceCageSink&>(*this))),
      m_priceRules(
          std::make_unique<PriceRules>(*m_symbolIdentity, *m_hongKongPrices, *m_priceCage)),
      m_riskNoticeWaiver(std::make_unique<RiskNoticeWaiver>(m_clock)),
      m_symbolRiskFlags(std::make_unique<SymbolRiskFlags>(
          *m_symbolIdentity, *m_riskNoticeWaiver, m_clock, static_cast<RiskMessageSink&>(*this))),
      m_orderMessages(std::make_unique<OrderMessages>(*m_securityAccounts, m_clock)),
      m_symbolData(
          std::make_unique<SymbolData>(*m_symbolIdentity, *m_priceRules, *m_hongKongPrices)),
      m_marketValues(std::make_unique<MarketValues>(*m_symbolData)),
      m_menuPluginTable(std::make_unique<MenuPluginTable>()),
      m_remindSettings(std::make_unique<RemindSettings>(m_clock)),
      m_messageStore(std::make_unique<MessageStore>(m_clock)),
      m_messageFlow(std::make_unique<MessageFlow>(
          *m_messageStore, *m_remindSettings, *m_accountLookups, static_cast<BusiMsgSink&>(*this))),
      m_historyLists(std::make_unique<HistoryLists>(*m_symbolData)),
      m_historyRecords(std::make_unique<HistoryRecords>()),
      m_dealStatistics(std::make_unique<DealStatistics>(*m_symbolData)),
      m_fundReports(std::make_unique<FundReports>(*m_accountLookups)),
      m_productReports(std::make_unique<ProductReports>()),
      m_assetDelivery(std::make_unique<AssetDelivery>(*m_symbolData)),
      m_tradeDates(std::make_unique<TradeDates>()),
      m_serverItems(std::make_unique<ServerItems>()),
      m_pushSubscriptions(std::make_unique<PushSubscriptions>()),
      m_linkageEvents(std::make_unique<LinkageEvents>()),
      m_clientInfo(this, static_cast<ClientInfoOutlet&>(*this)) {
    qCInfo(lcCore) << "init ZnBusinessDataManager";
    setObjectName(QStringLiteral("ZnBusinessDataManager"));
    if (s_firstConstruction.exchange(false)) {
        startUp();
    }
    moveToApplicationThread();
}

ZnBusinessDataManager::~ZnBusinessDataManager() = default;

/// The first caller may be any thread; the slots and timers run on the application's.
void ZnBusinessDataManager::moveToApplicationThread() {
    if (!parent() && qApp && thread() != qApp->thread()) {
        moveToThread(qApp->thread());
    }
}

void ZnBusinessDataManager::startUp() {
    qCInfo(lcCore) << "init ZnBusinessDataManager curNewMsgIdIndex";
    curNewMsgIdIndex = VelmarEventMsgID::TORVI_BASE_TYPE;
    m_messageStore->startWriter();
    m_marketValues->loadStandardBonds();
    registerMetaTypes();
    m_quantityRules->initSymbolQtyRules();
    loadReferenceData();
    startTickFeed();
    m_remindSettings->initBusiMsgRemindSetting(this);
    VelmarUtils::ResetSkin();
    ZnSystemSettingDataMgr::instance().init();
    m_messageStore->initBusiMsgCenterData();
    // Direct: a message that is marked read just before the end must reach the writer's list.
    connect(
        this, &ZnBusinessDataManager::signalBusiMsgRead, this,
        [this](const QVariantMap& busiMsg) { m_messageStore->saveBusiMsgRead(busiMsg); },
        Qt::DirectConnection);
    // Items of the steps below are collected there, where a timer of the buffer fires.
    moveToApplicationThread();
    connectMonitoring();
    uploadClientUpdateError(static_cast<ClientInfoSink&>(*this));
    uploadDmpMonitorInfo(static_cast<ClientInfoSink&>(*this), m_clock);
    openSettings();
    m_riskNoticeWaiver->load();
    m_priceUnitLadders->load();
    uploadSkinChangeInfo(static_cast<ClientInfoSink&>(*this));
    m_quantityRules->slotTradeFeeSettingChanged();
}

void ZnBusinessDataManager::slotTradeFeeSettingChanged() {
    m_quantityRules->slotTradeFeeSettingChanged();
}

void ZnBusinessDataManager::slotPositionUpdated(QVariantMap dataMap) {
    m_marketValues->slotPositionUpdated(dataMap);
}

void ZnBusinessDataManager::registerMetaTypes() {
    qRegisterMetaType<QList<QVariantMap>>("QList<QVariantMap>");
    qRegisterMetaType<QList<QVariantMap>>("QList<QVariantMap>&");
    qRegisterMetaType<QMap<int, QVariantMap>>("QMap<int, QVariantMap>");
    qRegisterMetaType<QMap<int, QVariantMap>>("QMap<int, QVariantMap>&");
    // Qt looks a reference argument up under its own name. Without a registration the first queued
    // emission fails and the connection stays dead.
    qRegisterMetaType<QVariantMap>("QVariantMap&");
    qRegisterMetaType<ZnPresenterClass*>("ZnPresenterClass*");
}

void ZnBusinessDataManager::loadReferenceData() {
    ZnEtfDataHandler::instance().load();
    ZnBondDataMgr::instance().load();
    ZnGoldEtfDataMgr::instance()->load(0, 0);
}

void ZnBusinessDataManager::startTickFeed() {
    CommonQuotaHandler& ticks = CommonQuotaHandler::instance();
    ticks.Init();
    // With this object as the context, since the handler belongs to the thread that the slots have.
    connect(&ticks, &CommonQuotaHandler::sigTickDataUpdate, this,
            [this](const QString& symbol) { m_marketValues->takeTick(symbol); });
}

void ZnBusinessDataManager::openSettings() {
    m_fundAbbrNames->open(this);
    m_riskNoticeWaiver->open(this);
}

void ZnBusinessDataManager::RequeryFundInfo(ZnPresenterClass* presenter) const {
    if (!presenter) {
        return;
    }
    qCDebug(lcCore) << "ZnBusinessDataManager::RequeryFundInfo";
    BusinessDataInterface::RequeryAccountFundInfo(presenter);
}

void ZnBusinessDataManager::InitData(const std::function<bool()>& isBrokenOff) {
    m_marketValues->initPosData(isBrokenOff);
    ZnNewStockDataHandler::instance().init(ZnNewStockDataHandler::Issues);
    loadNewStocks();
    qCInfo(lcCore) << kInitDataTag << "初始化新股信息";
    ZnRqtBaseDataHandler::instance().initData(ZnRqtBaseDataHandler::Symbols);
    qCInfo(lcCore) << kInitDataTag << "初始化融券通代码信息";
}

void ZnBusinessDataManager::loadNewStocks() {
    const QStringList exchanges{Quindar_Values::Exchange::sh, Quindar_Values::Exchange::sz,
                                Velmar_Values::Exchange::bj};
    constexpr bool kIncludeDistributed = true;
    constexpr bool kWait = true;
    QStringList accounts;
    const auto records = m_accountLookups->GetFundAccountListByFundProp(
        kCashAndMargin, kTradeBit, kIncludeDistributed, exchanges, kWait);
    for (const tagUserAccountInfo& record : records) {
        accounts.append(record.tradingAccount);
    }
    ZnNewStockDataHandler::instance().SetTradingAccount(accounts);
    ZnNewStockDataHandler::instance().init(ZnNewStockDataHandler::Quotas);
}

void ZnBusinessDataManager::securityAccountSettingChanged() {
    emit signalSecurityAccountSettingChanged();
}

void ZnBusinessDataManager::priceCageInfoFinishInit() {
    emit signalPriceCageInfoFinishInit();
}

void ZnBusinessDataManager::AssembleHistoryEntrustDealList(QString strMsgType,
                                                           QList<QVariantMap> detailList) {
    m_historyLists->AssembleHistoryEntrustDealList(strMsgType, std::move(detailList));
}

void ZnBusinessDataManager::QueryAssetDileveryResponse(QString msgType, QVariantMap request,
                                                       QString reqExeStatus,
                                                       QList<QVariantMap> response) {
    m_assetDelivery->QueryAssetDileveryResponse(msgType, request, reqExeStatus, response);
}

void ZnBusinessDataManager::slotNetReconnect(QString netType, ZnPresenterClass* prtClass) {
    // Each presenter reports the reconnect to the one core.
    if (ResponsiblePresenter::is(prtClass)) {
        m_pushSubscriptions->subscribeAgain(prtClass, netType);
    }
    reportNetStatus(netType, 0);
}

void ZnBusinessDataManager::slotRecvBusiMsgPush(QVariantMap dataMap, bool bInDb) {
    m_messageFlow->slotRecvBusiMsgPush(dataMap, bInDb);
}

void ZnBusinessDataManager::slotNoticeSymbolChanged(QList<QVariantMap> noticeInfoList) {
    m_symbolRiskFlags->slotNoticeSymbolChanged(noticeInfoList);
}

bool ZnBusinessDataManager::busiMsgAdded(QVariantMap& busiMsg) {
    const bool isTakenIn = ResponsiblePresenter::isOpen();
    emit signalBusiMsgAdd(busiMsg);
    return isTakenIn;
}

void ZnBusinessDataManager::busiMsgRead(const QVariantMap& busiMsg) {
    emit signalBusiMsgRead(busiMsg);
}

void ZnBusinessDataManager::raiseRiskMessage(const QString& text) {
    static const QString subType = QStringLiteral("4001");
    constexpr bool kSaved = true;
    m_messageFlow->AddBusiMsg(BusiMsgLevel::Important, text, BusiMsgType::TradeMsg, subType,
                              QString(), QString(), kSaved, QString());
}
