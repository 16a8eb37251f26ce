#pragma once

#include <QDateTime>
#include <functional>
#include <memory>
#include <mutex>

/// A clock that stands still until it is moved. Any thread. The result of function() stays usable
/// after the clock is destroyed.
class FakeClock {
public:
    explicit FakeClock(const QDateTime& now) : m_state(std::make_shared<State>()) { set(now); }

    QDateTime now() const { return m_state->read(); }

    void set(const QDateTime& now) {
        const std::lock_guard<std::mutex> guard(m_state->lock);
        m_state->now = now;
    }

    void advance(qint64 milliseconds) {
        const std::lock_guard<std::mutex> guard(m_state->lock);
        m_state->now = m_state->now.addMSecs(milliseconds);
    }

    /// For LocalPlatform::setClock.
    std::function<QDateTime()> function() const {
        return [state = m_state]() { return state->read(); };
    }

private:
    struct State {
        mutable std::mutex lock;  // guards the time
        QDateTime now;

        QDateTime read() const {
            const std::lock_guard<std::mutex> guard(lock);
            return now;
        }
    };

    const std::shared_ptr<State> m_state;
};
