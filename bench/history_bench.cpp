// Past orders and deals: fetching the pages of a list with tasks, entering a million rows into the
// cache and reading them, cutting ten years into runs of missing days, and pages of a long list at
// the server. Each figure is printed beside what the same work costs at least, and beside its goal.
//   history_bench [--rows N] [--rounds N]

#include <malloc.h>

#include <QDate>
#include <QHash>
#include <QThread>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "bench_report.h"
#include "date_runs.h"
#include "gateway_link.h"
#include "history_lists.h"
#include "history_rows.h"
#include "local_platform.h"
#include "page_blocks.h"
#include "query_progress.h"
#include "sample_market.h"
#include "server_engine.h"
#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znmsg/c_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kDealPage = 2000;
constexpr std::chrono::milliseconds kServerDelay{50};
constexpr int kSecurities = 5000;
inline const QString kAccount = QStringLiteral("T000001");
inline const QDate kFirstDay(2025, 1, 1);

/// Symbols by a look-up in a table, as the plug-in's own.
class BenchSymbols : public SymbolDataReader {
public:
    BenchSymbols() {
        for (int i = 0; i < kSecurities; ++i) {
            const QString code = QStringLiteral("%1").arg(600000 + i);
            m_symbols.insert({code, Exchange::sh}, code + QStringLiteral(".SH"));
        }
    }
    QString symbolOf(const QString& securityID, const QString& exchange) const override {
        return m_symbols.value({securityID, exchange});
    }
    QVariantMap detailsOf(const QString&) const override { return {}; }
    QString securityTypeOf(const QString&) const override { return {}; }
    int displayFactorOf(const QString&) const override { return 1; }
    QMap<QString, QVariantMap> hongKongRates() const override { return {}; }

private:
    QHash<QPair<QString, QString>, QString> m_symbols;
};

/// A filled deal with the fields of the sample market; no text is shared with another row.
QVariantMap dealRow(int number, int rowsOfDay) {
    const QString text = QString::number(number);
    return {{UserAccount::tradingAccount, QString(kAccount.constData(), kAccount.size())},
            {UserAccount::tradeDate,
             kFirstDay.addDays(number / rowsOfDay).toString(QStringLiteral("yyyyMMdd"))},
            {UserAccount::securityAccount, QStringLiteral("A%1").arg(number % 4)},
            {UserAccount::securityExchange, QString(Exchange::sh.constData(), Exchange::sh.size())},
            {Security::securityID, QStringLiteral("%1").arg(600000 + number % kSecurities)},
            {Security::side, QStringLiteral("%1").arg(number % 2 + 1)},
            {Security::orderID, QStringLiteral("O%1").arg(number, 9, 10, QLatin1Char('0'))},
            {Security::execID, QStringLiteral("E") + text},
            {UserAccount::ExchangeExecType, QStringLiteral("0")},
            {UserAccount::ExchangeExecStat,
             QString(ExchangeExeStat::filled.constData(), ExchangeExeStat::filled.size())},
            {Security::lastQty, 100 * (number % 50 + 1)},
            {QStringLiteral("lastPx"), 10.0 + number % 100},
            {Security::lastAmount, 1000.0 * (number % 50 + 1)},
            {Margin::executionCommission, 5.0}};
}

QList<QVariantMap> dealRows(int first, int count, int rowsOfDay) {
    QList<QVariantMap> rows;
    for (int i = first; i < first + count; ++i) {
        rows.append(dealRow(i, rowsOfDay));
    }
    return rows;
}

/// Answers pages that were made before, each after the server's delay; one thread delivers them.
class PreparedLink : public GatewayLink {
public:
    ~PreparedLink() override { stop(); }

    bool start(GatewayLinkListener* listener, QString*) override {
        m_listener = listener;
        m_thread = std::thread([this] { run(); });
        return true;
    }
    void stop() override {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_isEnding = true;
        }
        m_wake.notify_all();
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    bool send(const GatewayRequest& request) override {
        const QVariantMap header = request.body.toList().value(0).toMap();
        const int pageNo = header.value(System::pageNo).toInt();
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_requests;
        auto& answers = m_answers[pageNo];
        // Whoever gets an answer is its only holder, as of one that came over a wire.
        Due due{Clock::now() + kServerDelay, request.envelopeId, request.msgType, QVariant()};
        if (!answers.empty()) {
            due.body = std::move(answers.front());
            answers.pop_front();
        }
        m_due.push_back(std::move(due));
        m_wake.notify_all();
        return true;
    }

