#include "event_stream.h"

#include <pthread.h>

#include "local_platform.h"
#include "neighbour_log.h"
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

EventStream::EventStream(const Options& options)
    : m_options(options), m_thread([this] { run(); }) {}

EventStream::~EventStream() {
    close();
}

void EventStream::put(int eventId, const QVariantMap& record) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_closed) {
            return;
        }
        if (m_events.size() < m_options.mostWaiting) {
            append(eventId, record);
        } else {
            replaceWaiting();  // what this event announces is stored, so a reload covers it too
        }
    }
    m_changed.notify_all();
}

void EventStream::append(int eventId, const QVariantMap& record) {
    m_events.push_back({eventId, record, ++m_put});
}

void EventStream::replaceWaiting() {
    qCWarning(lcNeighbour) << m_events.size()
                           << "events wait to be published: replaced by a reload";
    m_events.clear();
    for (const int id : m_options.reloadEvents) {
        append(id, {});
    }
}

void EventStream::awaitPublished() {
    std::unique_lock<std::mutex> lock(m_lock);
    const quint64 wanted = m_put;
    m_changed.wait(lock, [this, wanted] { return m_published >= wanted; });
}

void EventStream::close() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (!m_closed && m_events.size() > m_options.mostWaitingAtClose) {
            replaceWaiting();
        }
        m_closed = true;
    }
    m_changed.notify_all();
    const std::lock_guard<std::mutex> guard(m_joinLock);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void EventStream::run() {
    pthread_setname_np(pthread_self(), "book events");
    std::unique_lock<std::mutex> lock(m_lock);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closed || !m_events.empty(); });
        if (m_events.empty()) {
            return;
        }
        const Event event = std::move(m_events.front());
        m_events.pop_front();
        lock.unlock();
        if (m_options.publish) {
            m_options.publish(event.id, bodyOf(event.record));
        } else {
            LocalPlatform::instance().publishEvent(event.id, bodyOf(event.record));
        }
        lock.lock();
        m_published = event.number;
        m_changed.notify_all();
    }
}
