#include "embedded_link.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "gateway_log.h"
#include "message_type.h"
#include "packed_body.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

/// The two queues and the threads that serve them, from a start to its stop.
class EmbeddedLink::Worker : public PushTarget {
public:
    Worker(std::shared_ptr<ServerEngine> engine, GatewayLinkListener* listener)
        : m_engine(std::move(engine)), m_listener(listener) {}

    void run(const Session& session) {
        m_session = session;
        for (std::thread& thread : m_threads) {
            thread = std::thread([this] { serve(); });
        }
    }

    void stop() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
            m_notices.clear();
        }
        m_wake.notify_all();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_engine->closeSession(m_session);
    }

    bool enqueue(const GatewayRequest& request) {
        const int losses = m_engine->gateLosses(m_session, request.msgType);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stopping) {
                return false;
            }
            m_requests.push_back({request, losses});
        }
        m_wake.notify_one();
        return true;
    }

    void loseGate(const QString& gate) { m_engine->loseGate(m_session, gate); }

    void pushed(const QString& topic, const QVariant& body) override {
        notice([=] { m_listener->onPush(topic, body); });
    }

    void gateState(const QString& gate, const QString& netState) {
        notice([=] { m_listener->onGateState(gate, netState); });
    }

private:
    using Notice = std::function<void()>;
    struct Queued {
        GatewayRequest request;
        int gateLosses = 0;  ///< when it came in
    };

    void notice(Notice call) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stopping) {
                return;
            }
            m_notices.push_back(std::move(call));
        }
        m_wake.notify_one();
    }

    bool noticeIsDue() const { return !m_notices.empty() && !m_noticing; }

    void serve() {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_wake.wait(lock,
                        [this] { return m_stopping || noticeIsDue() || !m_requests.empty(); });
            if (noticeIsDue()) {
                deliverNotice(lock);
            } else if (!m_requests.empty()) {
                serveRequest(lock);
            } else if (m_stopping) {
                return;
            }
        }
    }

    /// One at a time, since two threads would change the order.
    void deliverNotice(std::unique_lock<std::mutex>& lock) {
        Notice call = std::move(m_notices.front());
        m_notices.pop_front();
        m_noticing = true;
        lock.unlock();
        call();
        call = nullptr;
        lock.lock();
        m_noticing = false;  // this thread looks for the next one itself
    }

    void serveRequest(std::unique_lock<std::mutex>& lock) {
        Queued queued = std::move(m_requests.front());
        m_requests.pop_front();
        const bool stopping = m_stopping;
        lock.unlock();
        const GatewayRequest& request = queued.request;
        if (stopping) {
            m_listener->onFailure(request.envelopeId, QStringLiteral("与服务端的连接已关闭"));
        } else {
            const QVariant answer =
                m_engine->handle(m_session, request.msgType, request.body, queued.gateLosses);
            const QString type =
                messageTypeOf(request.msgType, rowsOfPackedBody(request.body).first());
            m_listener->onAnswer(request.envelopeId, answerTypeOf(request.msgType, type), answer);
        }
        queued = Queued();
        lock.lock();
    }

    const std::shared_ptr<ServerEngine> m_engine;
    GatewayLinkListener* const m_listener;
    Session m_session;
    std::array<std::thread, 2> m_threads;

    // Guards the members below; never held while the engine or the listener is called.
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Queued> m_requests;
    std::deque<Notice> m_notices;
    bool m_noticing = false;
    bool m_stopping = false;
};

EmbeddedLink::EmbeddedLink(std::shared_ptr<ServerEngine> engine) : m_engine(std::move(engine)) {}

EmbeddedLink::~EmbeddedLink() {
    EmbeddedLink::stop();  // qualified: a derived class is already destroyed
}

bool EmbeddedLink::start(GatewayLinkListener* listener, QString* error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_engine || !listener || m_worker) {
        *error = m_worker ? QStringLiteral("the embedded link is already running")
                          : QStringLiteral("the embedded link has no server or no listener");
        qCWarning(lcGateway).noquote() << *error;
        return false;
    }
    m_worker = std::make_shared<Worker>(m_engine, listener);
    for (const QString& gate : {NetGateType::TradeGate, NetGateType::InfoGate,
                                NetGateType::MarketTcpGate, NetGateType::MarketGrpcGate}) {
        m_worker->gateState(gate, NET_STATE::CONNECTED);
    }
    m_worker->run(m_engine->openSession(m_worker));
    return true;
}

void EmbeddedLink::stop() {
    std::shared_ptr<Worker> worker;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        worker.swap(m_worker);
    }
    // Without the lock, since the listener may be sending.
    if (worker) {
        worker->stop();
    }
}

std::shared_ptr<EmbeddedLink::Worker> EmbeddedLink::worker() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_worker;
}

bool EmbeddedLink::send(const GatewayRequest& request) {
    const auto running = worker();
    return running && running->enqueue(request);
}

void EmbeddedLink::loseGate(const QString& gate) {
    if (const auto running = worker()) {
        running->loseGate(gate);
    }
}
