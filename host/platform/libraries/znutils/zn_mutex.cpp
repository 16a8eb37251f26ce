#include "znutils/zn_mutex.h"

#include <QHash>
#include <mutex>

#include "data_log.h"
#include "never_destroyed.h"
#include "thread_hand_over.h"

namespace {

struct Holders {
    std::mutex lock;  // guards the places
    QHash<const QMutex*, QString> places;
};

Holders& holders() {
    return neverDestroyed<Holders>();
}

QString holderOf(const QMutex* mutex) {
    const std::lock_guard<std::mutex> guard(holders().lock);
    return holders().places.value(mutex);
}

}  // namespace

void ZnMutex::lock(QMutex* mutex, QString file, int line, QString function) {
    if (!mutex) {
        qCWarning(lcPlatformLock) << "no mutex to lock at" << file << line << function;
        return;
    }
    const QString place = QStringLiteral("%1:%2 %3").arg(file).arg(line).arg(function);
    if (!mutex->tryLock()) {
        qCDebug(lcPlatformLock).noquote()
            << place << "waits for the lock held by" << holderOf(mutex);
        mutex->lock();
    }
    handOverAcquire(mutex);
    const std::lock_guard<std::mutex> guard(holders().lock);
    holders().places.insert(mutex, place);
}

void ZnMutex::unlock(QMutex* mutex) {
    if (!mutex) {
        qCWarning(lcPlatformLock) << "no mutex to unlock";
        return;
    }
    {
        const std::lock_guard<std::mutex> guard(holders().lock);
        holders().places.remove(mutex);
    }
    handOverRelease(mutex);
    mutex->unlock();
}
