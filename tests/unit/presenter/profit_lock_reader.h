#pragma once

#include <unistd.h>

#include <atomic>
#include <thread>

#include "realized_profit.h"
#include "thread_state.h"
#include "wait_for.h"

/// A thread that reads a profit once. Joined in the destructor.
class ProfitLockReader {
public:
    explicit ProfitLockReader(const RealizedProfit& profit)
        : m_thread([this, &profit] {
              m_id = gettid();
              profit.GetRealizedProfitByAccount("T0001");
              m_isDone = true;
          }) {}
    ~ProfitLockReader() { m_thread.join(); }
    Q_DISABLE_COPY(ProfitLockReader)

    bool returns() const {
        return waitFor([this] { return m_isDone.load(); });
    }
    /// Whether it waits for the lock.
    bool isBlocked() const {
        return waitFor([this] { return m_isDone || (m_id != 0 && isThreadAsleep(m_id)); }) &&
               !m_isDone;
    }

private:
    std::atomic<int> m_id{0};
    std::atomic<bool> m_isDone{false};
    std::thread m_thread;
};
