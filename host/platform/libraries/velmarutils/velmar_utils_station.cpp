#include <QStringList>
#include <QSysInfo>

#include "never_destroyed.h"
#include "velmarutils/velmar_utils.h"

namespace {

/// The text for this machine, read once because reading it takes longer than building an order.
struct Station {
    QString text = QStringList{QSysInfo::machineHostName(), QSysInfo::productType(),
                               QSysInfo::productVersion()}
                       .join(QLatin1Char(';'));
};

}  // namespace

QString VelmarUtils::GetVelmarOrderStation(const QString& prefix) {
    const QString& station = neverDestroyed<Station>().text;
    return prefix.isEmpty() ? station : prefix + QLatin1Char(';') + station;
}
