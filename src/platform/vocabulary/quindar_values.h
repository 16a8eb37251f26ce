#pragma once

#include "vocabulary/text_constant.h"

/// Fixed field values that the whole client family shares.
/// Codes that become part of composed keys contain none of the characters that join such keys.
namespace Quindar_Values {

/// State of an account; "0" is an account in normal use.
namespace AccountStatus {
VELMAR_TEXT(freezing, "1");
}

/// Kind of change to a profile.
namespace AlterType {
VELMAR_TEXT(create, "create");
}

/// Authority kinds on an account.
namespace AuthorityType {
VELMAR_TEXT(AccountAuthority, "AccountAuthority");
VELMAR_TEXT(AccountEdit, "AccountEdit");
VELMAR_TEXT(AccountQuery, "AccountQuery");
VELMAR_TEXT(AccountSubscribe, "AccountSubscribe");
VELMAR_TEXT(AccountTrade, "AccountTrade");
}  // namespace AuthorityType

/// Keys of an abnormal exit record; that of the dump is also a key of the board.
namespace ClientMonitor {
VELMAR_TEXT(TagCallStack, "TagCallStack");
VELMAR_TEXT(TagDump, "TagDump");
}  // namespace ClientMonitor

/// Names of performance items, which are keys of the board.
namespace ClientPerformItem {
VELMAR_TEXT(DealCount, "DealCount");
VELMAR_TEXT(OrderCount, "OrderCount");
VELMAR_TEXT(PositionCount, "PositionCount");
}  // namespace ClientPerformItem

/// Item names of client information uploads.
namespace ClinetInfoUpload {
VELMAR_TEXT(AutoUpdateError, "AutoUpdateError");
// The same item as in the values of the client family.
VELMAR_TEXT(ClientErrorInfo, "ClientErrorInfo");
VELMAR_TEXT(SystemButtomClicked, "SystemButtomClicked");
VELMAR_TEXT(UserOperRecord, "UserOperRecord");

/// Error kinds of client information uploads; both are also keys of the board.
namespace ClientErrorType {
VELMAR_TEXT(ComputerResume, "ComputerResume");
VELMAR_TEXT(ComputerSuspend, "ComputerSuspend");
}  // namespace ClientErrorType
}  // namespace ClinetInfoUpload

/// The two cancels are different values of different fields: the first marks a cancelling
/// entrust, the second a deal that reports a cancellation.
namespace EntrustType {
VELMAR_TEXT(CancelOrder, "F");
VELMAR_TEXT(cancelOrder, "4");
}  // namespace EntrustType

/// Exchange codes.
namespace Exchange {
VELMAR_TEXT(cffex, "7");
VELMAR_TEXT(czce, "4");
VELMAR_TEXT(dcz, "5");
VELMAR_TEXT(hhk, "G");
VELMAR_TEXT(hk, "K");
VELMAR_TEXT(sh, "1");
VELMAR_TEXT(shf, "6");
VELMAR_TEXT(ssc, "C");
VELMAR_TEXT(sz, "2");
VELMAR_TEXT(szc, "D");
VELMAR_TEXT(szhk, "S");
VELMAR_TEXT(yhj, "Y");
}  // namespace Exchange

/// Market data security types.
namespace MdcSecurityType {
VELMAR_TEXT(BondType, "3");
VELMAR_TEXT(FundType, "8");
VELMAR_TEXT(FuturesType, "5");
VELMAR_TEXT(OptionType, "6");
VELMAR_TEXT(StockType, "2");
}  // namespace MdcSecurityType

/// Market data security subtypes. Five digits: two for the type, three within it, so that no
/// subtype can be taken for a type where a rule table is keyed by either.
namespace MdcSubSecurityType {
VELMAR_TEXT(Asharenewsharesbid, "02900");
VELMAR_TEXT(Assetbackedsecurities, "03500");
VELMAR_TEXT(Convertiblebond, "03200");
VELMAR_TEXT(Gemstock, "02100");
VELMAR_TEXT(Pledgetypetreasurybondrepurchase, "03310");
VELMAR_TEXT(Thecorporatebondpledgedrepo, "03320");
VELMAR_TEXT(TradingopenindexfundETF, "08100");
}  // namespace MdcSubSecurityType

/// Kind of a menu.
namespace MenuType {
VELMAR_TEXT(client, "client");
}

/// Order types.
namespace OrderType {
VELMAR_TEXT(market, "1");
}

/// Order price types.
namespace PriceType {
VELMAR_TEXT(fixedPriceAfterMarket, "FIXAFTER");
VELMAR_TEXT(limitPriceAllDealOrCancel, "LIMITFOK");
VELMAR_TEXT(shDealOrCancel5, "SH5CANCEL");
VELMAR_TEXT(shDealOrbeLimit5, "SH5LIMIT");
VELMAR_TEXT(szAllDealOrCancel, "SZFOK");
VELMAR_TEXT(szDealOrCancel, "SZIOC");
VELMAR_TEXT(szDealOrCancel5, "SZ5CANCEL");
VELMAR_TEXT(szOpponentOptimization, "SZOPPOSITE");
VELMAR_TEXT(szSelfOptimization, "SZOWN");
}  // namespace PriceType

/// Status of an answer.
namespace RequestExeStatus {
VELMAR_TEXT(success, "0");
}

/// Where a security id comes from.
namespace SecurityIDSource {
VELMAR_TEXT(securityID, "8");
}

/// What a subscription request asks for.
namespace SubscribeType {
VELMAR_TEXT(subscribe, "1");
}

/// Symbol suffixes, behind the dot of a symbol.
namespace SymbolPost {
VELMAR_TEXT(cffex, "CFE");
VELMAR_TEXT(czce, "CZC");
VELMAR_TEXT(dce, "DCE");
VELMAR_TEXT(hk, "HK");
VELMAR_TEXT(sh, "SH");
VELMAR_TEXT(shf, "SHF");
VELMAR_TEXT(sz, "SZ");
}  // namespace SymbolPost

/// State of a user.
namespace UserStatus {
VELMAR_TEXT(good, "1");
}

/// Where an order comes from.
namespace orderFlowType {
VELMAR_TEXT(instructionOrder, "instruction");
}

}  // namespace Quindar_Values
