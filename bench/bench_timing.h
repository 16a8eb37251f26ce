#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

/// Milliseconds that a call takes.
template <class Work>
double millisecondsOf(Work&& work) {
    const auto began = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began)
        .count();
}

inline double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
