#include "tick_delivery.h"

#include <atomic>

#include "commonquotahandler/common_quota_handler.h"
#include "data_log.h"
#include "data_stores.h"
#include "thread_hand_over.h"
#include "tick_board.h"

namespace {

/// A blocked main thread must not fill the memory with outdated ticks.
constexpr int kMaxUndelivered = 10000;

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
    runOnThreadOf(handler, [handler, symbol, tick, source]() {
        endDelivery();
        emit handler->sigTickDataUpdate(symbol, tick, source);
    });
}

void TickDelivery::reset() {
    TickBoard::instance().reset();
    DataStores::tickSubscriptions().clear();
}
