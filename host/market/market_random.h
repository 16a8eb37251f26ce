#pragma once

#include <QtGlobal>
#include <random>

/// Numbers that are the same on every machine for a seed. The C++ standard fixes the generator, but
/// not the library's distributions, so those are not used.
class MarketRandom {
public:
    explicit MarketRandom(quint32 seed) : m_generator(seed) {}

    /// 0 to bound - 1. The bounds are small, so the bias of the remainder does not matter.
    int below(int bound) {
        return static_cast<int>(m_generator() % static_cast<std::mt19937::result_type>(bound));
    }
    /// Both ends are included.
    int between(int from, int to) { return from + below(to - from + 1); }

private:
    std::mt19937 m_generator;
};
