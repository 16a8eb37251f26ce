// What the monitoring costs: one heartbeat and its answer, one performance report of each type,
// 10,000 client information items, the totals of market data, and the CPU time of every monitoring
// entry in the busiest minute at the sample server's configuration. The real presenter runs over
// the embedded link; its timers are fired by hand, so that minutes need not pass.
//   monitor_bench [--rounds N]

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTimer>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <thread>

#include "bench_timing.h"
#include "body_size.h"
#include "embedded_link.h"
#include "local_platform.h"
#include "main_loop_gate.h"
#include "message_totals.h"
#include "monitor_keys.h"
#include "sample_market.h"
#include "server_engine.h"
#include "server_request.h"
#include "tick_walk.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

constexpr int kItems = 10000;
constexpr int kBeatsOfMinute = 4;
constexpr int kBeatMs = 15000;
constexpr int kThreadsMs = 60000;
constexpr int kStaticDbMs = 300000;
constexpr int kPatienceMs = 60000;
constexpr double kGoalMs = 300;
// The sampler of the machine answers from its last sample within a second; real beats never do.
constexpr std::chrono::milliseconds kSamplerPause{1100};

void orExit(bool good, const QString& error) {
    if (!good) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        std::exit(1);
    }
}

/// CPU time of the calling thread in milliseconds.
double cpuMs() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

template <class Work>
double cpuMsOf(Work&& work) {
    const double began = cpuMs();
    work();
    return cpuMs() - began;
}

/// The plug-in's presenter, which adds up what its message thread uses.
class MeasuredPresenter final : public Presenter {
public:
    MeasuredPresenter() : Presenter(QStringLiteral("Bench"), nullptr) {}

    void ProcResponseMsg(QString pluginPid, QString clientMsgId, QVariant msgType,
                         QVariant body) override {
        add(cpuMsOf([&] { Presenter::ProcResponseMsg(pluginPid, clientMsgId, msgType, body); }));
        ++answers;
    }
    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override {
        add(cpuMsOf([&] { Presenter::ProcEventMsg(srcId, eventId, body); }));
    }
    /// CPU time of its message thread so far, in milliseconds.
    double messageMs() const { return double(m_nanoseconds) / 1e6; }

    std::atomic<int> answers{0};

private:
    void add(double ms) { m_nanoseconds += qint64(ms * 1e6); }

    std::atomic<qint64> m_nanoseconds{0};
};

QVariantMap board() {
    return ZnCore::instance()->getCommonInfo(MonitorKey::board).toMap();
}

int figureOfItems(const QString& figure) {
    return board().value(MonitorKey::clientInfo).toMap().value(figure).toInt();
}

/// A logged-in client of one presenter, as the plug-in object wires it.
class Bench {
public:
    Bench() {
        MarketOptions market;
        market.accounts = 50;
        market.symbols = 500;
        market.historyOrders = 100;
        const QString dir = m_home.filePath(QStringLiteral("market"));
        LocalPlatform& platform = LocalPlatform::instance();
        QString error;
        orExit(makeSampleMarket(dir, market, {}, &error), error);
        orExit(platform.start({m_home.path(), staticDatabaseFile(dir)}, &error), error);
        m_server = ServerEngine::open(marketStoreFile(dir), &error);
        orExit(m_server != nullptr, error);
        orExit(platform.setLink(std::make_unique<EmbeddedLink>(m_server), &error), error);
        orExit(platform.login(SampleLogin::user, SampleLogin::password, &error), error);
        // Disposed of by the platform's close().
        presenter = new MeasuredPresenter;
        core = presenter->dataManager();
        QObject::connect(presenter, &Presenter::signalClientInfoCollect, core,
                         &ZnBusinessDataManager::slotClientInfoCollect);
        QObject::connect(core, &ZnBusinessDataManager::signalClientInfoUpload, presenter,
                         &Presenter::slotClientInfoUpload);
        presenter->initPresenter();
        onObjectThread([this] { presenter->slotInitData(); });
        await([this] { return beatsOnTheirWay() == 0; });
        sendItems();
    }
    ~Bench() { LocalPlatform::instance().close(); }
    Q_DISABLE_COPY(Bench)

