#pragma once

#include "vocabulary/text_constant.h"

/// Message types of requests and pushes that the whole client family shares.
/// A type is unique over all namespaces of message types, because handlers are found by it alone.
namespace Quindar_MsgType {

VELMAR_TEXT(getUserProfileDataRequest, "getUserProfileDataRequest");
VELMAR_TEXT(menuConfigurationRequest, "menuConfigurationRequest");
VELMAR_TEXT(newOrderList, "newOrderList");
VELMAR_TEXT(orderCancelRequest, "orderCancelRequest");
VELMAR_TEXT(subscribeTopicRequest, "subscribeTopicRequest");
VELMAR_TEXT(sysConfigRequest, "sysConfigRequest");

/// Types of the quant family.
namespace quant {
VELMAR_TEXT(GetUserRequest, "quantGetUserRequest");
}

// Also available beside the other types, under the short name that code uses.
VELMAR_CONSTANT(QString, quant_GetUserRequest, quant::GetUserRequest);

}  // namespace Quindar_MsgType
