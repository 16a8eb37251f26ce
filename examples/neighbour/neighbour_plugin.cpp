#include "neighbour_plugin.h"

#include "neighbour.h"
#include "zncm/id.h"

bool NeighbourPlugin::initialize(const QStringList&, QString*, const QString& dllName) {
    // The host creates an object of the class behind "metaId" and calls its initialize().
    auto* const descriptor = new QObject;
    descriptor->setObjectName(QStringLiteral("Neighbour"));
    descriptor->setProperty("id", Id("Example.Neighbour").toSetting());
    descriptor->setProperty("dllname", dllName);
    descriptor->setProperty("metaId", qRegisterMetaType<Neighbour>("Neighbour"));
    addAutoReleasedObject(descriptor);
    return true;
}
