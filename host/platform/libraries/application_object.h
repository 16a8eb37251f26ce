#pragma once

#include <QCoreApplication>
#include <QObject>
#include <QThread>

/// Moves an object that was made on some other thread to the application's. Without an application
/// it stays where it is.
inline void moveToApplicationThread(QObject* object) {
    const QCoreApplication* application = QCoreApplication::instance();
    if (application && application->thread() != object->thread()) {
        object->moveToThread(application->thread());
    }
}
