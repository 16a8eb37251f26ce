#pragma once

#include "vocabulary/algo_fields.h"
#include "vocabulary/quindar_fields.h"
#include "vocabulary/velmar_fields.h"

// The field groups under the short names that code uses: the last two components. Groups of the
// same name are merged, so that no caller needs to know which namespace a field comes from.

namespace AppraisementCalculate {
using namespace Velmar_Fields::AppraisementCalculate;
}

namespace AppraisementInfo {
using namespace Velmar_Fields::AppraisementInfo;
}

namespace AssetDeliver {
using namespace Velmar_Fields::AssetDeliver;
}

namespace BusiMsgCenter {
using namespace Velmar_Fields::BusiMsgCenter;
}

namespace ClientPatch {
using namespace Velmar_Fields::ClientPatch;
}

namespace CustomField {
using namespace Quindar_Fields::CustomField;
}

namespace ETF {
using namespace Velmar_Fields::ETF;
}

namespace GoldTrade {
using namespace Velmar_Fields::GoldTrade;
}

namespace HKSExchgRate {
using namespace Velmar_Fields::HKSExchgRate;
}

namespace Instruction {
using namespace Quindar_Fields::Instruction;
}

namespace Margin {
using namespace Velmar_Fields::Margin;
}

namespace MDCFieldDefine {
using namespace Quindar_Fields::MDCFieldDefine;
}

namespace NewStock {
using namespace Velmar_Fields::NewStock;
}

namespace PanfenEquityFlowInfo {
using namespace Velmar_Fields::PanfenEquityFlowInfo;
}

namespace QuantMsgField {
using namespace Velmar_Fields::QuantMsgField;
}

namespace Security {
using namespace Quindar_Fields::Security;
using namespace Velmar_Fields::Security;
}  // namespace Security

namespace Strategy {
using namespace Quindar_Fields::Strategy;
}

namespace SymbolRiskType {
using namespace Velmar_Fields::SymbolRiskType;
}

namespace System {
using namespace Quindar_Fields::System;
using namespace Velmar_Fields::System;
}  // namespace System

namespace SysTradeDate {
using namespace Velmar_Fields::SysTradeDate;
}

namespace UserAccount {
using namespace Quindar_Fields::UserAccount;
using namespace Velmar_Fields::UserAccount;
}  // namespace UserAccount

namespace VelmarStrategy {
using namespace Algo_Fields::VelmarStrategy;
}
