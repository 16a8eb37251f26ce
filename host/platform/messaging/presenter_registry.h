#pragma once

#include <QHash>
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

/// Every live presenter of the process, and the one way in which they are deleted. Any thread.
class PresenterRegistry {
public:
    /// Never destroyed: static objects of plug-ins dispose of presenters at the very end.
    static PresenterRegistry& instance();

    /// A channel for a presenter that is being made. Its id is that of the plug-in instance for the
    /// first presenter of the instance, with "#2", "#3" and so on for the later ones; no id is used
    /// twice in the process.
    std::shared_ptr<PresenterChannel> enrol(ZnPresenterClass* presenter, const QString& instanceId);

    /// Disposes of the presenter, once. Returns when it is deleted, unless the caller is one of its
    /// own threads: then the reaper thread does the work.
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

    /// Whether the calling thread is one of a presenter's.
    bool isPresenterThread() const;

    int count() const;

private:
    PresenterRegistry() = default;
    ~PresenterRegistry() = default;

    QString newPidLocked(const QString& instanceId);
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
    QHash<QString, int> m_lastNumbers;  // by plug-in instance: the number of its newest presenter
    std::deque<std::shared_ptr<PresenterChannel>> m_toReap;
    bool m_reaperRuns = false;  // while m_toReap is worked off
    std::thread m_reaper;
};
