#pragma once

#include <QString>

/// Cache keys, file keys and gateway names.
namespace Constants {

inline const QString MDC_TCP_GATEWAY = QStringLiteral("MDC_TCP_GATEWAY");
inline const QString ORDERSTATUSSWITCH = QStringLiteral("ORDERSTATUSSWITCH");
inline const QString PLUGIN_VIEWCURRENTCUSTOMHIDESTYLE =
    QStringLiteral("PLUGIN_VIEWCURRENTCUSTOMHIDESTYLE");
inline const QString PLUGIN_VIEWCUSTOMHIDESTYLE = QStringLiteral("PLUGIN_VIEWCUSTOMHIDESTYLE");
inline const QString TORVI_ORDER_DBFILE = QStringLiteral("TORVI_ORDER_DBFILE");
inline const QString USER_ACCOUNTLIST_INITED = QStringLiteral("USER_ACCOUNTLIST_INITED");
inline const QString ZGATE_GATEWAY = QStringLiteral("ZGATE_GATEWAY");
inline const QString ZINFO_GATEWAY = QStringLiteral("ZINFO_GATEWAY");

}  // namespace Constants
