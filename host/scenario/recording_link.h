#pragma once

#include <QString>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "gateway_link.h"
#include "scenario_tape.h"

/// A link that records on a tape what passes through it. An outcome is recorded before the platform
/// receives it, so that it precedes everything that follows from it.
class RecordingLink : public GatewayLink, private GatewayLinkListener {
public:
    RecordingLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<ScenarioTape> tape);
    /// Stops, since the link below must not call back once the types are destroyed.
    ~RecordingLink() override;
    Q_DISABLE_COPY(RecordingLink)

    bool start(GatewayLinkListener* listener, QString* error) override;
    void stop() override;
    bool send(const GatewayRequest& request) override;
    void loseGate(const QString& gate) override { m_below->loseGate(gate); }

    /// The number of requests without an outcome so far. One that never gets an outcome counts
    /// until stop(). Any thread.
    int underWay() const;

private:
    void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override;
    void onFailure(quint64 envelopeId, const QString& reason) override;
    void onTimeOut(quint64 envelopeId) override;
    void onPush(const QString& msgType, const QVariant& body) override;
    void onGateState(const QString& gate, const QString& netState) override;

    /// Removes a request under way and returns its type; empty for any other request.
    QString takeType(quint64 envelopeId);

    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<ScenarioTape> m_tape;
    GatewayLinkListener* m_listener = nullptr;  // written before the link below starts

    mutable std::mutex m_mutex;                    // guards the types
    std::unordered_map<quint64, QString> m_types;  // of the requests under way
};
