#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>
#include <functional>
#include <memory>
#include <mutex>

/// Receives a session's pushes, on the thread that pushes; it must not block.
class PushTarget {
public:
    virtual ~PushTarget() = default;
    virtual void pushed(const QString& topic, const QVariant& body) = 0;
};

/// One client's connection.
struct Session {
    quint64 id = 0;
};

/// The open sessions and their subscriptions. Any thread; calls nobody while it holds its lock.
class Subscriptions {
public:
    Session open(std::weak_ptr<PushTarget> target);
    /// Removes the session and its subscriptions.
    void close(const Session& session);

    /// The user who logged in on the session; empty before the log-in.
    void setUser(const Session& session, const QString& userId);
    QString user(const Session& session) const;

    /// Subscribes the session to a topic for a user through a gate; doing so again has no effect.
    /// False when the session is not open, and when it has lost the gate since `lossesBefore`, what
    /// losses() returned when the request came in.
    bool subscribe(const Session& session, const QString& topic, const QString& userId,
                   const QString& gate, int lossesBefore);
    /// How often the session has lost the gate.
    int losses(const Session& session, const QString& gate) const;
    /// Removes the subscriptions that the session made through the gate and returns their number.
    int loseGate(const Session& session, const QString& gate);
    /// The targets of the sessions that subscribed to the topic, in the order of subscription; with
    /// a user, only those that subscribed for that user.
    QVector<std::shared_ptr<PushTarget>> targets(const QString& topic,
                                                 const QString& userId = {}) const;

private:
    struct Client {
        std::weak_ptr<PushTarget> target;
        QString userId;
        QHash<QString, int> losses = {};  ///< by gate
    };
    struct Subscriber {
        quint64 sessionId;
        QString userId;
        QString gate;
    };

    int removeLocked(const std::function<bool(const Subscriber&)>& isGone);

    mutable std::mutex m_mutex;  // guards the tables below
    quint64 m_lastId = 0;
    QHash<quint64, Client> m_clients;
    QHash<QString, QVector<Subscriber>> m_subscribers;
};
