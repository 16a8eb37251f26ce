#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTime>
#include <QVariant>
#include <QVariantMap>
#include <QtGlobal>

#include "custom_odd_lot_type.h"
#include "rate_side_type.h"
#include "symbol_list_type.h"
#include "tag_user_account_info.h"
#include "velmar_market_value_info.h"
#include "velmar_plugin_info.h"
#include "velmarutils/velmar_busi_utils.h"

#ifdef VELMAR_BUSINESS_DATA_LIBRARY
#define VELMAR_BUSINESS_DATA_API Q_DECL_EXPORT
#else
#define VELMAR_BUSINESS_DATA_API Q_DECL_IMPORT
#endif

class CMessageCommon;

/// The public interface of the library: static functions that read the client's business data, and
/// a few that change it. Never instantiated. Results are copies that the caller keeps.
///
/// Terms used below:
/// - "First load": initialises the plug-in when the host has not done so yet; the first such call
///   in a process blocks for it.
/// - "Presenter": returns an empty result at once while the plug-in has no presenter, that is,
///   before any of its plug-in objects was initialised.
/// - "Waits": blocks, in 10 ms sleeps and without limit, until the account table is loaded. Returns
///   early, with what the table contains by then, only when the host is closing. The presenter runs
///   the load, so without one such a call waits until the host closes.
/// - "Does not block": takes only locks of tables in memory. This leaves out the first call of any
///   of these functions in a process, which creates the core (it opens settings files and reads the
///   static database), the first load, and a table that the comment says is loaded by its first
///   use.
/// - Authority mask: 1 query, 2 edit, 4 authority, 8 subscribe, 16 trade; an account must have
///   every bit of the mask; 0 selects all accounts.
/// - Account order: the user's order of trading accounts, see SetAccountOrderList. Accounts that it
///   does not list come first, sorted by their text.
/// - Lists of accounts contain only accounts that the load listed and that are not frozen. A frozen
///   account has a record but is in no list, and so has an account that has a record only because
///   SetFundAbbrName named it.
class VELMAR_BUSINESS_DATA_API VelmarBusinessDataInterface {
public:
    VelmarBusinessDataInterface() = delete;

    // One account.

    /// The record of one trading account, frozen ones included. The second argument is not used.
    /// Any thread; waits. Returns a record of empty texts and zeros for an unknown account.
    static tagUserAccountInfo GetAccountInfoByTradingAccount(const QString& tradingAccount, bool);

    /// The asset property of a trading account, a FundAccountType. Any thread; first load;
    /// presenter; waits. Empty for an unknown account.
    static QString GetAccountAssetPropByTradingAccount(const QString& tradingAccount);

    /// The external channel number of a trading account, a CounterSysCode. Any thread; first load;
    /// presenter; waits. Empty for an unknown account.
    static QString GetExtCounterCodeByTradingAccount(const QString& tradingAccount);

    /// Whether a record's account is on the normal counter. Any thread; does not block.
    static bool IsAccountNormalCounter(const tagUserAccountInfo& account);

    /// The same for a trading account. Any thread; waits. False for an unknown account.
    static bool IsAccountNormalCounter(const QString& tradingAccount);

    // Lists of accounts.

    /// The trading accounts that have every authority of the mask, in account order.
    /// `includeDistributed` false leaves out accounts on a distributed counter. Any thread; first
    /// load; presenter; waits when `wait` is true, otherwise returns what is loaded so far.
    static QStringList GetTradingAccountList(bool wait, int authority, bool includeDistributed);

    /// The same for the accounts under a product account. Any thread; first load; presenter; waits
    /// when `wait` is true. Empty for an unknown product.
    static QStringList GetTradingAccountListByProduct(QString product, bool wait, int authority,
                                                      bool includeDistributed);

    /// The records of GetTradingAccountList. Any thread; first load; presenter; waits when `wait`
    /// is true.
    static QList<tagUserAccountInfo> GetFundAccountList(bool wait, int authority,
                                                        bool includeDistributed);

    /// The records of the accounts that have every authority of the mask, any of the fund
    /// properties of the mask `fundProp` (1 normal, 2 margin, 4 option, 8 futures, 16 metal; 0
    /// selects none) and a security account on any of `exchanges` (an empty list selects all), in
    /// account order. Any thread; first load; waits when `wait` is true.
    static QList<tagUserAccountInfo> GetFundAccountListByFundProp(int fundProp, int authority,
                                                                  bool includeDistributed,
                                                                  const QStringList& exchanges,
                                                                  bool wait);

    /// The records of GetTradingAccountListByProduct. Any thread; first load; presenter; waits when
    /// `wait` is true.
    static QList<tagUserAccountInfo> GetAccountInfoListFromProduct(QString product, bool wait,
                                                                   int authority,
                                                                   bool includeDistributed);

    /// The records of the accounts under an asset account, in account order. Any thread; first
    /// load; presenter; waits when `wait` is true. Empty for an unknown asset account.
    static QList<tagUserAccountInfo> GetAccountInfoListFromAsset(QString asset, bool wait,
                                                                 bool includeDistributed);

    /// The records of a customer's accounts that have any of the fund properties of the mask
    /// `fundProp`, as in GetFundAccountListByFundProp, in account order. Any thread; first load;
    /// waits when `wait` is true. Empty for an unknown customer number.
    static QList<tagUserAccountInfo> GetAccountInfoListFromClientNo(const QString& clientNo,
                                                                    int fundProp, bool wait,
                                                                    bool includeDistributed);

    /// The records of the accounts under a fund account, in account order. Any thread; first load;
    /// presenter; waits when `wait` is true. Empty for an unknown fund account.
    static QList<tagUserAccountInfo> GetAccountInfoListFromFund(QString fundAccount, bool wait);

    /// The record of a trading account as a list of one. Any thread; first load; presenter; waits
    /// when `wait` is true. Empty for an unknown or frozen account.
    static QList<tagUserAccountInfo> GetAccountInfoListFromTrade(QString tradingAccount, bool wait);

    /// The records of those of the given trading accounts that are known and not frozen, each once,
    /// in account order. Any thread; first load; waits when `wait` is true.
    static QList<tagUserAccountInfo> GetAccountInfoListFromTradeList(const QStringList& accounts,
                                                                     bool wait);

