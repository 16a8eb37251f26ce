// Start-up with the sample market's accounts: the time of each stage, and the memory that the
// account table costs. Then the load of 5,000 accounts, from the log-in to the event that they are
// loaded, compared with the same requests sent through a bare presenter over the same link.

#include <malloc.h>

#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <atomic>
#include <functional>

#include "bench_report.h"
#include "embedded_link.h"
#include "host_msg_type.h"
#include "local_platform.h"
#include "sample_market.h"
#include "server_engine.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znmsg/c_un_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kRuns = 15;
constexpr int kLoadRuns = 7;
constexpr int kLoadAccounts = 5000;
constexpr int kBatch = 100;
inline const QString kBatchType = QStringLiteral("120006");

/// One start in this process: a line per stage, "milliseconds TAB stage TAB bytes in use".
int runOnce(const QString& homeDir) {
    const QTemporaryDir scratch;
    Client::Options options = benchClient(scratch);
    options.homeDir = homeDir;
    QElapsedTimer timer;
    Client::Listener listener;
    listener.stepEnded = [&timer](const QString& text) {
        QTextStream(stdout) << static_cast<double>(timer.nsecsElapsed()) / 1e6 << '\t' << text
                            << '\t' << mallinfo2().uordblks << '\n';
        timer.restart();
    };
    Client client(options, listener);
    QString error;
    timer.start();
    const bool started = client.start(&error);
    if (!started) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
    }
    client.stop();
    return started ? 0 : 1;
}

struct Stage {
    std::vector<double> milliseconds;
    std::vector<double> bytes;
};

MarketOptions loadMarket() {
    MarketOptions market;
    market.accounts = kLoadAccounts;
    market.symbols = 50;
    market.historyOrders = 10;
    return market;
}

Client::Options loadClient(const QTemporaryDir& scratch, const QString& homeDir) {
    Client::Options options = benchClient(scratch);
    options.homeDir = homeDir;
    options.market = loadMarket();
    return options;
}

/// Milliseconds from the start of the load to each mark; negative until the mark is reached.
struct LoadMarks {
    std::chrono::steady_clock::time_point began;
    std::atomic<double> firstBatch{-1};
    std::atomic<double> lastBatch{-1};
    std::atomic<double> event{-1};

    double now() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began)
            .count();
    }
};

/// Records when the batches are sent.
class MarkingLink final : public GatewayLink {
public:
    MarkingLink(std::unique_ptr<GatewayLink> inner, LoadMarks& marks)
        : m_inner(std::move(inner)), m_marks(marks) {}
    bool start(GatewayLinkListener* listener, QString* error) override {
        return m_inner->start(listener, error);
    }
    void stop() override { m_inner->stop(); }
    bool send(const GatewayRequest& request) override {
        if (request.msgType == kBatchType) {
            m_marks.lastBatch = m_marks.now();
            if (m_marks.firstBatch < 0) {
                m_marks.firstBatch = m_marks.lastBatch.load();
            }
        }
        return m_inner->send(request);
    }

private:
    const std::unique_ptr<GatewayLink> m_inner;
    LoadMarks& m_marks;
};

/// Records when the plug-in publishes that its accounts are loaded.
class AccountsPresenter final : public ZnPresenterClass {
public:
    explicit AccountsPresenter(LoadMarks& marks)
        : ZnPresenterClass(QStringLiteral("Bench"), nullptr, IMessageInterface::OwnThreads),
          m_marks(marks) {
        SubEvent(pluginPid(),
                 VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited), 1);
    }
    void ProcEventMsg(QString, QVariant, QVariant) override { m_marks.event = m_marks.now(); }

private:
    LoadMarks& m_marks;
};

