#pragma once

#include <QString>

#include "platform_export.h"

/// What is known of a bond.
struct stuBaseInfo {
    QString symbol;
    double stockInterest = 0;  ///< interest accrued per unit, in the unit of the price
};

/// Reference data of bonds. Any thread.
class PLATFORM_API ZnBondDataMgr {
public:
    static ZnBondDataMgr& instance();

    /// Reads the bond rows of the reference data; false with a log line when they cannot be read.
    bool load();
    /// "0" with the bond's figures in `out`; for a symbol that the loaded rows lack another text,
    /// `out` being untouched.
    QString GetSingelBondBaseInfo(const QString& symbol, stuBaseInfo& out);

private:
    ZnBondDataMgr() = default;
};
