#pragma once

/// Where a paged query gives up on a list that has not ended. No server has lists this long, but a
/// faulty one may repeat its pages for ever.
struct PageLimits {
    int pages = 100000;
    int rows = 10000000;
};

// The limits of the process. Any thread.
PageLimits pageLimits();
void setPageLimits(const PageLimits& limits);
