#include "heart_beat.h"

#include <QtTest>
#include <memory>
#include <thread>
#include <vector>

#include "heart_beat_world.h"
#include "log_capture.h"
#include "platform_fixture.h"
#include "resource_figures.h"
#include "resource_history.h"
#include "zncore/zn_core.h"

namespace {

const QString kTrade = NetGateType::TradeGate;
const QString kInfo = NetGateType::InfoGate;
const QString kMarket = NetGateType::MarketTcpGate;

QVariant onBoard(const QString& key) {
    return ZnCore::instance()->getCommonInfo(key);
}

void setOnBoard(const QString& key, const QVariant& value) {
    ZnCore::instance()->setCommonInfo(key, value);
}

}  // namespace

/// The beats of the gates and their statistics, on a clock that each case moves.
class HeartBeatTest : public QObject {
    Q_OBJECT

    std::unique_ptr<PlatformFixture> m_platform;
    std::unique_ptr<BeatClock> m_clock;
    std::unique_ptr<BeatSink> m_sink;
    std::unique_ptr<HeartBeat> m_beats;

    /// Sends a beat and returns its id.
    QString send(const QString& gate) {
        m_beats->sendHeartBeat(gate);
        return m_sink->beats.last().id;
    }
    /// A beat whose answer takes so many milliseconds.
    void beat(const QString& gate, int ms) {
        const QString id = send(gate);
        m_clock->advance(ms);
        m_beats->takeAnswer(answerTo(id));
    }
    NetDelayStat stat(const QString& gate) const { return m_beats->heartBeatInfo().value(gate); }

private slots:
    void init() {
        m_platform = std::make_unique<PlatformFixture>();
        ResourceHistory::instance().clear();
        m_clock = std::make_unique<BeatClock>();
        m_sink = std::make_unique<BeatSink>();
        m_beats = std::make_unique<HeartBeat>(*m_clock, *m_sink);
    }
    void cleanup() {
        m_beats.reset();
        m_platform.reset();
    }

    void send_tradeGate_carriesTheMachinesFiguresAndItsTime() {
        m_clock->set(QDateTime(QDate(2026, 3, 10), QTime(9, 5, 7, 45)));
        send(kTrade);
        const ServerRequest& request = m_sink->beats.last().request;
        QCOMPARE(request.msgType, Velmar_MsgType::BusiHeartBeatRequest);
        QVERIFY(request.envelopeType.isEmpty());
        QVERIFY(request.rows.isEmpty());
        QStringList names = request.fields.keys();
        QStringList expected{System::CpuUsage, System::MemUsage, System::NetElapse,
                             System::avgNetElapse, System::timeStamp};
        expected.sort();
        QCOMPARE(names, expected);
        QCOMPARE(request.fields.value(System::timeStamp), QVariant("09:05:07.045"));
        // The process comes first, then the machine.
        QCOMPARE(request.fields.value(System::CpuUsage).toString(),
                 QString("%1%/%2%")
                     .arg(onBoard(ClientPerformItem::ClientCpuUsage).toDouble())
                     .arg(onBoard(ClientPerformItem::TotalCpuUsage).toDouble()));
        QCOMPARE(request.fields.value(System::MemUsage).toString(),
                 QString("%1M/%2M")
                     .arg(onBoard(ClientPerformItem::ClientMemUsage).toDouble())
                     .arg(onBoard(ClientPerformItem::TotalMemUsage).toDouble()));
        QVERIFY(onBoard(ClientPerformItem::ClientMemUsage).toDouble() > 0);
        QVERIFY(onBoard(ClientPerformItem::TotalMemUsage).toDouble() >
                onBoard(ClientPerformItem::ClientMemUsage).toDouble());
    }

    void send_tradeGate_writesFourSlotsOfTheMonitor() {
        send(kTrade);
        const QMap<int, double> expected{
            {MonitorSlot::totalCpu, onBoard(ClientPerformItem::TotalCpuUsage).toDouble() / 100},
            {MonitorSlot::clientCpu, onBoard(ClientPerformItem::ClientCpuUsage).toDouble() / 100},
            {MonitorSlot::clientMem, onBoard(ClientPerformItem::ClientMemUsage).toDouble()},
            {MonitorSlot::remainMem, onBoard(ClientPerformItem::RemainMem).toDouble()}};
        const ResourceHistory& history = ResourceHistory::instance();
        for (int slot = 0; slot < ResourceHistory::slotCount; ++slot) {
            const auto samples = history.samples(slot);
            QCOMPARE(samples.size(), expected.contains(slot) ? 1 : 0);
            if (!samples.isEmpty()) {
                QCOMPARE(samples.first().value, expected.value(slot));
                QCOMPARE(samples.first().time, m_clock->now());
                QCOMPARE(history.current(slot).toDouble(), expected.value(slot));
            }
        }
        QVERIFY(onBoard(ClientPerformItem::RemainMem).toDouble() > 0);
    }

