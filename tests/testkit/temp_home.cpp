#include "temp_home.h"

#include <QtGlobal>

TempHome::TempHome() {
    if (!m_dir.isValid()) {
        qFatal("no temporary folder: %s", qPrintable(m_dir.errorString()));
    }
}

LocalPlatform::Options TempHome::options(const QString& staticDbFile) const {
    LocalPlatform::Options options;
    options.homeDir = path();
    options.staticDbFile = staticDbFile;
    return options;
}
