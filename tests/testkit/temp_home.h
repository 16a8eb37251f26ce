#pragma once

#include <QString>
#include <QTemporaryDir>

#include "local_platform.h"

/// A temporary home folder for the local platform, removed with this object.
class TempHome {
public:
    TempHome();

    QString path() const { return m_dir.path(); }
    /// The path of a file in it; the file itself is not created.
    QString filePath(const QString& name) const { return m_dir.filePath(name); }
    LocalPlatform::Options options(const QString& staticDbFile = QString()) const;

private:
    QTemporaryDir m_dir;
};
