// A day of heartbeats on a clock that the test drives, compared with a model of the notices.
#include <QSet>
#include <QtTest>
#include <map>
#include <memory>
#include <random>

#include "client_world.h"
#include "heart_beat.h"
#include "heart_beat_world.h"
#include "log_capture.h"
#include "net_delay_reminder.h"
#include "platform_fixture.h"
#include "vocabulary/names.h"
#include "zncore/zn_core.h"

namespace {

constexpr qint64 kBeatMs = 15000;
constexpr qint64 kMinuteMs = 60000;
constexpr qint64 kDayMs = 24 * 60 * kMinuteMs;
constexpr int kMinutes = 2;
constexpr int kWindow = kMinutes * 4;

const QString kTrade = NetGateType::TradeGate;
const QString kInfo = NetGateType::InfoGate;
const QString kMarket = NetGateType::MarketTcpGate;
const QStringList kGates{kTrade, kInfo, kMarket};

int limitMs(const QString& gate) {
    return gate == kMarket ? 60000 : 8000;
}

/// The notices as they follow from the times of beats and answers alone.
class NoticeModel {
public:
    void sent(const QString& id, const QString& gate, const QDateTime& time) {
        m_onTheirWay.insert(id, {gate, time});
    }
    void answered(const QString& id, const QDateTime& time) {
        const auto found = m_onTheirWay.find(id);
        if (found == m_onTheirWay.end()) {
            return;
        }
        const Beat beat = *found;
        m_onTheirWay.erase(found);
        if (m_hasSlept) {
            m_onTheirWay.clear();
            m_hasSlept = false;
            return;
        }
        if (beat.time.date() == time.date()) {
            sample(beat.gate, beat.time.msecsTo(time));
        }
    }
    void sample(const QString& gate, qint64 ms) {
        ++m_counts[gate];
        QVector<qint64>& window = m_windows[gate];
        window.append(ms);
        qint64 sum = 0;
        for (int i = qMax(0, window.size() - kWindow); i < window.size(); ++i) {
            sum += window.at(i);
        }
        if (window.size() >= kWindow && sum > qint64(limitMs(gate)) * kWindow) {
            ++m_notices[gate];
            window.clear();
        }
    }
    void connected(const QString& gate) {
        m_counts[gate] = 0;
        m_windows[gate].clear();
    }
    void slept() { m_hasSlept = true; }

    int notices(const QString& gate) const { return m_notices.value(gate); }
    int count(const QString& gate) const { return m_counts.value(gate); }
    int onTheirWay() const { return m_onTheirWay.size(); }

private:
    struct Beat {
        QString gate;
        QDateTime time;
    };

    QMap<QString, Beat> m_onTheirWay;
    QMap<QString, QVector<qint64>> m_windows;
    QMap<QString, int> m_notices;
    QMap<QString, int> m_counts;
    bool m_hasSlept = false;
};

/// A client over a day: the gates' timers, a server whose delays come from a seed, gates that go
/// down and come back, and a machine that sleeps. What the plug-in does is real, the rest a
/// calendar of events.
class Day : public HeartBeatSink, public NetDelayAlarm {
public:
    explicit Day(unsigned seed) : m_random(seed), m_reminder(*this), m_beats(m_clock, *this) {}

    void run() {
        for (const QString& gate : kGates) {
            m_isUp[gate] = true;
            startTimer(gate);
            planPhase(gate);
            planDisconnect(gate);
        }
        planSleep();
        while (!m_events.empty() && m_events.begin()->first < kDayMs) {
            const auto first = m_events.begin();
            const auto event = std::move(first->second);
            m_clock.advance(first->first - m_now);
            m_now = first->first;
            m_events.erase(first);
            event();
        }
    }

    const NoticeModel& model() const { return m_model; }
    const HeartBeat& beats() const { return m_beats; }
    int notices(const QString& gate) const { return m_notices.value(gate); }
    int disconnects() const { return m_disconnects; }
    int sleeps() const { return m_sleeps; }
    int beatCount() const { return m_lastId; }

