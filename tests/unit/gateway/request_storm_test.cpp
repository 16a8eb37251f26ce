#include <QDir>
#include <QTemporaryDir>
#include <QtTest>
#include <atomic>
#include <iterator>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "embedded_link.h"
#include "faulty_link.h"
#include "host_msg_type.h"
#include "local_platform.h"
#include "log_capture.h"
#include "packed_body.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "wait_for.h"
#include "znmsg/c_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kSyncThreads = 6;
constexpr int kSyncPerThread = 1000;
constexpr int kAsyncThreads = 2;
constexpr int kAsyncPerThread = 2000;
constexpr int kMostPending = 24;
constexpr int kFaults = 400;
// Requests without any outcome from the link: a caller's time-out ends them, or the end of the
// link.
constexpr int kSilent[] = {50, 400, 800, 1200};
constexpr int kLimitMs = 30000;

const QString kAccounts = QStringLiteral("120006");
const QString kUnknown = QStringLiteral("990099");

/// Counts the outcomes of every request that a link accepted.
class CountingLink : public GatewayLink, private GatewayLinkListener {
public:
    struct Counts {
        std::mutex lock;  // guards the table
        std::map<quint64, int> outcomes;
    };

    CountingLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<Counts> counts)
        : m_below(std::move(below)), m_counts(std::move(counts)) {}

    bool start(GatewayLinkListener* listener, QString* error) override {
        m_listener = listener;
        return m_below->start(this, error);
    }
    void stop() override { m_below->stop(); }
    bool send(const GatewayRequest& request) override {
        count(request.envelopeId, 0);
        return m_below->send(request);
    }

private:
    void onAnswer(quint64 id, const QString& msgType, const QVariant& body) override {
        count(id, 1);
        m_listener->onAnswer(id, msgType, body);
    }
    void onFailure(quint64 id, const QString& reason) override {
        count(id, 1);
        m_listener->onFailure(id, reason);
    }
    void onTimeOut(quint64 id) override {
        count(id, 1);
        m_listener->onTimeOut(id);
    }
    void onPush(const QString& msgType, const QVariant& body) override {
        m_listener->onPush(msgType, body);
    }
    void onGateState(const QString& gate, const QString& netState) override {
        m_listener->onGateState(gate, netState);
    }
    void count(quint64 id, int outcomes) {
        const std::lock_guard<std::mutex> lock(m_counts->lock);
        m_counts->outcomes[id] += outcomes;
    }

    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<Counts> m_counts;
    GatewayLinkListener* m_listener = nullptr;
};

/// Counts the answers to each of its asynchronous requests.
class StormPresenter : public ZnPresenterClass {
public:
    struct Answers {
        std::mutex lock;  // guards the table
        std::map<QString, int> byId;
    };

    explicit StormPresenter(std::shared_ptr<Answers> answers)
        : ZnPresenterClass(QStringLiteral("Test.Storm"), nullptr, IMessageInterface::OwnThreads),
          m_answers(std::move(answers)) {}

    void ProcResponseMsg(QString, QString clientMsgId, QVariant, QVariant) override {
        const std::lock_guard<std::mutex> lock(m_answers->lock);
        ++m_answers->byId[clientMsgId];
    }

private:
    const std::shared_ptr<Answers> m_answers;
};

/// A random number from 0 to `below` - 1.
int pick(std::mt19937& random, int below) {
    return static_cast<int>(random() % static_cast<unsigned>(below));
}

QString randomType(std::mt19937& random) {
    const QString types[] = {kAccounts, HostMsgType::accountTree,
                             Quindar_MsgType::subscribeTopicRequest, kUnknown};
    return types[pick(random, 4)];
}

/// A fault that gives a request an outcome soon, unless it is a silent one.
Fault randomFault(std::mt19937& random) {
    const FaultKind kinds[] = {FaultKind::Delay,   FaultKind::TimeOut, FaultKind::Failure,
                               FaultKind::Refusal, FaultKind::Garbage, FaultKind::Truncate,
                               FaultKind::Extra,   FaultKind::Drip,    FaultKind::Duplicate,
                               FaultKind::Late,    FaultKind::Reorder, FaultKind::Disconnect};
    Fault fault;
    fault.kind = kinds[pick(random, 12)];
    fault.msgType = pick(random, 8) == 0 ? QStringLiteral("*") : randomType(random);
    fault.first = 1 + pick(random, 2500);
    fault.last = fault.first + pick(random, 20);
    fault.ms = pick(random, 4);
    fault.count = 2 + pick(random, 4);
    if (fault.kind == FaultKind::Reorder) {
        fault.ms = 3;  // 0 means the long default
    } else if (fault.kind == FaultKind::Drip) {
        fault.ms = 0;
    } else if (fault.kind == FaultKind::Disconnect) {
        fault.last = fault.first;
        fault.reconnectMs = pick(random, 4);
    }
    return fault;
}

