#pragma once

#include "vocabulary/text_constant.h"

/// Names of settings and dictionary sections, and the date formats in use.
namespace VelmarConstants {

/// Date and time formats.
namespace DateTimeFormatString {
// Used in file names and in lines joined by a bar, so it contains neither a slash nor a bar.
VELMAR_TEXT(EXPORT_DATE_TIME_FORMAT, "yyyyMMdd-HHmmss");
VELMAR_TEXT(STD_DATE_FORMAT, "yyyy-MM-dd");
VELMAR_TEXT(STD_DATE_TIME_MS_FORMAT, "yyyy-MM-dd HH:mm:ss.zzz");
VELMAR_TEXT(TRANS_DATE_FROMAT, "yyyyMMdd");
VELMAR_TEXT(TRANS_TIME_FORMAT, "HHmmss");
}  // namespace DateTimeFormatString

/// Section names of the static configuration.
namespace DictionaryKey {
VELMAR_TEXT(BusiMsgMenuRela, "BusiMsgMenuRela");
VELMAR_TEXT(HkFundPriceUnitDict, "HkFundPriceUnitDict");
VELMAR_TEXT(HkStockPriceUnitDict, "HkStockPriceUnitDict");
VELMAR_TEXT(Markert2SymbolPost, "Markert2SymbolPost");
VELMAR_TEXT(VelmarBusiMsgDefaultSetting, "VelmarBusiMsgDefaultSetting");
VELMAR_TEXT(VelmarBusiMsgTypeDict, "VelmarBusiMsgTypeDict");
}  // namespace DictionaryKey

/// Keys of the application settings.
namespace SettingFieldName {
VELMAR_TEXT(AccountListOrder, "AccountListOrder");
VELMAR_TEXT(LocalSecurityAccount, "LocalSecurityAccount");

/// Log-in settings; the key is also used on the board.
namespace AutoLoginSetting {
VELMAR_TEXT(AutoLogin, "AutoLogin");
}

/// Settings of ETF trading and the local copy of the price cage.
namespace ETFTradeSetting {
VELMAR_TEXT(EtfTrade_ETFBuyFee_SH, "EtfTrade_ETFBuyFee_SH");
VELMAR_TEXT(EtfTrade_ETFBuyFee_SZ, "EtfTrade_ETFBuyFee_SZ");
VELMAR_TEXT(EtfTrade_FeeEnable, "EtfTrade_FeeEnable");
VELMAR_TEXT(EtfTrade_FeeSettings, "EtfTrade_FeeSettings");
VELMAR_TEXT(EtfTrade_StockBuyFee_SH, "EtfTrade_StockBuyFee_SH");
VELMAR_TEXT(EtfTrade_StockBuyFee_SZ, "EtfTrade_StockBuyFee_SZ");
VELMAR_TEXT(EtfTrade_StockTransferFee_SH, "EtfTrade_StockTransferFee_SH");
VELMAR_TEXT(EtfTrade_StockTransferFee_SZ, "EtfTrade_StockTransferFee_SZ");
VELMAR_TEXT(Self_AllPriceCageApply, "Self_AllPriceCageApply");
VELMAR_TEXT(Self_AllPriceCageMap, "Self_AllPriceCageMap");
}  // namespace ETFTradeSetting

/// Settings of the connection watch.
namespace SystemSetting {
VELMAR_TEXT(SysMultiTimeOutCount, "SysMultiTimeOutCount");
VELMAR_TEXT(SysMultiTimeOutHandle, "SysMultiTimeOutHandle");
}  // namespace SystemSetting
}  // namespace SettingFieldName

}  // namespace VelmarConstants