    void send_infoGate_hasTheSharedEnvelopeAndNoFiguresOfTheMachine() {
        send(kInfo);
        const ServerRequest& request = m_sink->beats.last().request;
        QCOMPARE(request.msgType, Velmar_MsgType::BusiHeartBeatRequest);
        QCOMPARE(request.envelopeType, QString("325005"));
        QStringList expected{System::NetElapse, System::avgNetElapse, System::timeStamp};
        expected.sort();
        QCOMPARE(QStringList(request.fields.keys()), expected);
        QVERIFY(!onBoard(ClientPerformItem::TotalCpuUsage).isValid());
        QVERIFY(ResourceHistory::instance().samples(MonitorSlot::totalCpu).isEmpty());
    }

    void send_beforeAnySample_carriesZeros() {
        send(kInfo);
        const QVariantMap fields = m_sink->beats.last().request.fields;
        QCOMPARE(fields.value(System::NetElapse), QVariant(0));
        QCOMPARE(fields.value(System::avgNetElapse), QVariant(0.0));
        // Reading a gate does not enter it.
        QVERIFY(m_beats->heartBeatInfo().isEmpty());
    }

    void send_afterSamples_carriesTheLastAndTheMeanOfItsGate() {
        beat(kTrade, 100);
        beat(kTrade, 50);
        beat(kInfo, 7);
        send(kTrade);
        QVariantMap fields = m_sink->beats.last().request.fields;
        QCOMPARE(fields.value(System::NetElapse), QVariant(50));
        QCOMPARE(fields.value(System::avgNetElapse), QVariant(75.0));
        send(kInfo);
        fields = m_sink->beats.last().request.fields;
        QCOMPARE(fields.value(System::NetElapse), QVariant(7));
        QCOMPARE(fields.value(System::avgNetElapse), QVariant(7.0));
    }

    void answer_ofABeat_isASample_data() {
        QTest::addColumn<QString>("gate");
        QTest::addColumn<QString>("boardKey");
        QTest::addColumn<QString>("otherKey");
        QTest::newRow("trade") << kTrade << ClientPerformItem::TradeLatency
                               << ClientPerformItem::InfoLatency;
        QTest::newRow("info") << kInfo << ClientPerformItem::InfoLatency
                              << ClientPerformItem::TradeLatency;
    }
    void answer_ofABeat_isASample() {
        QFETCH(QString, gate);
        QFETCH(QString, boardKey);
        QFETCH(QString, otherKey);
        const QTime sent = m_clock->now().time();
        const QString id = send(gate);
        QCOMPARE(m_beats->pendingCount(), 1);
        m_clock->advance(120);
        m_beats->takeAnswer(answerTo(id));
        QCOMPARE(m_beats->pendingCount(), 0);
        const NetDelayStat taken = stat(gate);
        QCOMPARE(taken.count, 1);
        QCOMPARE(taken.lastElapse, 120);
        QCOMPARE(taken.lastTime, sent);
        QCOMPARE(taken.maxElapse, 120);
        QCOMPARE(taken.maxTime, sent);
        QCOMPARE(taken.avgElapse, 120.0);
        QCOMPARE(onBoard(boardKey), QVariant(120));
        QVERIFY(!onBoard(otherKey).isValid());
        QCOMPARE(m_sink->published.size(), 1);
        QCOMPARE(m_sink->published.first().gate, gate);
        QCOMPARE(m_sink->published.first().stat.lastElapse, 120);
        QCOMPARE(m_sink->elapses.size(), 1);
        QCOMPARE(m_sink->elapses.first().gate, gate);
        QCOMPARE(m_sink->elapses.first().time, sent);
        QCOMPARE(m_sink->elapses.first().elapse, 120);
        QCOMPARE(m_sink->publishedBeforeElapse, QList<int>{1});
    }

