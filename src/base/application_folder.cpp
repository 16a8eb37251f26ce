#include "application_folder.h"

#include <QCoreApplication>
#include <QVariant>

QString applicationFolder() {
    const QString set = qApp ? qApp->property("velmar.applicationFolder").toString() : QString();
    return set.isEmpty() ? QCoreApplication::applicationDirPath() : set;
}
