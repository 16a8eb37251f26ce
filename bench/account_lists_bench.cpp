// The account lists with 200, 2,000 and 20,000 accounts, from one and from two threads: records per
// second, compared with a plain copy of as many records in the same run. Each size runs in a
// process of its own, since a process has one plug-in.

#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>
#include <thread>

#include "bench_report.h"
#include "embedded_link.h"
#include "local_platform.h"
#include "sample_market.h"
#include "server_engine.h"
#include "velmar_business_data_interface.h"

namespace {

using Facade = VelmarBusinessDataInterface;
using Records = QList<tagUserAccountInfo>;

constexpr int kRounds = 25;
constexpr double kRoundMs = 5;

// Arguments of the lists.
constexpr bool kWait = true;
constexpr bool kWithDistributed = true;
constexpr bool kCentralOnly = false;
constexpr int kAnyAuthority = 0;
constexpr int kTrade = 16;
constexpr int kNormalFunds = 1;
constexpr int kNormalAndMarginFunds = 3;
constexpr int kAllFunds = 31;

/// Keeps the optimiser from removing a list.
volatile int s_sink = 0;

struct Subject {
    const char* name;
    int records;
    std::function<int()> list;
    std::function<int()> bare;
};

template <class List>
int bareCopy(const List& source) {
    List copy;
    copy.reserve(source.size());
    for (const auto& entry : source) {
        copy.append(entry);
    }
    return copy.size();
}

/// A list and the plain copy of its result.
template <class Ask>
Subject subject(const char* name, Ask ask) {
    const auto given = ask();
    return {name, given.size(), [ask] { return ask().size(); },
            [given] { return bareCopy(given); }};
}

/// Nanoseconds of one call, as each of the threads sees it.
double nanosecondsEach(int threads, int calls, const std::function<int()>& work) {
    std::vector<std::thread> pool;
    const double milliseconds = millisecondsOf([&] {
        for (int thread = 0; thread < threads; ++thread) {
            pool.emplace_back([calls, &work] {
                int sum = 0;
                for (int i = 0; i < calls; ++i) {
                    sum += work();
                }
                s_sink = sum;
            });
        }
        for (std::thread& worker : pool) {
            worker.join();
        }
    });
    return milliseconds * 1e6 / calls;
}

void compare(const Subject& subject, int threads) {
    if (subject.records == 0) {
        std::printf("  %-32s no record\n", subject.name);
        return;
    }
    nanosecondsEach(1, 1, subject.list);
    const double once = nanosecondsEach(1, 1, subject.list);
    const int calls = std::max(1, static_cast<int>(kRoundMs * 1e6 / std::max(once, 1.0)));
    // Other work on the machine only adds time, so the fastest round of each counts.
    std::vector<double> lists;
    std::vector<double> copies;
    for (int round = 0; round < kRounds; ++round) {
        copies.push_back(nanosecondsEach(threads, calls, subject.bare));
        lists.push_back(nanosecondsEach(threads, calls, subject.list));
    }
    const double list = *std::min_element(lists.begin(), lists.end());
    const double bare = *std::min_element(copies.begin(), copies.end());
    std::printf(
        "  %-32s %d thread%s %6d records %9.2f us %8.2f M records/s  bare %9.2f us  x%.2f\n",
        subject.name, threads, threads == 1 ? " " : "s", subject.records, list / 1000,
        subject.records * threads * 1000 / list, bare / 1000, list / bare);
}

/// The most frequent value of a field.
QString commonest(const Records& records, QString tagUserAccountInfo::*field) {
    QMap<QString, int> counts;
    QString best;
    for (const tagUserAccountInfo& record : records) {
        if (++counts[record.*field] > counts.value(best)) {
            best = record.*field;
        }
    }
    return best;
}

std::vector<Subject> subjects() {
    const Records all = Facade::GetFundAccountList(kWait, kAnyAuthority, kWithDistributed);
    QStringList names;
    for (const tagUserAccountInfo& record : all) {
        names.append(record.tradingAccount);
    }
    const QString product = commonest(all, &tagUserAccountInfo::productAccount);
    const QString asset = commonest(all, &tagUserAccountInfo::assetAccount);
    const QString client = commonest(all, &tagUserAccountInfo::clientNo);
    const QString fund = commonest(all, &tagUserAccountInfo::fundAccount);
    const QString first = names.value(0);
    const QStringList exchanges{QStringLiteral("1"), QStringLiteral("2")};
    return {
        subject("FundAccountList all",
                [] { return Facade::GetFundAccountList(kWait, kAnyAuthority, kWithDistributed); }),
        subject("FundAccountList trade, central",
                [] { return Facade::GetFundAccountList(kWait, kTrade, kCentralOnly); }),
        subject("ListByFundProp normal",
                [] {
                    return Facade::GetFundAccountListByFundProp(kNormalFunds, kTrade,
                                                                kWithDistributed, {}, kWait);
                }),
        subject("ListByFundProp two exchanges",
                [exchanges] {
                    return Facade::GetFundAccountListByFundProp(kNormalAndMarginFunds, kTrade,
                                                                kWithDistributed, exchanges, kWait);
                }),
        subject("ListFromTradeList all",
                [names] { return Facade::GetAccountInfoListFromTradeList(names, kWait); }),
        subject("ListFromProduct",
                [product] {
                    return Facade::GetAccountInfoListFromProduct(product, kWait, kAnyAuthority,
                                                                 kWithDistributed);
                }),
        subject("ListFromAsset",
                [asset] {
                    return Facade::GetAccountInfoListFromAsset(asset, kWait, kWithDistributed);
                }),
        subject("ListFromClientNo",
                [client] {
                    return Facade::GetAccountInfoListFromClientNo(client, kAllFunds, kWait,
                                                                  kWithDistributed);
                }),
        subject("ListFromFund", [fund] { return Facade::GetAccountInfoListFromFund(fund, kWait); }),
        subject("ListFromTrade",
                [first] { return Facade::GetAccountInfoListFromTrade(first, kWait); }),
        subject("SameRealFund",
                [first] { return Facade::GetAccountInfoListFromTradingWithSameRealFund(first); }),
        subject("DistributedAccountList", [] { return Facade::GetDistributedAccountList(); }),
        subject("HKAccountInfoList", [] { return Facade::GetHKAccountInfoList(); }),
        subject("HStockCirculateAccountList",
                [] { return Facade::GetHStockCirculateAccountList(); }),
        subject(
            "TradingAccountList (texts)",
            [] { return Facade::GetTradingAccountList(kWait, kAnyAuthority, kWithDistributed); }),
        subject("ListByProduct (texts)",
                [product] {
                    return Facade::GetTradingAccountListByProduct(product, kWait, kAnyAuthority,
                                                                  kWithDistributed);
                }),
        // Compared with a copy of the records that it reads.
        {"AllClientNoList", all.size(),
         [] { return Facade::GetAllClientNoList(kAnyAuthority, kWithDistributed).size(); },
         [all] { return bareCopy(all); }},
    };
}

bool bringUp(const QString& home, int accounts, QString* error) {
    MarketOptions market;
    market.accounts = accounts;
    if (!makeSampleMarket(home + QStringLiteral("/market"), market, {}, error)) {
        return false;
    }
    LocalPlatform::Options options;
    options.homeDir = home;
    options.staticDbFile = staticDatabaseFile(home + QStringLiteral("/market"));
    LocalPlatform& platform = LocalPlatform::instance();
    const auto engine =
        ServerEngine::open(marketStoreFile(home + QStringLiteral("/market")), error);
    return engine && platform.start(options, error) &&
           platform.setLink(std::make_unique<EmbeddedLink>(engine), error) &&
           platform.login(SampleLogin::user, SampleLogin::password, error);
}

int runSize(int accounts) {
    const QTemporaryDir home;
    QString error;
    if (!bringUp(home.path(), accounts, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    std::printf("%d accounts\n", accounts);
    for (const Subject& one : subjects()) {
        compare(one, 1);
        compare(one, 2);
    }
    LocalPlatform::instance().close();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    if (argc == 3 && QByteArray(argv[1]) == "--accounts") {
        return runSize(QByteArray(argv[2]).toInt());
    }
    std::printf("fastest of %d rounds; the list compared with a plain copy of as many records\n",
                kRounds);
    std::fflush(stdout);
    for (const char* accounts : {"200", "2000", "20000"}) {
        if (QProcess::execute(QCoreApplication::applicationFilePath(), {"--accounts", accounts})) {
            return 1;
        }
    }
    return 0;
}
