#include <QtTest>
#include <algorithm>
#include <thread>
#include <type_traits>
#include <vector>

#include "child_process.h"
#include "guarded.h"

namespace {

struct Tables {
    int left = 0;
    int right = 0;
};

template <class Handle, class = void>
struct ReachesThroughTemporary : std::false_type {};
template <class Handle>
struct ReachesThroughTemporary<Handle, std::void_t<decltype(std::declval<Handle>().operator->())>>
    : std::true_type {};
template <class Handle>
struct ReachesThroughNamed
    : std::bool_constant<!std::is_void_v<decltype(std::declval<const Handle&>().operator->())>> {};

using Guard = Guarded<Tables>;
using MutexGuard = Guarded<Tables, QMutex>;

template <class Guard, class = void>
struct HasReadAndWrite : std::false_type {};
template <class Guard>
struct HasReadAndWrite<Guard, std::void_t<decltype(std::declval<Guard&>().read()),
                                          decltype(std::declval<Guard&>().write())>>
    : std::true_type {};
template <class Guard, class = void>
struct HasLock : std::false_type {};
template <class Guard>
struct HasLock<Guard, std::void_t<decltype(std::declval<Guard&>().lock())>> : std::true_type {};

// A mutex does not distinguish readers from writers, so its guard has one operation.
static_assert(HasReadAndWrite<Guard>::value && !HasLock<Guard>::value);
static_assert(HasLock<MutexGuard>::value && !HasReadAndWrite<MutexGuard>::value);

// A temporary handle would unlock before its tables are used.
static_assert(!ReachesThroughTemporary<Guard::ReadHandle>::value);
static_assert(!ReachesThroughTemporary<Guard::WriteHandle>::value);
static_assert(ReachesThroughNamed<Guard::ReadHandle>::value);
static_assert(
    std::is_const_v<
        std::remove_pointer_t<decltype(std::declval<const Guard::ReadHandle&>().operator->())>>);

constexpr const char* kWrongOrder = "--wrong-order";
constexpr const char* kUseAfterUnlock = "--use-after-unlock";
constexpr const char* kLockAtExit = "--lock-at-exit";

void takeInTheWrongOrder() {
    Guarded<Tables> outer("m_outer", LockRank::Account);
    Guarded<Tables> inner("m_inner", LockRank::AccountOrder);
    const auto second = inner.read();
    const auto first = outer.read();
}

void useAfterUnlock() {
    Guarded<Tables> guard("guard", LockRank::Account);
    auto tables = guard.write();
    tables.unlock();
    tables->left = 1;
}

/// Takes a lock when the process exits, after the main thread's own variables were destroyed. What
/// it allocates in between would get the memory of a record of held locks that was freed.
class LocksAtExit {
public:
    LocksAtExit() { const auto tables = m_guard.write(); }
    ~LocksAtExit() {
        std::vector<std::vector<char>> blocks;
        for (int size = 8; size <= 1024; size += 8) {
            blocks.emplace_back(size, 'a');
        }
        { const auto tables = m_guard.write(); }
        for (const std::vector<char>& block : blocks) {
            if (std::count(block.cbegin(), block.cend(), 'a') != qint64(block.size())) {
                qFatal("a lock at exit wrote to memory of others");
            }
        }
    }
    Q_DISABLE_COPY(LocksAtExit)

private:
    Guarded<Tables> m_guard{"guard", LockRank::Account};
};

}  // namespace

class GuardedTest : public QObject {
    Q_OBJECT

private slots:
    void revision_tablesLockedForWriting_changes() {
        Guarded<Tables> guard("guard", LockRank::Account);
        const auto revision = [&guard] {
            const auto tables = guard.read();
            return tables.revision();
        };
        const quint64 before = revision();
        QCOMPARE(revision(), before);
        {
            const auto tables = guard.write();
            QVERIFY(tables.revision() != before);
        }
        QVERIFY(revision() != before);
    }

