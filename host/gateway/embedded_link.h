#pragma once

#include <memory>
#include <mutex>

#include "gateway_link.h"
#include "server_engine.h"

/// A link to a server engine in this process, with two threads of its own. Answers arrive in any
/// order, pushes and gate states in the order in which they were sent. Several links may share an
/// engine.
class EmbeddedLink : public GatewayLink {
public:
    explicit EmbeddedLink(std::shared_ptr<ServerEngine> engine);
    /// Stops.
    ~EmbeddedLink() override;
    Q_DISABLE_COPY(EmbeddedLink)

    /// Reports every gate as connected, from a thread of the link's own.
    bool start(GatewayLinkListener* listener, QString* error) override;
    /// Fails the requests that no thread has started, waits for the others and ends the threads.
    /// Must not be called from the listener.
    void stop() override;
    bool send(const GatewayRequest& request) override;
    /// Drops the subscriptions that were made through the gate. A push that is on its way already
    /// still arrives.
    void loseGate(const QString& gate) override;

private:
    class Worker;

    std::shared_ptr<Worker> worker() const;

    const std::shared_ptr<ServerEngine> m_engine;
    std::shared_ptr<Worker> m_worker;
    mutable std::mutex m_mutex;  // guards m_worker, which is null while the link is stopped
};