CMessageCommon* randomRequest(ZnPresenterClass* sender, std::mt19937& random, const QString& id) {
    const QString type = randomType(random);
    QVariantMap header{{System::msgType, type},
                       {System::clientMsgID, id},
                       {UserAccount::loginUserId, SampleLogin::user},
                       {QStringLiteral("10094"), 2},
                       {UserAccount::tradingAccount, QStringLiteral("T000001,T000002,T000003")}};
    const bool shared = type == Quindar_MsgType::subscribeTopicRequest;
    auto* const message = new CMessageCommon;
    message->SetSrcid(sender->pluginPid());
    message->SetType(shared ? QStringLiteral("325005") : type);
    message->SetMsg(packRows(header, {}));
    return message;
}

int threadCount() {
    return QDir(QStringLiteral("/proc/self/task"))
        .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
        .size();
}

/// A deep copy: the thread of the original may free it while the link still reads this one.
QString ownCopy(const QString& text) {
    return QString(text.constData(), text.size());
}

}  // namespace

class RequestStormTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void storm_endsEveryRequestOnceAndLeavesNothing_data();
    void storm_endsEveryRequestOnceAndLeavesNothing();

private:
    void storm(unsigned seed);
    void sendSync(unsigned seed, int thread);
    void sendAsync(unsigned seed, int thread);
    void checkOutcomes(const LogCapture& log);
    void checkLink(int requests);
    /// The number of requests by the number of their outcomes.
    std::map<int, int> byOutcomes() const;
    int withoutOutcome() const { return byOutcomes()[0]; }

    QTemporaryDir m_dir;
    StormPresenter* m_presenter = nullptr;
    std::shared_ptr<StormPresenter::Answers> m_answers;
    std::shared_ptr<CountingLink::Counts> m_counts;
    std::atomic<int> m_syncResults[3];
    std::atomic<int> m_wrong{0};
    std::atomic<int> m_asyncTaken{0};
};

void RequestStormTest::initTestCase() {
    MarketOptions market;
    market.accounts = 12;
    market.symbols = 20;
    market.historyOrders = 400;
    QString error;
    QVERIFY2(makeSampleMarket(m_dir.path(), market, {}, &error), qPrintable(error));
}

void RequestStormTest::storm_endsEveryRequestOnceAndLeavesNothing_data() {
    QTest::addColumn<unsigned>("seed");
    const QByteArray given = qgetenv("VELMAR_STORM_SEED");
    const unsigned any = given.isEmpty() ? std::random_device{}() : given.toUInt();
    for (const unsigned seed : {20260105U, any}) {
        QTest::addRow("VELMAR_STORM_SEED=%u", seed) << seed;
    }
}

void RequestStormTest::storm_endsEveryRequestOnceAndLeavesNothing() {
    QFETCH(unsigned, seed);
    storm(seed);
}

