#pragma once

#include <QString>
#include <QVariant>

/// What a link tells the platform. Any thread of the link's own; never called from inside send().
class GatewayLinkListener {
public:
    virtual ~GatewayLinkListener() = default;

    /// The answer to a request. An unknown envelope (late, duplicate) is dropped with a log line.
    virtual void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) = 0;
    /// The request failed for the reason given.
    virtual void onFailure(quint64 envelopeId, const QString& reason) = 0;
    /// The link knows that no answer comes in time: the waiting caller returns as from a time-out.
    virtual void onTimeOut(quint64 envelopeId) = 0;
    /// A push of the server.
    virtual void onPush(const QString& msgType, const QVariant& body) = 0;
    /// A gate's new state, NetGateType and NET_STATE values. NOCONNECT of the trade gate fails
    /// every request that is under way.
    virtual void onGateState(const QString& gate, const QString& netState) = 0;
};

struct GatewayRequest {
    quint64 envelopeId = 0;  ///< unique in the process; the answer carries it
    QString sourceId;        ///< the sending presenter's pluginPid()
    QString msgType;         ///< type of the envelope
    QVariant body;           ///< packed body
    int timeOutMs = 0;       ///< how long the sender waits; 0 for an asynchronous request
};

/// The one seam to a server. The platform starts a link once and stops it once, both on the thread
/// that changes the link, never two at a time and never from inside a call of the listener.
class GatewayLink {
public:
    virtual ~GatewayLink() = default;

    /// Connects; the listener outlives the link's stop(). It may be called from here on, before
    /// this returns too. Until this returns every request of the platform waits to be handed over,
    /// so it must not wait for one. False with a text on failure: then it has left nothing running
    /// and calls the listener no more; stop() does not follow, the link is destroyed.
    virtual bool start(GatewayLinkListener* listener, QString* error) = 0;
    /// Disconnects and ends the link's threads; no call of the listener after it returns. The
    /// platform hands no request over once it has begun. A link that is not running, or no longer,
    /// does nothing.
    virtual void stop() = 0;
    /// Hands a request over and returns without waiting. False when it could not be handed over.
    /// Any thread.
    virtual bool send(const GatewayRequest& request) = 0;
};
