#pragma once

#include <QString>
#include <QVariantMap>

#include "platform_export.h"

/// Reference data of ETF creation and redemption. Any thread.
class PLATFORM_API ZnEtfDataHandler {
public:
    static ZnEtfDataHandler& instance();

    /// Reads the ETF rows of the reference data; false with a log line when they cannot be read.
    bool load();
    /// Whether fund shares are created and redeemed under this symbol; false for a symbol that was
    /// not loaded.
    bool IsEtfRedemptionSymbol(const QString& symbol);
    /// Its record; empty when unknown.
    QVariantMap getEtfRedemptionSymbolInfo(const QString& symbol);

private:
    ZnEtfDataHandler() = default;
};