    /// Waits with the main loop running, which the plug-in may need; ends the program after a
    /// minute.
    void await(const std::function<bool()>& done) {
        constexpr int kLookAgainMs = 1;
        double waited = 0;
        while (!done()) {
            orExit(waited < kPatienceMs, QStringLiteral("the plug-in does not get on"));
            waited += millisecondsOf([&] { m_gate.waitUntil([] { return false; }, kLookAgainMs); });
        }
    }
    /// Runs the work on the presenter's object thread and returns its CPU time there.
    double onObjectThread(const std::function<void()>& work) {
        std::atomic<bool> isDone{false};
        double ms = 0;
        QMetaObject::invokeMethod(
            presenter,
            [&] {
                ms = cpuMsOf(work);
                isDone = true;
                m_gate.wake();
            },
            Qt::QueuedConnection);
        orExit(m_gate.waitUntil([&] { return isDone.load(); }, kPatienceMs),
               QStringLiteral("the presenter does not get on"));
        return ms;
    }
    /// The presenter's timers of an interval; `wanted` of them must exist.
    QList<QTimer*> timers(int intervalMs, int wanted) {
        QList<QTimer*> found;
        onObjectThread([&] {
            const auto all =
                presenter->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
            for (QTimer* const timer : all) {
                if (timer->interval() == intervalMs) {
                    found.append(timer);
                }
            }
        });
        orExit(found.size() == wanted, QStringLiteral("%1 timers of %2 ms instead of %3")
                                           .arg(found.size())
                                           .arg(intervalMs)
                                           .arg(wanted));
        return found;
    }
    /// What the timers do when they fire; returns the CPU time of the object thread.
    double fire(const QList<QTimer*>& timers) {
        return onObjectThread([&timers] {
            for (QTimer* const timer : timers) {
                QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection);
            }
        });
    }
    static int beatsOnTheirWay() { return board().value(MonitorKey::beatsOnTheirWay).toInt(); }
    /// The end of the fifteen seconds in which items gather. Waits until they were sent.
    void sendItems() {
        const int batches = figureOfItems(MonitorKey::ClientInfo::batches);
        core->UploadAllClientInfo();
        await([batches] { return figureOfItems(MonitorKey::ClientInfo::batches) > batches; });
    }

    MeasuredPresenter* presenter = nullptr;
    ZnBusinessDataManager* core = nullptr;

private:
    const QTemporaryDir m_home;
    std::shared_ptr<ServerEngine> m_server;
    MainLoopGate m_gate;
};

/// Three beats: of the trade gate with a sample of the machine, of the information gate, of market
/// data. The floor is the same number of requests, sent bare.
void reportBeats(Bench& bench, int rounds) {
    const QList<QTimer*> beats = bench.timers(kBeatMs, 3);
    std::vector<double> sending;
    std::vector<double> answering;
    std::vector<double> bare;
    for (int round = 0; round < rounds; ++round) {
        std::this_thread::sleep_for(kSamplerPause);
        const double before = bench.presenter->messageMs();
        sending.push_back(bench.fire(beats));
        bench.await([] { return Bench::beatsOnTheirWay() == 0; });
        answering.push_back(bench.presenter->messageMs() - before);
        const int answers = bench.presenter->answers;
        bare.push_back(bench.onObjectThread([&bench] {
            for (int i = 0; i < 2; ++i) {
                ServerRequest request;
                request.msgType = Velmar_MsgType::BusiHeartBeatRequest;
                request.fields = {{System::NetElapse, 1}, {System::avgNetElapse, 1.0}};
                postToServer(bench.presenter, request);
            }
        }));
        bench.await([&] { return bench.presenter->answers >= answers + 2; });
    }
    std::printf(
        "one beat of the three gates: %.0f us of the object thread with a sample of the machine, "
        "%.0f us of the message thread for both answers; two bare requests %.0f us\n",
        1e3 * medianOf(sending), 1e3 * medianOf(answering), 1e3 * medianOf(bare));
}

void reportPerformance(Bench& bench, int rounds) {
    constexpr int kCalls = 20;
    constexpr int kKeys = 4;  // the most that a type of the sample server reports
    std::vector<double> bare;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(cpuMsOf([] {
                           for (int i = 0; i < kCalls * kKeys; ++i) {
                               ZnCore::instance()->getCommonInfo(ClientPerformItem::TotalCpuUsage);
                           }
                       }) /
                       kCalls);
    }
    for (const QString& type : {ClientPerformType::CpuUsage, ClientPerformType::MemUsage,
                                ClientPerformType::DiskUsage, ClientPerformType::NetStat}) {
        std::vector<double> times;
        for (int round = 0; round < rounds; ++round) {
            times.push_back(bench.onObjectThread([&] {
                for (int i = 0; i < kCalls; ++i) {
                    bench.presenter->slotUploadClientPerformance(type);
                }
            }) / kCalls);
        }
        std::printf(
            "one performance report %-10s %.1f us; reading as many keys of the board %.1f "
            "us\n",
            qPrintable(type + QLatin1Char(':')), 1e3 * medianOf(times), 1e3 * medianOf(bare));
    }
    bench.sendItems();
}

QList<QVariantMap> someItems() {
    QList<QVariantMap> items;
    items.reserve(kItems);
    for (int i = 0; i < kItems; ++i) {
        items.append({{System::itemType, ClinetInfoUpload::UserOperRecord},
                      {System::itemValue, QStringLiteral("ZNApp.Widget%1").arg(i % 100)},
                      {System::itemValueEx, QString::number(i)},
                      {System::operType, i % 3},
                      {System::timeStamp, QStringLiteral("09:30:00.000")},
                      {Strategy::logTriggerTime, 0}});
    }
    return items;
}

