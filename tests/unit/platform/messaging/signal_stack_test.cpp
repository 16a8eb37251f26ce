#include "signal_stack.h"

#include <QtTest>
#include <atomic>
#include <csignal>
#include <thread>

#include "platform_fixture.h"
#include "run_on_thread.h"
#include "znutils/zn_thread.h"

namespace {

/// Of the calling thread; 0 when it has none.
std::size_t signalStackBytes() {
    stack_t present{};
    if (sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) != 0) {
        return 0;
    }
    return present.ss_size;
}

constexpr std::size_t kLeastBytes = 64 * 1024;

class MeasuringThread : public ZnThread {
public:
    MeasuringThread() : ZnThread(nullptr) {}
    std::atomic<std::size_t> bytes{0};

protected:
    void run() override { bytes = signalStackBytes(); }
};

}  // namespace

class SignalStackTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("the address sanitizer brings signal stacks of its own");
#endif
    }

    void thread_withASignalStack_hasItUntilItEnds() {
        std::size_t before = 1;
        std::size_t after = 0;
        bool isKept = false;
        std::thread thread([&] {
            before = signalStackBytes();
            SignalStack::provide();
            after = signalStackBytes();
            stack_t first{};
            stack_t second{};
            sigaltstack(nullptr, &first);
            SignalStack::provide();
            sigaltstack(nullptr, &second);
            isKept = first.ss_sp == second.ss_sp;
            // The whole of it can be used.
            auto* const bytes = static_cast<volatile char*>(first.ss_sp);
            bytes[0] = 1;
            bytes[first.ss_size - 1] = 1;
        });
        thread.join();
        QCOMPARE(before, std::size_t(0));
        QVERIFY(after >= kLeastBytes);
        QVERIFY(isKept);
    }

    void signalStack_thatTheThreadHas_stays() {
        std::vector<char> own(kLeastBytes);
        bool isKept = false;
        std::thread thread([&] {
            stack_t mine{};
            mine.ss_sp = own.data();
            mine.ss_size = own.size();
            sigaltstack(&mine, nullptr);
            SignalStack::provide();
            stack_t present{};
            sigaltstack(nullptr, &present);
            isKept = present.ss_sp == own.data();
            mine.ss_flags = SS_DISABLE;
            sigaltstack(&mine, nullptr);
        });
        thread.join();
        QVERIFY(isKept);
    }

    void threadsOfThePlatform_haveSignalStacks() {
        PlatformFixture platform;
        std::atomic<std::size_t> onMessageThread{0};
        auto* const presenter = new ProbePresenter(
            QStringLiteral("Test.Probe"),
            [&](const ProbeLog::Call&) { onMessageThread = signalStackBytes(); });
        const auto log = presenter->log;
        constexpr int kEvent = 0x7001;
        presenter->SubEvent(presenter->pluginPid(), kEvent, 1);
        presenter->initPresenter();
        std::atomic<std::size_t> onObjectThread{0};
        runOnThreadAndWait(presenter, [&] { onObjectThread = signalStackBytes(); });
        QVERIFY(onObjectThread >= kLeastBytes);
        presenter->PutEvent(presenter->pluginPid(), makeEvent(kEvent, "x"));
        QVERIFY(waitFor([&] { return onMessageThread > 0; }));
        QVERIFY(onMessageThread >= kLeastBytes);
        presenter->deleteLater();
        MeasuringThread thread;
        thread.start();
        QVERIFY(thread.wait(QDeadlineTimer(QDeadlineTimer::Forever)));
        QVERIFY(thread.bytes >= kLeastBytes);
    }
};

QTEST_GUILESS_MAIN(SignalStackTest)
#include "signal_stack_test.moc"
