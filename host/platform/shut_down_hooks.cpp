#include "shut_down_hooks.h"

#include <QCoreApplication>
#include <mutex>

#include "local_platform.h"

namespace {

struct Hooks {
    std::mutex mutex;                       // guards both
    bool postRoutine = false;               // Qt keeps it for the next application object
    const QCoreApplication* app = nullptr;  // whose end is listened to; an address only
};

Hooks& hooks() {
    static auto* const hooks = new Hooks;
    return *hooks;
}

void closeAtTheEnd() {
    LocalPlatform::instance().close();
    // Qt has dropped both by now; another application object may follow. Not before the call above,
    // which would install itself again while Qt runs these routines until none is left.
    const std::lock_guard<std::mutex> lock(hooks().mutex);
    hooks().postRoutine = false;
    hooks().app = nullptr;
}

}  // namespace

void installShutDownHooks() {
    const std::lock_guard<std::mutex> lock(hooks().mutex);
    if (!hooks().postRoutine) {
        hooks().postRoutine = true;
        qAddPostRoutine(closeAtTheEnd);
    }
    QCoreApplication* const app = QCoreApplication::instance();
    if (app && hooks().app != app) {
        hooks().app = app;
        QObject::connect(app, &QCoreApplication::aboutToQuit, app,
                         [] { LocalPlatform::instance().close(); });
    }
}
