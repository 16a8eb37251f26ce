#include "facade_call.h"
#include "facade_price_value.h"
#include "velmar_business_data_interface.h"

namespace {

// The names are objects with linkage, since template arguments must be.
#define VELMAR_NAME(function) constexpr char name_##function[] = #function;
#define VELMAR_ENTRY(function, reach) \
    facadeEntry<&VelmarBusinessDataInterface::function, name_##function>(reach)

// One of several functions of a name, told apart by its type.
#define VELMAR_OVERLOAD(function, reach, ...)                                     \
    facadeEntry<static_cast<__VA_ARGS__>(&VelmarBusinessDataInterface::function), \
                name_##function>(reach)

VELMAR_NAME(GetAccountAssetPropByTradingAccount)
VELMAR_NAME(GetAccountInfoByTradingAccount)
VELMAR_NAME(GetAccountInfoListFromAsset)
VELMAR_NAME(GetAccountInfoListFromClientNo)
VELMAR_NAME(GetAccountInfoListFromFund)
VELMAR_NAME(GetAccountInfoListFromProduct)
VELMAR_NAME(GetAccountInfoListFromTrade)
VELMAR_NAME(GetAccountInfoListFromTradeList)
VELMAR_NAME(GetAccountInfoListFromTradingWithSameRealFund)
VELMAR_NAME(GetAllClientNoList)
VELMAR_NAME(GetAllMainSecurityAccount)
VELMAR_NAME(GetAllProductAccountMap)
VELMAR_NAME(GetAllSecurityAccountMap)
VELMAR_NAME(GetAuthTradeProductAccountList)
VELMAR_NAME(GetCurrentSecurityAccountByTradingAccount)
VELMAR_NAME(GetCurrentSecurityAccountByTradingAndExchange)
VELMAR_NAME(GetCurrentSecurityAccountMap)
VELMAR_NAME(GetDistributedAccountList)
VELMAR_NAME(GetExtCounterCodeByTradingAccount)
VELMAR_NAME(GetFundAccountList)
VELMAR_NAME(GetFundAccountListByFundProp)
VELMAR_NAME(GetHKAccountInfoList)
VELMAR_NAME(GetHStockCirculateAccountList)
VELMAR_NAME(GetMainSecurityAccount)
VELMAR_NAME(GetSecurityAccountListByTradingAccountAndExchange)
VELMAR_NAME(GetTorviEventMsgIdByStr)
VELMAR_NAME(GetTradingAccountList)
VELMAR_NAME(GetTradingAccountListByProduct)
VELMAR_NAME(IsAccountNormalCounter)
VELMAR_NAME(SetAccountOrderList)
VELMAR_NAME(SetCurrentSecurityAccountMap)
VELMAR_NAME(SetFundAbbrName)
VELMAR_NAME(UpdateFundAccountInfo)
VELMAR_NAME(GetUserAuthority)
VELMAR_NAME(SetUserAuthority)
VELMAR_NAME(GetBindTraderListByAccount)
VELMAR_NAME(GetOrganTraderList)
VELMAR_NAME(GetTraderInfoList)

VELMAR_NAME(CalcEntrustAmount)
VELMAR_NAME(CalcEntrustQty)
VELMAR_NAME(CheckOrderMatchSuperEtf)
VELMAR_NAME(GetASecurityExchangeBySymbol)
VELMAR_NAME(GetExchangeNameBySymbol)
VELMAR_NAME(GetFirstSecurityExchangeBySymbol)
VELMAR_NAME(GetMaxQtyPerOrderBySymbol)
VELMAR_NAME(GetMinQtyPerOrderBySymbol)
VELMAR_NAME(GetMinSoldQtyBySymbol)
VELMAR_NAME(GetQtyByOddLotType)
VELMAR_NAME(GetQtyStepBySymbol)
VELMAR_NAME(GetSecurityChineseName)
VELMAR_NAME(GetSecurityDetailsBySymbol)
VELMAR_NAME(GetSecurityExchangeListBySymbol)
VELMAR_NAME(GetSecurityIDBySymbol)
VELMAR_NAME(GetSecuritySubTypeBySymbol)
VELMAR_NAME(GetSecurityTypeBySymbol)
VELMAR_NAME(GetSupportSideUnionListByAccount)
VELMAR_NAME(GetSymbolBySecurityIDAndExchange)
VELMAR_NAME(GetSymbolFromMap)
VELMAR_NAME(GetTradableSymbolListByAccount)
VELMAR_NAME(GetTradableSymbolListForSearchByAccount)
VELMAR_NAME(IsBjOrGz)
VELMAR_NAME(IsSideUnionSupportByAccount)
VELMAR_NAME(IsSymbolBondRepurchase)
VELMAR_NAME(IsSymbolFitSymbolType)
VELMAR_NAME(IsSymbolTradableByAccount)
VELMAR_NAME(TransferFromExchange2Ch)
VELMAR_NAME(TransferFromSymbolPost2Ch)

// Prices and their cage.
VELMAR_NAME(CheckCagePrice)
VELMAR_NAME(GetAllCageMap)
VELMAR_NAME(GetCageApplyMap)
VELMAR_NAME(GetCageIndexMap)
VELMAR_NAME(GetCageMapBySymbol)
VELMAR_NAME(GetDispFactorBySymbol)
VELMAR_NAME(GetHKStockExchangeRate)
VELMAR_NAME(GetHKStockPriceUnit)
VELMAR_NAME(GetHKStockRate)
VELMAR_NAME(GetPriceByTickAndType)
VELMAR_NAME(GetPricePrecisionBySymbol)
VELMAR_NAME(GetPriceUnitBySymbol)
VELMAR_NAME(GetPriceUnitStringBySymbol)
VELMAR_NAME(IsCageApply)
VELMAR_NAME(IsGetUserCageInfo)
VELMAR_NAME(IsSymbolSupportProtectedLimitPrice)
VELMAR_NAME(IsUserCageInfoInited)
VELMAR_NAME(getCageUpdateTime)
VELMAR_NAME(refreshUserCageInfo)
VELMAR_NAME(updateUserCageInfo)

constexpr unsigned kFirst = FacadeFirstLoad;
constexpr unsigned kPresenter = FacadeFirstLoad | FacadePresenter;

constexpr FacadeFunction kFunctions[] = {
    VELMAR_ENTRY(GetAccountAssetPropByTradingAccount, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoByTradingAccount, FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromAsset, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromClientNo, kFirst | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromFund, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromProduct, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromTrade, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromTradeList, kFirst | FacadeWaits),
    VELMAR_ENTRY(GetAccountInfoListFromTradingWithSameRealFund, kFirst),
    VELMAR_ENTRY(GetAllClientNoList, kFirst | FacadeWaits),
    VELMAR_ENTRY(GetAllMainSecurityAccount, FacadeWaits),
    VELMAR_ENTRY(GetAllProductAccountMap, kPresenter),
    VELMAR_ENTRY(GetAllSecurityAccountMap, FacadeWaits),
    VELMAR_ENTRY(GetAuthTradeProductAccountList, kPresenter),
    VELMAR_ENTRY(GetCurrentSecurityAccountByTradingAccount, FacadeWaits),
    VELMAR_ENTRY(GetCurrentSecurityAccountByTradingAndExchange, FacadeWaits),
    VELMAR_ENTRY(GetCurrentSecurityAccountMap, FacadeWaits),
    VELMAR_ENTRY(GetDistributedAccountList, kFirst | FacadeWaits),
    VELMAR_ENTRY(GetExtCounterCodeByTradingAccount, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetFundAccountList, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetFundAccountListByFundProp, kFirst | FacadeWaits),
    VELMAR_ENTRY(GetHKAccountInfoList, FacadePresenter | FacadeWaits),
    VELMAR_ENTRY(GetHStockCirculateAccountList, FacadePresenter | FacadeWaits),
    VELMAR_ENTRY(GetMainSecurityAccount, FacadeWaits),
    VELMAR_ENTRY(GetSecurityAccountListByTradingAccountAndExchange, FacadeWaits),
    VELMAR_ENTRY(GetTorviEventMsgIdByStr, kPresenter),
    VELMAR_ENTRY(GetTradingAccountList, kPresenter | FacadeWaits),
    VELMAR_ENTRY(GetTradingAccountListByProduct, kPresenter | FacadeWaits),
    VELMAR_OVERLOAD(IsAccountNormalCounter, FacadePlain, bool (*)(const tagUserAccountInfo&)),
    VELMAR_OVERLOAD(IsAccountNormalCounter, FacadeWaits, bool (*)(const QString&)),
    VELMAR_ENTRY(SetAccountOrderList, FacadePlain),
    VELMAR_ENTRY(SetCurrentSecurityAccountMap, FacadeWaits),
    VELMAR_ENTRY(SetFundAbbrName, FacadePlain),
    VELMAR_ENTRY(UpdateFundAccountInfo, FacadePlain),
    VELMAR_ENTRY(GetUserAuthority, kPresenter),
    VELMAR_ENTRY(SetUserAuthority, kPresenter),
    VELMAR_ENTRY(GetBindTraderListByAccount, kPresenter),
    VELMAR_ENTRY(GetOrganTraderList, kPresenter),
    VELMAR_ENTRY(GetTraderInfoList, kPresenter),

    // Symbols.
    VELMAR_ENTRY(CalcEntrustAmount, FacadePlain),
    VELMAR_ENTRY(CalcEntrustQty, FacadePlain),
    VELMAR_ENTRY(CheckOrderMatchSuperEtf, FacadeWaits),
    VELMAR_ENTRY(GetASecurityExchangeBySymbol, FacadePlain),
    VELMAR_ENTRY(GetExchangeNameBySymbol, FacadePlain),
    VELMAR_ENTRY(GetFirstSecurityExchangeBySymbol, FacadePlain),
    VELMAR_ENTRY(GetMaxQtyPerOrderBySymbol, FacadePlain),
    VELMAR_ENTRY(GetMinQtyPerOrderBySymbol, FacadePlain),
    VELMAR_ENTRY(GetMinSoldQtyBySymbol, FacadePlain),
    VELMAR_ENTRY(GetQtyByOddLotType, FacadePlain),
    VELMAR_ENTRY(GetQtyStepBySymbol, FacadePlain),
    VELMAR_ENTRY(GetSecurityChineseName, FacadePlain),
    VELMAR_ENTRY(GetSecurityDetailsBySymbol, FacadePlain),
    VELMAR_ENTRY(GetSecurityExchangeListBySymbol, FacadePlain),
    VELMAR_ENTRY(GetSecurityIDBySymbol, FacadePlain),
    VELMAR_ENTRY(GetSecuritySubTypeBySymbol, FacadePlain),
    VELMAR_ENTRY(GetSecurityTypeBySymbol, FacadePlain),
    VELMAR_ENTRY(GetSupportSideUnionListByAccount, FacadePlain),
    VELMAR_ENTRY(GetSymbolBySecurityIDAndExchange, FacadePlain),
    VELMAR_ENTRY(GetSymbolFromMap, FacadePlain),
    VELMAR_ENTRY(GetTradableSymbolListByAccount, FacadePlain),
    VELMAR_ENTRY(GetTradableSymbolListForSearchByAccount, FacadePlain),
    VELMAR_ENTRY(IsBjOrGz, FacadePlain),
    VELMAR_ENTRY(IsSideUnionSupportByAccount, FacadePlain),
    VELMAR_ENTRY(IsSymbolBondRepurchase, FacadePlain),
    VELMAR_ENTRY(IsSymbolFitSymbolType, FacadePlain),
    VELMAR_ENTRY(IsSymbolTradableByAccount, FacadePlain),
    VELMAR_ENTRY(TransferFromExchange2Ch, FacadePlain),
    VELMAR_ENTRY(TransferFromSymbolPost2Ch, FacadePlain),

    // Prices and their cage.
    VELMAR_ENTRY(CheckCagePrice, FacadePlain),
    VELMAR_ENTRY(GetAllCageMap, FacadePlain),
    VELMAR_ENTRY(GetCageApplyMap, FacadePlain),
    VELMAR_ENTRY(GetCageIndexMap, FacadePlain),
    VELMAR_ENTRY(GetCageMapBySymbol, FacadePlain),
    VELMAR_ENTRY(GetDispFactorBySymbol, FacadePlain),
    VELMAR_ENTRY(GetHKStockExchangeRate, kPresenter),
    VELMAR_ENTRY(GetHKStockPriceUnit, FacadePlain),
    VELMAR_ENTRY(GetHKStockRate, kPresenter),
    VELMAR_OVERLOAD(GetPriceByTickAndType, FacadePlain,
                    double (*)(const QVariantMap&, const CustomPriceType&, const qint64&, bool,
                               bool, bool, HandicapInfo*)),
    VELMAR_OVERLOAD(GetPriceByTickAndType, FacadePlain,
                    double (*)(const QVariantMap&, CustomPriceType, qint64, double, HandicapInfo*)),
    VELMAR_ENTRY(GetPricePrecisionBySymbol, FacadePlain),
    VELMAR_ENTRY(GetPriceUnitBySymbol, FacadePlain),
    VELMAR_ENTRY(GetPriceUnitStringBySymbol, FacadePlain),
    VELMAR_ENTRY(IsCageApply, FacadePlain),
    VELMAR_ENTRY(IsGetUserCageInfo, FacadePlain),
    VELMAR_ENTRY(IsSymbolSupportProtectedLimitPrice, FacadePlain),
    VELMAR_ENTRY(IsUserCageInfoInited, FacadePlain),
    VELMAR_ENTRY(getCageUpdateTime, FacadePlain),
    VELMAR_ENTRY(refreshUserCageInfo, FacadePresenter),
    VELMAR_ENTRY(updateUserCageInfo, FacadePresenter),
};

#undef VELMAR_OVERLOAD
#undef VELMAR_ENTRY
#undef VELMAR_NAME

}  // namespace

const FacadeFunction* velmarFacadeFunctions(int* count) {
    *count = static_cast<int>(sizeof(kFunctions) / sizeof(kFunctions[0]));
    return kFunctions;
}