    void answers_ofTwoGatesInReverse_belongToTheirGates() {
        const QString trade = send(kTrade);
        const QString info = send(kInfo);
        m_clock->advance(10);
        m_beats->takeAnswer(answerTo(info));
        m_clock->advance(20);
        m_beats->takeAnswer(answerTo(trade));
        QCOMPARE(stat(kInfo).lastElapse, 10);
        QCOMPARE(stat(kTrade).lastElapse, 30);
    }

    void answer_refused_isASampleLikeAnyOther() {
        const QString id = send(kTrade);
        m_clock->advance(40);
        m_beats->takeAnswer(answerTo(id, QStringLiteral("1")));
        QCOMPARE(stat(kTrade).count, 1);
        QCOMPARE(stat(kTrade).lastElapse, 40);
    }

    void answer_notOnItsWay_isIgnored_data() {
        QTest::addColumn<QVariant>("body");
        QTest::newRow("never sent") << answerTo("nobody");
        QTest::newRow("empty id") << answerTo(QString());
        QTest::newRow("no id") << packRows({{System::requestExeStatus, "0"}}, {});
        QTest::newRow("id of another type") << packRows({{System::clientMsgID, 7.5}}, {});
        QTest::newRow("id that is a map")
            << packRows({{System::clientMsgID, QVariantMap{{"a", 1}}}}, {});
        QTest::newRow("garbage") << QVariant("garbage");
        QTest::newRow("nothing") << QVariant();
    }
    void answer_notOnItsWay_isIgnored() {
        QFETCH(QVariant, body);
        const LogCapture log;
        send(kTrade);
        m_beats->takeAnswer(body);
        QCOMPARE(m_beats->pendingCount(), 1);
        QVERIFY(m_beats->heartBeatInfo().isEmpty());
        QVERIFY(m_sink->published.isEmpty());
        QVERIFY(m_sink->elapses.isEmpty());
        QVERIFY(!onBoard(ClientPerformItem::TradeLatency).isValid());
    }

    void answer_second_isIgnored() {
        const QString id = send(kTrade);
        m_clock->advance(5);
        m_beats->takeAnswer(answerTo(id));
        m_clock->advance(5000);
        m_beats->takeAnswer(answerTo(id));
        QCOMPARE(stat(kTrade).count, 1);
        QCOMPARE(stat(kTrade).lastElapse, 5);
        QCOMPARE(m_sink->elapses.size(), 1);
    }

    void answer_afterAResume_forgetsEveryBeatAndTakesNoSample() {
        beat(kTrade, 30);
        const QString first = send(kTrade);
        const QString second = send(kInfo);
        setOnBoard(ClientErrorType::ComputerSuspend, QDateTime::currentDateTime());
        setOnBoard(ClientErrorType::ComputerResume, QDateTime::currentDateTime());
        m_clock->advance(3600 * 1000);
        m_beats->takeAnswer(answerTo(first));
        QCOMPARE(m_beats->pendingCount(), 0);
        QVERIFY(onBoard(ClientErrorType::ComputerResume).isNull());
        QVERIFY(onBoard(ClientErrorType::ComputerSuspend).isNull());
        m_beats->takeAnswer(answerTo(second));
        QCOMPARE(stat(kTrade).count, 1);
        QCOMPARE(stat(kTrade).lastElapse, 30);
        QVERIFY(!m_beats->heartBeatInfo().contains(kInfo));
        QCOMPARE(m_sink->published.size(), 1);
        QCOMPARE(m_sink->elapses.size(), 1);
        // From here on beats count again.
        beat(kTrade, 60);
        QCOMPARE(stat(kTrade).count, 2);
    }

    void answer_neverSentAfterAResume_leavesTheResumeToTheNextOne() {
        const QString id = send(kTrade);
        setOnBoard(ClientErrorType::ComputerResume, true);
        m_beats->takeAnswer(answerTo("nobody"));
        QCOMPARE(m_beats->pendingCount(), 1);
        QVERIFY(!onBoard(ClientErrorType::ComputerResume).isNull());
        m_beats->takeAnswer(answerTo(id));
        QVERIFY(onBoard(ClientErrorType::ComputerResume).isNull());
        QVERIFY(m_sink->elapses.isEmpty());
    }

