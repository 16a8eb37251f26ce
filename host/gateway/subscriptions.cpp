#include "subscriptions.h"

#include <algorithm>
#include <iterator>

Session Subscriptions::open(std::weak_ptr<PushTarget> target) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Session session{++m_lastId};
    m_clients.insert(session.id, Client{std::move(target), {}});
    return session;
}

void Subscriptions::close(const Session& session) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clients.remove(session.id);
    for (auto it = m_subscribers.begin(); it != m_subscribers.end();) {
        QVector<Subscriber>& list = it.value();
        const auto gone = [&session](const Subscriber& one) { return one.sessionId == session.id; };
        list.erase(std::remove_if(list.begin(), list.end(), gone), list.end());
        it = list.isEmpty() ? m_subscribers.erase(it) : std::next(it);
    }
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

bool Subscriptions::subscribe(const Session& session, const QString& topic, const QString& userId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_clients.contains(session.id)) {
        return false;
    }
    QVector<Subscriber>& list = m_subscribers[topic];
    const bool known = std::any_of(list.cbegin(), list.cend(), [&](const Subscriber& one) {
        return one.sessionId == session.id && one.userId == userId;
    });
    if (!known) {
        list.append({session.id, userId});
    }
    return true;
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