/// From the call of a plug-in until the message with all of them is on its way. The floor is that
/// message alone.
void reportItems(Bench& bench, int rounds) {
    const QList<QVariantMap> prepared = someItems();
    std::vector<double> times;
    std::vector<double> bare;
    int batches = 0;
    int sent = 0;
    for (int round = 0; round < rounds; ++round) {
        const int batchesBefore = figureOfItems(MonitorKey::ClientInfo::batches);
        const int sentBefore = figureOfItems(MonitorKey::ClientInfo::sent);
        times.push_back(millisecondsOf([&] {
            for (const QVariantMap& item : prepared) {
                bench.core->AddClientInfo(item.value(System::itemType).toString(),
                                          item.value(System::itemValue).toString(),
                                          item.value(System::itemValueEx).toString(),
                                          item.value(System::operType), QTime(), 0);
            }
            bench.sendItems();
        }));
        batches = figureOfItems(MonitorKey::ClientInfo::batches) - batchesBefore;
        sent = figureOfItems(MonitorKey::ClientInfo::sent) - sentBefore;
        bare.push_back(
            bench.onObjectThread([&] { bench.presenter->slotClientInfoUpload(prepared); }));
    }
    orExit(sent >= kItems, QStringLiteral("%1 items were sent").arg(sent));
    std::printf(
        "%d client information items: %.1f ms, %.0f k items/s, %d message%s sent; that message "
        "alone %.1f ms\n",
        sent, medianOf(times), kItems / medianOf(times), batches, batches == 1 ? "" : "s",
        medianOf(bare));
}

/// The host counts each tick for the totals of market data. Returns the milliseconds of a minute
/// with a thousand ticks a second. The floor walks over the ticks' fields.
double reportTickTotals(int rounds) {
    constexpr int kTicksOfMinute = 60000;
    const QVariantMap tick = TickWalk(1, {}).step(TickPhase::continuous);
    std::vector<double> times;
    std::vector<double> bare;
    for (int round = 0; round < rounds; ++round) {
        times.push_back(cpuMsOf([&tick] {
            for (int i = 0; i < kTicksOfMinute; ++i) {
                MessageTotals::instance().countTick(bodySize(tick, kStandingBodyLimit), 0);
            }
        }));
        bare.push_back(cpuMsOf([&tick] {
            for (int i = 0; i < kTicksOfMinute; ++i) {
                volatile int size = 0;
                for (auto field = tick.cbegin(); field != tick.cend(); ++field) {
                    size = size + field.key().size();
                }
            }
        }));
    }
    std::printf(
        "one tick of %d fields in the totals of market data: %.2f us, %.1f ms a minute at a "
        "thousand ticks a second; walking over its fields %.2f us\n",
        tick.size(), 1e3 * medianOf(times) / kTicksOfMinute, medianOf(times),
        1e3 * medianOf(bare) / kTicksOfMinute);
    return medianOf(times);
}

/// A minute in which every timer fires, those of several minutes too. `tickMs` is added for the
/// totals of market data.
void reportMinute(Bench& bench, double tickMs) {
    const QList<QTimer*> beats = bench.timers(kBeatMs, 3);
    const QList<QTimer*> others = bench.timers(kThreadsMs, 1) + bench.timers(kStaticDbMs, 1);
    const double messageBefore = bench.presenter->messageMs();
    double object = 0;
    // Of this thread everything counts, its waiting for the others too.
    const double own = cpuMsOf([&] {
        for (int beat = 0; beat < kBeatsOfMinute; ++beat) {
            std::this_thread::sleep_for(kSamplerPause);
            object += bench.fire(beats);
            bench.await([] { return Bench::beatsOnTheirWay() == 0; });
            bench.sendItems();
        }
        object += bench.fire(others);
    });
    const double perMinute = object + own + bench.presenter->messageMs() - messageBefore;
    const double reports = bench.onObjectThread([&] {
        for (const QString& type : {ClientPerformType::CpuUsage, ClientPerformType::MemUsage,
                                    ClientPerformType::DiskUsage, ClientPerformType::NetStat}) {
            bench.presenter->slotUploadClientPerformance(type);
        }
    });
    std::printf(
        "60 s at the sample server's configuration: %.1f ms of CPU time; with a performance report "
        "of every type %.1f ms, and with the ticks %.1f ms (goal: at most %.0f)\n",
        perMinute, perMinute + reports, perMinute + reports + tickMs, kGoalMs);
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    int rounds = 10;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--rounds") == 0) {
            rounds = std::max(1, std::atoi(argv[i + 1]));
        }
    }
    Bench bench;
    reportBeats(bench, rounds);
    reportPerformance(bench, rounds);
    reportItems(bench, rounds);
    reportMinute(bench, reportTickTotals(rounds));
    return 0;
}
