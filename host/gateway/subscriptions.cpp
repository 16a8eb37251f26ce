#include "subscriptions.h"

#include <algorithm>
#include <iterator>

Session Subscriptions::open(std::weak_ptr<PushTarget> target) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Session session{++m_lastId};
    m_clients.insert(session.id, Client{std::move(target), {}, {}});
    return session;
}

void Subscriptions::close(const Session& session) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clients.remove(session.id);
    removeLocked([&session](const Subscriber& one) { return one.sessionId == session.id; });
}

int Subscriptions::loseGate(const Session& session, const QString& gate) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto client = m_clients.find(session.id);
    if (client != m_clients.end()) {
        ++client->losses[gate];
    }
    return removeLocked(
        [&](const Subscriber& one) { return one.sessionId == session.id && one.gate == gate; });
}

int Subscriptions::removeLocked(const std::function<bool(const Subscriber&)>& isGone) {
    int removed = 0;
    for (auto it = m_subscribers.begin(); it != m_subscribers.end();) {
        QVector<Subscriber>& list = it.value();
        const auto end = std::remove_if(list.begin(), list.end(), isGone);
        removed += static_cast<int>(std::distance(end, list.end()));
        list.erase(end, list.end());
        it = list.isEmpty() ? m_subscribers.erase(it) : std::next(it);
    }
    return removed;
}

void Subscriptions::setUser(const Session& session, const QString& userId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_clients.find(session.id);
    if (it != m_clients.end()) {
        it->userId = userId;
    }
}

QString Subscriptions::user(const Session& session) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_clients.value(session.id).userId;
}

bool Subscriptions::subscribe(const Session& session, const QString& topic, const QString& userId,
                              const QString& gate, int lossesBefore) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto client = m_clients.constFind(session.id);
    if (client == m_clients.cend() || client->losses.value(gate) != lossesBefore) {
        return false;
    }
    QVector<Subscriber>& list = m_subscribers[topic];
    const bool known = std::any_of(list.cbegin(), list.cend(), [&](const Subscriber& one) {
        return one.sessionId == session.id && one.userId == userId && one.gate == gate;
    });
    if (!known) {
        list.append({session.id, userId, gate});
    }
    return true;
}

int Subscriptions::losses(const Session& session, const QString& gate) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_clients.value(session.id).losses.value(gate);
}

QVector<std::shared_ptr<PushTarget>> Subscriptions::targets(const QString& topic,
                                                            const QString& userId) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    QVector<std::shared_ptr<PushTarget>> result;
    for (const Subscriber& one : m_subscribers.value(topic)) {
        if (!userId.isEmpty() && one.userId != userId) {
            continue;
        }
        const auto target = m_clients.value(one.sessionId).target.lock();
        if (target && !result.contains(target)) {
            result.append(target);
        }
    }
    return result;
}