    /// The records of the accounts that share the real fund of a trading account, including that
    /// account, in account order. Any thread; first load; does not wait. Empty for an unknown
    /// account.
    static QList<tagUserAccountInfo> GetAccountInfoListFromTradingWithSameRealFund(
        const QString& tradingAccount);

    /// The records of the tradable accounts on a distributed counter, in account order. Any thread;
    /// first load; waits.
    static QList<tagUserAccountInfo> GetDistributedAccountList();

    /// The records of the tradable accounts with normal funds on a central counter that have a
    /// security account for Hong Kong stock connect, in account order. Any thread; presenter;
    /// waits.
    static QList<tagUserAccountInfo> GetHKAccountInfoList();

    /// The same for circulating H shares. Any thread; presenter; waits.
    static QList<tagUserAccountInfo> GetHStockCirculateAccountList();

    // What accounts have in common.

    /// The customer numbers of GetFundAccountList, each once, in the order of their first account.
    /// Any thread; first load; waits.
    static QStringList GetAllClientNoList(int authority, bool includeDistributed);

    /// Product account to product name, of all products that have an account that the counter
    /// reported and that is not frozen, as of the end of the load. A product whose accounts are all
    /// frozen, or all missing from the counter's answers, is not included. Where the accounts of a
    /// product disagree on its name, the account with the greatest text decides. Any thread; first
    /// load; presenter; does not wait. Empty until the account table is loaded.
    static QMap<QString, QString> GetAllProductAccountMap();

    /// The same for the products that have a tradable account. Any thread; first load; presenter;
    /// does not wait. Empty until the account table is loaded.
    static QMap<QString, QString> GetAuthTradeProductAccountList();

    // Security accounts. Each of the three tables (all, main, current) is loaded by the first
    // function that needs it.

    /// All security accounts: trading account to exchange to list, of every account that is not
    /// frozen. Any thread; waits.
    static QMap<QString, QMap<QString, QStringList>> GetAllSecurityAccountMap();

    /// The security accounts of a trading account on an exchange, in the server's order. Any
    /// thread; waits. Empty for an exchange without one, and for a frozen or unknown account.
    static QStringList GetSecurityAccountListByTradingAccountAndExchange(
        const QString& tradingAccount, const QString& exchange);

    /// Trading account to exchange to main security account, of the tradable accounts, frozen ones
    /// included. Any thread; waits.
    static QMap<QString, QMap<QString, QString>> GetAllMainSecurityAccount();

    /// One entry of GetAllMainSecurityAccount. Any thread; waits. Empty for an unknown account or
    /// exchange.
    static QString GetMainSecurityAccount(QString tradingAccount, const QString& exchange);

    /// Trading account to exchange to the security account that is used for orders: the user's
    /// choice, or the main one. Any thread; waits.
    static QMap<QString, QMap<QString, QString>> GetCurrentSecurityAccountMap();

    /// One account's entries of GetCurrentSecurityAccountMap. Any thread; waits. Empty for an
    /// unknown account.
    static QMap<QString, QString> GetCurrentSecurityAccountByTradingAccount(
        const QString& tradingAccount);

    /// One entry of GetCurrentSecurityAccountMap. Any thread; waits. Empty for an unknown account
    /// or exchange.
    static QString GetCurrentSecurityAccountByTradingAndExchange(const QString& tradingAccount,
                                                                 const QString& exchange);

    /// Changes the given entries and saves the whole table; each entry must be one of
    /// GetAllSecurityAccountMap. Publishes EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED when an
    /// entry changed. Any thread; waits, and blocks for the write to the settings file. Returns 0,
    /// or -1 when entries were refused; the others are stored all the same.
    static int SetCurrentSecurityAccountMap(
        const QMap<QString, QMap<QString, QString>>& accountMap);

    // Changes of the account table.

    /// Sets and saves the account order. Any thread; does not wait, and blocks for the write to the
    /// settings file. Returns false and changes nothing when the list has more entries than there
    /// are accounts.
    static bool SetAccountOrderList(const QStringList& orderList);

    /// Sets the user's abbreviations by trading account and saves them in a file; an abbreviation
    /// is the account's display name, and an empty one restores the counter's name. Any thread;
    /// does not wait, and blocks for the write to the file. Before the account table is loaded the
    /// names are only saved, and take effect with the load. Afterwards an unknown account gets a
    /// record of its own, which no list contains.
    static void SetFundAbbrName(const QMap<QString, QString>& abbrMap);

    /// Sets display name and asset property of a trading account and of all others that share its
    /// fund account and are not frozen, until the process ends. For a frozen account its own record
    /// is changed, and the others only when at least two share the fund account. The lists by fund
    /// property keep the account where the load put it. Any thread; does not wait. Does nothing for
    /// an unknown account.
    static void UpdateFundAccountInfo(const QString& tradingAccount, const QString& name,
                                      const QString& fundAccountType);

    // Events.

    /// The id of a named event of the event bus. Any thread; first load; does not block otherwise.
    /// Returns 0 and logs a line for an unknown name; 0 without a presenter.
    static int GetTorviEventMsgIdByStr(const QString& name);

    // Authorities and traders. These functions send requests; without a presenter, or while it is
    // closing, they log a line and return an empty result or false.

    /// The user's authority of a type: account (or user id) to value. Any thread; first load. The
    /// first call for a type sends one request per account of the type's kind and blocks for all of
    /// them, up to the request time-out each, as do calls for any other type meanwhile; later calls
    /// return what is kept. An account whose request failed is left out for the rest of the
    /// process, unless SetUserAuthority adds it. Empty for an unknown type.
    static QVariantMap GetUserAuthority(const QString& authType);

    /// Sets one value of the user's authority of a type, on the server first. A type that was not
    /// read before then consists of this value alone. Any thread; first load; blocks for one
    /// request. Returns false and logs a line for an unknown type, a key that is not an account of
    /// the type's kind, or when the request failed.
    static bool SetUserAuthority(const QString& authType, const QString& key,
                                 const QVariant& value);

