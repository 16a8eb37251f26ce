#pragma once

#include <QMutex>
#include <QReadWriteLock>
#include <type_traits>
#include <utility>

#include "lock_rank.h"
#include "sanitizer.h"

/// Tables that cannot be reached without their lock. The guard carries the lock's name, the tables
/// keep theirs:
///
///     const auto accounts = m_accountLock.read();
///     accounts->m_accountInfoMap ...
///
/// A guard over a QReadWriteLock has read() and write(), one over a QMutex has lock(). Neither lock
/// is recursive: never call an operation that takes it while a handle is alive.
template <class Tables, class Lock = QReadWriteLock>
class Guarded {
    static constexpr bool kHasReaders = std::is_same_v<Lock, QReadWriteLock>;

public:
    /// `name` and `rank` are for the check of the lock order in debug builds.
    Guarded(const char* name, LockRank rank) : m_name(name), m_rank(rank) {}
    Q_DISABLE_COPY(Guarded)

    template <class Seen>
    class Handle {
    public:
        Handle(Handle&& other) noexcept
            : m_guard(std::exchange(other.m_guard, nullptr)),
              m_tables(std::exchange(other.m_tables, nullptr)) {}
        Handle& operator=(Handle&&) = delete;
        Q_DISABLE_COPY(Handle)
        ~Handle() { unlock(); }

        /// Releases the lock before the handle's life ends and puts the tables out of reach: using
        /// the handle afterwards is a programming error, at which a debug build stops with a
        /// message.
        void unlock() {
            if (m_guard) {
                m_tables = nullptr;
                std::exchange(m_guard, nullptr)->release();
            }
        }

        Seen* operator->() const& { return &tables(); }
        Seen& operator*() const& { return tables(); }
        /// How often the tables were locked for writing. A result computed from them stays valid
        /// while this number stays the same.
        quint64 revision() const {
            Q_ASSERT_X(m_guard, "Guarded", "a handle is used after its unlock()");
            return m_guard->m_revision;
        }

        // On a temporary the lock would be gone before the tables are used.
        Seen* operator->() const&& = delete;
        Seen& operator*() const&& = delete;

    private:
        friend class Guarded;
        Handle(const Guarded* guard, Seen* tables) : m_guard(guard), m_tables(tables) {}

        Seen& tables() const {
            Q_ASSERT_X(m_tables, "Guarded", "a handle is used after its unlock()");
            return *m_tables;
        }

        const Guarded* m_guard;
        Seen* m_tables;
    };

    using ReadHandle = Handle<const Tables>;
    using WriteHandle = Handle<Tables>;

    template <bool available = kHasReaders, std::enable_if_t<available, int> = 0>
    [[nodiscard]] ReadHandle read() const {
        HeldLocks::taken(m_rank, m_name);
        m_lock.lockForRead();
        sanitizerAcquire(&m_lock);
        return ReadHandle(this, &m_tables);
    }

    template <bool available = kHasReaders, std::enable_if_t<available, int> = 0>
    [[nodiscard]] WriteHandle write() {
        HeldLocks::taken(m_rank, m_name);
        m_lock.lockForWrite();
        sanitizerAcquire(&m_lock);
        ++m_revision;
        return WriteHandle(this, &m_tables);
    }

    template <bool available = !kHasReaders, std::enable_if_t<available, int> = 0>
    [[nodiscard]] WriteHandle lock() {
        HeldLocks::taken(m_rank, m_name);
        m_lock.lock();
        sanitizerAcquire(&m_lock);
        ++m_revision;
        return WriteHandle(this, &m_tables);
    }

private:
    void release() const {
        sanitizerRelease(&m_lock);
        m_lock.unlock();
        HeldLocks::released(m_rank);
    }

    const char* const m_name;
    const LockRank m_rank;
    mutable Lock m_lock;
    quint64 m_revision = 0;  // under m_lock
    Tables m_tables;
};
