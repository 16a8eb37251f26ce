#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>

#include "server_call.h"

/// The server: answers requests from a market's store and pushes to those who subscribed. Shared by
/// its links. Any thread; handle() blocks for reads of a file.
class ServerEngine {
public:
    /// Without a state what clients write lives as long as the engine.
    explicit ServerEngine(std::shared_ptr<const MarketStore> store,
                          std::shared_ptr<ServerState> state = {});
    /// Opens the store first; null with a text that names the file on failure.
    static std::shared_ptr<ServerEngine> open(const QString& storeFile, QString* error,
                                              std::shared_ptr<ServerState> state = {});

    /// Answers one more type, or a type in another way. Before the first session is opened.
    void addHandler(const QString& msgType, const ServerHandler& handler);

    /// A link's connection. The target gets the pushes while it lives and the session is open.
    Session openSession(std::weak_ptr<PushTarget> target);
    void closeSession(const Session& session);

    /// The answer to a packed body; always one, a refusal when nothing else fits.
    QVariant handle(const Session& session, const QString& envelopeType, const QVariant& body);

    /// Pushes a packed body to the sessions that subscribed to the topic; with a user, only to
    /// those that did so on his behalf. Returns how many it went to.
    int push(const QString& topic, const QVariant& body, const QString& userId = {});

    /// The types that have a handler, sorted.
    QStringList messageTypes() const;

private:
    HandlerAnswer dispatch(const ServerCall& call) const;

    const std::shared_ptr<const MarketStore> m_store;
    const std::shared_ptr<ServerState> m_state;
    Subscriptions m_subscriptions;
    ServerHandlers m_handlers;  // written before the first session alone
};