    /// The user ids of the traders bound to an account, each once. `accountType` is
    /// "ProductAccount", "TradingAccount" or "InvestAccount". Any thread; first load; blocks for
    /// one request. Returns an empty list and logs a line for another type and when the request
    /// failed.
    static QStringList GetBindTraderListByAccount(const QString& account,
                                                  const QString& accountType);

    /// User id to name of the traders of the user's organisation. Any thread; first load; the first
    /// call blocks for the requests that load them, up to 30 s each. Empty while another thread is
    /// loading them. A load that failed is not repeated: the list stays empty until the process
    /// ends.
    static QMap<QString, QString> GetOrganTraderList();

    /// The rows of these traders, or only those of one user type when `userType` is not empty. Any
    /// thread; first load; blocks as GetOrganTraderList does. Returns what is loaded so far while
    /// another thread is loading, and nothing after a load that failed.
    static QList<QVariantMap> GetTraderInfoList(const QString& userType);

    // What a symbol is. An unknown symbol gives empty answers. The first question about a symbol in
    // a process reads the securities from the static database; otherwise none of these blocks.

    /// A symbol's record, with keys of the Security, MDCFieldDefine and UserAccount groups: the
    /// record of an ordinary security, or else of a redemption code, a new issue (by its symbol or
    /// the code of its subscription) or a portfolio for lending. Any thread; does not block.
    static QVariantMap GetSecurityDetailsBySymbol(QString symbol);

    /// A symbol's MdcSecurityType. Any thread; does not block.
    static QString GetSecurityTypeBySymbol(const QString& symbol);

    /// A symbol's MdcSubSecurityType. Any thread; does not block.
    static QString GetSecuritySubTypeBySymbol(const QString& symbol);

    /// The first of a symbol's exchanges that is Shanghai or Shenzhen; empty when none is. Any
    /// thread; does not block.
    static QString GetASecurityExchangeBySymbol(const QString& symbol);

    /// The first of a symbol's exchanges. Any thread; does not block.
    static QString GetFirstSecurityExchangeBySymbol(const QString& symbol);

    /// The exchanges that list a symbol. Any thread; does not block.
    static QStringList GetSecurityExchangeListBySymbol(const QString& symbol);

    /// The display names of these exchanges, in the same order. Any thread; does not block.
    static QStringList GetExchangeNameBySymbol(const QString& symbol);

    /// The symbol of a security id on an exchange. Any thread; does not block.
    static QString GetSymbolBySecurityIDAndExchange(QString securityID, QString exchange);

    /// The id by which exchanges know a symbol; for a new issue the symbol itself. Any thread; does
    /// not block.
    static QString GetSecurityIDBySymbol(QString symbol);

    /// A symbol's display name. Any thread; does not block.
    static QString GetSecurityChineseName(QString symbol);

    /// The symbol of a record: its Security::symbol if that is a known symbol. A record without a
    /// symbol gives that of its Security::securityID and UserAccount::securityExchange. Any thread;
    /// does not block.
    static QString GetSymbolFromMap(const QVariantMap& record);

    /// Whether a symbol is a share of Beijing or of the transfer system. Any thread; does not
    /// block.
    static bool IsBjOrGz(const QString& symbol);

    /// Whether a symbol is a pledged repo. Any thread; does not block.
    static bool IsSymbolBondRepurchase(const QString& symbol);

    /// The Chinese name of an exchange code of Shanghai or Shenzhen, "未知" for any other. Any
    /// thread; does not block.
    static QString TransferFromExchange2Ch(QString exchange);

    /// The Chinese name of a symbol suffix, "未知" for any other text. Any thread; does not block.
    static QString TransferFromSymbolPost2Ch(QString symbolPost);

    // Quantities, in the unit of the symbol (shares, or lots of a contract).

    /// The step of a quantity: the security's own lot, or else the rule of its sub-type, of its
    /// type, or of every symbol; 100 without a rule. Any thread; does not block.
    static int GetQtyStepBySymbol(QString symbol);

    /// The smallest quantity of one order; for a Hong Kong symbol the step. 100 without a rule. Any
    /// thread; does not block.
    static int GetMinQtyPerOrderBySymbol(QString symbol);

    /// The largest quantity of one order like `order`, a record whose fields the rules compare
    /// (such as Security::orderType); 1000000 without a rule. For shares and funds of Hong Kong
    /// 3000 steps, at most 99999999; the product is taken in 32 bits, so a step above 715,827
    /// wraps, and the result may be negative. Any thread; does not block.
    static int GetMaxQtyPerOrderBySymbol(QString symbol, const QVariantMap& order);

    /// The smallest quantity that may be sold. Any thread; does not block.
    static int GetMinSoldQtyBySymbol(QString symbol);

    /// A quantity adjusted to the step in the way of `type`; `flag` is used by ByFlag only: down
    /// when set. 0 when the quantity is too small for an order and is adjusted down; `qty` itself,
    /// with a log line, when the symbol's step is below 1. Any thread; does not block.
    static qint64 GetQtyByOddLotType(const QString& symbol, const CustomOddLotType& type,
                                     const qint64& qty, bool flag);

    /// How much a sum of money buys at a price, rounded down to the step; money for exactly some
    /// lots buys them. A bond costs its accrued interest too; a pledged repo costs 100 each
    /// whatever the price; with `includeFee` the user's fee settings are included. 0 when the money
    /// does not pay the smallest order, and for a price that is not above 0. Any thread; blocks at
    /// most while the fee settings are being read.
    static qint64 CalcEntrustQty(double amount, double price, const QString& symbol, int multiplier,
                                 bool includeFee);

    /// What a quantity costs without fees; a pledged repo costs 100 each. Any thread; does not
    /// block.
    static double CalcEntrustAmount(double price, double qty, const QString& symbol,
                                    int multiplier);

    // What an account may trade. Only CheckOrderMatchSuperEtf waits for the account table; an
    // account that is unknown or not loaded yet may trade nothing.

    /// The SideUnion values of an account's type. Any thread; does not block. Empty for a type
    /// without sides.
    static QStringList GetSupportSideUnionListByAccount(const QString& tradingAccount);

    /// Whether a SideUnion value is among these. Any thread; does not block.
    static bool IsSideUnionSupportByAccount(const QString& tradingAccount, const QString& side);

