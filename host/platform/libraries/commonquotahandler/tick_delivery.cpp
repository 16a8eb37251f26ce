#include "tick_delivery.h"

#include <atomic>
#include <chrono>

#include "body_size.h"
#include "commonquotahandler/common_quota_handler.h"
#include "data_log.h"
#include "data_stores.h"
#include "message_totals.h"
#include "thread_hand_over.h"
#include "tick_board.h"

namespace {

/// A blocked main thread must not fill the memory with outdated ticks.
constexpr int kMaxUndelivered = 10000;

using Clock = std::chrono::steady_clock;

qint64 msSince(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - time).count();
}

std::atomic<int> g_undelivered{0};
std::atomic<bool> g_overflowLogged{false};

/// False when too many ticks already wait for the application's thread.
bool beginDelivery() {
    if (g_undelivered.fetch_add(1) < kMaxUndelivered) {
        return true;
    }
    g_undelivered.fetch_sub(1);
    if (!g_overflowLogged.exchange(true)) {
        qCWarning(lcPlatformData)
            << "ticks are dropped, the application's thread does not handle them:"
            << kMaxUndelivered << "wait for it";
    }
    return false;
}

void endDelivery() {
    if (g_undelivered.fetch_sub(1) == 1) {
        g_overflowLogged = false;
    }
}

}  // namespace

void TickDelivery::publish(const QString& symbol, const QVariantMap& tick, const QString& source) {
    if (!TickBoard::instance().takeTick(symbol, tick) || !beginDelivery()) {
        return;
    }
    CommonQuotaHandler* handler = &CommonQuotaHandler::instance();
    const Clock::time_point published = Clock::now();
    runOnThreadOf(handler, [handler, symbol, tick, source, published]() {
        endDelivery();
        MessageTotals::instance().countTick(bodySize(tick, kStandingBodyLimit), msSince(published));
        emit handler->sigTickDataUpdate(symbol, tick, source);
    });
}

void TickDelivery::reset() {
    TickBoard::instance().reset();
    DataStores::tickSubscriptions().clear();
}
