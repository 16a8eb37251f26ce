#include "client_order_ids.h"

#include <QDateTime>
#include <QLatin1Char>
#include <QRandomGenerator>
#include <algorithm>
#include <mutex>

#include "never_destroyed.h"

namespace {

constexpr int kDecimal = 10;
constexpr int kHexadecimal = 16;
constexpr int kMillisecondDigits = 13;
constexpr int kProcessDigits = 8;
constexpr int kCounterDigits = 10;

struct Sequence {
    std::mutex lock;  // guards the two below
    qint64 milliseconds = 0;
    quint64 counter = 0;
    // Two clients that start in the same millisecond still differ.
    const QString process = QStringLiteral("%1").arg(
        QRandomGenerator::system()->generate(), kProcessDigits, kHexadecimal, QLatin1Char('0'));
};

Sequence& sequence() {
    return neverDestroyed<Sequence>();
}

}  // namespace

QString newClientOrderId() {
    Sequence& ids = sequence();
    qint64 milliseconds = 0;
    quint64 counter = 0;
    {
        const std::lock_guard<std::mutex> guard(ids.lock);
        // The machine's clock may be set back; the ids still rise.
        ids.milliseconds = std::max(ids.milliseconds, QDateTime::currentMSecsSinceEpoch());
        milliseconds = ids.milliseconds;
        counter = ++ids.counter;
    }
    const QLatin1Char zero('0');
    return QStringLiteral("%1%2%3")
        .arg(milliseconds, kMillisecondDigits, kDecimal, zero)
        .arg(ids.process)
        .arg(counter, kCounterDigits, kDecimal, zero);
}
