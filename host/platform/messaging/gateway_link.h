#pragma once

#include <QString>
#include <QVariant>

/// What a link reports to the platform, on any thread of its own, never from inside send().
class GatewayLinkListener {
public:
    virtual ~GatewayLinkListener() = default;

    /// The answer to a request. An unknown envelope (late, duplicate) is dropped with a log line.
    /// `msgType` is that of the request's envelope; for a heartbeat, under any envelope, it is
    /// Velmar_MsgType::BusiHeartBeatResponse.
    virtual void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) = 0;
    /// The request failed for the reason given.
    virtual void onFailure(quint64 envelopeId, const QString& reason) = 0;
    /// The link knows that no answer will come in time: the waiting caller gets a time-out.
    virtual void onTimeOut(quint64 envelopeId) = 0;
    /// A push of the server.
    virtual void onPush(const QString& msgType, const QVariant& body) = 0;
    /// A gate's new state, NetGateType and NET_STATE values. NOCONNECT of the trade gate fails
    /// every pending request, that of the info gate the asynchronous ones under the shared envelope
    /// "325005".
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

    /// Connects. The listener outlives stop() and may be called as soon as start() begins. Requests
    /// of the platform are handed over only after start() has returned, so it must not wait for
    /// one. False with a text on failure: the link then has no thread running and no longer calls
    /// the listener; it is destroyed without a call of stop().
    virtual bool start(GatewayLinkListener* listener, QString* error) = 0;
    /// Disconnects and ends the link's threads; the listener is not called after it returns. The
    /// platform hands no request over once it has begun. Does nothing when the link does not run.
    virtual void stop() = 0;
    /// Hands a request over and returns without waiting. False when it could not be handed over.
    /// Any thread.
    virtual bool send(const GatewayRequest& request) = 0;
    /// The connection of a gate, a NetGateType value, is lost although this link has not reported
    /// it: a link around this one takes the gate down. A link to a server that has per-gate state,
    /// such as subscriptions, drops that of the gate; the state of the gate is not reported.
    /// Returns after it is dropped; no effect while the link does not run. Any thread.
    virtual void loseGate(const QString& gate) { Q_UNUSED(gate) }
    /// The address of the server. Any thread.
    virtual QString address() const { return QStringLiteral("127.0.0.1"); }
};
