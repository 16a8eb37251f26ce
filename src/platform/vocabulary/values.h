#pragma once

#include "vocabulary/quindar_values.h"
#include "vocabulary/torvi_values.h"
#include "vocabulary/velmar_values.h"

// The value groups under the short names that code uses: the last two components. Groups of the
// same name are merged; a name that two of them contain is declared once, or it would be ambiguous.

namespace AccountStatus {
using namespace Quindar_Values::AccountStatus;
}

namespace AccountType {
using namespace Velmar_Values::AccountType;
}

namespace AlterType {
using namespace Quindar_Values::AlterType;
using namespace Velmar_Values::AlterType;
}  // namespace AlterType

namespace AuthorityType {
using namespace Quindar_Values::AuthorityType;
}

namespace BusiMsgLevel {
using namespace Velmar_Values::BusiMsgLevel;
}

namespace BusiMsgType {
using namespace Velmar_Values::BusiMsgType;
}

namespace CageField {
using namespace Velmar_Values::CageField;
}

namespace ClientMonitor {
using namespace Quindar_Values::ClientMonitor;
}

namespace ClientPerformItem {
using namespace Quindar_Values::ClientPerformItem;
using namespace Velmar_Values::ClientPerformItem;
}  // namespace ClientPerformItem

namespace ClientPerformType {
using namespace Velmar_Values::ClientPerformType;
}

namespace ClinetInfoUpload {
using namespace Quindar_Values::ClinetInfoUpload;
using namespace Velmar_Values::ClinetInfoUpload;
using Quindar_Values::ClinetInfoUpload::ClientErrorInfo;
namespace ClientErrorType {
using namespace Quindar_Values::ClinetInfoUpload::ClientErrorType;
using namespace Velmar_Values::ClinetInfoUpload::ClientErrorType;
}  // namespace ClientErrorType
namespace DumpCallStackString {
using namespace Velmar_Values::ClinetInfoUpload::DumpCallStackString;
}
}  // namespace ClinetInfoUpload

namespace ClientErrorType {
using namespace ::ClinetInfoUpload::ClientErrorType;
}

namespace DumpCallStackString {
using namespace ::ClinetInfoUpload::DumpCallStackString;
}

namespace CounterSysCode {
using namespace Velmar_Values::CounterSysCode;
}

namespace EntrustType {
using namespace Quindar_Values::EntrustType;
}

namespace EtfCodeType {
using namespace Velmar_Values::EtfCodeType;
}

namespace EtfStatus {
using namespace Velmar_Values::EtfStatus;
}

namespace Exchange {
using namespace Quindar_Values::Exchange;
using namespace Velmar_Values::Exchange;
}  // namespace Exchange

namespace ExchangeExeStat {
using namespace Velmar_Values::ExchangeExeStat;
}

namespace ExchangeExeType {
using namespace Velmar_Values::ExchangeExeType;
}

namespace FundAccountType {
using namespace Velmar_Values::FundAccountType;
}

namespace InitTypeCode {
using namespace Velmar_Values::InitTypeCode;
}

namespace MdcSecurityType {
using namespace Quindar_Values::MdcSecurityType;
using namespace Velmar_Values::MdcSecurityType;
}  // namespace MdcSecurityType

namespace MdcSubSecurityType {
using namespace Quindar_Values::MdcSubSecurityType;
using namespace Velmar_Values::MdcSubSecurityType;
}  // namespace MdcSubSecurityType

namespace MenuType {
using namespace Quindar_Values::MenuType;
}

namespace NetGateType {
using namespace Velmar_Values::NetGateType;
}

namespace orderFlowType {
using namespace Quindar_Values::orderFlowType;
}

namespace OrderSide {
using namespace Velmar_Values::OrderSide;
}

namespace OrderType {
using namespace Quindar_Values::OrderType;
}

namespace PriceType {
using namespace Quindar_Values::PriceType;
using namespace Velmar_Values::PriceType;
}  // namespace PriceType

namespace ReplyMode {
using namespace Velmar_Values::ReplyMode;
}

namespace RequestExeStatus {
using namespace Quindar_Values::RequestExeStatus;
using namespace Velmar_Values::RequestExeStatus;
}  // namespace RequestExeStatus

namespace SecurityIDSource {
using namespace Quindar_Values::SecurityIDSource;
}

namespace SideUnion {
using namespace Velmar_Values::SideUnion;
}

namespace StFlag {
using namespace Velmar_Values::StFlag;
}

namespace SubscribeTopicSubType {
using namespace Velmar_Values::SubscribeTopicSubType;
}

namespace SubscribeType {
using namespace Quindar_Values::SubscribeType;
}

namespace SymbolPost {
using namespace Quindar_Values::SymbolPost;
}

namespace SymbolRiskType {
using namespace Velmar_Values::SymbolRiskType;
}

namespace SystemButtonName {
using namespace Velmar_Values::SystemButtonName;
}

namespace SystemItemName {
using namespace Velmar_Values::SystemItemName;
}

namespace Torvi_InnerFundProp {
using namespace Torvi_Values::Torvi_InnerFundProp;
}

namespace Torvi_SecurityExchange {
using namespace Torvi_Values::Torvi_SecurityExchange;
}

namespace UserStatus {
using namespace Quindar_Values::UserStatus;
}
