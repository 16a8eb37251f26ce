#include "request_time_out.h"

#include <algorithm>

int RequestTimeOut::seconds() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto own =
        std::find_if(m_ofRequests.crbegin(), m_ofRequests.crend(),
                     [](const OfRequest& one) { return one.thread == std::this_thread::get_id(); });
    if (own != m_ofRequests.crend()) {
        return own->seconds;
    }
    return m_ofRequests.empty() || m_ofRequests.back().number < m_standingSince
               ? m_standing
               : m_ofRequests.back().seconds;
}

void RequestTimeOut::set(int seconds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_standing = seconds;
    m_standingSince = ++m_lastNumber;
}

quint64 RequestTimeOut::begin(int seconds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ofRequests.push_back({++m_lastNumber, seconds, std::this_thread::get_id()});
    return m_lastNumber;
}

void RequestTimeOut::end(quint64 number) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ofRequests.erase(
        std::remove_if(m_ofRequests.begin(), m_ofRequests.end(),
                       [number](const OfRequest& one) { return one.number == number; }),
        m_ofRequests.end());
}