    void write_manyThreads_readersSeeWholeChangesOnly() {
        Guarded<Tables> guard("guard", LockRank::Account);
        constexpr int kRounds = 2000;
        std::atomic<bool> torn{false};
        std::vector<std::thread> threads;
        for (int writer = 0; writer < 2; ++writer) {
            threads.emplace_back([&guard] {
                for (int i = 0; i < kRounds; ++i) {
                    const auto tables = guard.write();
                    ++tables->left;
                    ++tables->right;
                }
            });
        }
        for (int reader = 0; reader < 2; ++reader) {
            threads.emplace_back([&guard, &torn] {
                for (int i = 0; i < kRounds; ++i) {
                    const auto tables = guard.read();
                    torn = torn || tables->left != tables->right;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QVERIFY(!torn);
        const auto tables = guard.read();
        QCOMPARE(tables->left, 2 * kRounds);
    }

    void unlock_early_letsTheNextWriterIn() {
        Guarded<Tables> guard("guard", LockRank::Account);
        auto first = guard.write();
        first->left = 1;
        first.unlock();
        const auto second = guard.write();
        QCOMPARE(second->left, 1);
    }

    void handle_usedAfterItsUnlock_endsTheProcessWithAMessage() {
#ifdef QT_NO_DEBUG
        QSKIP("the use of a handle is checked in debug builds");
#endif
        const ChildResult child =
            runChild(QCoreApplication::applicationFilePath(), {kUseAfterUnlock});
        QVERIFY(child.crashed);
        QVERIFY2(child.output.contains("a handle is used after its unlock()"),
                 qPrintable(child.output));
    }

    void write_byAStaticObjectsDestructor_leavesOtherMemoryAlone() {
        const ChildResult child = runChild(QCoreApplication::applicationFilePath(), {kLockAtExit});
        QVERIFY2(child.succeeded(), qPrintable(child.output));
    }

    void unlock_twice_releasesOnce() {
        MutexGuard guard("guard", LockRank::Account);
        auto first = guard.lock();
        first.unlock();
        first.unlock();
        const auto second = guard.lock();
        QCOMPARE(second->left, 0);
    }

    void moveOfAHandle_leavesTheLockWithTheNewOne() {
        MutexGuard guard("guard", LockRank::Account);
        {
            auto first = guard.lock();
            const auto second = std::move(first);
            second->left = 3;
        }
        const auto third = guard.lock();
        QCOMPARE(third->left, 3);
    }

    void locks_takenInTheWrongOrder_endTheProcessAndNameBoth() {
#ifdef QT_NO_DEBUG
        QSKIP("the order is checked in debug builds");
#endif
        const ChildResult child = runChild(QCoreApplication::applicationFilePath(), {kWrongOrder});
        QVERIFY(child.crashed);
        QVERIFY2(child.output.contains("lock order: m_outer taken while m_inner is held"),
                 qPrintable(child.output));
    }

    void heldLocks_overTheLifeOfAHandle_areReported() {
        if (!HeldLocks::any()) {
            Guarded<Tables> outer("outer", LockRank::Account);
            Guarded<Tables, QMutex> inner("inner", LockRank::Leaf);
            const auto first = outer.read();
            auto second = inner.lock();
            second.unlock();
#ifndef QT_NO_DEBUG
            QVERIFY(HeldLocks::any());
#endif
            return;
        }
        QFAIL("a lock is held before any was taken");
    }
};

int main(int argc, char** argv) {
    if (argc == 2 && QByteArray(argv[1]) == kWrongOrder) {
        takeInTheWrongOrder();
        return 0;
    }
    if (argc == 2 && QByteArray(argv[1]) == kUseAfterUnlock) {
        useAfterUnlock();
        return 0;
    }
    if (argc == 2 && QByteArray(argv[1]) == kLockAtExit) {
        static const LocksAtExit locks;
        return 0;
    }
    const QCoreApplication app(argc, argv);
    GuardedTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "guarded_test.moc"