void RequestStormTest::storm(unsigned seed) {
    const int threadsBefore = threadCount();
    const LogCapture log;
    m_answers = std::make_shared<StormPresenter::Answers>();
    m_counts = std::make_shared<CountingLink::Counts>();
    for (auto& results : m_syncResults) {
        results = 0;
    }
    m_wrong = 0;
    m_asyncTaken = 0;

    std::mt19937 random(seed);
    const auto plan = std::make_shared<FaultPlan>();
    for (const int occurrence : kSilent) {
        Fault fault;
        fault.kind = FaultKind::TimeOut;
        fault.silent = true;
        fault.first = fault.last = occurrence;
        plan->add(fault);
    }
    for (int i = 0; i < kFaults; ++i) {
        plan->add(randomFault(random));
    }
    QString error;
    LocalPlatform& platform = LocalPlatform::instance();
    LocalPlatform::Options options;
    options.homeDir = m_dir.filePath(QStringLiteral("home"));
    QVERIFY2(platform.start(options, &error), qPrintable(error));
    auto engine = ServerEngine::open(marketStoreFile(m_dir.path()), &error);
    QVERIFY2(engine, qPrintable(error));
    auto faulty = std::make_unique<FaultyLink>(std::make_unique<EmbeddedLink>(engine), plan);
    const FaultyLink& faults = *faulty;  // owned by the platform until it closes
    QVERIFY2(platform.setLink(std::make_unique<CountingLink>(std::move(faulty), m_counts), &error),
             qPrintable(error));
    m_presenter = new StormPresenter(m_answers);
    m_presenter->setRequestTimeOut(1);
    m_presenter->initPresenter();

    std::vector<std::thread> senders;
    for (int i = 0; i < kSyncThreads; ++i) {
        senders.emplace_back([this, seed, i] { sendSync(seed, i); });
    }
    for (int i = 0; i < kAsyncThreads; ++i) {
        senders.emplace_back([this, seed, i] { sendAsync(seed, kSyncThreads + i); });
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    const int silent = static_cast<int>(std::size(kSilent));
    // A request that timed out gets its outcome a moment later.
    QVERIFY2(waitFor([&] { return withoutOutcome() == silent; }, kLimitMs),
             QByteArray::number(withoutOutcome()) + " without an outcome");
    QVERIFY(waitFor([&] { return platform.pendingRequestCount() <= silent; }, kLimitMs));
    // Late answers and reconnecting gates take a moment.
    QVERIFY2(waitFor([&] { return faults.openCount() == 0; }, kLimitMs),
             QByteArray::number(faults.openCount()) + " left in the faulty link");
    platform.setLink(nullptr, nullptr);
    QCOMPARE(platform.pendingRequestCount(), 0);
    checkOutcomes(log);

    platform.close();
    engine.reset();
    QCOMPARE(platform.pendingRequestCount(), 0);
    QCOMPARE(platform.presenterCount(), 0);
    // A joined thread disappears from the list a moment later.
    QVERIFY2(waitFor([&] { return threadCount() == threadsBefore; }, kLimitMs),
             QByteArray::number(threadCount()) + " threads, " + QByteArray::number(threadsBefore) +
                 " before");
}

void RequestStormTest::sendSync(unsigned seed, int thread) {
    std::mt19937 random(seed + static_cast<unsigned>(thread));
    for (int i = 0; i < kSyncPerThread; ++i) {
        const QString id = QStringLiteral("s%1-%2").arg(thread).arg(i);
        QVariant response;
        const int code = m_presenter->sendRequest_Sync(
            randomRequest(m_presenter, random, ownCopy(id)), response);
        if (code < 0 || code > 2 || !isPackedBody(response)) {
            ++m_wrong;
            continue;
        }
        ++m_syncResults[code];
        // The answer belongs to this request.
        if (code == 0 && headerOf(response).value(System::clientMsgID).toString() != id) {
            ++m_wrong;
        }
    }
}

void RequestStormTest::sendAsync(unsigned seed, int thread) {
    std::mt19937 random(seed + static_cast<unsigned>(thread));
    for (int i = 0; i < kAsyncPerThread; ++i) {
        const QString id = QStringLiteral("a%1-%2").arg(thread).arg(i);
        // A lost gate would fail a whole queue.
        waitFor([] { return LocalPlatform::instance().pendingRequestCount() < kMostPending; },
                kLimitMs);
        if (m_presenter->sendRequest_Async(randomRequest(m_presenter, random, ownCopy(id))) == 0) {
            ++m_asyncTaken;
        }
    }
}

void RequestStormTest::checkOutcomes(const LogCapture& log) {
    QCOMPARE(m_wrong.load(), 0);
    const int sync = m_syncResults[0] + m_syncResults[1] + m_syncResults[2];
    QCOMPARE(sync, kSyncThreads * kSyncPerThread);
    // All three outcomes occurred; otherwise this was not a storm.
    for (const auto& results : m_syncResults) {
        QVERIFY(results > 0);
    }
    QCOMPARE(m_asyncTaken.load(), kAsyncThreads * kAsyncPerThread);

    const auto timedOut = [this, &log] {
        const std::lock_guard<std::mutex> lock(m_answers->lock);
        int withoutAnswer = 0;
        for (const QString& text : log.texts(QtWarningMsg)) {
            withoutAnswer += text.contains(QLatin1String("without an answer")) ? 1 : 0;
        }
        return static_cast<int>(m_answers->byId.size()) + withoutAnswer;
    };
    // The last answers may still be on their way to the presenter.
    QVERIFY2(waitFor([&] { return timedOut() >= m_asyncTaken; }, kLimitMs),
             QByteArray::number(timedOut()));
    QCOMPARE(timedOut(), m_asyncTaken.load());
    {
        const std::lock_guard<std::mutex> lock(m_answers->lock);
        QVERIFY(m_answers->byId.size() > 1000);
        for (const auto& [id, count] : m_answers->byId) {
            QVERIFY2(count == 1, qPrintable(id));
        }
    }
    checkLink(sync + m_asyncTaken);
}

std::map<int, int> RequestStormTest::byOutcomes() const {
    const std::lock_guard<std::mutex> lock(m_counts->lock);
    std::map<int, int> table;
    for (const auto& [id, outcomes] : m_counts->outcomes) {
        ++table[outcomes];
    }
    return table;
}

/// One outcome for each request but the silent ones; a second one is a duplicate or late answer.
void RequestStormTest::checkLink(int requests) {
    std::map<int, int> table = byOutcomes();
    QCOMPARE(table[0], static_cast<int>(std::size(kSilent)));
    QVERIFY(table[2] > 0);
    QCOMPARE(table[0] + table[1] + table[2], requests);
}

QTEST_GUILESS_MAIN(RequestStormTest)
#include "request_storm_test.moc"
