#pragma once

#include <QList>

#include "platform_export.h"

/// A bounded run of numbers with their average: a value type, not for sharing between threads.
class PLATFORM_API VelmarStatisticAssist {
public:
    /// Keeps the last `maxCount` numbers; an average counts as valid from `validMinCount` on. A run
    /// that holds no number, such as one of a `maxCount` of 0, never has a valid average.
    VelmarStatisticAssist(int maxCount = 0, int validMinCount = 0);

    void AppendData(double value);
    /// The average of the numbers held, 0 when empty. `valid`, when not null, is set to whether
    /// there are enough numbers.
    double GetAvgData(bool* valid) const;
    void ClearAllData();
    /// A smaller count drops the oldest numbers.
    void SetMaxCount(int maxCount);
    void SetValidMinCount(int validMinCount);

private:
    void trim();

    QList<double> m_data;
    int m_maxCount;
    int m_validMinCount;
};
