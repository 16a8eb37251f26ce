#include "presenter_channel.h"

#include <QThread>
#include <utility>

#include "event_bus.h"
#include "message_log.h"
#include "signal_stack.h"
#include "thread_hand_over.h"
#include "znwidget/zn_presenter_class.h"

namespace {

/// The channel whose message thread this is.
thread_local const PresenterChannel* t_messageChannel = nullptr;

/// The neighbouring data plug-in's executions and its positions were reloaded.
constexpr int kReloadEvents[] = {0x30001, 0x31001};

std::atomic<int> g_mostWaiting{PresenterChannel::kStandingMostWaiting};

bool isSignal(const IncomingMessage& message) {
    return message.kind == IncomingMessage::Kind::Event && !message.body.isValid();
}

}  // namespace

/// Runs the event loop and deletes the presenter after it, so that whatever is still queued to the
/// presenter is dropped and the deletion happens in one visible place.
class PresenterChannel::ObjectThread : public QThread {
public:
    explicit ObjectThread(PresenterChannel* channel) : m_channel(channel) {
        setObjectName(channel->pid());
    }

    void end() {
        m_ending = true;
        quit();
    }

protected:
    void run() override {
        SignalStack::provide();
        // Only the disposal ends the thread; another caller of quit() does not.
        while (!m_ending) {
            exec();
        }
        m_channel->deletePresenter();
    }

private:
    PresenterChannel* const m_channel;
    std::atomic<bool> m_ending{false};
};

PresenterChannel::PresenterChannel(ZnPresenterClass* presenter, const QString& instanceId,
                                   const QString& pid)
    : m_instanceId(instanceId),
      m_pid(pid),
      m_presenter(presenter),
      m_objectThread(std::make_unique<ObjectThread>(this)) {}

PresenterChannel::~PresenterChannel() = default;

std::shared_ptr<PresenterChannel> PresenterChannel::of(const ZnPresenterClass& presenter) {
    return presenter.m_channel;
}

QThread* PresenterChannel::objectThread() const {
    return m_objectThread.get();
}

void PresenterChannel::start() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_started || m_closing) {
        return;
    }
    m_started = true;
    m_built = true;  // together with the start: a running presenter is never taken for unbuilt
    m_changed.notify_all();
    m_objectThread->start();
    m_messageThread = std::thread([this] { runMessageThread(); });
}

void PresenterChannel::markBuilt() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_built = true;
    m_changed.notify_all();
}

bool PresenterChannel::waitUntilBuilt(std::chrono::milliseconds limit) {
    // The builder's own thread has left the constructor when it gets here.
    if (m_builder == std::this_thread::get_id()) {
        return true;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_built || m_closing; });
}

int PresenterChannel::mostWaiting() {
    return g_mostWaiting;
}

void PresenterChannel::setMostWaiting(int messages) {
    g_mostWaiting = messages;
}

void PresenterChannel::enqueue(const IncomingMessage& message) {
    bool isDropped = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const int waiting = static_cast<int>(m_queue.size());
        const bool isFull = waiting >= mostWaiting();
        // A waiting signal is handled after this moment, so that it stands for a repeated one too.
        if (m_closing || (isFull && isSignal(message) && isWaiting(message.type.toInt()))) {
            return;
        }
        isDropped = isFull && !isSignal(message) && message.kind != IncomingMessage::Kind::Response;
        if (!isDropped) {
            m_queue.push_back(message);
            if (isSignal(message)) {
                ++m_waitingSignals[message.type.toInt()];
            }
        }
        m_changed.notify_all();
        const bool isFirst =
            isDropped ? m_dropped++ == 0
                      : waiting + 1 >= kManyWaiting && !std::exchange(m_warnedOfMany, true);
        if (!isFirst) {
            return;
        }
    }
    if (isDropped) {
        qCWarning(lcChannel) << "presenter" << m_pid << "has" << mostWaiting()
                             << "messages waiting: events and pushes are dropped until it has"
                             << "handled some, the first one is of type" << message.type;
    } else {
        qCWarning(lcChannel) << "presenter" << m_pid << "is slow or not started:" << kManyWaiting
                             << "messages wait for it";
    }
}

