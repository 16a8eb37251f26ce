#include "core.h"
#include "linkage_events.h"
#include "velmar_business_data_interface.h"

void VelmarBusinessDataInterface::AddClientInfo(const QString& itemType, const QString& itemValue,
                                                const QString& itemValueEx, QVariant operType,
                                                const QTime& time, int logTriggerTime) {
    core().AddClientInfo(itemType, itemValue, itemValueEx, operType, time, logTriggerTime);
}

int VelmarBusinessDataInterface::GetLinkageEventID(const QString& msgType) {
    return core().linkageEvents().GetLinkageEventID(msgType);
}

void VelmarBusinessDataInterface::UploadAllClientInfo() {
    core().UploadAllClientInfo();
}
