#pragma once

#include <QString>

/// Names of in-process events; the event id is looked up by the name.
namespace Torvi_Keys {

/// Event names.
namespace EventMsgName {
inline const QString BUSI_HEART_BEAT_STATISTIC = QStringLiteral("BUSI_HEART_BEAT_STATISTIC");
inline const QString BUSI_MSG_ADD = QStringLiteral("BUSI_MSG_ADD");
inline const QString BUSI_MSG_LOADED = QStringLiteral("BUSI_MSG_LOADED");
inline const QString BUSI_MSG_UPDATED = QStringLiteral("BUSI_MSG_UPDATED");
inline const QString CalcRealizedProfitInitEvent = QStringLiteral("CalcRealizedProfitInitEvent");
inline const QString ClientPatchUpdateEvent = QStringLiteral("ClientPatchUpdateEvent");
inline const QString ETFTRADESETTING_TRADEFEECHANGE =
    QStringLiteral("ETFTRADESETTING_TRADEFEECHANGE");
inline const QString LogUploadEvent = QStringLiteral("LogUploadEvent");
inline const QString PRICE_CAGE_INFO_FINISH_INIT = QStringLiteral("PRICE_CAGE_INFO_FINISH_INIT");
inline const QString RealizedProfitInitedEvent = QStringLiteral("RealizedProfitInitedEvent");
inline const QString RealizedProfitUpdateEvent = QStringLiteral("RealizedProfitUpdateEvent");
inline const QString SECURITY_ACCOUNT_SETTING_CHANGED =
    QStringLiteral("SECURITY_ACCOUNT_SETTING_CHANGED");
inline const QString Velmar_Fundaccount_Inited = QStringLiteral("Velmar_Fundaccount_Inited");
}  // namespace EventMsgName

}  // namespace Torvi_Keys