    void sendHeartBeat(const ServerRequest& request) override {
        const QString gate = request.envelopeType.isEmpty() ? kTrade : kInfo;
        const QString id = QString::number(++m_lastId);
        request.identified(id);
        m_model.sent(id, gate, m_clock.now());
        if (!m_isUp.value(gate)) {
            return;
        }
        const int connection = m_connections.value(gate);
        after(delay(gate), [this, gate, id, connection] {
            // An answer that was under way when the gate went down is lost.
            if (m_isUp.value(gate) && m_connections.value(gate) == connection) {
                m_model.answered(id, m_clock.now());
                m_beats.takeAnswer(answerTo(id));
            }
        });
    }
    void publishHeartBeatStatistic(const QString&, const NetDelayStat&) override {}
    void netElapseUpdated(const QString& gate, const QTime&, int elapse) override {
        m_reminder.recordNetElapseToRemind(gate, elapse);
    }
    void remindOfDelay(const QString& text) override {
        for (const QString& gate : kGates) {
            m_notices[gate] += text.contains(gate) ? 1 : 0;
        }
    }
    void reconnectGate(const QString&) override {}

private:
    void after(qint64 ms, std::function<void()> event) {
        m_events.emplace(m_now + ms, std::move(event));
    }
    int between(int least, int most) {
        return least + int(m_random() % unsigned(most - least + 1));
    }

    /// The first beat of a timer comes a whole interval later.
    void startTimer(const QString& gate) {
        const int timer = ++m_timers[gate];
        after(kBeatMs, [this, gate, timer] { beat(gate, timer); });
    }
    void beat(const QString& gate, int timer) {
        if (m_timers.value(gate) != timer) {
            return;  // it was restarted
        }
        after(kBeatMs, [this, gate, timer] { beat(gate, timer); });
        if (gate == kMarket) {
            const int latency = delay(kMarket);
            ZnCore::instance()->setCommonInfo(ClientPerformItem::MdcLatency, latency);
            m_model.sample(kMarket, latency);
            m_beats.sampleMarketData();
        } else {
            m_beats.sendHeartBeat(gate);
        }
    }

    /// Quick, near the limit, or slow for some minutes.
    void planPhase(const QString& gate) {
        const int typical[] = {limitMs(gate) / 100, limitMs(gate), limitMs(gate) * 3 / 2};
        m_typicalMs[gate] = typical[between(0, 2)];
        after(between(2, 30) * kMinuteMs, [this, gate] { planPhase(gate); });
    }
    int delay(const QString& gate) {
        const int typical = m_typicalMs.value(gate);
        return between(typical * 9 / 10, typical * 11 / 10);
    }

    void planDisconnect(const QString& gate) {
        after(between(20, 120) * kMinuteMs + between(0, 59999), [this, gate] {
            m_isUp[gate] = false;
            ++m_connections[gate];
            ++m_disconnects;
            after(between(1, 600) * 1000, [this, gate] { connectAgain(gate); });
        });
    }
    void connectAgain(const QString& gate) {
        m_isUp[gate] = true;
        m_reminder.clear(gate);
        m_beats.reset(gate);
        m_model.connected(gate);
        startTimer(gate);
        planDisconnect(gate);
    }

    /// The machine sleeps for a moment, while answers are under way.
    void planSleep() {
        after(between(60, 240) * kMinuteMs, [this] {
            ++m_sleeps;
            ZnCore::instance()->setCommonInfo(ClientErrorType::ComputerSuspend, m_clock.now());
            ZnCore::instance()->setCommonInfo(ClientErrorType::ComputerResume, m_clock.now());
            m_model.slept();
            planSleep();
        });
    }

