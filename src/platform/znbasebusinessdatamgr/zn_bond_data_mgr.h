#pragma once

#include <QString>

#include "platform_export.h"

/// The figures of a bond.
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
    /// Returns "0" with the bond's figures in `out`; for a symbol that was not loaded another text,
    /// without a change of `out`.
    QString GetSingelBondBaseInfo(const QString& symbol, stuBaseInfo& out);

private:
    ZnBondDataMgr() = default;
};
