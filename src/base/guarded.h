#pragma once

#include <QMutex>
#include <QReadWriteLock>
#include <utility>

#include "lock_rank.h"
#include "sanitizer.h"

namespace guarded_detail {

inline void lockForRead(QReadWriteLock& lock) {
    lock.lockForRead();
}
inline void lockForWrite(QReadWriteLock& lock) {
    lock.lockForWrite();
}
inline void unlock(QReadWriteLock& lock) {
    lock.unlock();
}
inline void lockForRead(QMutex& lock) {
    lock.lock();
}
inline void lockForWrite(QMutex& lock) {
    lock.lock();
}
inline void unlock(QMutex& lock) {
    lock.unlock();
}

}  // namespace guarded_detail

/// Tables that cannot be reached without their lock. The guard carries the lock's name, the tables
/// keep theirs:
///
///     const auto accounts = m_accountLock.read();
///     accounts->m_accountInfoMap ...
///
/// The lock is not recursive: never call an operation that takes it while a handle is alive.
template <class Tables, class Lock = QReadWriteLock>
class Guarded {
public:
    /// `name` and `rank` serve the check of the lock order in debug builds.
    Guarded(const char* name, LockRank rank) : m_name(name), m_rank(rank) {}
    Q_DISABLE_COPY(Guarded)

    template <class Seen>
    class Handle {
    public:
        Handle(Handle&& other) noexcept
            : m_guard(std::exchange(other.m_guard, nullptr)), m_tables(other.m_tables) {}
        Handle& operator=(Handle&&) = delete;
        Q_DISABLE_COPY(Handle)
        ~Handle() { unlock(); }

        /// Gives the lock back before the handle's life ends; the tables are out of reach then.
        void unlock() {
            if (m_guard) {
                std::exchange(m_guard, nullptr)->release();
            }
        }

        Seen* operator->() const& { return m_tables; }
        Seen& operator*() const& { return *m_tables; }
        /// How often the tables were locked for writing; what was worked out from them holds for as
        /// long as this stays.
        quint64 revision() const { return m_guard->m_revision; }

        // On a temporary the lock would be gone before the tables are used.
        Seen* operator->() const&& = delete;
        Seen& operator*() const&& = delete;

    private:
        friend class Guarded;
        Handle(const Guarded* guard, Seen* tables) : m_guard(guard), m_tables(tables) {}

        const Guarded* m_guard;
        Seen* m_tables;
    };

    using ReadHandle = Handle<const Tables>;
    using WriteHandle = Handle<Tables>;

    [[nodiscard]] ReadHandle read() const {
        HeldLocks::taken(m_rank, m_name);
        guarded_detail::lockForRead(m_lock);
        sanitizerAcquire(&m_lock);
        return ReadHandle(this, &m_tables);
    }

    [[nodiscard]] WriteHandle write() {
        HeldLocks::taken(m_rank, m_name);
        guarded_detail::lockForWrite(m_lock);
        sanitizerAcquire(&m_lock);
        ++m_revision;
        return WriteHandle(this, &m_tables);
    }

private:
    void release() const {
        sanitizerRelease(&m_lock);
        guarded_detail::unlock(m_lock);
        HeldLocks::released(m_rank);
    }

    const char* const m_name;
    const LockRank m_rank;
    mutable Lock m_lock;
    quint64 m_revision = 0;  // under m_lock
    Tables m_tables;
};
