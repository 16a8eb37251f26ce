#pragma once

#include <QtGlobal>
#include <random>

/// Numbers that are the same on every machine for a seed: the generator is fixed by the language,
/// the library's distributions are not, so they are left alone.
class MarketRandom {
public:
    explicit MarketRandom(quint32 seed) : m_generator(seed) {}

    /// 0 to bound - 1. The bounds in use are small, so the remainder's bias is of no account.
    int below(int bound) {
        return static_cast<int>(m_generator() % static_cast<std::mt19937::result_type>(bound));
    }
    /// Both ends count.
    int between(int from, int to) { return from + below(to - from + 1); }

private:
    std::mt19937 m_generator;
};