/// The load in this process: "to the first batch TAB to the last TAB to the event", milliseconds.
int loadOnce(const QString& homeDir) {
    const QTemporaryDir scratch;
    LoadMarks marks;
    Client::Options options = loadClient(scratch, homeDir);
    options.wrapLink = [&marks](std::unique_ptr<GatewayLink> inner) {
        return std::make_unique<MarkingLink>(std::move(inner), marks);
    };
    Client::Listener listener;
    listener.platformStarted = [&marks] { (new AccountsPresenter(marks))->initPresenter(); };
    // The time is measured from the last step before the log-in.
    listener.stepEnded = [&marks](const QString& text) {
        if (text.startsWith(QLatin1String("plug-in object"))) {
            marks.began = std::chrono::steady_clock::now();
        }
    };
    Client client(options, listener);
    QString error;
    const bool good = client.start(&error) && marks.firstBatch >= 0 && marks.event >= 0;
    if (good) {
        QTextStream(stdout) << marks.firstBatch << '\t' << marks.lastBatch << '\t' << marks.event
                            << '\n';
    } else {
        std::fprintf(stderr, "the load failed: %s\n", qPrintable(error));
    }
    client.stop();
    return good ? 0 : 1;
}

/// One request and its answer's data rows; empty on failure.
QList<QVariantMap> ask(ZnPresenterClass& presenter, const QString& type,
                       const QVariantMap& fields) {
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, type);
    packer.AddRowVaule(fields);
    auto* const message = new CMessageCommon;
    message->SetType(type);
    message->SetSrcid(presenter.pluginPid());
    message->SetMsg(packer.GetPackedMsg(false));
    QVariant answer;
    QList<QVariantMap> rows;
    if (presenter.sendRequest_Sync(message, answer) != 0) {
        return rows;
    }
    CUnPackMessageCommon body;
    body.SetUnPackMsg(answer, false);
    for (int row = 1; row < body.GetRowCount() && body.SetCurrentRow(row); ++row) {
        rows.append(body.GetRowValue());
    }
    return rows;
}

/// Number of rows in the batches' answers; `treeReceived` is called before the first batch.
int askAll(ZnPresenterClass& presenter, const std::function<void()>& treeReceived) {
    const QVariantMap user{{UserAccount::loginUserId, SampleLogin::user}};
    QVariantMap login = user;
    login.insert(HostField::password, SampleLogin::password);
    if (ask(presenter, HostMsgType::login, login).isEmpty()) {
        return 0;
    }
    QStringList accounts;
    for (const QVariantMap& row : ask(presenter, HostMsgType::accountTree, user)) {
        accounts.append(row.value(UserAccount::tradingAccount).toString());
    }
    treeReceived();
    int rows = 0;
    for (int first = 0; first < accounts.size(); first += kBatch) {
        QVariantMap batch = user;
        batch.insert(UserAccount::tradingAccount, accounts.mid(first, kBatch).join(','));
        batch.insert(QStringLiteral("10094"), 2);
        rows += ask(presenter, kBatchType, batch).size();
    }
    return rows;
}

/// The bare requests in this process: "to the first batch TAB to the end", milliseconds.
int bareOnce(const QString& homeDir) {
    LocalPlatform& platform = LocalPlatform::instance();
    QString error;
    const QString market = sampleMarketDir(homeDir, loadMarket());
    LocalPlatform::Options options;
    options.homeDir = homeDir;
    options.staticDbFile = staticDatabaseFile(market);
    const auto engine = ServerEngine::open(marketStoreFile(market), &error);
    bool good = engine && platform.start(options, &error) &&
                platform.setLink(std::make_unique<EmbeddedLink>(engine), &error);
    if (good) {
        // Deleted by the platform's close().
        auto* const presenter =
            new ZnPresenterClass(QStringLiteral("Bench"), nullptr, IMessageInterface::OwnThreads);
        presenter->initPresenter();
        int rows = 0;
        LoadMarks marks;
        marks.began = std::chrono::steady_clock::now();
        rows = askAll(*presenter, [&marks] { marks.firstBatch = marks.now(); });
        good = rows == kLoadAccounts;
        QTextStream(stdout) << marks.firstBatch << '\t' << marks.now() << '\n';
        error = QStringLiteral("%1 rows arrived").arg(rows);
    }
    if (!good) {
        std::fprintf(stderr, "the bare requests failed: %s\n", qPrintable(error));
    }
    platform.close();
    return good ? 0 : 1;
}