bool PresenterChannel::isWaiting(int signal) const {
    return m_waitingSignals.contains(signal);
}

void PresenterChannel::post(const std::function<void()>& function) {
    // Under the mutex the presenter cannot be deleted.
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_started && !m_closing && m_presenter) {
        runOnThreadOf(m_presenter, function, Qt::QueuedConnection);
    }
}

bool PresenterChannel::isOwnThread() const {
    return t_messageChannel == this || QThread::currentThread() == m_objectThread.get();
}

bool PresenterChannel::beginCall() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closing) {
        return false;
    }
    ++m_openCalls;
    return true;
}

void PresenterChannel::endCall() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_openCalls;
    m_changed.notify_all();
}

bool PresenterChannel::claimDisposal() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_closing.exchange(true);
}

bool PresenterChannel::claimUnbuilt() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_built && !m_closing.exchange(true);
}

void PresenterChannel::dispose() {
    bool started = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_changed.notify_all();
        started = m_started;
    }
    if (started) {
        m_messageThread.join();
    }
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_queue.clear();
        m_changed.wait(lock, [this] { return m_openCalls == 0; });
    }
    m_objectThread->end();
    if (!started) {
        m_objectThread->start();
    }
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_deleted; });
    }
    m_objectThread->wait();
}

void PresenterChannel::deletePresenter() {
    ZnPresenterClass* presenter = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        presenter = std::exchange(m_presenter, nullptr);
    }
    delete presenter;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_deleted = true;
    m_changed.notify_all();
}

void PresenterChannel::presenterDestroyed() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_presenter) {
        qCCritical(lcChannel) << "presenter" << m_pid << "was not disposed of by deleteLater()";
        m_presenter = nullptr;
    }
}

void PresenterChannel::runMessageThread() {
    SignalStack::provide();
    t_messageChannel = this;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closing || m_dropped > 0 || !m_queue.empty(); });
        if (m_closing) {
            return;
        }
        if (m_dropped > 0 && static_cast<int>(m_queue.size()) <= mostWaiting() / 2) {
            announceReloads(lock);
            continue;
        }
        const IncomingMessage message = takeFirst();
        lock.unlock();
        deliver(message);
        lock.lock();
    }
}

/// The queue is not empty.
IncomingMessage PresenterChannel::takeFirst() {
    IncomingMessage message = std::move(m_queue.front());
    m_queue.pop_front();
    if (m_queue.empty()) {
        m_warnedOfMany = false;
    }
    if (isSignal(message)) {
        const auto waiting = m_waitingSignals.find(message.type.toInt());
        if (--*waiting == 0) {
            m_waitingSignals.erase(waiting);
        }
    }
    return message;
}

/// Changes of executions and positions may have been among what was dropped, so that a presenter
/// that keeps figures computed from them has to compute them anew. This does not wait for an empty
/// queue, which a busy presenter may never have.
void PresenterChannel::announceReloads(std::unique_lock<std::mutex>& lock) {
    const int dropped = std::exchange(m_dropped, 0);
    lock.unlock();
    qCWarning(lcChannel) << "presenter" << m_pid << "has caught up with half of its messages;"
                         << dropped << "events and pushes were dropped";
    for (const int reloaded : kReloadEvents) {
        EventBus::instance().publishTo(*this, reloaded);
    }
    lock.lock();
}

void PresenterChannel::deliver(const IncomingMessage& message) {
    // Stays valid: the disposal joins this thread before it deletes the presenter.
    ZnPresenterClass* presenter = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        presenter = m_presenter;
    }
    if (!presenter) {
        return;
    }
    switch (message.kind) {
        case IncomingMessage::Kind::Push:
            presenter->ProcSubMsg(m_pid, message.type, message.body);
            break;
        case IncomingMessage::Kind::Event:
            presenter->ProcEventMsg(message.sourceId, message.type, message.body);
            break;
        case IncomingMessage::Kind::Response:
            presenter->ProcResponseMsg(m_pid, message.clientMsgId, message.type, message.body);
            break;
    }
}
