#pragma once

#include <QMutex>
#include <QString>

#include "platform_export.h"

/// A lock that logs its holder at debug level when it has to wait.
class PLATFORM_API ZnMutex {
public:
    /// Locks; blocks until the mutex is free. File, line and function are the holder's.
    static void lock(QMutex* mutex, QString file, int line, QString function);
    static void unlock(QMutex* mutex);
};
