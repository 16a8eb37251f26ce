#include "first_load.h"

#include <QMutex>
#include <QThread>
#include <atomic>
#include <mutex>

#include "lock_rank.h"
#include "log.h"
#include "never_destroyed.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/plugin_propety.h"
#include "znutils/zn_mutex.h"

namespace {

QMutex s_firstLoadLock;  // guards the creation of the static plug-in object
std::atomic<bool> s_firstLoadDone{false};

/// Serialises taking the instance id and building the presenter.
struct InitializeLock {
    std::mutex mutex;
};

// A plug-in object may be initialised while static objects are being destroyed.
std::mutex& initializeLock() {
    return neverDestroyed<InitializeLock>().mutex;
}

VelmarBusinessDataManager& staticPluginObject() {
    static VelmarBusinessDataManager object(nullptr);
    return object;
}

void loadLocked() {
    VelmarBusinessDataManager& object = staticPluginObject();
    bool initialised = false;
    {
        const InitializeGuard guard;
        initialised =
            !object.getPluginObjectPropety(PluginPropety::PLUGININSTANCE_ID).toString().isEmpty();
        if (!initialised) {
            object.setPluginWidgetPropety(PluginPropety::PLUGININSTANCE_ID, kPluginInstanceId);
        }
    }
    if (!initialised) {
        object.initialize();
    }
    qCInfo(lcPlugin) << "VelmarBusinessData first load!" << QThread::currentThreadId();
    s_firstLoadDone.exchange(true);
}

}  // namespace

InitializeGuard::InitializeGuard() {
    HeldLocks::taken(LockRank::Initialize, "initialize");
    initializeLock().lock();
}

InitializeGuard::~InitializeGuard() {
    initializeLock().unlock();
    HeldLocks::released(LockRank::Initialize);
}

void InitVelmarBusinessManagePlugin() {
    if (s_firstLoadDone) {
        return;
    }
    HeldLocks::taken(LockRank::FirstLoad, "s_firstLoadLock");
    ZnMutex::lock(&s_firstLoadLock, QStringLiteral(__FILE__), __LINE__,
                  QString::fromLatin1(Q_FUNC_INFO));
    if (!s_firstLoadDone) {
        loadLocked();
    }
    ZnMutex::unlock(&s_firstLoadLock);
    HeldLocks::released(LockRank::FirstLoad);
}
