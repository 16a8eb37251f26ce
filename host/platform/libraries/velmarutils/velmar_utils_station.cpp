#include <QStringList>
#include <QSysInfo>

#include "velmarutils/velmar_utils.h"

QString VelmarUtils::GetVelmarOrderStation(const QString& prefix) {
    QStringList parts{QSysInfo::machineHostName(), QSysInfo::productType(),
                      QSysInfo::productVersion()};
    if (!prefix.isEmpty()) {
        parts.prepend(prefix);
    }
    return parts.join(QLatin1Char(';'));
}