    void answer_whileSuspended_isNoSampleAndLeavesTheOthers() {
        const QString first = send(kTrade);
        send(kInfo);
        setOnBoard(ClientErrorType::ComputerSuspend, true);
        m_clock->advance(10);
        m_beats->takeAnswer(answerTo(first));
        QCOMPARE(m_beats->pendingCount(), 1);
        QVERIFY(m_beats->heartBeatInfo().isEmpty());
        QVERIFY(m_sink->published.isEmpty());
        QVERIFY(m_sink->elapses.isEmpty());
        QVERIFY(!onBoard(ClientErrorType::ComputerSuspend).isNull());
    }

    void answer_clockJumped_data() {
        QTest::addColumn<QDateTime>("sent");
        QTest::addColumn<QDateTime>("answered");
        QTest::addColumn<int>("elapse");
        QTest::addColumn<int>("count");
        const QDate day(2026, 3, 10);
        QTest::newRow("across midnight")
            << QDateTime(day, QTime(23, 59, 59, 900))
            << QDateTime(day.addDays(1), QTime(0, 0, 0, 100)) << -86399800 << 1;
        QTest::newRow("set back") << QDateTime(day, QTime(10, 0)) << QDateTime(day, QTime(9, 59))
                                  << -60000 << 1;
        QTest::newRow("set ahead")
            << QDateTime(day, QTime(10, 0)) << QDateTime(day, QTime(11, 0)) << 3600000 << 2;
        QTest::newRow("a whole day ahead")
            << QDateTime(day, QTime(10, 0)) << QDateTime(day.addDays(1), QTime(10, 0)) << 0 << 2;
    }
    void answer_clockJumped() {
        QFETCH(QDateTime, sent);
        QFETCH(QDateTime, answered);
        QFETCH(int, elapse);
        QFETCH(int, count);
        beat(kTrade, 25);
        m_clock->set(sent);
        const QString id = send(kTrade);
        m_clock->set(answered);
        m_beats->takeAnswer(answerTo(id));
        QCOMPARE(stat(kTrade).count, count);
        QCOMPARE(stat(kTrade).lastElapse, count == 1 ? 25 : elapse);
        QCOMPARE(onBoard(ClientPerformItem::TradeLatency), QVariant(elapse));
        QCOMPARE(m_sink->published.size(), 2);
        QCOMPARE(m_sink->published.last().stat.count, count);
        QCOMPARE(m_sink->elapses.last().elapse, elapse);
        QCOMPARE(m_sink->elapses.last().time, sent.time());
    }

    void statistic_ofSamples_keepsMeanLastAndLargest_data() {
        QTest::addColumn<QVector<int>>("samples");
        QTest::addColumn<double>("mean");
        QTest::addColumn<int>("largest");
        QTest::addColumn<int>("timeOfLargest");  // number of its sample, from 0; -1: invalid
        QTest::newRow("zero") << QVector<int>{0} << 0.0 << 0 << -1;
        QTest::newRow("rising") << QVector<int>{1, 2, 6} << 3.0 << 6 << 2;
        QTest::newRow("falling") << QVector<int>{6, 2, 1} << 3.0 << 6 << 0;
        QTest::newRow("largest twice") << QVector<int>{4, 9, 9, 2} << 6.0 << 9 << 1;
        QTest::newRow("slower than ten seconds")
            << QVector<int>{12000, 12000} << 12000.0 << 12000 << 0;
    }
    void statistic_ofSamples_keepsMeanLastAndLargest() {
        QFETCH(QVector<int>, samples);
        QFETCH(double, mean);
        QFETCH(int, largest);
        QFETCH(int, timeOfLargest);
        QVector<QTime> times;
        for (const int sample : samples) {
            times.append(m_clock->now().time());
            beat(kInfo, sample);
            m_clock->advance(15000);
        }
        const NetDelayStat taken = stat(kInfo);
        QCOMPARE(taken.count, samples.size());
        QCOMPARE(taken.avgElapse, mean);
        QCOMPARE(taken.lastElapse, samples.last());
        QCOMPARE(taken.lastTime, times.last());
        QCOMPARE(taken.maxElapse, largest);
        QCOMPARE(taken.maxTime, timeOfLargest < 0 ? QTime() : times.at(timeOfLargest));
    }

