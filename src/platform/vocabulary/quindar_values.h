#pragma once

#include <QString>

/// Fixed field values that the whole client family shares.
/// Codes that become part of composed keys contain none of the characters that join such keys.
namespace Quindar_Values {

/// State of an account; "0" is an account in normal use.
namespace AccountStatus {
inline const QString freezing = QStringLiteral("1");
}

/// Kind of change to a profile.
namespace AlterType {
inline const QString create = QStringLiteral("create");
}

/// Authority kinds on an account.
namespace AuthorityType {
inline const QString AccountAuthority = QStringLiteral("AccountAuthority");
inline const QString AccountEdit = QStringLiteral("AccountEdit");
inline const QString AccountQuery = QStringLiteral("AccountQuery");
inline const QString AccountSubscribe = QStringLiteral("AccountSubscribe");
inline const QString AccountTrade = QStringLiteral("AccountTrade");
}  // namespace AuthorityType

/// Keys of an abnormal exit record; that of the dump is also a key of the board.
namespace ClientMonitor {
inline const QString TagCallStack = QStringLiteral("TagCallStack");
inline const QString TagDump = QStringLiteral("TagDump");
}  // namespace ClientMonitor

/// Names of performance items, which are keys of the board.
namespace ClientPerformItem {
inline const QString DealCount = QStringLiteral("DealCount");
inline const QString OrderCount = QStringLiteral("OrderCount");
inline const QString PositionCount = QStringLiteral("PositionCount");
}  // namespace ClientPerformItem

/// Item names of client information uploads.
namespace ClinetInfoUpload {
inline const QString AutoUpdateError = QStringLiteral("AutoUpdateError");
// The same item as in the values of the client family.
inline const QString ClientErrorInfo = QStringLiteral("ClientErrorInfo");
inline const QString SystemButtomClicked = QStringLiteral("SystemButtomClicked");
inline const QString UserOperRecord = QStringLiteral("UserOperRecord");

/// Error kinds of client information uploads; both are also keys of the board.
namespace ClientErrorType {
inline const QString ComputerResume = QStringLiteral("ComputerResume");
inline const QString ComputerSuspend = QStringLiteral("ComputerSuspend");
}  // namespace ClientErrorType
}  // namespace ClinetInfoUpload

/// The two cancels are different values of different fields: the first marks a cancelling
/// entrust, the second a deal that reports a cancellation.
namespace EntrustType {
inline const QString CancelOrder = QStringLiteral("F");
inline const QString cancelOrder = QStringLiteral("4");
}  // namespace EntrustType

/// Exchange codes.
namespace Exchange {
inline const QString cffex = QStringLiteral("7");
inline const QString czce = QStringLiteral("4");
inline const QString dcz = QStringLiteral("5");
inline const QString hhk = QStringLiteral("G");
inline const QString hk = QStringLiteral("K");
inline const QString sh = QStringLiteral("1");
inline const QString shf = QStringLiteral("6");
inline const QString ssc = QStringLiteral("C");
inline const QString sz = QStringLiteral("2");
inline const QString szc = QStringLiteral("D");
inline const QString szhk = QStringLiteral("S");
inline const QString yhj = QStringLiteral("Y");
}  // namespace Exchange

/// Market data security types.
namespace MdcSecurityType {
inline const QString BondType = QStringLiteral("3");
inline const QString FundType = QStringLiteral("8");
inline const QString FuturesType = QStringLiteral("5");
inline const QString OptionType = QStringLiteral("6");
inline const QString StockType = QStringLiteral("2");
}  // namespace MdcSecurityType

/// Market data security subtypes. Five digits: two for the type, three within it, so that no
/// subtype can be taken for a type where a rule table is keyed by either.
namespace MdcSubSecurityType {
inline const QString Asharenewsharesbid = QStringLiteral("02900");
inline const QString Assetbackedsecurities = QStringLiteral("03500");
inline const QString Convertiblebond = QStringLiteral("03200");
inline const QString Gemstock = QStringLiteral("02100");
inline const QString Pledgetypetreasurybondrepurchase = QStringLiteral("03310");
inline const QString Thecorporatebondpledgedrepo = QStringLiteral("03320");
inline const QString TradingopenindexfundETF = QStringLiteral("08100");
}  // namespace MdcSubSecurityType

/// Kind of a menu.
namespace MenuType {
inline const QString client = QStringLiteral("client");
}

/// Order types.
namespace OrderType {
inline const QString market = QStringLiteral("1");
}

/// Order price types.
namespace PriceType {
inline const QString fixedPriceAfterMarket = QStringLiteral("FIXAFTER");
inline const QString limitPriceAllDealOrCancel = QStringLiteral("LIMITFOK");
inline const QString shDealOrCancel5 = QStringLiteral("SH5CANCEL");
inline const QString shDealOrbeLimit5 = QStringLiteral("SH5LIMIT");
inline const QString szAllDealOrCancel = QStringLiteral("SZFOK");
inline const QString szDealOrCancel = QStringLiteral("SZIOC");
inline const QString szDealOrCancel5 = QStringLiteral("SZ5CANCEL");
inline const QString szOpponentOptimization = QStringLiteral("SZOPPOSITE");
inline const QString szSelfOptimization = QStringLiteral("SZOWN");
}  // namespace PriceType

/// Status of an answer.
namespace RequestExeStatus {
inline const QString success = QStringLiteral("0");
}

/// Where a security id comes from.
namespace SecurityIDSource {
inline const QString securityID = QStringLiteral("8");
}

/// What a subscription request asks for.
namespace SubscribeType {
inline const QString subscribe = QStringLiteral("1");
}

/// Symbol suffixes, behind the dot of a symbol.
namespace SymbolPost {
inline const QString cffex = QStringLiteral("CFE");
inline const QString czce = QStringLiteral("CZC");
inline const QString dce = QStringLiteral("DCE");
inline const QString hk = QStringLiteral("HK");
inline const QString sh = QStringLiteral("SH");
inline const QString shf = QStringLiteral("SHF");
inline const QString sz = QStringLiteral("SZ");
}  // namespace SymbolPost

/// State of a user.
namespace UserStatus {
inline const QString good = QStringLiteral("1");
}

/// Where an order comes from.
namespace orderFlowType {
inline const QString instructionOrder = QStringLiteral("instruction");
}

}  // namespace Quindar_Values
