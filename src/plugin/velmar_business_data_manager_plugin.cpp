#include "velmar_business_data_manager_plugin.h"

#include "velmar_business_data_manager.h"
#include "zncm/id.h"

bool VelmarBusinessDataManagerPlugin::initialize(const QStringList&, QString*,
                                                 const QString& dllName) {
    auto* const descriptor = new QObject;
    descriptor->setObjectName(QStringLiteral("VelmarBusinessDataManager"));
    descriptor->setProperty("id", Id("ZNApp.VelmarBusinessDataManager").toSetting());
    descriptor->setProperty("dllname", QVariant(dllName));
    const int metaId = qRegisterMetaType<VelmarBusinessDataManager>("VelmarBusinessDataManager");
    descriptor->setProperty("metaId", metaId);
    addAutoReleasedObject(descriptor);
    return true;
}
