#include <QElapsedTimer>
#include <QtTest>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "log_capture.h"
#include "message_fixture.h"
#include "message_writer_sink.h"
#include "velmar_busi_msg_data_base.h"
#include "wait_for.h"

namespace {

/// Records each pass, and holds the writer within one while the test wishes so.
class HeldSink : public MessageWriterSink {
public:
    void insertToDataBase(const QList<QVariantMap>& rows) override {
        take(QStringLiteral("insert"), rows);
    }
    void updateToDataBase(const QList<QVariantMap>& rows) override {
        take(QStringLiteral("update"), rows);
    }

    void hold() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isHeld = true;
    }
    void letGo() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isHeld = false;
        m_changed.notify_all();
    }
    bool waitUntilHeld() {
        std::unique_lock<std::mutex> guard(m_lock);
        return m_changed.wait_for(guard, std::chrono::seconds(10), [this] { return m_isWithin; });
    }

    /// Runs on the writer's thread at the end of each call; set while the writer does not run.
    std::function<void()> onCall = [] {};

    /// Kind and number of rows of each call, as "insert 2".
    QStringList calls() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_calls;
    }
    QList<QVariantMap> rows() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_rows;
    }
    bool waitForCalls(int count) const {
        return waitFor([&] { return calls().size() >= count; }, 10000);
    }

private:
    void take(const QString& kind, const QList<QVariantMap>& rows) {
        std::unique_lock<std::mutex> guard(m_lock);
        m_calls.append(kind + ' ' + QString::number(rows.size()));
        m_rows.append(rows);
        m_isWithin = true;
        m_changed.notify_all();
        m_changed.wait(guard, [this] { return !m_isHeld; });
        m_isWithin = false;
        guard.unlock();
        onCall();
    }

    mutable std::mutex m_lock;  // guards all below
    std::condition_variable m_changed;
    bool m_isHeld = false;
    bool m_isWithin = false;
    QStringList m_calls;
    QList<QVariantMap> m_rows;
};

constexpr int kMost = VelmarBusiMsgDataBase::kMostInserts;

void fill(VelmarBusiMsgDataBase& writer, int count) {
    for (int i = 0; i < count; ++i) {
        writer.appendBusiMsg(messageOf(numberedId(i)), true);
    }
}

/// Writes what is queued and ends the thread.
void drain(VelmarBusiMsgDataBase& writer) {
    writer.startWriting();
    writer.endAndJoin();
}

QVariantMap emergency(const QVariant& level = BusiMsgLevel::Emergency) {
    return messageOf("emergency", {{System::BusiMsgLevel, level}});
}

const QString kDiscarded =
    "VelmarBusiMsgDataBase::run buffer length is more than 10000 , %1 messages are discarded";

}  // namespace

class MessageWriterTest : public QObject {
    Q_OBJECT

private slots:
    void name_isTheThreads() {
        HeldSink sink;
        const VelmarBusiMsgDataBase writer(sink);
        QCOMPARE(writer.objectName(), QString("VelmarBusiMsgDateBaseThread"));
    }