    /// Whether an account may trade a symbol: by the account's type, and for Hong Kong shares also
    /// by the exchanges of its security accounts. Any thread; does not block.
    static bool IsSymbolTradableByAccount(const QString& tradingAccount, const QString& symbol);

    /// Whether an entry of the filter admits a symbol. Any thread; does not block.
    static bool IsSymbolFitSymbolType(const QString& symbol, const QList<SymbolListType>& filter);

    /// Sets `out` to the sorted symbols that an account may trade. Walks all securities (about 17
    /// ms for 12,000 of them), so keep the list instead of asking for every keystroke. Any thread;
    /// does not block.
    static void GetTradableSymbolListByAccount(const QString& tradingAccount, QStringList& out);

    /// The same, including deleted symbols, for a search. Takes as long. Any thread; does not
    /// block.
    static void GetTradableSymbolListForSearchByAccount(const QString& tradingAccount,
                                                        QStringList& out);

    /// Whether an order is a margin account's financed purchase of a fund. Any thread; waits when
    /// the side is SideUnion::financingBuy, and returns false at once for any other side.
    static bool CheckOrderMatchSuperEtf(const QString& tradingAccount, const QString& symbol,
                                        const QString& side);

    // Prices. None of these does a first load unless its comment says so. A tick is a record with
    // the keys of TickField: "Symbol", "TradingPhaseCode" ("3" is continuous trading), "MaxPx",
    // "MinPx", "LastPx", "PreClosePx" and the quotes. A price is in the symbol's own currency.

    /// The price unit of a symbol as a text, "0.01" for an unknown one. `price` matters for Hong
    /// Kong only. Any thread; does not block.
    static QString GetPriceUnitStringBySymbol(QString symbol, double price, const QString& side);

    /// The number of GetPriceUnitStringBySymbol. Any thread; does not block.
    static double GetPriceUnitBySymbol(QString symbol, double price, const QString& side);

    /// The number of decimals of a price. Any thread; does not block.
    static int GetPricePrecisionBySymbol(QString symbol, const QString& side);

    /// The number that a quantity is divided by for display, at least 1. Any thread; does not
    /// block.
    static int GetDispFactorBySymbol(const QString& symbol);

    /// The price that a price type means at a tick. With `useDispFactor`, `qty` is divided by the
    /// display factor for the types that take a quantity; with `applyCage` the price is limited by
    /// the cage and by the day's limits. `handicap` may be null. 0 when the tick has no such price;
    /// with `applyCage` that 0 is limited like any price, so the result is the lowest price that
    /// the cage allows a sell, or the day's lower limit. Any thread; blocks at most while
    /// updateUserCageInfo is under way.
    static double GetPriceByTickAndType(const QVariantMap& tick, const CustomPriceType& type,
                                        const qint64& qty, bool useDispFactor, bool applyCage,
                                        bool isSell, HandicapInfo* handicap);

