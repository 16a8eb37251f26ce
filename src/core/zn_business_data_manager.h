#pragma once

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <atomic>
#include <memory>

#include "busi_msg_sink.h"
#include "client_info_buffer.h"
#include "client_info_sink.h"
#include "clock.h"
#include "monitor_board.h"
#include "price_cage_sink.h"
#include "risk_message_sink.h"
#include "security_account_sink.h"

class AccountEdits;
class AccountLookups;
class AccountState;
class AssetDelivery;
class DealStatistics;
class ExternalAccountQuery;
class FundAbbrNames;
class FundAccountTable;
class FundReports;
class HistoryLists;
class HistoryRecords;
class HongKongPrices;
class LinkageEvents;
class MarketValues;
class MenuPluginTable;
class MessageFlow;
class MessageStore;
class OrderMessages;
class PriceCage;
class PriceRules;
class PriceUnitLadders;
class ProductReports;
class PushSubscriptions;
class QuantityRules;
class RemindSettings;
class RiskNoticeWaiver;
class SecurityAccounts;
class ServerItems;
class SymbolData;
class SymbolIdentity;
class SymbolRiskFlags;
class Tradability;
class TradeDates;
class TraderTable;
class UserAuthorities;
class ZnPresenterClass;

/// The singleton that owns the plug-in's business data: each group of tables is a companion object
/// of its own. Created at its first use, on any thread; lives on the application's thread until the
/// process exits. The companions' operations may be called from any thread.
class ZnBusinessDataManager : public QObject,
                              private SecurityAccountSink,
                              private PriceCageSink,
                              private BusiMsgSink,
                              private RiskMessageSink,
                              private ClientInfoSink,
                              private ClientInfoOutlet {
    Q_OBJECT

public:
    /// The singleton. Must not be called while its constructor runs: that ends the process.
    static ZnBusinessDataManager* instance();

    /// Only the first object of a process does the start-up work.
    explicit ZnBusinessDataManager(QObject* parent = nullptr);
    ~ZnBusinessDataManager() override;

    /// The last part of the start-up: loads what needs the account tables. The positions are left
    /// as they are when `isBrokenOff`, which is asked before each account, returns true.
    void InitData(const std::function<bool()>& isBrokenOff = nullptr);

    /// Has the neighbouring data plug-in read the funds of all accounts again. Does nothing without
    /// a presenter.
    void RequeryFundInfo(ZnPresenterClass* presenter) const;

    FundAccountTable& fundAccounts() { return *m_fundAccountTable; }
    SecurityAccounts& securityAccounts() { return *m_securityAccounts; }
    const AccountLookups& lookups() const { return *m_accountLookups; }
    AccountEdits& accountEdits() { return *m_accountEdits; }
    UserAuthorities& userAuthorities() { return *m_userAuthorities; }
    TraderTable& traders() { return *m_traderTable; }
    const SymbolIdentity& symbolIdentity() const { return *m_symbolIdentity; }
    const QuantityRules& quantityRules() const { return *m_quantityRules; }
    const Tradability& tradability() const { return *m_tradability; }
    const PriceUnitLadders& priceUnitLadders() const { return *m_priceUnitLadders; }
    HongKongPrices& hongKongPrices() { return *m_hongKongPrices; }
    PriceCage& cage() { return *m_priceCage; }
    const PriceRules& prices() const { return *m_priceRules; }
    const OrderMessages& orderMessages() const { return *m_orderMessages; }
    MarketValues& marketValues() { return *m_marketValues; }
    const RiskNoticeWaiver& riskNoticeWaiver() const { return *m_riskNoticeWaiver; }
    SymbolRiskFlags& riskFlags() { return *m_symbolRiskFlags; }
    MessageStore& messageStore() { return *m_messageStore; }
    MessageFlow& messages() { return *m_messageFlow; }
    RemindSettings& remindSettings() { return *m_remindSettings; }
    MenuPluginTable& menus() { return *m_menuPluginTable; }
    HistoryLists& historyLists() { return *m_historyLists; }
    const HistoryRecords& historyRecords() const { return *m_historyRecords; }
    DealStatistics& dealStatistics() { return *m_dealStatistics; }
    FundReports& fundReports() { return *m_fundReports; }
    ProductReports& productReports() { return *m_productReports; }
    AssetDelivery& assetDelivery() { return *m_assetDelivery; }
    TradeDates& tradeDates() { return *m_tradeDates; }
    ServerItems& serverItems() { return *m_serverItems; }
    PushSubscriptions& pushSubscriptions() { return *m_pushSubscriptions; }
    LinkageEvents& linkageEvents() { return *m_linkageEvents; }
    MonitorBoard& monitorBoard() { return m_monitorBoard; }

    /// Collects a client information item, see ClientInfoBuffer. Any thread; does not block.
    void AddClientInfo(const QString& itemType, const QString& itemValue,
                       const QString& itemValueEx, const QVariant& operType, const QTime& time,
                       int logTriggerTime);
    /// Sends the items of this and other threads that were collected before this call. Any thread;
    /// does not block.
    void UploadAllClientInfo();

    int newMsgIdIndex() const { return curNewMsgIdIndex; }

signals:
    /// A message was marked read.
    void signalBusiMsgRead(QVariantMap busiMsg);
    /// A notice is raised and not stored yet.
    void signalBusiMsgAdd(QVariantMap& busiMsg);
    /// Current security accounts changed.
    void signalSecurityAccountSettingChanged();
    /// Buffered client information is ready.
    void signalClientInfoUpload(QList<QVariantMap> clientInfoList);
    /// One client information item.
    void signalClientInfoCollect(QVariantMap dataMap);
    /// The price cage is loaded.
    void signalPriceCageInfoFinishInit();

public slots:
    void slotPositionUpdated(QVariantMap dataMap);
    void slotRecvBusiMsgPush(QVariantMap dataMap, bool bInDb = false);
    void slotNetReconnect(QString netType, ZnPresenterClass* prtClass);
    void slotNetDisconnected(QString netType);
    void slotNoticeSymbolChanged(QList<QVariantMap> noticeInfoList);
    void slotClientInfoCollect(QVariantMap dataMap);
    void slotClientInfoTimeOut();
    void slotTradeFeeSettingChanged();
    void AssembleHistoryEntrustDealList(QString strMsgType, QList<QVariantMap> detailList);
    void QueryAssetDileveryResponse(QString msgType, QVariantMap request, QString reqExeStatus,
                                    QList<QVariantMap> response);

private:
    void startUp();
    void moveToApplicationThread();
    void registerMetaTypes();
    void loadReferenceData();
    void startTickFeed();
    void connectMonitoring();
    void uploadBeforeTheClose();
    void openSettings();
    void loadNewStocks();
    void reportNetStatus(const QString& netType, int operType);
    void securityAccountSettingChanged() override;
    void priceCageInfoFinishInit() override;
    bool busiMsgAdded(QVariantMap& busiMsg) override;
    void busiMsgRead(const QVariantMap& busiMsg) override;
    void raiseRiskMessage(const QString& text) override;
    void collectClientInfo(const QVariantMap& item) override;
    bool isClientInfoTaken() const override;
    void clientInfoCollected() override;
    void uploadClientInfo(const QList<QVariantMap>& items) override;

    // In the order of construction: a member uses only members above it, which its comment names.
    const SystemClock m_clock;
    const std::unique_ptr<AccountState> m_accountState;
    const std::unique_ptr<FundAbbrNames> m_fundAbbrNames;
    const std::unique_ptr<SecurityAccounts> m_securityAccounts;          // state
    const std::unique_ptr<ExternalAccountQuery> m_externalAccountQuery;  // state, abbreviations
    // state, security accounts, external query
    const std::unique_ptr<FundAccountTable> m_fundAccountTable;
    const std::unique_ptr<AccountLookups> m_accountLookups;    // state, security accounts
    const std::unique_ptr<AccountEdits> m_accountEdits;        // state, abbreviations
    const std::unique_ptr<UserAuthorities> m_userAuthorities;  // state
    const std::unique_ptr<TraderTable> m_traderTable;
    const std::unique_ptr<SymbolIdentity> m_symbolIdentity;
    const std::unique_ptr<QuantityRules> m_quantityRules;  // identity
    const std::unique_ptr<Tradability> m_tradability;      // identity, security accounts
    const std::unique_ptr<PriceUnitLadders> m_priceUnitLadders;
    const std::unique_ptr<HongKongPrices> m_hongKongPrices;      // ladders
    const std::unique_ptr<PriceCage> m_priceCage;                // identity, clock
    const std::unique_ptr<PriceRules> m_priceRules;              // identity, Hong Kong, cage
    const std::unique_ptr<RiskNoticeWaiver> m_riskNoticeWaiver;  // clock
    // identity, waiver, clock
    const std::unique_ptr<SymbolRiskFlags> m_symbolRiskFlags;
    const std::unique_ptr<OrderMessages> m_orderMessages;  // security accounts, clock
    const std::unique_ptr<SymbolData> m_symbolData;        // identity, prices, Hong Kong
    const std::unique_ptr<MarketValues> m_marketValues;    // symbol data
    const std::unique_ptr<MenuPluginTable> m_menuPluginTable;
    const std::unique_ptr<RemindSettings> m_remindSettings;  // clock
    const std::unique_ptr<MessageStore> m_messageStore;      // clock
    const std::unique_ptr<MessageFlow> m_messageFlow;        // store, reminders, account look-ups
    const std::unique_ptr<HistoryLists> m_historyLists;      // symbol data
    const std::unique_ptr<HistoryRecords> m_historyRecords;
    const std::unique_ptr<DealStatistics> m_dealStatistics;  // symbol data
    const std::unique_ptr<FundReports> m_fundReports;        // account look-ups
    const std::unique_ptr<ProductReports> m_productReports;
    const std::unique_ptr<AssetDelivery> m_assetDelivery;  // symbol data
    const std::unique_ptr<TradeDates> m_tradeDates;
    const std::unique_ptr<ServerItems> m_serverItems;
    const std::unique_ptr<PushSubscriptions> m_pushSubscriptions;
    const std::unique_ptr<LinkageEvents> m_linkageEvents;
    MonitorBoard m_monitorBoard;
    ClientInfoBuffer m_clientInfo;  // own thread only
    int curNewMsgIdIndex = 0;
};