    /// Makes the answers for one walk: page 1 twice, every other page once.
    void prepare(int pages, int rowsOfPage) {
        QHash<int, std::deque<QVariant>> made;
        for (int page = 1; page <= pages; ++page) {
            for (int copy = 0; copy < (page == 1 ? 2 : 1); ++copy) {
                made[page].push_back(answer(page, pages, rowsOfPage));
            }
        }
        const std::lock_guard<std::mutex> guard(m_lock);
        m_answers = std::move(made);
        m_requests = 0;
    }
    int requests() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_requests;
    }

private:
    struct Due {
        Clock::time_point when;
        quint64 envelopeId;
        QString msgType;
        QVariant body;
    };

    static QVariant answer(int page, int pages, int rowsOfPage) {
        QVariantList body{QVariantMap{{System::requestExeStatus, RequestExeStatus::success},
                                      {System::subGroupNumber, rowsOfPage},
                                      {System::totalSize, pages * rowsOfPage}}};
        for (const QVariantMap& row : dealRows((page - 1) * rowsOfPage, rowsOfPage, kDealPage)) {
            body.append(row);
        }
        return body;
    }
    void run() {
        std::unique_lock<std::mutex> lock(m_lock);
        for (const QString& gate : {NetGateType::TradeGate, NetGateType::InfoGate}) {
            lock.unlock();
            m_listener->onGateState(gate, NET_STATE::CONNECTED);
            lock.lock();
        }
        while (!m_isEnding) {
            if (m_due.empty()) {
                m_wake.wait(lock);
            } else if (m_due.front().when > Clock::now()) {
                m_wake.wait_until(lock, m_due.front().when);
            } else {
                const Due due = std::move(m_due.front());
                m_due.pop_front();
                lock.unlock();
                m_listener->onAnswer(due.envelopeId, due.msgType, due.body);
                lock.lock();
            }
        }
    }

    GatewayLinkListener* m_listener = nullptr;
    std::thread m_thread;
    std::mutex m_lock;  // guards what follows
    std::condition_variable m_wake;
    bool m_isEnding = false;
    int m_requests = 0;
    std::deque<Due> m_due;  // in the order of their times: the delay is the same for all
    QHash<int, std::deque<QVariant>> m_answers;
};

/// A bare request for a page of deals; its data rows.
QVariant sendPage(ZnPresenterClass& presenter, qint64 pageNo) {
    auto* const message = new CMessageCommon;
    message->SetType(Velmar_MsgType::queryHistoryExecutionRequest);
    message->SetMsg(
        QVariantList{QVariantMap{{System::msgType, Velmar_MsgType::queryHistoryExecutionRequest},
                                 {UserAccount::tradingAccount, kAccount},
                                 {System::startDate, 20250101},
                                 {System::endDate, 20251231},
                                 {System::pageNo, pageNo},
                                 {System::pageSize, kDealPage}}});
    message->SetSrcid(presenter.pluginPid());
    QVariant answer;
    return presenter.sendRequest_Sync(message, answer) == 0 ? answer : QVariant();
}

QList<QVariantMap> rowsOf(QVariant&& answer) {
    QVariantList body = answer.toList();
    answer.clear();
    QList<QVariantMap> rows;
    for (int i = 1; i < body.size(); ++i) {
        rows.append(body.at(i).toMap());
        body[i].clear();
    }
    return rows;
}

struct Bare {
    double sends = 0;  ///< milliseconds
    double merge = 0;
};

