#include <QStringList>
#include <QSysInfo>

#include "never_destroyed.h"
#include "velmarutils/velmar_utils.h"

namespace {

/// Read once: the system's release file is slow to read, and an order list needs the text per row.
struct OwnStation {
    const QString text = QStringList{QSysInfo::machineHostName(), QSysInfo::productType(),
                                     QSysInfo::productVersion()}
                             .join(QLatin1Char(';'));
};

}  // namespace

QString VelmarUtils::GetVelmarOrderStation(const QString& prefix) {
    const QString& own = neverDestroyed<OwnStation>().text;
    return prefix.isEmpty() ? own : prefix + QLatin1Char(';') + own;
}
