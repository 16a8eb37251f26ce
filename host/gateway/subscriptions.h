#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>
#include <memory>
#include <mutex>

/// Where a session's pushes go. Called on the pushing thread: hand over and return.
class PushTarget {
public:
    virtual ~PushTarget() = default;
    virtual void pushed(const QString& topic, const QVariant& body) = 0;
};

/// One client's connection, as long as its link stands.
struct Session {
    quint64 id = 0;
};

/// Who is connected and who has subscribed to what. Any thread; no call leaves it while its lock is
/// held.
class Subscriptions {
public:
    Session open(std::weak_ptr<PushTarget> target);
    /// Forgets the session with all that it subscribed to.
    void close(const Session& session);

    /// The user who logged in on the session; empty before.
    void setUser(const Session& session, const QString& userId);
    QString user(const Session& session) const;

    /// Registers the session for a topic on behalf of a user. A second time changes nothing. False
    /// when the session is not open.
    bool subscribe(const Session& session, const QString& topic, const QString& userId);
    /// The targets of the sessions that subscribed to the topic, in the order in which they did;
    /// with a user, only those that did so on his behalf.
    QVector<std::shared_ptr<PushTarget>> targets(const QString& topic,
                                                 const QString& userId = {}) const;

private:
    struct Client {
        std::weak_ptr<PushTarget> target;
        QString userId;
    };
    struct Subscriber {
        quint64 sessionId;
        QString userId;
    };

    mutable std::mutex m_mutex;  // guards the tables below
    quint64 m_lastId = 0;
    QHash<quint64, Client> m_clients;
    QHash<QString, QVector<Subscriber>> m_subscribers;
};