/// The figures that a child of this program prints; empty when it fails.
QStringList figuresOf(const QString& mode, const QString& home) {
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {mode, home});
    if (!child.waitForFinished(120000) || child.exitCode() != 0) {
        std::fprintf(stderr, "%s\n", child.readAllStandardError().constData());
        return {};
    }
    return QString::fromUtf8(child.readAllStandardOutput()).trimmed().split('\t');
}

bool compareLoad() {
    const QTemporaryDir home;
    std::vector<double> first;
    std::vector<double> last;
    std::vector<double> event;
    std::vector<double> bareFirst;
    std::vector<double> bare;
    // The first load creates the market and is not counted.
    for (int run = 0; run <= kLoadRuns; ++run) {
        const QStringList load = figuresOf(QStringLiteral("--load"), home.path());
        const QStringList requests = figuresOf(QStringLiteral("--bare"), home.path());
        if (load.size() != 3 || requests.size() != 2) {
            return false;
        }
        if (run > 0) {
            first.push_back(load[0].toDouble());
            last.push_back(load[1].toDouble());
            event.push_back(load[2].toDouble());
            bareFirst.push_back(requests[0].toDouble());
            bare.push_back(requests[1].toDouble());
        }
    }
    const double whole = medianOf(event);
    const double floor = medianOf(bare);
    std::printf("load of %d accounts, median of %d starts\n", kLoadAccounts, kLoadRuns);
    std::printf("%9.2f ms  log-in to the first batch\n", medianOf(first));
    std::printf("%9.2f ms  log-in to the last batch\n", medianOf(last));
    std::printf("%9.2f ms  log-in to the event\n", whole);
    std::printf("%9.2f ms  the bare requests, %.2f ms to the first batch\n", floor,
                medianOf(bareFirst));
    std::printf("ratio %.2f (at most 1.3)\n", whole / floor);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    if (argc == 3 && QByteArray(argv[1]) == "--once") {
        return runOnce(QString::fromLocal8Bit(argv[2]));
    }
    if (argc == 3 && QByteArray(argv[1]) == "--load") {
        return loadOnce(QString::fromLocal8Bit(argv[2]));
    }
    if (argc == 3 && QByteArray(argv[1]) == "--bare") {
        return bareOnce(QString::fromLocal8Bit(argv[2]));
    }
    const QTemporaryDir home;
    QStringList order;
    QMap<QString, Stage> stages;
    std::vector<double> whole;
    // The first start creates the market and is not counted.
    for (int run = 0; run <= kRuns; ++run) {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {"--once", home.path()});
        if (!child.waitForFinished(60000) || child.exitCode() != 0) {
            std::fprintf(stderr, "a start failed: %s\n", child.readAllStandardError().constData());
            return 1;
        }
        double sum = 0;
        for (const QString& line : QString::fromUtf8(child.readAllStandardOutput()).split('\n')) {
            const QStringList parts = line.split('\t');
            if (run == 0 || parts.size() != 3) {
                continue;
            }
            if (!order.contains(parts[1])) {
                order.append(parts[1]);
            }
            stages[parts[1]].milliseconds.push_back(parts[0].toDouble());
            stages[parts[1]].bytes.push_back(parts[2].toDouble());
            sum += parts[0].toDouble();
        }
        if (run > 0) {
            whole.push_back(sum);
        }
    }
    std::printf("start-up, median of %d starts, each in a process of its own\n", kRuns);
    double before = 0;
    for (const QString& stage : order) {
        const double bytes = medianOf(stages[stage].bytes);
        std::printf("%9.2f ms  %+10.0f bytes  %s\n", medianOf(stages[stage].milliseconds),
                    bytes - before, qPrintable(stage));
        before = bytes;
    }
    std::printf("%9.2f ms  in all\n", medianOf(whole));
    std::fflush(stdout);
    return compareLoad() ? 0 : 1;
}
