#include "presenter_registry.h"

#include <algorithm>

#include "event_bus.h"
#include "message_log.h"
#include "never_destroyed.h"
#include "request_broker.h"
#include "signal_stack.h"

namespace {

constexpr QLatin1Char kNumberMark('#');

}  // namespace

PresenterRegistry& PresenterRegistry::instance() {
    return neverDestroyed([] { return new PresenterRegistry; });
}

/// Counts on for the instance, past an id that a presenter of another instance has: an instance may
/// itself be named like the second presenter of another one, "name#2".
QString PresenterRegistry::newPidLocked(const QString& instanceId) {
    const int mark = instanceId.lastIndexOf(kNumberMark);
    const int lastOfOther = mark < 0 ? 0 : m_lastNumbers.value(instanceId.left(mark));
    const int ownNumber = instanceId.midRef(mark + 1).toInt();
    int& number = m_lastNumbers[instanceId];
    if (number == 0 && (ownNumber < 2 || ownNumber > lastOfOther)) {
        number = 1;
        return instanceId;
    }
    QString pid;
    do {
        number = qMax(number, 1) + 1;
        pid = instanceId + kNumberMark + QString::number(number);
    } while (m_lastNumbers.contains(pid));
    return pid;
}

std::shared_ptr<PresenterChannel> PresenterRegistry::enrol(ZnPresenterClass* presenter,
                                                           const QString& instanceId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_channels.push_back(
        std::make_shared<PresenterChannel>(presenter, instanceId, newPidLocked(instanceId)));
    return m_channels.back();
}

void PresenterRegistry::cutOff(const std::shared_ptr<PresenterChannel>& channel) {
    EventBus::instance().unsubscribe(channel.get());
    RequestBroker::instance().failOf(channel.get(), QStringLiteral("the presenter is closing"));
}

void PresenterRegistry::dispose(const std::shared_ptr<PresenterChannel>& channel) {
    if (!channel->claimDisposal()) {
        return;
    }
    cutOff(channel);
    if (channel->isOwnThread()) {
        handToReaper(channel);
    } else {
        finish(channel);
    }
}

void PresenterRegistry::finish(const std::shared_ptr<PresenterChannel>& channel) {
    channel->dispose();
    qCDebug(lcChannel) << "presenter" << channel->pid() << "is deleted";
    remove(channel);
}

/// False when the presenter was built or deleted after all.
bool PresenterRegistry::giveUp(const std::shared_ptr<PresenterChannel>& channel) {
    if (!channel->claimUnbuilt()) {
        return false;
    }
    cutOff(channel);
    qCCritical(lcChannel) << "presenter" << channel->pid()
                          << "is still being made by another thread: left undeleted";
    remove(channel);
    return true;
}

void PresenterRegistry::remove(const std::shared_ptr<PresenterChannel>& channel) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_channels.erase(std::remove(m_channels.begin(), m_channels.end(), channel), m_channels.end());
    m_changed.notify_all();
}

void PresenterRegistry::disposeAll() {
    for (auto live = channels(); !live.empty(); live = channels()) {
        for (const auto& channel : live) {
            if (channel->waitUntilBuilt(m_buildLimit) || !giveUp(channel)) {
                dispose(channel);
            }
        }
        // Others may dispose of some too: a caller of deleteLater(), or the reaper.
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this, &live] {
            return std::none_of(live.begin(), live.end(), [this](const auto& channel) {
                return std::find(m_channels.begin(), m_channels.end(), channel) != m_channels.end();
            });
        });
    }
    joinReaper();
}

void PresenterRegistry::afterQueued(const std::function<void()>& done) const {
    // Each queued function shares it; the last one to be called or dropped lets it go.
    const std::shared_ptr<void> last(nullptr, [done](void*) { done(); });
    for (const auto& channel : channels()) {
        channel->post([last] {});
    }
}

bool PresenterRegistry::isPresenterThread() const {
    const auto live = channels();
    return std::any_of(live.begin(), live.end(),
                       [](const auto& channel) { return channel->isOwnThread(); });
}

int PresenterRegistry::count() const {
    return static_cast<int>(channels().size());
}

std::vector<std::shared_ptr<PresenterChannel>> PresenterRegistry::channels() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_channels;
}

void PresenterRegistry::handToReaper(const std::shared_ptr<PresenterChannel>& channel) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_toReap.push_back(channel);
    if (m_reaperRuns) {
        return;
    }
    if (m_reaper.joinable()) {
        m_reaper.join();  // it has released the lock for the last time
    }
    m_reaperRuns = true;
    m_reaper = std::thread([this] { runReaper(); });
}

void PresenterRegistry::runReaper() {
    SignalStack::provide();
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_toReap.empty()) {
        const std::shared_ptr<PresenterChannel> channel = std::move(m_toReap.front());
        m_toReap.pop_front();
        lock.unlock();
        finish(channel);
        lock.lock();
    }
    m_reaperRuns = false;
}

void PresenterRegistry::joinReaper() {
    std::thread reaper;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        reaper.swap(m_reaper);
    }
    if (reaper.joinable()) {
        reaper.join();
    }
}
