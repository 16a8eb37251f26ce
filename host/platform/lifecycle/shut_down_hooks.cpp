#include <QCoreApplication>

#include "local_platform.h"

namespace {

void closePlatform() {
    LocalPlatform::instance().close();
}

/// The platform closes when the application is about to quit, and again from a post routine of the
/// application object, before static objects go.
void watchApplication() {
    qAddPostRoutine(closePlatform);
    QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit,
                     QCoreApplication::instance(), closePlatform);
}

}  // namespace

// Runs for every application object of the process, and at once for one that is there already.
Q_COREAPP_STARTUP_FUNCTION(watchApplication)
