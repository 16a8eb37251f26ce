#pragma once

#include <functional>

/// Whether to stop making a market. Loops over many rows check it and return early with what they
/// have; their caller checks it again and discards that. An empty function never stops.
class MarketStop {
public:
    MarketStop() = default;
    explicit MarketStop(std::function<bool()> shouldStop) : m_shouldStop(std::move(shouldStop)) {}

    /// Stays true once it was true.
    bool isSet() const {
        m_set = m_set || (m_shouldStop && m_shouldStop());
        return m_set;
    }
    /// The same for a loop at this row; calls the function at every few hundredth row only.
    bool isSetAt(int row) const {
        constexpr int kStride = 512;
        return row % kStride == 0 ? isSet() : m_set;
    }

private:
    const std::function<bool()> m_shouldStop;
    mutable bool m_set = false;
};
