#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>

#include "server_call.h"

/// The server: answers requests from a market's store and pushes to the sessions that subscribed.
/// Several links may share one. Any thread; handle() reads files and blocks meanwhile.
class ServerEngine {
public:
    /// Without a state, what clients write is kept in memory as long as the engine lives.
    explicit ServerEngine(std::shared_ptr<const MarketStore> store,
                          std::shared_ptr<ServerState> state = {});
    /// Opens the store first; null with a text that names the file on failure.
    static std::shared_ptr<ServerEngine> open(const QString& storeFile, QString* error,
                                              std::shared_ptr<ServerState> state = {});

    /// Adds or replaces the handler of a type. Only before the first session is opened.
    void addHandler(const QString& msgType, const ServerHandler& handler);

    /// A link's connection. The target gets the pushes while it lives and the session is open.
    Session openSession(std::weak_ptr<PushTarget> target);
    void closeSession(const Session& session);

    /// The answer to a packed body: what the type's handler answers, or a refusal.
    QVariant handle(const Session& session, const QString& envelopeType, const QVariant& body);

    /// Pushes a packed body to the sessions that subscribed to the topic; with a user, only to
    /// those that did so for that user. Returns the number of sessions.
    int push(const QString& topic, const QVariant& body, const QString& userId = {});

    /// The types that have a handler, sorted.
    QStringList messageTypes() const;

private:
    HandlerAnswer dispatch(const ServerCall& call) const;

    const std::shared_ptr<const MarketStore> m_store;
    const std::shared_ptr<ServerState> m_state;
    Subscriptions m_subscriptions;
    ServerHandlers m_handlers;  // written only before the first session
};