/// The probe and the pages in the split of the plug-in, sent by as many threads, and then the merge
/// of each block by the same threads.
Bare bareWalk(ZnPresenterClass& presenter, const SymbolDataReader& symbols, int pages) {
    Bare bare;
    const auto blocks = pageBlocks(pages, QThread::idealThreadCount());
    std::vector<std::vector<QVariant>> answers(static_cast<std::size_t>(blocks.size()));
    const auto onThreads = [&blocks](const std::function<void(int block)>& work) {
        std::vector<std::thread> threads;
        for (int block = 0; block < blocks.size(); ++block) {
            threads.emplace_back(work, block);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    };
    QVariant probe;
    bare.sends = millisecondsOf([&] {
        probe = sendPage(presenter, 1);
        if (pages == 1) {
            return;
        }
        onThreads([&](int block) {
            for (qint64 page = blocks.at(block).first; page <= blocks.at(block).second; ++page) {
                answers[static_cast<std::size_t>(block)].push_back(sendPage(presenter, page));
            }
        });
    });
    HistoryCache cache;
    std::mutex lock;
    std::vector<QList<QVariantMap>> lists(answers.size());
    if (pages == 1) {
        lists[0] = rowsOf(std::move(probe));
    }
    for (std::size_t block = 0; block < answers.size(); ++block) {
        for (QVariant& answer : answers[block]) {
            lists[block] += rowsOf(std::move(answer));
        }
    }
    bare.merge = millisecondsOf([&] {
        onThreads([&](int block) {
            const auto rows =
                dealRowsOf(std::move(lists[static_cast<std::size_t>(block)]), symbols);
            const std::lock_guard<std::mutex> guard(lock);
            enterInto(cache, rows);
        });
    });
    return bare;
}

bool compareWalks(PreparedLink& link, ZnPresenterClass& presenter, int pages, int rounds) {
    const BenchSymbols symbols;
    std::vector<double> walks;
    std::vector<double> sends;
    std::vector<double> merges;
    // A list of one page is full too, so that its total does not start the tasks.
    for (int round = 0; round < rounds; ++round) {
        HistoryLists lists(symbols);
        link.prepare(pages, kDealPage);
        walks.push_back(millisecondsOf([&] {
            lists.queryHistoryDealList(&presenter, kAccount, kFirstDay, kFirstDay.addDays(364));
        }));
        const int wanted = pages == 1 ? 1 : pages + 1;
        if (link.requests() != wanted) {
            std::fprintf(stderr, "%d requests instead of %d\n", link.requests(), wanted);
            return false;
        }
        link.prepare(pages, kDealPage);
        const Bare bare = bareWalk(presenter, symbols, pages);
        sends.push_back(bare.sends);
        merges.push_back(bare.merge);
    }
    const double floor = medianOf(sends) + medianOf(merges);
    std::printf(
        "  %3d page%s %9.1f ms; probe and pages by bare sends %9.1f, merge %7.1f; "
        "%.3f times (goal 1.15)\n",
        pages, pages == 1 ? " " : "s", medianOf(walks), medianOf(sends), medianOf(merges),
        medianOf(walks) / floor);
    return true;
}

/// Milliseconds for reporting the pages of one part, at a clock of its own that makes an event due
/// `events` times.
double progressMilliseconds(ZnPresenterClass* presenter, int pages, int events) {
    constexpr qint64 kEventMs = 100;
    std::atomic<qint64> asked{0};
    const int pagesOfEvent = std::max(1, pages / std::max(1, events));
    const auto elapsed = [&] { return events > 0 ? asked++ / pagesOfEvent * kEventMs : 0; };
    return millisecondsOf([&] {
        QueryProgress progress(presenter, QStringLiteral("GetHistoryDealList"), elapsed);
        progress.beginPart(kAccount, kFirstDay, kFirstDay.addDays(364));
        progress.setPages(pages);
        for (int page = 0; page < pages; ++page) {
            progress.pageDone();
        }
    });
}

/// What progress adds to a walk of 100 pages, which takes about 25 delays of the server on four
/// threads and 50 on two: one event in 100 ms.
void measureProgress(ZnPresenterClass& presenter) {
    constexpr int kPages = 100;
    constexpr int kCalls = 200;
    constexpr int kEventMs = 100;
    const double walk = double(kPages) / QThread::idealThreadCount() * double(kServerDelay.count());
    const int events = static_cast<int>(walk / kEventMs);
    std::vector<double> with;
    std::vector<double> without;
    for (int call = 0; call < kCalls; ++call) {
        with.push_back(progressMilliseconds(&presenter, kPages, events));
        without.push_back(progressMilliseconds(nullptr, kPages, 0));
    }
    std::printf(
        "  progress of %d pages: %.3f ms with %d events, %.3f without a presenter; "
        "%.4f percent of the server's delays (goal 1)\n",
        kPages, medianOf(with), events, medianOf(without),
        100 * (medianOf(with) - medianOf(without)) / walk);
}

bool fanOut(int rounds) {
    const QTemporaryDir home;
    LocalPlatform& platform = LocalPlatform::instance();
    QString error;
    if (!platform.start({home.path(), QString()}, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return false;
    }
    auto made = std::make_unique<PreparedLink>();
    PreparedLink& link = *made;
    bool isGood = platform.setLink(std::move(made), &error);
    // Disposed of by the platform's close().
    auto* const presenter =
        new ZnPresenterClass(QStringLiteral("Bench"), nullptr, IMessageInterface::OwnThreads);
    presenter->initPresenter();
    std::printf("pages of %d deals, each answered after %lld ms, on %d threads\n", kDealPage,
                static_cast<long long>(kServerDelay.count()), QThread::idealThreadCount());
    for (const int pages : {1, 2, 10, 100}) {
        isGood = isGood &&
                 compareWalks(link, *presenter, pages, pages > 10 ? std::min(rounds, 3) : rounds);
    }
    measureProgress(*presenter);
    platform.close();
    return isGood;
}

/// Reads the fields that a deal is judged and keyed by, and sets the one that changes, with the
/// symbol looked up once per distinct security.
void readAndSet(QList<QVariantMap>& rows, const SymbolDataReader& symbols) {
    QHash<QString, QString> symbolOf;
    qint64 read = 0;
    for (QVariantMap& row : rows) {
        read += row.value(UserAccount::ExchangeExecType).toString().size();
        read += row.value(UserAccount::ExchangeExecStat).toString().size();
        read += row.value(UserAccount::tradingAccount).toString().size();
        read += row.value(UserAccount::tradeDate).toString().size();
        read += row.value(Security::orderID).toString().size();
        read += row.value(Security::execID).toString().size();
        const QString id = row.value(Security::securityID).toString();
        const QString exchange = row.value(UserAccount::securityExchange).toString();
        auto symbol = symbolOf.find(id);
        if (symbol == symbolOf.end()) {
            symbol = symbolOf.insert(id, symbols.symbolOf(id, exchange));
        }
        row.insert(Security::symbol, *symbol);
    }
    static volatile qint64 sink = 0;
    sink = sink + read;
}

double heapBytes() {
    return double(mallinfo2().uordblks) + double(mallinfo2().hblkhd);
}

bool enterRows(int count) {
    constexpr int kDays = 250;
    constexpr int kMeasuredPages = 25;
    const int rowsOfDay = count / kDays;
    const BenchSymbols symbols;
    HistoryLists lists(symbols);
    HistoryCache bareCache;
    HistoryCache cache;
    double floor = 0;
    double prepared = 0;
    double bareInserted = 0;
    double inserted = 0;
    double held = 0;
    int measured = 0;
    for (int first = 0; first < rowsOfDay * kDays; first += kDealPage) {
        const int size = std::min(kDealPage, rowsOfDay * kDays - first);
        {
            QList<QVariantMap> rows = dealRows(first, size, rowsOfDay);
            floor += millisecondsOf([&] { readAndSet(rows, symbols); });
        }
        // The heap's figures take the longer to read the more was freed, so some pages must do.
        const bool isMeasured = first < kMeasuredPages * kDealPage;
        const double before = isMeasured ? heapBytes() : 0;
        QList<QVariantMap> rows = dealRows(first, size, rowsOfDay);
        std::vector<HistoryRow> ready;
        prepared += millisecondsOf([&] { ready = dealRowsOf(std::move(rows), symbols); });
        inserted += millisecondsOf([&] { enterInto(cache, ready); });
        rows.clear();
        const auto keptReady = ready;
        ready.clear();
        ready.shrink_to_fit();
        if (isMeasured) {
            held += heapBytes() - before - double(keptReady.capacity() * sizeof(HistoryRow));
            measured += size;
        }
        bareInserted += millisecondsOf([&] {
            for (const HistoryRow& row : keptReady) {
                bareCache[row.tradingAccount][row.tradeDate].insert(row.key, row.record);
            }
        });
    }
    const int rows = rowsOfDay * kDays;
    std::printf("%d deals, in pages of %d\n", rows, kDealPage);
    std::printf(
        "  preparing %9.1f ms; reading the same fields and setting one %9.1f; %.2f times "
        "(goal 1.5)\n",
        prepared, floor, prepared / floor);
    std::printf("  inserting %9.1f ms; bare insertion %9.1f; %.2f times (goal 1.5)\n", inserted,
                bareInserted, inserted / bareInserted);
    std::printf("  %.0f bytes per row held\n", held / measured);
    bareCache.clear();
    for (const auto& day : cache.value(kAccount)) {
        lists.AssembleHistoryEntrustDealList(Velmar_MsgType::queryHistoryExecutionRequest,
                                             day.values());
    }
    cache.clear();
    int got = 0;
    const double read = millisecondsOf([&] {
        // A request would fail: there is no presenter.
        got = lists.GetHistoryDealList(nullptr, {kAccount}, kFirstDay, kFirstDay.addDays(kDays - 1))
                  .size();
    });
    std::printf("  all of them held: %.1f million rows a second, %d rows without a request\n",
                got / read / 1000, got);
    return got == rows;
}

double runsMilliseconds(int years, int* runs) {
    const QDate last = kFirstDay.addYears(years).addDays(-1);
    QList<QDate> held;
    // Weekdays, less a holiday now and then: about 240 days a year.
    for (QDate day = kFirstDay; day <= last; day = day.addDays(1)) {
        if (day.dayOfWeek() <= 5 && day.dayOfYear() % 12 != 0) {
            held.append(day);
        }
    }
    constexpr int kCalls = 50;
    std::vector<double> times;
    for (int i = 0; i < kCalls; ++i) {
        times.push_back(
            millisecondsOf([&] { *runs = getUnqueriedDateRanges(kFirstDay, last, held).size(); }));
    }
    std::printf("  %2d years, %d days held: %d runs, %.3f ms\n", years, held.size(), *runs,
                medianOf(times));
    return medianOf(times);
}

void cutRuns() {
    int runs = 0;
    std::printf("days that are not held\n");
    const double ten = runsMilliseconds(10, &runs);
    const double forty = runsMilliseconds(40, &runs);
    std::printf("  four times the years cost %.1f times (linear: 4)\n", forty / ten);
}

bool pagesAtServer() {
    constexpr int kPage = 1000;
    constexpr int kRounds = 9;
    const QTemporaryDir home;
    MarketOptions market;
    market.accounts = 5;
    market.symbols = 200;
    market.historyOrders = 200000;
    QString error;
    const auto engine = makeSampleMarket(home.path(), market, {}, &error)
                            ? ServerEngine::open(marketStoreFile(home.path()), &error)
                            : nullptr;
    if (!engine) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return false;
    }
    const Session session = engine->openSession({});
    const auto ask = [&](int page) {
        return engine
            ->handle(session, Velmar_MsgType::queryHistoryExchangeOrderRequest,
                     QVariantList{QVariantMap{
                         {System::msgType, Velmar_MsgType::queryHistoryExchangeOrderRequest},
                         {UserAccount::loginUserId, SampleLogin::user},
                         {UserAccount::tradingAccount, kAccount},
                         {AppraisementCalculate::IsIncludeCancel, QStringLiteral("1")},
                         {System::startDate, 20000101},
                         {System::endDate, 20991231},
                         {System::pageNo, page},
                         {System::pageSize, kPage}}})
            .toList();
    };
    const int total = ask(1).value(0).toMap().value(System::totalSize).toInt();
    const int deepest = total / kPage;
    std::printf("pages of %d of a list of %d orders at the server\n", kPage, total);
    double first = 0;
    bool isGood = deepest > 1;
    for (const int page : {1, deepest}) {
        std::vector<double> times;
        for (int round = 0; round < kRounds; ++round) {
            QVariantList answer;
            times.push_back(millisecondsOf([&] { answer = ask(page); }));
            isGood = isGood && answer.size() == kPage + 1;
        }
        std::printf("  page %3d %7.2f ms", page, medianOf(times));
        if (page == 1) {
            first = medianOf(times);
            std::printf("\n");
        } else {
            std::printf("; %.2f times page 1 (goal 1.5)\n", medianOf(times) / first);
        }
    }
    engine->closeSession(session);
    return isGood;
}

int numberOf(int argc, char** argv, const char* option, int standard) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], option) == 0) {
            return std::atoi(argv[i + 1]);
        }
    }
    return standard;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    constexpr int kRows = 1000000;
    constexpr int kRounds = 5;
    cutRuns();
    bool isGood = fanOut(std::max(1, numberOf(argc, argv, "--rounds", kRounds)));
    isGood = enterRows(std::max(1000, numberOf(argc, argv, "--rows", kRows))) && isGood;
    isGood = pagesAtServer() && isGood;
    return isGood ? 0 : 1;
}
