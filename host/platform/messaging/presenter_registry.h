#pragma once

#include <QSet>
#include <QString>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "presenter_channel.h"

/// Every live presenter of the process, and the one road by which they go. Any thread.
class PresenterRegistry {
public:
    /// Never destroyed: static objects of plug-ins dispose of presenters at the very end.
    static PresenterRegistry& instance();

    /// A channel with an id of its own for a presenter that is being made.
    std::shared_ptr<PresenterChannel> enrol(ZnPresenterClass* presenter, const QString& instanceId);

    /// Disposes of the presenter, once. Returns when it is gone, unless the caller is one of its
    /// own threads: then the reaper does the work.
    void dispose(const std::shared_ptr<PresenterChannel>& channel);
    /// Disposes of every presenter, waits for disposals that others began, and ends the reaper. A
    /// presenter that another thread does not finish making within the build limit is given up: it
    /// takes part in nothing from then on and is never deleted. On no presenter's thread.
    void disposeAll();
    /// 2 s at first: making a presenter takes milliseconds.
    void setBuildLimit(std::chrono::milliseconds limit) { m_buildLimit = limit; }

    /// Calls `done`, on any thread, once every presenter has worked off what is queued for its
    /// object thread now; a presenter that is disposed of meanwhile is not waited for.
    void afterQueued(const std::function<void()>& done) const;

    int count() const;

private:
    PresenterRegistry() = default;
    ~PresenterRegistry() = default;

    static void cutOff(const std::shared_ptr<PresenterChannel>& channel);
    void finish(const std::shared_ptr<PresenterChannel>& channel);
    bool giveUp(const std::shared_ptr<PresenterChannel>& channel);
    void remove(const std::shared_ptr<PresenterChannel>& channel);
    void handToReaper(const std::shared_ptr<PresenterChannel>& channel);
    void runReaper();
    void joinReaper();
    std::vector<std::shared_ptr<PresenterChannel>> channels() const;

    std::atomic<std::chrono::milliseconds> m_buildLimit{std::chrono::seconds(2)};

    mutable std::mutex m_mutex;  // guards everything below
    std::condition_variable m_changed;
    std::vector<std::shared_ptr<PresenterChannel>> m_channels;
    QSet<QString> m_usedPids;
    std::deque<std::shared_ptr<PresenterChannel>> m_toReap;
    bool m_reaperRuns = false;  // while there is something to reap
    std::thread m_reaper;
};
