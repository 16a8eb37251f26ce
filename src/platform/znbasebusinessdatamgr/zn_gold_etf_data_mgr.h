#pragma once

#include <QString>
#include <QVariantMap>

#include "platform_export.h"

/// Reference data of gold contracts and gold ETFs. Any thread.
class PLATFORM_API ZnGoldEtfDataMgr {
public:
    static ZnGoldEtfDataMgr* instance();

    /// Reads the gold rows of the reference data; false with a log line when they cannot be read.
    /// Both arguments are passed 0.
    bool load(int, int);
    /// The record of a loaded contract or fund; empty when unknown.
    QVariantMap GetGoldSecurityInfoBySymbol(const QString& symbol);

private:
    ZnGoldEtfDataMgr() = default;
};