    void marketSample_ofTheBoard_isTreatedLikeAnAnswer_data() {
        QTest::addColumn<QVariant>("latency");
        QTest::addColumn<int>("elapse");
        QTest::addColumn<int>("count");
        QTest::newRow("number") << QVariant(35) << 35 << 1;
        QTest::newRow("text of a number") << QVariant("41") << 41 << 1;
        QTest::newRow("never set") << QVariant() << 0 << 1;
        QTest::newRow("text") << QVariant("slow") << 0 << 1;
        QTest::newRow("negative") << QVariant(-5) << -5 << 0;
    }
    void marketSample_ofTheBoard_isTreatedLikeAnAnswer() {
        QFETCH(QVariant, latency);
        QFETCH(int, elapse);
        QFETCH(int, count);
        if (latency.isValid()) {
            setOnBoard(ClientPerformItem::MdcLatency, latency);
        }
        m_beats->sampleMarketData();
        QCOMPARE(stat(kMarket).count, count);
        QCOMPARE(stat(kMarket).lastElapse, count == 0 ? 0 : elapse);
        QCOMPARE(stat(kMarket).lastTime, count == 0 ? QTime() : m_clock->now().time());
        QCOMPARE(m_sink->published.size(), 1);
        QCOMPARE(m_sink->published.first().gate, kMarket);
        QCOMPARE(m_sink->elapses.size(), 1);
        QCOMPARE(m_sink->elapses.first().gate, kMarket);
        QCOMPARE(m_sink->elapses.first().elapse, elapse);
        QCOMPARE(m_sink->elapses.first().time, m_clock->now().time());
        QVERIFY(m_sink->beats.isEmpty());
    }

    void reset_ofAGate_leavesTheOthers() {
        beat(kTrade, 10);
        beat(kInfo, 20);
        m_beats->reset(kTrade);
        QCOMPARE(stat(kTrade).count, 0);
        QCOMPARE(stat(kTrade).maxElapse, 0);
        QVERIFY(stat(kTrade).lastTime.isNull() && stat(kTrade).maxTime.isNull());
        QCOMPARE(stat(kInfo).count, 1);
        beat(kTrade, 4);
        QCOMPARE(stat(kTrade).avgElapse, 4.0);
    }

    void reset_whileABeatIsOnItsWay_countsItsAnswer() {
        beat(kTrade, 9000);
        const QString id = send(kTrade);
        m_beats->reset(kTrade);
        m_clock->advance(80);
        m_beats->takeAnswer(answerTo(id));
        QCOMPARE(stat(kTrade).count, 1);
        QCOMPARE(stat(kTrade).avgElapse, 80.0);
    }

    void beats_neverAnswered_leaveTheStatisticAsItWas() {
        beat(kTrade, 10);
        for (int i = 0; i < 100; ++i) {
            m_clock->advance(15000);
            send(kTrade);
        }
        QCOMPARE(m_beats->pendingCount(), 100);
        QCOMPARE(stat(kTrade).count, 1);
        QCOMPARE(m_sink->elapses.size(), 1);
    }

    void beats_ofSeveralThreads_areEachCountedOnce() {
        constexpr int kThreads = 4;
        constexpr int kEach = 200;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([this, gate = t % 2 == 0 ? kTrade : kInfo] {
                for (int i = 0; i < kEach; ++i) {
                    m_beats->sendHeartBeat(gate);
                    m_beats->heartBeatInfo();
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        threads.clear();
        const QList<BeatSink::Beat> beats = m_sink->beats;
        QCOMPARE(beats.size(), kThreads * kEach);
        QCOMPARE(m_beats->pendingCount(), kThreads * kEach);
        for (int t = 0; t < kThreads; ++t) {
            // Every answer comes twice, from two threads.
            threads.emplace_back([this, t, &beats] {
                for (int i = t / 2; i < beats.size(); i += kThreads / 2) {
                    m_beats->takeAnswer(answerTo(beats.at(i).id));
                    m_beats->reset(kMarket);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(m_beats->pendingCount(), 0);
        QCOMPARE(stat(kTrade).count, kThreads / 2 * kEach);
        QCOMPARE(stat(kInfo).count, kThreads / 2 * kEach);
        QCOMPARE(m_sink->elapses.size(), kThreads * kEach);
    }
};

QTEST_GUILESS_MAIN(HeartBeatTest)
#include "heart_beat_test.moc"