    std::mt19937 m_random;
    BeatClock m_clock;
    NetDelayReminder m_reminder;
    HeartBeat m_beats;
    NoticeModel m_model;
    qint64 m_now = 0;  // milliseconds since the day began
    std::multimap<qint64, std::function<void()>> m_events;
    QMap<QString, bool> m_isUp;
    QMap<QString, int> m_connections;
    QMap<QString, int> m_timers;
    QMap<QString, int> m_typicalMs;
    QMap<QString, int> m_notices;
    int m_disconnects = 0;
    int m_sleeps = 0;
    int m_lastId = 0;
};

/// Beats through a presenter of the platform to a server that holds its answers.
class PlatformBeats final : public HeartBeatSink, public NetDelayAlarm {
public:
    explicit PlatformBeats(ZnPresenterClass& presenter)
        : m_presenter(presenter), m_reminder(*this) {}

    void sendHeartBeat(const ServerRequest& request) override {
        postToServer(&m_presenter, request);
    }
    void publishHeartBeatStatistic(const QString&, const NetDelayStat&) override {}
    void netElapseUpdated(const QString& gate, const QTime&, int elapse) override {
        m_reminder.recordNetElapseToRemind(gate, elapse);
    }
    void remindOfDelay(const QString&) override { ++notices; }
    void reconnectGate(const QString&) override {}

    int notices = 0;

private:
    ZnPresenterClass& m_presenter;
    NetDelayReminder m_reminder;
};

}  // namespace

class HeartBeatDayTest : public QObject {
    Q_OBJECT

private slots:
    void gate_slowerThanTenSeconds_raisesTheNoticeAfterItsMinutes() {
        ClientWorld world;
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, kMinutes);
        const QString& type = Velmar_MsgType::BusiHeartBeatRequest;
        world.link().on(type, ScriptedReply::rows({}).held());
        auto* const presenter = new ProbePresenter;  // deleted by the platform
        presenter->initPresenter();
        constexpr int kSlowMs = 12000;
        BeatClock clock;
        PlatformBeats sink(*presenter);
        HeartBeat beats(clock, sink);
        for (int i = 0; i < kWindow; ++i) {
            QCOMPARE(sink.notices, 0);
            beats.sendHeartBeat(kInfo);
            clock.advance(kSlowMs);
            QCOMPARE(world.link().release(type), 1);
            QVERIFY(presenter->log->waitForCount(i + 1));
            beats.takeAnswer(presenter->log->calls().back().body);
            QCOMPARE(beats.pendingCount(), 0);
            clock.advance(kBeatMs - kSlowMs);
        }
        QCOMPARE(sink.notices, 1);
        QCOMPARE(beats.heartBeatInfo().value(kInfo).avgElapse, double(kSlowMs));
        for (const ScriptedLink::Request& request : world.link().requests(type)) {
            QCOMPARE(request.timeOutMs, 0);  // no deadline ends it before its answer
        }
    }

    void day_ofBeats_raisesTheNoticesOfTheModel_data() {
        QTest::addColumn<unsigned>("seed");
        for (const unsigned seed : {1U, 2U, 3U, 20260310U}) {
            QTest::addRow("seed %u", seed) << seed;
        }
    }
    void day_ofBeats_raisesTheNoticesOfTheModel() {
        QFETCH(unsigned, seed);
        // A notice names its gate.
        const ClientWorld world(
            {}, StaticDbBuilder().section("NetGateName",
                                          {{kTrade, kTrade}, {kInfo, kInfo}, {kMarket, kMarket}}));
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, kMinutes);
        const LogCapture log;
        Day day(seed);
        day.run();
        for (const QString& gate : kGates) {
            QCOMPARE(day.notices(gate), day.model().notices(gate));
            QVERIFY2(day.notices(gate) > 0, qPrintable(gate));
            QCOMPARE(day.beats().heartBeatInfo().value(gate).count, day.model().count(gate));
        }
        QCOMPARE(day.beats().pendingCount(), day.model().onTheirWay());
        // It was a day with everything in it.
        QVERIFY(day.disconnects() > 10);
        QVERIFY(day.sleeps() > 2);
        QVERIFY(day.beatCount() > 2 * 5000);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }
};

QTEST_GUILESS_MAIN(HeartBeatDayTest)
#include "heart_beat_day_test.moc"
