#pragma once

#include <functional>

/// Whether the making of a market is to stop. Asked by loops over many rows, which then return what
/// they have; the caller asks again and drops it. An empty function never stops.
class MarketStop {
public:
    MarketStop() = default;
    explicit MarketStop(std::function<bool()> asked) : m_asked(std::move(asked)) {}

    /// Stays true once it was.
    bool isSet() const {
        m_set = m_set || (m_asked && m_asked());
        return m_set;
    }
    /// The same, asked for every few hundredth row only.
    bool isSetAt(int row) const {
        constexpr int kStride = 512;
        return row % kStride == 0 ? isSet() : m_set;
    }

private:
    const std::function<bool()> m_asked;
    mutable bool m_set = false;
};
