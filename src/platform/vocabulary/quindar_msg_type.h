#pragma once

#include <QString>

/// Message types of requests and pushes that the whole client family shares.
/// One table of handlers takes the types of both families, so a type is unique over both.
namespace Quindar_MsgType {

inline const QString getUserProfileDataRequest = QStringLiteral("getUserProfileDataRequest");
inline const QString menuConfigurationRequest = QStringLiteral("menuConfigurationRequest");
inline const QString newOrderList = QStringLiteral("newOrderList");
inline const QString orderCancelRequest = QStringLiteral("orderCancelRequest");
inline const QString subscribeTopicRequest = QStringLiteral("subscribeTopicRequest");
inline const QString sysConfigRequest = QStringLiteral("sysConfigRequest");

/// Types of the quant family.
namespace quant {
inline const QString GetUserRequest = QStringLiteral("quantGetUserRequest");
}

// Also beside its siblings, for code that writes every type by its last two components.
inline const QString quant_GetUserRequest = quant::GetUserRequest;

}  // namespace Quindar_MsgType
