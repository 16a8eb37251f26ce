#pragma once

#include <QString>
#include <QVariantMap>

#include "platform_export.h"

/// Reference data of securities lending. Any thread.
class PLATFORM_API ZnRqtBaseDataHandler {
public:
    enum DataType { Symbols = 0 };

    static ZnRqtBaseDataHandler& instance();

    /// Reads the rows of one kind.
    void initData(DataType type);
    /// Whether the symbol is a portfolio (a basket of securities) that was loaded.
    bool IsSymbolPortfolioRqt(const QString& symbol);
    /// Its record; empty when unknown.
    QVariantMap GetRqtSymbolDetail(const QString& symbol);

private:
    ZnRqtBaseDataHandler() = default;
};
