#include <QSignalSpy>
#include <QThread>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "thread_hand_over.h"
#include "velmarutils/velmar_delay_buffer.h"
#include "wait_for.h"

namespace {

constexpr int kDelayMs = 30;

/// Runs the event loop until every timer that is due by now has fired: a timer of the same length
/// that is started now fires after them.
void passOneDelay(int delayMs = kDelayMs) {
    bool over = false;
    QTimer::singleShot(delayMs + 1, Qt::PreciseTimer, [&over]() { over = true; });
    QVERIFY(waitFor([&over]() { return over; }));
}

/// Records at a signal of the buffer whether a timer of a given length, started here, had fired
/// before. Timers fire in the order in which they are due, however late the event loop is, so no
/// clock is read.
class DueBefore {
public:
    explicit DueBefore(int delayMs) {
        QTimer::singleShot(delayMs, Qt::PreciseTimer, &m_context, [this]() { m_fired = true; });
    }
    void watch(VelmarDelayBuffer& buffer) {
        QObject::connect(&buffer, &VelmarDelayBuffer::bufferTimeOut, &m_context,
                         [this]() { m_firedBefore = m_firedBefore && m_fired; });
    }
    bool firedBeforeEverySignal() const { return m_fired && m_firedBefore; }

private:
    QObject m_context;
    bool m_fired = false;
    bool m_firedBefore = true;
};

}  // namespace

class DelayBufferTest : public QObject {
    Q_OBJECT

private slots:
    void items_comeInOneSignalAfterTheDelay() {
        VelmarDelayBuffer buffer(nullptr, kDelayMs);
        QSignalSpy timeOuts(&buffer, &VelmarDelayBuffer::bufferTimeOut);
        DueBefore aDelay(kDelayMs);
        aDelay.watch(buffer);
        buffer.AppendItem(1);
        buffer.AppendItem("two");
        QCOMPARE(timeOuts.count(), 0);
        QVERIFY(waitFor([&timeOuts]() { return timeOuts.count() > 0; }));
        QVERIFY(aDelay.firedBeforeEverySignal());
        QCOMPARE(buffer.GetBufferItems(), QList<QVariant>({1, "two"}));
        passOneDelay();
        QCOMPARE(timeOuts.count(), 1);
    }

    void takingTheItems_emptiesTheBuffer() {
        VelmarDelayBuffer buffer(nullptr, kDelayMs);
        QVERIFY(buffer.GetBufferItems().isEmpty());
        buffer.AppendItem(1);
        QCOMPARE(buffer.GetBufferItems(), QList<QVariant>{1});
        QVERIFY(buffer.GetBufferItems().isEmpty());
    }

    void noItem_noSignal() {
        VelmarDelayBuffer buffer(nullptr, kDelayMs);
        QSignalSpy timeOuts(&buffer, &VelmarDelayBuffer::bufferTimeOut);
        passOneDelay();
        QCOMPARE(timeOuts.count(), 0);
    }

    void forcedFlush_isNotFollowedByAnEmptyOne() {
        VelmarDelayBuffer buffer(nullptr, kDelayMs);
        QList<QList<QVariant>> flushed;
        connect(&buffer, &VelmarDelayBuffer::bufferTimeOut, &buffer,
                [&]() { flushed.append(buffer.GetBufferItems()); });
        buffer.AppendItem(1);
        emit buffer.bufferTimeOut();
        QCOMPARE(flushed, QList<QList<QVariant>>{QList<QVariant>{1}});
        passOneDelay();
        passOneDelay();
        QCOMPARE(flushed.size(), 1);
    }

    void itemAfterAForcedFlush_waitsItsOwnDelay() {
        VelmarDelayBuffer buffer(nullptr, kDelayMs);
        QSignalSpy timeOuts(&buffer, &VelmarDelayBuffer::bufferTimeOut);
        buffer.AppendItem(1);
        buffer.GetBufferItems();
        // Due after the first item's delay and before the second one's.
        DueBefore inBetween(kDelayMs);
        inBetween.watch(buffer);
        buffer.AppendItem(2);
        QVERIFY(waitFor([&timeOuts]() { return timeOuts.count() > 0; }));
        QVERIFY(inBetween.firedBeforeEverySignal());
        QCOMPARE(buffer.GetBufferItems(), QList<QVariant>{2});
    }