    /// The same without cage and day limits. `ratio` (0.02 is two percent) is used by the two types
    /// of a limit by ratio, on the science board only. Any thread; does not block.
    static double GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type, qint64 qty,
                                        double ratio, HandicapInfo* handicap);

    /// Whether a market order of the symbol may carry a protective limit. Any thread; does not
    /// block.
    static bool IsSymbolSupportProtectedLimitPrice(const QString& symbol);

    /// The price unit of a Hong Kong security of a type at a price, both in dollars; 0.001 when
    /// there is no ladder. Any thread; does not block.
    static double GetHKStockPriceUnit(double price, const QString& securityType);

    /// Fills `rates` with the Hong Kong exchange rate rows by exchange. Any thread; first load; the
    /// first call blocks for a request. Empty without a presenter, after a failed request, which is
    /// not repeated, and while another caller's first request is under way.
    static void GetHKStockExchangeRate(QMap<QString, QVariantMap>& rates);

    /// One figure of an exchange's rate. Any thread; first load; the first call blocks for a
    /// request. 0 when there is no such rate, and at once while another caller's first request is
    /// under way.
    static double GetHKStockRate(const QString& exchange, RateSideType side);

    // The price cage. These block while updateUserCageInfo is under way, unless their comment says
    // otherwise.

    /// The price, limited by the cage during continuous trading and then by the day's limits. A
    /// tick without any price (no quotes, no last price, no previous close) has no meaningful
    /// limit: the cage works from a base of 0. With a CageField::controlType other than 1, 2 and 3
    /// the cage limits a buy to 0, and a sell as type 3 does. Any thread.
    static double CheckCagePrice(const double& price, const QVariantMap& tick, bool isSell);

    /// The cages in force by cage id. A record has CageField::securityType (a list of
    /// "exchange-type-subtype", "*" for any), controlType (1 ratio, 2 ticks, 3 both) and the
    /// figures in force: userBuyPercent and userSellPercent (keys "buyPriceLimitRatio" and
    /// "sellPriceLimitRatio") as fractions (0.02 is two percent), userBuyUnit and userSellUnit
    /// ("buyPriceLimitUnit", "sellPriceLimitUnit") as numbers of price units; buyPercent,
    /// sellPercent, buyUnit and sellUnit are the server's defaults, "title" a display name. A price
    /// unit here is one of the last decimal of the price (GetPricePrecisionBySymbol), which may be
    /// less than the order's unit (GetPriceUnitBySymbol). A source may leave fields out. Any
    /// thread.
    static QMap<QString, QVariantMap> GetAllCageMap();

    /// The switches in force by function: CageField::status (a bool or a text that converts to one)
    /// and "title". Any thread.
    static QMap<QString, QVariantMap> GetCageApplyMap();

    /// Exchange to security type to sub-type to cage id; "*" at a level stands for everything that
    /// the level does not list. Any thread.
    static QMap<QString, QMap<QString, QMap<QString, QString>>> GetCageIndexMap();

    /// The cage of a symbol, empty when it has no cage. Any thread.
    static QVariantMap GetCageMapBySymbol(const QString& symbol);

    /// Whether the cage is switched on for a function; false for an unknown function. Any thread.
    static bool IsCageApply(const QString& key);

    /// Whether the cages in force are the user's own or united with the defaults. Otherwise `text`
    /// says where they come from. Any thread; does not block.
    static bool IsGetUserCageInfo(QString& text);

    /// Whether the first load has ended. `text` is set when there is advice for a user of the
    /// function `key`. Any thread.
    static bool IsUserCageInfoInited(const QString& key, QString& text);

    /// When the user's own cages were last read from the server; a null time if never. Any thread;
    /// does not block.
    static QTime getCageUpdateTime();

    /// Loads the cages again. Returns a notice for the user when the cages in force are not the
    /// user's own since those could not be read, otherwise an empty text. A failed load leaves the
    /// cages in force as they are. Before the first presenter exists the sources on this machine
    /// replace the cages, and the text is empty; once the presenter is closing nothing changes, and
    /// a text says so. Any thread; blocks for up to three requests, and for as many again when
    /// updateUserCageInfo saved something meanwhile.
    static QString refreshUserCageInfo();

    /// Changes switches by function (CageField::status) and figures by cage id (CageField's
    /// userBuyPercent, userSellPercent as fractions, 0.02 being two percent, userBuyUnit and
    /// userSellUnit as numbers of price units; keys and unit as with GetAllCageMap), on the server
    /// first. Other fields are ignored. A figure that a given record leaves out is emptied and then
    /// counts as 0, so pass all four. A figure that is not a finite number, or is negative, refuses
    /// the whole change; texts of numbers are accepted, for a number of units those of whole ones.
    /// Returns an empty text on success, otherwise why nothing was changed here; after a time-out
    /// the server may still have stored the change.
    /// Any thread; blocks for a request, and every question that reads the cages with it. Before
    /// the cage is loaded it waits for the load, at most for the presenter's time-out; it then
    /// fails without waiting on the presenter's own thread and as long as the account list is
    /// missing, and fails when the load found no cage at all. Without a presenter it always fails.
    static QString updateUserCageInfo(const QMap<QString, QVariantMap>& applyInfo,
                                      const QMap<QString, QVariantMap>& cageInfo);

    // Orders. These build messages and send nothing. The caller owns the message, sets its source
    // id, and hands it to a presenter's send operation, which then owns it.

    /// The message of a batch of new orders. Element 0 of `list` is the batch's header record, the
    /// others are orders, whose fields are sent as they are except for Security::symbol. Added are
    /// the fields that follow from Security::orderType and CustomField::priceType (timeInForce,
    /// maxPriceLevels, minQty), Security::transActTime (milliseconds since 1970-01-01 UTC, the same
    /// in all rows), and where they are missing securityID, orderStation and
    /// UserAccount::securityAccount with securityExchange, see docs/orders.md. Quantities in the
    /// unit of the symbol. `numericType` selects the numeric message type "261202"; `packFlag` has
    /// no effect. Any thread; first load; waits when an order without a security account has an
    /// exchange, its own or that of its symbol. Null for an empty list; no rule is checked, and an
    /// order without a symbol or exchange is sent with fewer fields. When the host is closing, the
    /// wait ends early and the order may have an empty UserAccount::securityAccount.
    static CMessageCommon* NewOrderList(const QList<QVariantMap>& list, bool numericType,
                                        bool packFlag);
    /// The same for the instance of a strategy, with a message type of the caller's choice. The
    /// header contains the instance's fields too; Security::listID and replyMode are filled when
    /// element 0 has none. The security id is also looked up again when Security::securityIDSource
    /// is empty. Any thread; first load; waits as NewOrderList. Null for an empty list.
    static CMessageCommon* NewOrderListForInstance(const QList<QVariantMap>& list,
                                                   const QString& msgType);
    /// The message that cancels an order: its record, with Security::transActTime as above, and
    /// Security::orderStation where it is missing. The order is identified by System::clientMsgID,
    /// Security::orderID and clOrdID. `numericType` selects the numeric message type "261212". Any
    /// thread; first load; does not wait. Never null.
    static CMessageCommon* OrderCancelRequest(const QVariantMap& order, bool numericType);
    /// Where orders of this client come from: host name, system and its version joined by ";", with
    /// the prefix in front unless it is empty. Any thread; does not block.
    static QString GetVelmarOrderStation(QString prefix);
    /// Whether the incoming record `newOrder` may replace the stored one: its status change is
    /// listed in the status table, its quantities Security::cumQty and cancelledQty do not shrink,
    /// and one of them has grown if the status is the same. Quantities within 1e-10 are equal; new
    /// ones that are not finite are refused. False for a stored record without an order id or of
    /// another order. Any thread; does not block; needs no plug-in object and never creates the
    /// core.
    static bool CanOrderUpdate(const QVariantMap& oldOrder, const QVariantMap& newOrder);

    // Realized profit: the difference of the average sell and buy price over the matched quantity,
    // less commissions, in the currency of the symbol; from the deals of the day alone.

    /// Of one trading account. Any thread; presenter; does not block. 0 for an unknown account.
    static double GetRealizedProfitByAccount(const QString& tradingAccount);
    /// Of a symbol in an account; an empty security account sums all of them. Any thread;
    /// presenter; does not block. 0 for what is unknown.
    static double GetRealizedProfitByAccountAndSymbol(const QString& tradingAccount,
                                                      const QString& symbol,
                                                      const QString& securityAccount);
    /// Symbol to security account to profit. Any thread; presenter; does not block. Empty for an
    /// unknown account.
    static QMap<QString, QMap<QString, double>> GetRealizedProfitMapByAccount(
        const QString& tradingAccount);
    /// The same by trading account. Any thread; presenter; does not block.
    static QMap<QString, QMap<QString, QMap<QString, double>>> GetAllRealizedProfitMap();

    // Market value and funds.

    /// The market value of an account's positions. Any thread; first load; waits while the
    /// positions are read again. Empty for an account without positions.
    static VelmarMarketValueInfo GetMarketValueByTradingAccount(const QString& tradingAccount);
    /// The value of a quantity in pieces (shares or contracts) at a price in the currency of the
    /// symbol: for gold per gram, for futures and options per unit of the contract, for all others
    /// per piece. `multiplier` (units of one contract) counts for futures alone. Returns 0 with
    /// `error` set for a bond whose accrued interest is unknown; sets it in no other case. A value
    /// that is not finite gives 0 without a text, with a log line for the first such value of a
    /// symbol. Any thread; does not block.
    static double calcMarketValue(QString& error, const QString& symbol, const qint64& quantity,
                                  const double& price, const double& multiplier);
    /// Has the neighbouring data plug-in read the funds of all accounts again. Any thread;
    /// presenter; blocks while that plug-in reads. Does nothing without that plug-in.
    static void RequeryFundInfo();

    // Business messages: short notices for the user who is logged in. A message is a record with
    // System::clientMsgID (its identity in this client), BusiMsgLevel, BusiMsgType, BusiMsgSubType,
    // createTime (a QDateTime), itemName, itemValue, textDescription, positionStr,
    // BusiMsgCenter::ServerMsgId, ReadStatus (a bool), and UserAccount::tradingAccount and
    // productAccount where it concerns an account. Lists are in the order of the client ids, which
    // are compared as texts.

    /// Raises a notice: the presenter's object thread takes it in soon after this call and then
    /// publishes EventMsgName::BUSI_MSG_UPDATED. Level, type and sub-type are those of the message
    /// dictionary. `bSaveDb` keeps the notice for the rest of the day, also over a restart;
    /// otherwise it lives until the client ends, unless the product is configured to keep all. A
    /// notice with an empty text is dropped, and so is one whose type belongs to menus that the
    /// user does not have, except the first of that type; both are logged. A notice for a trading
    /// account that has no record is announced but in no list. Any thread; does not block. Without
    /// a presenter the notice is lost, which is logged as a warning.
    static void AddBusiMsg(const QString& level, const QString& text, const QString& type,
                           const QString& subType, const QString& itemName,
                           const QString& itemValue, bool bSaveDb, const QString& tradingAccount);
    /// The same, classified by a key of the message dictionary. A notice of an unknown key is
    /// raised without level, type and sub-type, and a warning is logged.
    static void AddBusiMsg(const QString& key, const QString& text, const QString& itemName,
                           const QString& itemValue, bool bSaveDb, const QString& tradingAccount);
    /// All messages in memory, read or not: those of today that the table had at the start, and
    /// every one since then, also of earlier days, until the client ends. Empty when no message
    /// came; during the start-up the server's earlier messages may be missing until
    /// EventMsgName::BUSI_MSG_LOADED. Any thread; first load; does not block.
    static QList<QVariantMap> GetAllBusiMsgList();
    /// The messages that were not marked read. Any thread; first load; does not block.
    static QList<QVariantMap> GetUnreadBusiMsgList();
    /// The unread messages that are to pop up, by the reminder settings; empty once
    /// SetNoMoreRemindInDay() was called. Any thread; first load; does not block.
    static QList<QVariantMap> GetRemindBusiMsgList();
    /// Whether a message was marked read; false for an unknown id. Any thread; does not block.
    static bool IsBusiMsgRead(const QString& clientMsgId);
    /// Marks a message read, for good, and publishes EventMsgName::BUSI_MSG_UPDATED. False for an
    /// unknown id. True, without another event, when it was read before. Any thread; first load;
    /// does not block.
    static bool SetBusiMsgRead(const QString& clientMsgId);
    /// The setting that applies to a kind of message: the user's own choice for the sub-type, or
    /// for the whole type when the user made no choice for the sub-type; otherwise the product's
    /// default for exactly this kind, otherwise the product's default for all kinds. One whole
    /// record, never mixed; empty when the product has no defaults. Its keys are the callers' own,
    /// and BusiMsgCenter::RemindSwitch and PopSwitch. With `bApplyNoMoreRemind`, PopSwitch is false
    /// once SetNoMoreRemindInDay() was called; what is stored does not change. Any thread; waits at
    /// most for a choice that is being written.
    static QVariantMap GetBusiMsgRemindSettingInfo(const QString& type, const QString& subType,
                                                   const QString& level, bool bApplyNoMoreRemind);
    /// Stores the user's choice for a kind of message, also for the next start; an empty sub-type
    /// stands for all sub-types of the type and replaces what they had. An empty record takes the
    /// choice back: the default applies again, or the user's choice for the type as a whole when no
    /// other level of the sub-type has a choice. The values are those that JSON has (texts,
    /// numbers, bools, lists, records), nested at most 1,024 levels deep with the record itself; a
    /// record beyond that is in effect until the end of the process, and a warning is logged, since
    /// the next start does not read it back as it is. False, and nothing is changed, when type or
    /// level is empty. With an empty sub-type, a type that is not in the message dictionary stores
    /// nothing, and a warning is logged. When the file cannot be written, one warning is logged,
    /// and the choices hold until the end of the process. Any thread; blocks for the settings file.
    static bool SetBusiMsgRemindSettingInfo(const QString& type, const QString& subType,
                                            const QString& level, const QVariantMap& setting);
    /// Ends reminders until the date changes, which is noticed at the next start. Any thread;
    /// blocks for the settings file.
    static void SetNoMoreRemindInDay();
    /// Whether reminders are ended. Any thread; does not block.
    static bool GetNoMoreRemindInDayFlag();

    // Menus, as the server configures them for the user. The first question of each kind blocks for
    // a request, and so does each later one while the answer was empty; other questions wait for
    // that request. Each of those that found the table empty sends one of its own afterwards, one
    // after the other: with a server that does not answer, the last of them waits for all their
    // time-outs. When it does not succeed, a warning is logged and the answer is empty, as it is
    // without a presenter. Any thread; first load; presenter.

    /// A menu that opens the plug-in: of several, the one whose instance id sorts first. Empty when
    /// no menu opens it.
    static QString GetMenuIDByPluginID(QString pluginId);
    /// Everything that opens the plug-in, in the order of the instance ids. Entries with the same
    /// instance id are one entry, the last one of the server's list.
    static QList<VelmarPluginInfo> GetMenuInfoListByPluginID(QString pluginId);
    /// The caption of a menu of the system, also of one that the user does not have; empty when
    /// unknown.
    static QString GetMenuNameByMenuId(const QString& menuId);
    /// Whether the user has a menu, also one that opens no plug-in.
    static bool IsUserHasMenuId(const QString& menuId);

    // Risk flags of symbols.

    /// Raises messages for symbols ("600000.SH") that are about to be traded and carry a risk mark:
    /// risk warning, coming delisting, a reminder of the server, and when `moduleName` contains
    /// "指令", a price below the issue price or the net value. Each symbol is reported once a day,
    /// also over a restart; it counts as reported even when its message is lost because no
    /// presenter takes it in. Returns whether a symbol was reported; false before the risk notices
    /// are loaded. The messages come into the lists of messages shortly afterwards. Any thread;
    /// blocks for the file of reported symbols, not for the server.
    static bool CheckSymbolRiskInfo(const QStringList& symbols, const QString& moduleName);
    /// 2 for a growth tier symbol of the science and technology board, 1 for one that was listed
    /// before the tier existed (before 2025-07-13), otherwise 0, also for an unknown symbol. Any
    /// thread; does not block.
    static int GetScienTechGrowFlagBySymbol(const QString& symbol);
    /// The StFlag of a symbol, StFlag::Normal for an unknown symbol and one without a flag. `text`
    /// is set to a warning for the user when the symbol has the flag StFlag::IsST or IsStarST, in
    /// Beijing for any flag, and is left alone otherwise. Any thread; does not block.
    static QString GetSymbolStType(const QString& symbol, QString& text);
    /// Requests the key-monitor list and replaces the one in memory; a failed request leaves it.
    /// Any thread; first load; presenter; blocks for a request.
    static void InitKeyMonitorSymbols();
    /// Requests the symbols below issue price and net value, unless that has succeeded before. The
    /// start-up does it too. A failed request leaves the lists, and the next call tries again. Any
    /// thread; first load; presenter; blocks for requests, also for those of another call.
    static void InitSymbolRiskTypeInfo();
    /// Whether the price is below the issue price, by the server's list. False for an unknown
    /// symbol and before the list is loaded. Any thread; does not block.
    static bool IsSymbolBreakingIssuePrice(const QString& symbol);
    /// The same for a price below the net value.
    static bool IsSymbolBrokenNetPrice(const QString& symbol);
    /// Whether the symbol's flag is StFlag::IsST or IsStarST. Any thread; does not block.
    static bool IsSymbolInST(const QString& symbol);
    /// Whether the key-monitor list contains the symbol; that list is only loaded by
    /// InitKeyMonitorSymbols(). Any thread; does not block.
    static bool IsSymbolKeyMonitor(const QString& symbol);

    // Past orders and deals, as the server lists them. All of them block for their requests. A
    // range beyond 100 years is refused with a warning and an empty result, and so is an invalid
    // date, except by the two cached lists and the statistics, which request nothing for it and
    // log nothing. Quantities in pieces, prices in the currency of the symbol, dates of rows
    // as yyyyMMdd unless described otherwise. Any thread; first load; presenter.

    /// The orders of the accounts, in their order, by day and order id; cancel requests are left
    /// out. Security::leaveQty (pieces) and Security::symbol are added. A day that has rows is held
    /// for good; the others of the range are requested again by each call, several pages side by
    /// side. A request that does not succeed is only logged: its rows are missing, and the result
    /// is what is held; a day that has other rows is then held without them. While the server does
    /// not answer, a list of several pages blocks until it does or the client closes. Empty, with
    /// no request, for a range whose first day is after its last one.
    static QList<QVariantMap> GetHistoryEntrustList(const QStringList& accounts,
                                                    const QDate& startDate, const QDate& endDate);
    /// The same for filled deals, by day, order id and execution id; only Security::symbol is
    /// added.
    static QList<QVariantMap> GetHistoryDealList(const QStringList& accounts,
                                                 const QDate& startDate, const QDate& endDate);
    /// One order. With an empty account only the held rows of all accounts are searched, without a
    /// request; otherwise the order is requested unless the day is held, and a requested row is the
    /// server's own, without Security::symbol and Security::leaveQty. Empty when not found and
    /// after a failure.
    static QVariantMap GetHistoryEntrustByTradeDateAndOrderID(const QDate& tradeDate,
                                                              const QString& orderID,
                                                              const QString& tradingAccount);
    /// Orders by a filter of the caller: the page System::pageNo of System::pageSize rows, or, with
    /// the configured largest size, all rows up to that number. Element 0 is the answer's header
    /// with System::totalSize; the other rows are the server's own. `params` gets the flag that
    /// includes cancelled rows, and loses its page fields for the largest size. After a failure
    /// empty, or, for the largest size, the rows so far.
    static QList<QVariantMap> GetHistoryEntrustRecordList(QVariantMap& params,
                                                          const QDate& startDate,
                                                          const QDate& endDate);
    /// The same for deals, with the flag that includes discharged rows too. For the largest size
    /// the last page is complete even when it exceeds that number.
    static QList<QVariantMap> GetHistoryDealRecordList(QVariantMap& params, const QDate& startDate,
                                                       const QDate& endDate);
    /// Deals by a filter of the caller, until there are more than `maxNum` elements, of which
    /// element 0 is the header; only the last page of the list is complete all the same. The rows
    /// so far after a failure, so empty when the first page failed. `params` loses its page fields.
    static QList<QVariantMap> GetHistoryDealGatherRecordList(QVariantMap& params,
                                                             const QDate& startDate,
                                                             const QDate& endDate,
                                                             const int& maxNum);
    /// All orders of all accounts in one query, cancelled ones included, as the server's own rows;
    /// or an empty list and a text in `error`, which is cleared first.
    static QList<QVariantMap> GetHistoryEntrustExportList(const QStringList& accounts,
                                                          const QDate& startDate,
                                                          const QDate& endDate, QString& error);
    /// The same for deals.
    static QList<QVariantMap> GetHistoryDealExportList(const QStringList& accounts,
                                                       const QDate& startDate, const QDate& endDate,
                                                       QString& error);
    /// Statistics of the deals of the accounts, in their order, by day: Security::cumQty in pieces,
    /// Security::avgPx per piece, UserAccount::tradeDate as a QDate. A requested day is held for
    /// good, today excepted; a day whose request failed counts as one without rows, with a warning.
    static QList<QVariantMap> GetHistoryDealStatisticsList(const QStringList& accounts,
                                                           const QDate& startDate,
                                                           const QDate& endDate);

    // Reports. All of them block for their requests; a failure is only logged, and the result
    // contains what came or was held before it. Rows are the server's own, figures in currency;
    // dates in them are as the server writes them unless stated otherwise. An invalid date goes out
    // as an empty text, except in the delivery report. Any thread; first load; presenter.

    /// The capital of the cash accounts among the given ones: a row for each account and day from
    /// `startDate` to `endDate`, in the server's order; accounts of other types are left out.
    /// Nothing is held. A second caller waits for the first one's answer. Empty after a failure.
    static QList<QVariantMap> GetHistoryNormalFundInfo(const QStringList& accounts,
                                                       const QDate& startDate,
                                                       const QDate& endDate);
    /// The capital of the cash accounts on a day, by trading account; an account that the server
    /// refused is missing. Nothing is held. Empty after a failure.
    static QMap<QString, QVariantMap> GetTodayNormalFundInfo(const QStringList& accounts,
                                                             const QDate& date);
    /// The capital of the margin accounts on a day, by trading account; an account that the server
    /// refused is missing. A row is held for good, unless the day is invalid. A second caller waits
    /// for the first one's answer. After a failure the result contains the held rows.
    static QMap<QString, QVariantMap> GetHistoryMarginFundInfo(const QStringList& accounts,
                                                               const QDate& date);
    /// The appraisement rows of the products (`accounts`) for `date`: those of held products
    /// first, then the others, each requested in pages of 3000 rows. A product and day with rows is
    /// held, also when its later pages were lost, which the log warns of. Everything held is
    /// dropped first when `currentDate` equals `date`. A refused product is left out; any other
    /// failure and the fifth time-out end the call with the rows so far. Empty at once when there
    /// are no products and `date` is invalid.
    static QList<QVariantMap> GetHistoryAppraisementInfo(const QStringList& accounts,
                                                         const QDate& date,
                                                         const QDate& currentDate);
    /// The same for the profit figures. Without products and a valid `date` everything held is
    /// still dropped when `currentDate` is invalid, too.
    static QList<QVariantMap> GetHistoryAppraisementProfitInfo(const QStringList& accounts,
                                                               const QDate& date,
                                                               const QDate& currentDate);
    /// The panfen equity flow of the products (`accounts`) for `date`, one request for each product
    /// that is not held. A product and day with rows is held for good. Failures end or shorten the
    /// result as with the appraisement.
    static QList<QVariantMap> GetHistoryPanfenFlowInfo(const QStringList& accounts,
                                                       const QDate& date);
    /// Appends the asset delivery rows of the accounts, in their order, by day, to `reports`;
    /// `UserAccount::tradeDate` and `System::businessDate` are QDate, `AssetDeliver::BusinessTime`
    /// is a QTime. A fetched day is held for good, also one without rows; what is missing is
    /// fetched in chunks of up to 31 days, side by side. Always 0; the days of a chunk that failed
    /// are missing, and the next call requests them again. Nothing is requested for an invalid
    /// date, a range in reverse order, and, with a warning, a range of more than 100 years.
    static int GetHistoryAssetDeliveryReports(const QStringList& accounts, const QDate& startDate,
                                              const QDate& endDate, QList<QVariantMap>& reports);
    /// The login's annual report. After a failure an empty record and a text in `error`, which is
    /// cleared first. Nothing is held.
    static QVariantMap GetAnnualReport(QString& error);

    // Trade days. Any thread; first load; presenter; each blocks for its requests.

    /// The trade days of an exchange from `startDate` to `endDate` ("yyyyMMdd"), as the server
    /// writes them; an unknown exchange has the mainland's calendar. `error` is cleared, and set
    /// after a failure.
    static QStringList GetTradeDates(const QString& startDate, const QString& endDate,
                                     const QString& exchange, QString& error);
    /// The `days` trade days around `date` ("yyyyMMdd"), likewise. Empty after a failure, which is
    /// only logged, and for a date in another form, without a request.
    static QStringList GetTradeDatesByDayAndRange(const QString& date, int days,
                                                  const QString& exchange);
    /// The mainland's trade days of a month (0 for the whole year) of this or the next year (0 for
    /// this one). Requested by the first call and held for good, so the days end with the year
    /// after that call's. Empty for any other year and after a failure; the next call tries again.
    static QList<QDate> GetTradeDatesByMonth(int month, int year);

    // Single items of the server. Any thread; presenter; block for a request.

    /// The system announcement; with `withValue` the request carries the item's value "1". Empty
    /// after a failure. First load.
    static QString GetSystemAnnoucement(bool withValue);
    /// The value of a configuration item, held for good once it is not empty; an empty one is
    /// requested by each call. Empty after a failure, which is only logged. Does no first load, and
    /// is empty before one.
    static QString getSysConfigValue(const QString& itemName);
    /// Subscribes a topic of server pushes through a gate (NetGateType). True when the subscription
    /// stands, also when another caller made it; false when the first attempt failed, which is
    /// repeated in the background after 5, 10, 15 and 20 s, and for a topic that contains "_" or a
    /// content that has no JSON form. A subscription through the trade or information gate is made
    /// again when that gate has connected again, also when it did so during the request. Callers
    /// come one after the other, so one may also wait for the requests of others. First load.
    static bool SubscribePushMsgFromServer(const QString& topic, const QVariantMap& content,
                                           const QString& netType);

    // Client information and linkage. Any thread; do not block; do no first load.

    /// Reports a fact about the client to the server, together with others within 15 seconds, or at
    /// once and alone when `logTriggerTime` is not 0. `itemType` is a ClinetInfoUpload constant;
    /// `time` is the time of day, an invalid one stands for now. Items wait while the plug-in has
    /// no presenter, up to 100,000 of them, after which further ones are dropped with one warning.
    /// The last ones are sent when the client closes in order; they are lost when the server cannot
    /// be reached at that moment. Each live presenter sends them.
    static void AddClientInfo(const QString& itemType, const QString& itemValue,
                              const QString& itemValueEx, QVariant operType, const QTime& time,
                              int logTriggerTime);
    /// The event id of a message type, the same for every caller in this run of the process: 136449
    /// and upward in the order of first use.
    static int GetLinkageEventID(const QString& msgType);
    /// Has the items that AddClientInfo() collected before this call sent at once, and returns
    /// before they are. Does nothing before the first item.
    static void UploadAllClientInfo();
};
