#include "velmarutils/velmar_init_state_mgr.h"

#include <QHash>
#include <mutex>

#include "init_states.h"
#include "never_destroyed.h"

namespace {

struct Steps {
    std::mutex lock;  // guards the states
    QHash<QString, InitState> states;
};

Steps& steps() {
    return neverDestroyed<Steps>();
}

}  // namespace

void resetInitStates() {
    const std::lock_guard<std::mutex> guard(steps().lock);
    steps().states.clear();
}

VelmarInitStateMgr& VelmarInitStateMgr::instance() {
    return neverDestroyed([] { return new VelmarInitStateMgr; });
}

bool VelmarInitStateMgr::StartInit(const QString& key) {
    const std::lock_guard<std::mutex> guard(steps().lock);
    InitState& state = steps().states[key];
    if (state != InitState::None) {
        return false;
    }
    state = InitState::Running;
    return true;
}

bool VelmarInitStateMgr::FinishInit(const QString& key, bool success, bool hasData) {
    const InitState done = hasData ? InitState::Done : InitState::DoneWithoutData;
    const std::lock_guard<std::mutex> guard(steps().lock);
    steps().states.insert(key, success ? done : InitState::Failed);
    return true;
}

bool VelmarInitStateMgr::IsInited(const QString& key) const {
    const InitState state = GetInitState(key);
    return state == InitState::Done || state == InitState::DoneWithoutData;
}

InitState VelmarInitStateMgr::GetInitState(const QString& key) const {
    const std::lock_guard<std::mutex> guard(steps().lock);
    return steps().states.value(key, InitState::None);
}
