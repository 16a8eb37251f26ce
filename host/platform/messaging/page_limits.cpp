#include "page_limits.h"

#include <atomic>

namespace {

std::atomic<PageLimits> g_limits{PageLimits()};

}  // namespace

PageLimits pageLimits() {
    return g_limits;
}

void setPageLimits(const PageLimits& limits) {
    g_limits = limits;
}