    void itemsThatWereNotTaken_comeWithTheNext() {
        VelmarDelayBuffer buffer(nullptr, kDelayMs);
        QSignalSpy timeOuts(&buffer, &VelmarDelayBuffer::bufferTimeOut);
        buffer.AppendItem(1);
        QVERIFY(waitFor([&timeOuts]() { return timeOuts.count() == 1; }));
        buffer.AppendItem(2);
        QVERIFY(waitFor([&timeOuts]() { return timeOuts.count() == 2; }));
        QCOMPARE(buffer.GetBufferItems(), QList<QVariant>({1, 2}));
    }

    void itemAppendedFromTheReader_startsTheNextRun() {
        VelmarDelayBuffer buffer(nullptr, 1);
        int rounds = 0;
        connect(&buffer, &VelmarDelayBuffer::bufferTimeOut, &buffer, [&]() {
            buffer.GetBufferItems();
            if (++rounds < 3) {
                buffer.AppendItem(rounds);
            }
        });
        buffer.AppendItem(0);
        QVERIFY(waitFor([&rounds]() { return rounds == 3; }));
    }

    void zeroOrNegativeDelay_stillSignalsLater() {
        for (const int delay : {0, -5}) {
            VelmarDelayBuffer buffer(nullptr, delay);
            QSignalSpy timeOuts(&buffer, &VelmarDelayBuffer::bufferTimeOut);
            buffer.AppendItem(1);
            QCOMPARE(timeOuts.count(), 0);
            QVERIFY(waitFor([&timeOuts]() { return timeOuts.count() == 1; }));
        }
    }

    void manyThreads_loseNoItemAndSignalOnTheBuffersThread() {
        constexpr int kThreads = 4;
        constexpr int kItems = 2000;
        VelmarDelayBuffer buffer(nullptr, 1);
        int received = 0;
        bool elsewhere = false;
        connect(
            &buffer, &VelmarDelayBuffer::bufferTimeOut, &buffer,
            [&]() {
                elsewhere = elsewhere || QThread::currentThread() != buffer.thread();
                received += buffer.GetBufferItems().size();
            },
            Qt::DirectConnection);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&buffer]() {
                for (int i = 0; i < kItems; ++i) {
                    buffer.AppendItem(i);
                }
            });
        }
        QVERIFY(waitFor([&received]() { return received == kThreads * kItems; }, 20000));
        for (std::thread& thread : threads) {
            thread.join();
        }
        QVERIFY(!elsewhere);
    }

    void parent_ownsTheBuffer() {
        auto parent = std::make_unique<QObject>();
        const QPointer<VelmarDelayBuffer> buffer = new VelmarDelayBuffer(parent.get(), kDelayMs);
        QCOMPARE(buffer->parent(), parent.get());
        parent.reset();
        QVERIFY(!buffer);
    }

    void parentOnAnotherThread_getsTheBufferThere() {
        QThread thread;
        thread.start();
        auto* parent = new QObject;
        parent->moveToThread(&thread);
        auto* buffer = new VelmarDelayBuffer(parent, 1);
        QObject helper;
        helper.moveToThread(&thread);
        std::atomic<QThread*> where{nullptr};
        std::atomic<bool> owned{false};
        std::atomic<bool> goneWithItsParent{false};
        connect(
            buffer, &VelmarDelayBuffer::bufferTimeOut, buffer,
            [&]() { where = QThread::currentThread(); }, Qt::DirectConnection);
        buffer->AppendItem(1);
        const bool signalled = waitFor([&where]() { return where.load() != nullptr; });
        runOnThreadOf(&helper, [&]() {
            const QPointer<VelmarDelayBuffer> child = buffer;
            owned = buffer->parent() == parent;
            delete parent;
            goneWithItsParent = child.isNull();
        });
        const bool gone = waitFor([&]() { return goneWithItsParent.load(); });
        thread.quit();
        QVERIFY(thread.wait());
        QVERIFY(signalled);
        QCOMPARE(where.load(), &thread);
        QVERIFY(owned);
        QVERIFY(gone);
    }
};

QTEST_GUILESS_MAIN(DelayBufferTest)
#include "delay_buffer_test.moc"
