#include "zn_business_data_manager.h"

#include <QCoreApplication>
#include <QThread>

#include "account_authority.h"
#include "account_edits.h"
#include "account_lookups.h"
#include "account_state.h"
#include "businessdatamanager/business_data_interface.h"
#include "commonquotahandler/common_quota_handler.h"
#include "external_account_query.h"
#include "fund_abbr_names.h"
#include "fund_account_table.h"
#include "hong_kong_prices.h"
#include "log.h"
#include "market_values.h"
#include "order_messages.h"
#include "price_cage.h"
#include "price_rules.h"
#include "price_unit_ladders.h"
#include "quantity_rules.h"
#include "risk_notice_waiver.h"
#include "security_accounts.h"
#include "symbol_data.h"
#include "symbol_identity.h"
#include "tradability.h"
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
      m_orderMessages(std::make_unique<OrderMessages>(*m_securityAccounts, m_clock)),
      m_symbolData(
          std::make_unique<SymbolData>(*m_symbolIdentity, *m_priceRules, *m_hongKongPrices)),
      m_marketValues(std::make_unique<MarketValues>(*m_symbolData)) {
    qCInfo(lcCore) << "init ZnBusinessDataManager";
    setObjectName(QStringLiteral("ZnBusinessDataManager"));
    if (s_firstConstruction.exchange(false)) {
        startUp();
    }
    // The first caller may be any thread; the slots run on the application's.
    if (!parent && qApp && thread() != qApp->thread()) {
        moveToThread(qApp->thread());
    }
}

ZnBusinessDataManager::~ZnBusinessDataManager() = default;

void ZnBusinessDataManager::startUp() {
    qCInfo(lcCore) << "init ZnBusinessDataManager curNewMsgIdIndex";
    curNewMsgIdIndex = VelmarEventMsgID::TORVI_BASE_TYPE;
    m_marketValues->loadStandardBonds();
    registerMetaTypes();
    m_quantityRules->initSymbolQtyRules();
    loadReferenceData();
    startTickFeed();
    VelmarUtils::ResetSkin();
    ZnSystemSettingDataMgr::instance().init();
    openSettings();
    m_riskNoticeWaiver->load();
    m_priceUnitLadders->load();
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
