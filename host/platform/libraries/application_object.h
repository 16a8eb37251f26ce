#pragma once

#include <QCoreApplication>
#include <QObject>
#include <QThread>

/// Moves an object to the application's thread. Does nothing before the application object exists.
inline void moveToApplicationThread(QObject* object) {
    const QCoreApplication* application = QCoreApplication::instance();
    if (application && application->thread() != object->thread()) {
        object->moveToThread(application->thread());
    }
}
