#include "log.h"
#include "velmar_business_data_manager_presenter_class.h"

// Work whose tables this build does not have yet: what arrives is logged and dropped.

#define VELMAR_WITHOUT_READER(name, ...)                                                    \
    void VelmarBusinessDataManagerPresenterClass::name(__VA_ARGS__) {                       \
        logWithoutReader(lcPresenter(), "VelmarBusinessDataManagerPresenterClass::" #name); \
    }

VELMAR_WITHOUT_READER(slotBusiMsgRead, QVariantMap)
VELMAR_WITHOUT_READER(queryBusiMsg, void)
VELMAR_WITHOUT_READER(slotBusiMsgAdd, QVariantMap&)
VELMAR_WITHOUT_READER(slotClientInfoUpload, QList<QVariantMap>)
VELMAR_WITHOUT_READER(slotClientInfoCollectAPM, QString, QVariantList)
VELMAR_WITHOUT_READER(slotReportThreadNum, void)
VELMAR_WITHOUT_READER(slotMultiDelaySettingChanged, void)
VELMAR_WITHOUT_READER(slotSendStaticDbErrorInfo, void)
VELMAR_WITHOUT_READER(slotNetElapseUpdated, QString, QTime, int)
VELMAR_WITHOUT_READER(slotNetReconnect, QString)
VELMAR_WITHOUT_READER(takeClientPatchInfo, const QList<QVariantMap>&)

#undef VELMAR_WITHOUT_READER

void VelmarBusinessDataManagerPresenterClass::slotUploadClientPerformance(QString type) {
    const QString what =
        QStringLiteral("VelmarBusinessDataManagerPresenterClass::slotUploadClientPerformance(%1)")
            .arg(type);
    logWithoutReader(lcPresenter(), qPrintable(what));
}
