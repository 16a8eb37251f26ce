#include "log.h"
#include "zn_business_data_manager.h"

// Slots whose tables this build does not have yet: what arrives is logged and dropped.

#define VELMAR_WITHOUT_READER(name, ...)                             \
    void ZnBusinessDataManager::name(__VA_ARGS__) {                  \
        logWithoutReader(lcCore(), "ZnBusinessDataManager::" #name); \
    }

VELMAR_WITHOUT_READER(slotRecvBusiMsgPush, QVariantMap, bool)
VELMAR_WITHOUT_READER(slotNetReconnect, QString, ZnPresenterClass*)
VELMAR_WITHOUT_READER(slotNetDisconnected, QString)
VELMAR_WITHOUT_READER(slotNoticeSymbolChanged, QList<QVariantMap>)
VELMAR_WITHOUT_READER(slotClientInfoCollect, QVariantMap)
VELMAR_WITHOUT_READER(slotClientInfoTimeOut, void)
VELMAR_WITHOUT_READER(AssembleHistoryEntrustDealList, QString, QList<QVariantMap>)
VELMAR_WITHOUT_READER(QueryAssetDileveryResponse, QString, QVariantMap, QString, QList<QVariantMap>)

#undef VELMAR_WITHOUT_READER
