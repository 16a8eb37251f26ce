#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>

#include "message_centre.h"
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
    /// Drops the subscriptions that the session made through a gate, a NetGateType value; those of
    /// its other gates stay. No effect when the session is not open.
    void loseGate(const Session& session, const QString& gate);

    /// How often the session has lost the gate that requests of this envelope come through. A link
    /// that queues requests reads it when one comes in.
    int gateLosses(const Session& session, const QString& envelopeType) const;

    /// The answer to a packed body: what the type's handler answers, or a refusal. A subscription
    /// is refused when the session has lost the gate since gateLosses() returned `lossesBefore`.
    QVariant handle(const Session& session, const QString& envelopeType, const QVariant& body,
                    int lossesBefore);
    /// The same for a request that came in just now.
    QVariant handle(const Session& session, const QString& envelopeType, const QVariant& body);

    /// Pushes a packed body to the sessions that subscribed to the topic; with a user, only to
    /// those that did so for that user. Returns the number of sessions.
    int push(const QString& topic, const QVariant& body, const QString& userId = {});

    /// Sets the clock that messages are dated with; null sets the exchanges' own time. The function
    /// is called from any thread.
    void setClock(std::function<QDateTime()> clock);
    /// Stores a message for a user and pushes it, as a body of one row on the header, to the
    /// sessions that subscribed to MessageCenterPushMsg for that user. The fields are those of
    /// MessageCentre::publish(). `stored`, where given, gets the message as it was stored,
    /// `sessions` the number of sessions that it was pushed to. False with a text when the user or
    /// a field is not valid or the message cannot be stored; nothing is pushed then. Messages that
    /// several threads publish at once may be pushed in another order than that of their positions.
    bool publishMessage(const QString& userId, const QVariantMap& fields, QVariantMap* stored,
                        int* sessions, QString* error);
    /// Whether a session has subscribed to MessageCenterPushMsg for the user.
    bool hasMessageSubscriber(const QString& userId) const;
    /// The messages of a user in the order of their positions, see MessageCentre::Extent. Does not
    /// count as a client's query. False with a text for an unknown user and when they cannot be
    /// read.
    bool messagesOf(const QString& userId, MessageCentre::Extent extent,
                    QList<QVariantMap>* messages, QString* error);

    /// Offers a patch to clients, see PatchOffers::publish(), and pushes it to the sessions that
    /// subscribed to ClientPatchInfoPush, whoever their user is. `sessions`, where given, gets
    /// their number. False with a text when a field is not valid or the patch cannot be stored;
    /// nothing is pushed then.
    bool publishPatch(const QVariantMap& fields, int* sessions, QString* error);
    /// Whether a session has subscribed to ClientPatchInfoPush.
    bool hasPatchSubscriber() const;

    /// The types that have a handler, sorted.
    QStringList messageTypes() const;

private:
    HandlerAnswer dispatch(const ServerCall& call) const;

    const std::shared_ptr<const MarketStore> m_store;
    const std::shared_ptr<ServerState> m_state;
    const std::unique_ptr<MessageCentre> m_messages;
    Subscriptions m_subscriptions;
    ServerHandlers m_handlers;  // written only before the first session
};
