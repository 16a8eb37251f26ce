#include "event_stream.h"

#include "local_platform.h"
#include "znmsg/c_pack_message_common.h"

namespace {

QVariant bodyOf(const QVariantMap& record) {
    if (record.isEmpty()) {
        return {};
    }
    CPackMessageCommon packer;
    packer.AddRowVaule(record);
    return packer.GetPackedMsg(false);
}

}  // namespace

EventStream::EventStream() : m_thread([this] { run(); }) {}

EventStream::~EventStream() {
    close();
}

void EventStream::put(int eventId, const QVariantMap& record) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_closed) {
            return;
        }
        m_events.push_back({eventId, record});
        ++m_put;
    }
    m_changed.notify_all();
}

void EventStream::awaitPublished() {
    std::unique_lock<std::mutex> lock(m_lock);
    const quint64 wanted = m_put;
    m_changed.wait(lock, [this, wanted] { return m_published >= wanted; });
}

void EventStream::close() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_closed = true;
    }
    m_changed.notify_all();
    const std::lock_guard<std::mutex> guard(m_joinLock);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void EventStream::run() {
    std::unique_lock<std::mutex> lock(m_lock);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closed || !m_events.empty(); });
        if (m_events.empty()) {
            return;
        }
        const Event event = std::move(m_events.front());
        m_events.pop_front();
        lock.unlock();
        LocalPlatform::instance().publishEvent(event.id, bodyOf(event.record));
        lock.lock();
        ++m_published;
        m_changed.notify_all();
    }
}
