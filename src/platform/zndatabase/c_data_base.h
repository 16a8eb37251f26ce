#pragma once

#include <QMap>
#include <QString>

#include "platform_export.h"

/// The static configuration database. Any thread; reads a file, so a call may take a moment.
class PLATFORM_API CDataBase {
public:
    static CDataBase* GetInstance();

    /// One value; empty when absent.
    QString GetStaticCfgValue(const QString& section, const QString& key) const;
    /// Every key and value of a section; empty when absent.
    QMap<QString, QString> GetStaticValuesBySection(const QString& section) const;

private:
    CDataBase() = default;
};
