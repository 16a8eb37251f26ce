#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "gateway_link.h"

/// Wraps any link and can hold back its answers.
class HoldingLink final : public GatewayLink, private GatewayLinkListener {
public:
    explicit HoldingLink(std::shared_ptr<GatewayLink> link) : m_link(std::move(link)) {}

    bool start(GatewayLinkListener* listener, QString* error) override {
        m_listener = listener;
        return m_link->start(this, error);
    }
    void stop() override {
        m_link->stop();
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_answers.clear();
    }
    bool send(const GatewayRequest& request) override { return m_link->send(request); }

    void hold() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_holds = true;
    }
    /// Delivers the held answers, optionally the last one first, and stops holding.
    void release(bool reversed = false) {
        std::vector<Answer> answers;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_holds = false;
            answers.swap(m_answers);
        }
        if (reversed) {
            answers = std::vector<Answer>(answers.rbegin(), answers.rend());
        }
        for (const Answer& answer : answers) {
            m_listener->onAnswer(answer.envelopeId, answer.msgType, answer.body);
        }
    }
    /// Waits until this many answers are held.
    bool waitForHeld(size_t count) {
        constexpr std::chrono::seconds kLimit(20);
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kLimit, [&] { return m_answers.size() == count; });
    }

private:
    struct Answer {
        quint64 envelopeId;
        QString msgType;
        QVariant body;
    };

    void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_holds) {
                m_answers.push_back({envelopeId, msgType, body});
                m_changed.notify_all();
                return;
            }
        }
        m_listener->onAnswer(envelopeId, msgType, body);
    }
    void onFailure(quint64 envelopeId, const QString& reason) override {
        m_listener->onFailure(envelopeId, reason);
    }
    void onTimeOut(quint64 envelopeId) override { m_listener->onTimeOut(envelopeId); }
    void onPush(const QString& msgType, const QVariant& body) override {
        m_listener->onPush(msgType, body);
    }
    void onGateState(const QString& gate, const QString& netState) override {
        m_listener->onGateState(gate, netState);
    }

    const std::shared_ptr<GatewayLink> m_link;
    GatewayLinkListener* m_listener = nullptr;  // set before the link starts
    std::mutex m_mutex;                         // guards the members below; never held in a call
    std::condition_variable m_changed;
    std::vector<Answer> m_answers;
    bool m_holds = false;
};
