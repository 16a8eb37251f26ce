#include "page_blocks.h"

QList<QPair<qint64, qint64>> pageBlocks(qint64 pages, int threads) {
    QList<QPair<qint64, qint64>> blocks;
    if (pages <= 0 || threads <= 0) {
        return blocks;
    }
    const qint64 base = pages / threads;
    qint64 extra = pages % threads;
    for (qint64 start = 1; start <= pages;) {
        const qint64 length = extra-- > 0 ? base + 1 : base;
        blocks.append({start, start + length - 1});
        start += length;
    }
    return blocks;
}
