#pragma once

#include <QList>
#include <QPair>
#include <QtGlobal>

/// Cuts the pages 1 to `pages` into at most `threads` blocks of neighbouring pages, first and last,
/// of equal length; the first blocks have one page more where they cannot be equal. Empty without
/// pages or threads. Any thread.
QList<QPair<qint64, qint64>> pageBlocks(qint64 pages, int threads);
