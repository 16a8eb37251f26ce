#pragma once

#include <QString>

/// Names of settings and dictionary sections, and the date formats in use.
namespace VelmarConstants {

/// Date and time formats.
namespace DateTimeFormatString {
// Used in file names and in lines joined by a bar, so it contains neither a slash nor a bar.
inline const QString EXPORT_DATE_TIME_FORMAT = QStringLiteral("yyyyMMdd-HHmmss");
inline const QString STD_DATE_FORMAT = QStringLiteral("yyyy-MM-dd");
inline const QString STD_DATE_TIME_MS_FORMAT = QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz");
inline const QString TRANS_DATE_FROMAT = QStringLiteral("yyyyMMdd");
inline const QString TRANS_TIME_FORMAT = QStringLiteral("HHmmss");
}  // namespace DateTimeFormatString

/// Section names of the static configuration.
namespace DictionaryKey {
inline const QString BusiMsgMenuRela = QStringLiteral("BusiMsgMenuRela");
inline const QString HkFundPriceUnitDict = QStringLiteral("HkFundPriceUnitDict");
inline const QString HkStockPriceUnitDict = QStringLiteral("HkStockPriceUnitDict");
inline const QString Markert2SymbolPost = QStringLiteral("Markert2SymbolPost");
inline const QString VelmarBusiMsgDefaultSetting = QStringLiteral("VelmarBusiMsgDefaultSetting");
inline const QString VelmarBusiMsgTypeDict = QStringLiteral("VelmarBusiMsgTypeDict");
}  // namespace DictionaryKey

/// Keys of the application settings.
namespace SettingFieldName {
inline const QString AccountListOrder = QStringLiteral("AccountListOrder");
inline const QString LocalSecurityAccount = QStringLiteral("LocalSecurityAccount");

/// Log-in settings; the key is also used on the board.
namespace AutoLoginSetting {
inline const QString AutoLogin = QStringLiteral("AutoLogin");
}

/// Settings of ETF trading and the local copy of the price cage.
namespace ETFTradeSetting {
inline const QString EtfTrade_ETFBuyFee_SH = QStringLiteral("EtfTrade_ETFBuyFee_SH");
inline const QString EtfTrade_ETFBuyFee_SZ = QStringLiteral("EtfTrade_ETFBuyFee_SZ");
inline const QString EtfTrade_FeeEnable = QStringLiteral("EtfTrade_FeeEnable");
inline const QString EtfTrade_FeeSettings = QStringLiteral("EtfTrade_FeeSettings");
inline const QString EtfTrade_StockBuyFee_SH = QStringLiteral("EtfTrade_StockBuyFee_SH");
inline const QString EtfTrade_StockBuyFee_SZ = QStringLiteral("EtfTrade_StockBuyFee_SZ");
inline const QString EtfTrade_StockTransferFee_SH = QStringLiteral("EtfTrade_StockTransferFee_SH");
inline const QString EtfTrade_StockTransferFee_SZ = QStringLiteral("EtfTrade_StockTransferFee_SZ");
inline const QString Self_AllPriceCageApply = QStringLiteral("Self_AllPriceCageApply");
inline const QString Self_AllPriceCageMap = QStringLiteral("Self_AllPriceCageMap");
}  // namespace ETFTradeSetting

/// Settings of the connection watch.
namespace SystemSetting {
inline const QString SysMultiTimeOutCount = QStringLiteral("SysMultiTimeOutCount");
inline const QString SysMultiTimeOutHandle = QStringLiteral("SysMultiTimeOutHandle");
}  // namespace SystemSetting
}  // namespace SettingFieldName

}  // namespace VelmarConstants
