#pragma once

#include "vocabulary/text_constant.h"

/// Names of in-process events; the event id is looked up by the name.
namespace Torvi_Keys {

/// Event names.
namespace EventMsgName {
VELMAR_TEXT(BUSI_HEART_BEAT_STATISTIC, "BUSI_HEART_BEAT_STATISTIC");
VELMAR_TEXT(BUSI_MSG_ADD, "BUSI_MSG_ADD");
VELMAR_TEXT(BUSI_MSG_LOADED, "BUSI_MSG_LOADED");
VELMAR_TEXT(BUSI_MSG_UPDATED, "BUSI_MSG_UPDATED");
VELMAR_TEXT(CalcRealizedProfitInitEvent, "CalcRealizedProfitInitEvent");
VELMAR_TEXT(ClientPatchUpdateEvent, "ClientPatchUpdateEvent");
VELMAR_TEXT(ETFTRADESETTING_TRADEFEECHANGE, "ETFTRADESETTING_TRADEFEECHANGE");
VELMAR_TEXT(LogUploadEvent, "LogUploadEvent");
VELMAR_TEXT(PRICE_CAGE_INFO_FINISH_INIT, "PRICE_CAGE_INFO_FINISH_INIT");
VELMAR_TEXT(RealizedProfitInitedEvent, "RealizedProfitInitedEvent");
VELMAR_TEXT(RealizedProfitUpdateEvent, "RealizedProfitUpdateEvent");
VELMAR_TEXT(SECURITY_ACCOUNT_SETTING_CHANGED, "SECURITY_ACCOUNT_SETTING_CHANGED");
VELMAR_TEXT(Velmar_Fundaccount_Inited, "Velmar_Fundaccount_Inited");
}  // namespace EventMsgName

}  // namespace Torvi_Keys
