#include "velmarutils/velmar_statistic_assist.h"

#include <algorithm>
#include <numeric>

VelmarStatisticAssist::VelmarStatisticAssist(int maxCount, int validMinCount)
    : m_maxCount(std::max(maxCount, 0)), m_validMinCount(std::max(validMinCount, 0)) {}

void VelmarStatisticAssist::AppendData(double value) {
    m_data.append(value);
    trim();
}

double VelmarStatisticAssist::GetAvgData(bool* valid) const {
    if (valid) {
        // A run that holds nothing has no average.
        *valid = !m_data.isEmpty() && m_data.size() >= m_validMinCount;
    }
    // Summed again each time, since a running sum accumulates rounding errors.
    return m_data.isEmpty() ? 0.0
                            : std::accumulate(m_data.cbegin(), m_data.cend(), 0.0) / m_data.size();
}

void VelmarStatisticAssist::ClearAllData() {
    m_data.clear();
}

void VelmarStatisticAssist::SetMaxCount(int maxCount) {
    m_maxCount = std::max(maxCount, 0);
    trim();
}

void VelmarStatisticAssist::SetValidMinCount(int validMinCount) {
    m_validMinCount = std::max(validMinCount, 0);
}

void VelmarStatisticAssist::trim() {
    const int surplus = m_data.size() - m_maxCount;
    if (surplus > 0) {
        m_data.erase(m_data.begin(), m_data.begin() + surplus);
    }
}