    void queue_withRoom_keepsEveryKindInOrder() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        writer.appendBusiMsg(messageOf("u1"), false);
        writer.appendBusiMsg(messageOf("i1"), true);
        writer.appendBusiMsg(messageOf("u2"), false);
        writer.appendBusiMsg(messageOf("i2"), true);
        LogCapture log;
        drain(writer);
        // Inserts go first.
        QCOMPARE(sink.calls(), QStringList({"insert 2", "update 2"}));
        QStringList ids;
        for (const QVariantMap& row : sink.rows()) {
            ids.append(row[System::clientMsgID].toString());
        }
        QCOMPARE(ids, QStringList({"i1", "i2", "u1", "u2"}));
        QCOMPARE(log.count(QtDebugMsg, "VelmarBusiMsgDataBase::run"), 1);
        QCOMPARE(
            log.count(QtDebugMsg, "VelmarBusiMsgDataBase::run insert length  2  update length  2"),
            1);
        QVERIFY(!log.contains("discarded"));
    }

    void queue_full_discardsOrdinaryMessagesOnly() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        fill(writer, kMost);
        writer.appendBusiMsg(messageOf("refused"), true);
        writer.appendBusiMsg(emergency(), true);
        writer.appendBusiMsg(messageOf("updated"), false);
        writer.appendBusiMsg(messageOf("refused too"), true);
        LogCapture log;
        drain(writer);
        QCOMPARE(sink.calls(), QStringList({"insert 10001", "update 1"}));
        QCOMPARE(sink.rows()[kMost][System::clientMsgID].toString(), QString("emergency"));
        QCOMPARE(log.count(QtInfoMsg, kDiscarded.arg(2)), 1);
    }

    void queue_fullAndEmergencyAsANumber_isQueued() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        fill(writer, kMost);
        // As the level comes back from the table.
        writer.appendBusiMsg(emergency(BusiMsgLevel::Emergency.toInt()), true);
        drain(writer);
        QCOMPARE(sink.calls(), QStringList("insert 10001"));
    }

    void queue_updates_haveNoBound() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        const QVariantMap record = messageOf("c1");
        for (int i = 0; i < 2 * kMost + 1; ++i) {
            writer.appendBusiMsg(record, false);
        }
        drain(writer);
        QCOMPARE(sink.calls(), QStringList("update 20001"));
    }

    void discards_areReportedOnceByAPassThatInserts() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        sink.hold();
        writer.appendBusiMsg(messageOf("update"), false);
        LogCapture log;
        writer.startWriting();
        QVERIFY(sink.waitUntilHeld());
        fill(writer, kMost);
        writer.appendBusiMsg(messageOf("refused"), true);
        // The pass that is under way has updates only.
        sink.letGo();
        QVERIFY(sink.waitForCalls(2));
        writer.endAndJoin();
        QCOMPARE(sink.calls(), QStringList({"update 1", "insert 10000"}));
        const QStringList said = log.texts();
        const int first =
            said.indexOf("VelmarBusiMsgDataBase::run insert length  0  update length  1");
        const int second =
            said.indexOf("VelmarBusiMsgDataBase::run insert length  10000  update length  0");
        const int report = said.indexOf(kDiscarded.arg(1));
        QVERIFY(first >= 0 && second > first && report > second);

        writer.appendBusiMsg(messageOf("next"), true);
        drain(writer);
        QCOMPARE(log.texts(QtInfoMsg), QStringList(kDiscarded.arg(1)));
    }

    void queueing_whileTheDatabaseIsSlow_doesNotWait() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        sink.hold();
        writer.appendBusiMsg(messageOf("first"), true);
        writer.startWriting();
        QVERIFY(sink.waitUntilHeld());
        // Returns though the writer is within its SQL.
        fill(writer, 100);
        writer.appendBusiMsg(messageOf("update"), false);
        QCOMPARE(sink.calls(), QStringList("insert 1"));
        sink.letGo();
        writer.endAndJoin();
        QCOMPARE(sink.calls(), QStringList({"insert 1", "insert 100", "update 1"}));
    }

    void running_idle_writesANewRecordByItself() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        writer.startWriting();
        writer.appendBusiMsg(messageOf("c1"), true);
        QVERIFY(sink.waitForCalls(1));
        writer.appendBusiMsg(messageOf("c2"), true);
        QVERIFY(sink.waitForCalls(2));
        QVERIFY(writer.isRunning());
    }

    void running_listsFilledDuringAPass_areWrittenWithoutAPause() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        // Each pass queues the next one's record. With a pause between them they would take nine
        // seconds and more.
        constexpr int kPasses = 10;
        int passes = 0;
        sink.onCall = [&] {
            if (++passes < kPasses) {
                writer.appendBusiMsg(messageOf(numberedId(passes)), true);
            }
        };
        writer.appendBusiMsg(messageOf("first"), true);
        QElapsedTimer timer;
        timer.start();
        writer.startWriting();
        QVERIFY(sink.waitForCalls(kPasses));
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        writer.endAndJoin();
    }

    void end_whileIdle_doesNotWaitForTheSecond() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        QElapsedTimer timer;
        timer.start();
        constexpr int kRounds = 8;
        for (int i = 0; i < kRounds; ++i) {
            writer.startWriting();
            QVERIFY(writer.isRunning());
            writer.endAndJoin();
            QVERIFY(writer.isFinished());
        }
        QVERIFY2(timer.elapsed() < kRounds * 1000 / 2,
                 qPrintable(QString::number(timer.elapsed())));
    }

    void end_withQueuedRecords_writesThemInALastPass() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        writer.appendBusiMsg(messageOf("first"), true);
        sink.hold();
        writer.startWriting();
        QVERIFY(sink.waitUntilHeld());
        writer.requestEnd();
        // Marked read just before the end.
        writer.appendBusiMsg(messageOf("late"), true);
        writer.appendBusiMsg(messageOf("first", {{BusiMsgCenter::ReadStatus, true}}), false);
        sink.letGo();
        writer.wait();
        QCOMPARE(sink.calls(), QStringList({"insert 1", "insert 1", "update 1"}));
        QCOMPARE(sink.rows()[1][System::clientMsgID].toString(), QString("late"));
    }

    void end_requestedBeforeTheThreadRuns_isKept() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        writer.startWriting();
        writer.requestEnd();
        QVERIFY(writer.wait(QDeadlineTimer(5000)));
    }

    void start_afterAnEnd_writesAgain() {
        HeldSink sink;
        VelmarBusiMsgDataBase writer(sink);
        drain(writer);
        writer.startWriting();
        writer.appendBusiMsg(messageOf("c1"), true);
        QVERIFY(sink.waitForCalls(1));
    }

    void destruction_whileRunning_writesWhatIsQueuedAndLogsItsTag() {
        HeldSink sink;
        LogCapture log;
        {
            VelmarBusiMsgDataBase writer(sink);
            writer.startWriting();
            writer.appendBusiMsg(messageOf("c1"), true);
        }
        QCOMPARE(sink.calls(), QStringList("insert 1"));
        QCOMPARE(log.count(QtDebugMsg, "VelmarBusiMsgDataBase::~VelmarBusiMsgDataBase"), 1);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void destruction_withRecordsAfterTheEnd_warnsOfTheirNumber() {
        HeldSink sink;
        LogCapture log;
        {
            VelmarBusiMsgDataBase writer(sink);
            drain(writer);
            writer.appendBusiMsg(messageOf("c1"), true);
            writer.appendBusiMsg(messageOf("c2"), true);
            writer.appendBusiMsg(messageOf("c1"), false);
        }
        QCOMPARE(sink.calls(), QStringList());
        QCOMPARE(log.count(QtWarningMsg,
                           "VelmarBusiMsgDataBase::~VelmarBusiMsgDataBase 2 messages and 1 "
                           "updates came after the last write and are not in the table"),
                 1);
    }

    void append_afterTheEnd_warnsOnce_untilTheNextEnd() {
        HeldSink sink;
        const LogCapture log;
        VelmarBusiMsgDataBase writer(sink);
        writer.appendBusiMsg(messageOf("before the start"), true);
        QCOMPARE(log.texts(QtWarningMsg), QStringList());
        drain(writer);
        writer.appendBusiMsg(messageOf("c1"), true);
        writer.appendBusiMsg(messageOf("c1"), false);
        QCOMPARE(log.texts(QtWarningMsg).filter("the writer has ended").size(), 1);
        writer.startWriting();
        writer.appendBusiMsg(messageOf("c2"), true);
        writer.endAndJoin();
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        writer.appendBusiMsg(messageOf("c3"), false);
        QCOMPARE(log.texts(QtWarningMsg).filter("the writer has ended").size(), 2);
        drain(writer);
    }

    void queueing_fromManyThreads_losesNothing() {
        HeldSink sink;
        constexpr int kThreads = 4;
        constexpr int kEach = 2000;
        {
            VelmarBusiMsgDataBase writer(sink);
            writer.startWriting();
            std::vector<std::thread> threads;
            for (int t = 0; t < kThreads; ++t) {
                threads.emplace_back([&writer, t] {
                    for (int i = 0; i < kEach; ++i) {
                        writer.appendBusiMsg(messageOf(numberedId(t * kEach + i)), i % 2 == 0);
                    }
                });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
        }
        QSet<QString> ids;
        for (const QVariantMap& row : sink.rows()) {
            ids.insert(row[System::clientMsgID].toString());
        }
        QCOMPARE(ids.size(), kThreads * kEach);
    }
};

QTEST_GUILESS_MAIN(MessageWriterTest)
#include "message_writer_test.moc"
