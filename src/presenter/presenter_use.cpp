#include "presenter_use.h"

#include <QHash>
#include <condition_variable>
#include <mutex>

#include "never_destroyed.h"
#include "velmar_business_data_manager_presenter_class.h"

namespace {

struct LivePresenters {
    std::mutex lock;  // guards the uses; held for one access, and nothing is called meanwhile
    std::condition_variable left;
    QHash<const VelmarBusinessDataManagerPresenterClass*, int> uses;
};

// The platform may dispose of a presenter while static objects are being destroyed.
LivePresenters& livePresenters() {
    return neverDestroyed<LivePresenters>();
}

}  // namespace

PresenterUse::PresenterUse() {
    LivePresenters& live = livePresenters();
    const std::lock_guard<std::mutex> guard(live.lock);
    VelmarBusinessDataManagerPresenterClass* const present = s_presenter;
    const auto found = live.uses.find(present);
    if (found != live.uses.end() && !present->isClosing()) {
        ++*found;
        m_presenter = present;
    }
    m_hasEnded = present && !m_presenter;
}

PresenterUse::~PresenterUse() {
    if (!m_presenter) {
        return;
    }
    LivePresenters& live = livePresenters();
    const std::lock_guard<std::mutex> guard(live.lock);
    --live.uses[m_presenter];
    live.left.notify_all();
}

void PresenterUse::enter(const VelmarBusinessDataManagerPresenterClass* added) {
    LivePresenters& live = livePresenters();
    const std::lock_guard<std::mutex> guard(live.lock);
    live.uses.insert(added, 0);
}

void PresenterUse::leave(const VelmarBusinessDataManagerPresenterClass* removed) {
    LivePresenters& live = livePresenters();
    std::unique_lock<std::mutex> lock(live.lock);
    live.left.wait(lock, [&live, removed] { return live.uses.value(removed) == 0; });
    live.uses.remove(removed);
}
