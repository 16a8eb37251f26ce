#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "request_time_out.h"

class QThread;
class ZnPresenterClass;

/// What a presenter's message thread delivers.
struct IncomingMessage {
    enum class Kind { Push, Event, Response };

    Kind kind = Kind::Event;
    QString sourceId;     ///< of an event: the publisher
    QString clientMsgId;  ///< of a response
    QVariant type;        ///< message type, or the event's id
    QVariant body;
};

/// What belongs to a presenter and outlives it: its ids, its two threads, its queue, its time-out.
/// Code that talks to the message layer for a presenter holds the channel, so that the presenter
/// itself may be deleted meanwhile.
class PresenterChannel {
public:
    PresenterChannel(ZnPresenterClass* presenter, const QString& instanceId, const QString& pid);
    ~PresenterChannel();
    PresenterChannel(const PresenterChannel&) = delete;
    PresenterChannel& operator=(const PresenterChannel&) = delete;

    const QString& instanceId() const { return m_instanceId; }
    const QString& pid() const { return m_pid; }
    QThread* objectThread() const;

    /// Starts both threads. A second call, or one after the disposal began, does nothing.
    void start();
    /// Queues for the message thread. Dropped once the disposal began. Events and pushes are also
    /// dropped while mostWaiting() messages wait, so that a presenter that is never started or that
    /// hangs does not fill the memory. Answers are always kept, since each was asked for. Of events
    /// without a body one of each id is kept: such an event only signals that something happened
    /// (a session's data were loaded, say), which nothing else may report later.
    void enqueue(const IncomingMessage& message);
    /// With this many messages waiting a log line warns of the slow presenter.
    static constexpr int kManyWaiting = 10000;
    static constexpr int kStandingMostWaiting = 1000000;
    /// The limit of every presenter's queue. Any thread.
    static int mostWaiting();
    static void setMostWaiting(int messages);

    /// Queues a function for the object thread, behind what is queued there. Dropped, without being
    /// called, when the presenter is not started or its disposal began.
    void post(const std::function<void()>& function);

    bool isClosing() const { return m_closing; }
    /// True when the calling thread is one of this presenter's two.
    bool isOwnThread() const;

    /// The presenter is complete: its initPresenter() ran, or it is disposed of.
    void markBuilt();
    /// Waits, up to the limit, while another thread is still making the presenter. False when that
    /// thread has not finished: the presenter must not be deleted under its constructor then.
    bool waitUntilBuilt(std::chrono::milliseconds limit);

    /// Opens a synchronous call; false once the disposal began. Each open call keeps the presenter
    /// alive until endCall().
    bool beginCall();
    void endCall();

    /// The first caller gets true and must see to it that dispose() is called.
    bool claimDisposal();
    /// The same for a presenter that is not built, which then never starts and is not disposed of.
    bool claimUnbuilt();
    /// Stops and joins the message thread, waits for open calls, deletes the presenter on its
    /// object thread, ends and joins that. Not to be called on either of the presenter's threads.
    void dispose();
    /// The presenter's destructor has run.
    void presenterDestroyed();

    /// The channel of a live presenter.
    static std::shared_ptr<PresenterChannel> of(const ZnPresenterClass& presenter);

    RequestTimeOut timeOut;

private:
    class ObjectThread;

    void runMessageThread();
    bool isWaiting(int signal) const;
    IncomingMessage takeFirst();
    void announceReloads(std::unique_lock<std::mutex>& lock);
    void deliver(const IncomingMessage& message);
    void deletePresenter();

    const QString m_instanceId;
    const QString m_pid;
    const std::thread::id m_builder = std::this_thread::get_id();
    std::atomic<bool> m_closing{false};

    mutable std::mutex m_mutex;  // guards everything below but the threads
    std::condition_variable m_changed;
    std::deque<IncomingMessage> m_queue;
    ZnPresenterClass* m_presenter;
    bool m_started = false;
    bool m_built = false;
    bool m_deleted = false;
    QHash<int, int> m_waitingSignals;  // events without a body in the queue, by id
    bool m_warnedOfMany = false;       // until the queue is empty again
    int m_dropped = 0;                 // until the queue is half empty again
    int m_openCalls = 0;

    std::thread m_messageThread;
    const std::unique_ptr<ObjectThread> m_objectThread;
};
