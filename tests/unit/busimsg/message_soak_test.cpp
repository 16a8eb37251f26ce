// A client under load: 1,000 messages a second from two threads, while other threads read the lists
// and mark messages read. VELMAR_SOAK_SECONDS sets how long; the standing length is for every run
// of the tests.

#include <QtTest>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "client_world.h"
#include "log_capture.h"
#include "message_fixture.h"
#include "message_flow_world.h"

namespace {

using Steady = std::chrono::steady_clock;

constexpr int kStandingSeconds = 3;
constexpr int kSources = 2;
constexpr int kMessagesPerSecond = 500;  // of each source
constexpr auto kReadPause = std::chrono::milliseconds(20);

/// A message flow whose read messages go to the store, as the core connects them.
struct SoakFlow final : BusiMsgSink {
    explicit SoakFlow(MessageStore& messageStore) : store(messageStore) {}

    bool busiMsgAdded(QVariantMap&) override { return true; }
    void busiMsgRead(const QVariantMap& busiMsg) override { store.saveBusiMsgRead(busiMsg); }

    MessageStore& store;
    const MovedClock clock;
    RemindSettings reminders{clock};
    const FewAccounts accounts;
    MessageFlow flow{store, reminders, accounts, *this};
};

int soakSeconds() {
    const int seconds = qEnvironmentVariableIntValue("VELMAR_SOAK_SECONDS");
    return seconds > 0 ? seconds : kStandingSeconds;
}

/// Threads that keep their own pace.
class Paced {
public:
    /// Waits until that time; returns false when the readers are to end.
    bool waitUntil(Steady::time_point time) {
        std::unique_lock<std::mutex> guard(m_lock);
        m_changed.wait_until(guard, time, [this] { return m_ended; });
        return !m_ended;
    }
    void end() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_ended = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_lock;  // guards m_ended
    std::condition_variable m_changed;
    bool m_ended = false;
};

QString idOf(int source, int number) {
    return QStringLiteral("%1-%2").arg(source).arg(numberedId(number));
}

QString idOf(const QVariantMap& message) {
    return message.value(System::clientMsgID).toString();
}

/// One source's messages, evenly over the time. Each tenth is marked read at once, as a reader does
/// who is quick.
void produce(MessageFlow& flow, Paced& pace, int source, int count) {
    const auto began = Steady::now();
    for (int i = 0; i < count; ++i) {
        pace.waitUntil(began + std::chrono::microseconds(1000000 / kMessagesPerSecond) * i);
        flow.slotRecvBusiMsgPush(messageOf(idOf(source, i)), true);
        if (i % 10 == 0) {
            flow.SetBusiMsgRead(idOf(source, i));
        }
    }
}

/// Copies the lists; returns how often two neighbours were not in order of the ids, a list shrank,
/// or an unread message was read.
int readLists(const MessageFlow& flow, Paced& pace, std::atomic<int>& reads) {
    int faults = 0;
    int size = 0;
    while (pace.waitUntil(Steady::now() + kReadPause)) {
        const QList<QVariantMap> all = flow.GetAllBusiMsgList();
        const QList<QVariantMap> unread = flow.GetUnreadBusiMsgList();
        faults += all.size() < size ? 1 : 0;
        size = all.size();
        for (int i = 1; i < all.size(); ++i) {
            faults += idOf(all.at(i - 1)) < idOf(all.at(i)) ? 0 : 1;
        }
        for (const QVariantMap& message : unread) {
            faults += message.value(BusiMsgCenter::ReadStatus).toBool() ? 1 : 0;
        }
        ++reads;
    }
    return faults;
}

}  // namespace

class MessageSoakTest : public QObject {
    Q_OBJECT

private slots:
    void thousandMessagesASecond_withReaders_areAllInMemoryAndInTheTable() {
        ClientWorld world;
        world.login();
        const int perSource = soakSeconds() * kMessagesPerSecond;
        LogCapture log;
        std::atomic<int> faults{0};
        std::atomic<int> reads{0};
        {
            const MovedClock clock;
            MessageStore store(clock);
            SoakFlow flow(store);
            store.startWriter();
            store.initBusiMsgCenterData();
            Paced pace;
            std::vector<std::thread> readers;
            for (int i = 0; i < 2; ++i) {
                readers.emplace_back([&] { faults += readLists(flow.flow, pace, reads); });
            }
            std::vector<std::thread> sources;
            for (int source = 0; source < kSources; ++source) {
                sources.emplace_back([&, source] { produce(flow.flow, pace, source, perSource); });
            }
            for (std::thread& source : sources) {
                source.join();
            }
            pace.end();
            for (std::thread& reader : readers) {
                reader.join();
            }
            QCOMPARE(flow.flow.GetAllBusiMsgList().size(), kSources * perSource);
        }
        QCOMPARE(faults.load(), 0);
        QVERIFY(reads > 0);
        QCOMPARE(log.texts(QtWarningMsg), QStringList());
        QVERIFY(!log.contains("messages are discarded"));

        // The next start finds them, with their read state.
        const MovedClock clock;
        MessageStore store(clock);
        store.initBusiMsgCenterData();
        const auto tables = store.m_busiMsgLock.read();
        QCOMPARE(tables->m_busiMsgMap.size(), kSources * perSource);
        int wrong = 0;
        for (int source = 0; source < kSources; ++source) {
            for (int i = 0; i < perSource; ++i) {
                const QVariant read =
                    tables->m_busiMsgMap.value(idOf(source, i)).value(BusiMsgCenter::ReadStatus);
                wrong += read == QVariant(i % 10 == 0) ? 0 : 1;
            }
        }
        QCOMPARE(wrong, 0);
    }
};

QTEST_GUILESS_MAIN(MessageSoakTest)
#include "message_soak_test.moc"
