#include "commonquotahandler/common_quota_handler.h"

#include <QCoreApplication>
#include <QHash>
#include <QSet>
#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "application_object.h"
#include "data_log.h"
#include "data_stores.h"
#include "platform_data.h"
#include "thread_hand_over.h"

namespace {

inline const QString kLastPrice = QStringLiteral("LastPx");
constexpr int kUnsubscribe = 0;
constexpr int kSubscribe = 1;
constexpr int kFiveLevels = 0;
/// A main thread that is stuck for long must not fill the memory with ticks nobody wants any more.
constexpr int kMaxUndelivered = 10000;

using Listener = std::function<void()>;

struct Feed {
    std::atomic<bool> ready{false};
    std::atomic<int> undelivered{0};
    std::atomic<bool> overflowTold{false};
    std::mutex lock;  // guards what follows; held for the access alone
    QHash<QString, double> lastPrices;
    QStringList subscribed;  // in the order of the first subscription
    QSet<QString> known;     // the same as a set
    std::vector<std::weak_ptr<const Listener>> listeners;
};

Feed& feed() {
    static auto* const instance = new Feed;
    return *instance;
}

void tellListeners() {
    std::vector<std::shared_ptr<const Listener>> told;
    {
        const std::lock_guard<std::mutex> guard(feed().lock);
        auto& listeners = feed().listeners;
        listeners.erase(std::remove_if(listeners.begin(), listeners.end(),
                                       [](const auto& one) { return one.expired(); }),
                        listeners.end());
        for (const auto& one : listeners) {
            told.push_back(one.lock());
        }
    }
    for (const auto& one : told) {
        if (one) {
            (*one)();
        }
    }
}

/// False when nothing changes.
bool changeSubscriptions(const QStringList& symbols, bool adds) {
    const std::lock_guard<std::mutex> guard(feed().lock);
    const int before = feed().known.size();
    for (const QString& symbol : symbols) {
        if (!adds) {
            feed().known.remove(symbol);
        } else if (!symbol.isEmpty() && !feed().known.contains(symbol)) {
            feed().known.insert(symbol);
            feed().subscribed.append(symbol);
        }
    }
    if (!adds) {
        QStringList kept;
        for (const QString& symbol : std::as_const(feed().subscribed)) {
            if (feed().known.contains(symbol)) {
                kept.append(symbol);
            }
        }
        feed().subscribed = kept;
    }
    return feed().known.size() != before;
}

/// False when the application's thread is too far behind.
bool beginDelivery() {
    if (feed().undelivered.fetch_add(1) < kMaxUndelivered) {
        return true;
    }
    feed().undelivered.fetch_sub(1);
    if (!feed().overflowTold.exchange(true)) {
        qCWarning(lcPlatformData) << "ticks are dropped, the application's thread takes none:"
                                  << kMaxUndelivered << "wait for it";
    }
    return false;
}

void endDelivery() {
    if (feed().undelivered.fetch_sub(1) == 1) {
        feed().overflowTold = false;
    }
}

}  // namespace

void DataStores::resetTickFeed() {
    feed().ready = false;
    bool changed = false;
    {
        const std::lock_guard<std::mutex> guard(feed().lock);
        changed = !feed().subscribed.isEmpty();
        feed().lastPrices.clear();
        feed().subscribed.clear();
        feed().known.clear();
    }
    if (changed) {
        tellListeners();
    }
}

void PlatformData::publishTick(const QString& symbol, const QVariantMap& tick,
                               const QString& source) {
    if (!feed().ready) {
        return;
    }
    const auto lastPrice = tick.constFind(kLastPrice);
    if (lastPrice != tick.cend()) {
        const std::lock_guard<std::mutex> guard(feed().lock);
        feed().lastPrices.insert(symbol, lastPrice->toDouble());
    }
    if (!beginDelivery()) {
        return;
    }
    CommonQuotaHandler* handler = &CommonQuotaHandler::instance();
    runOnThreadOf(handler, [handler, symbol, tick, source]() {
        endDelivery();
        emit handler->sigTickDataUpdate(symbol, tick, source);
    });
}

QStringList PlatformData::subscribedSymbols() {
    const std::lock_guard<std::mutex> guard(feed().lock);
    return feed().subscribed;
}

std::shared_ptr<void> PlatformData::onSubscriptionsChanged(std::function<void()> changed) {
    auto listener = std::make_shared<Listener>(std::move(changed));
    const std::lock_guard<std::mutex> guard(feed().lock);
    feed().listeners.push_back(listener);
    return listener;
}

CommonQuotaHandler::CommonQuotaHandler() {
    moveToApplicationThread(this);
}

CommonQuotaHandler::~CommonQuotaHandler() = default;

CommonQuotaHandler& CommonQuotaHandler::instance() {
    // Never destroyed: plug-ins are still connected while static objects go.
    static auto* const handler = new CommonQuotaHandler;
    return *handler;
}

bool CommonQuotaHandler::Init() {
    if (!QCoreApplication::instance()) {
        qCWarning(lcPlatformData) << "the tick feed needs an application to deliver on";
        return false;
    }
    feed().ready = true;
    return true;
}

double CommonQuotaHandler::getLastPrice(const QString& symbol) const {
    const std::lock_guard<std::mutex> guard(feed().lock);
    return feed().lastPrices.value(symbol, 0.0);
}

void CommonQuotaHandler::subscribe(const QStringList& symbols, int action, int depth) {
    if ((action != kSubscribe && action != kUnsubscribe) || depth != kFiveLevels) {
        qCWarning(lcPlatformData) << "unknown tick subscription, action" << action << "depth"
                                  << depth << "for" << symbols.size() << "symbols";
        return;
    }
    if (changeSubscriptions(symbols, action == kSubscribe)) {
        tellListeners();
    }
}
