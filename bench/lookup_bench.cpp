// Record look-up through the exported class, compared with a bare read lock, map find and record
// copy, from one and from two threads in the same run. Also the memory of an account.

#include <malloc.h>

#include <QMap>
#include <QReadWriteLock>
#include <QTemporaryDir>
#include <thread>

#include "bench_report.h"
#include "velmar_business_data_interface.h"

namespace {

constexpr int kLookups = 200000;
constexpr int kRounds = 11;

struct Floor {
    QReadWriteLock lock;
    QMap<QString, tagUserAccountInfo> records;
};

/// Keeps the optimiser from removing a look-up.
volatile int s_sink = 0;

template <class LookUp>
double nanosecondsEach(int threads, const QStringList& accounts, const LookUp& lookUp) {
    std::vector<std::thread> pool;
    const double milliseconds = millisecondsOf([&] {
        for (int thread = 0; thread < threads; ++thread) {
            pool.emplace_back([&accounts, &lookUp, thread] {
                int sum = 0;
                for (int i = 0; i < kLookups; ++i) {
                    sum += lookUp(accounts.at((i * 7 + thread) % accounts.size())).branchNo;
                }
                s_sink = sum;
            });
        }
        for (std::thread& worker : pool) {
            worker.join();
        }
    });
    return milliseconds * 1e6 / kLookups;
}

void compare(int threads, const QStringList& accounts, Floor& floor) {
    std::vector<double> bare;
    std::vector<double> facade;
    for (int round = 0; round < kRounds; ++round) {
        bare.push_back(nanosecondsEach(threads, accounts, [&floor](const QString& account) {
            const QReadLocker locker(&floor.lock);
            const auto found = floor.records.constFind(account);
            return found != floor.records.constEnd() ? tagUserAccountInfo(*found)
                                                     : tagUserAccountInfo();
        }));
        facade.push_back(nanosecondsEach(threads, accounts, [](const QString& account) {
            return VelmarBusinessDataInterface::GetAccountInfoByTradingAccount(account, true);
        }));
    }
    const double floorNs = medianOf(bare);
    const double facadeNs = medianOf(facade);
    std::printf("%d thread%s: look-up %7.1f ns, bare %7.1f ns, ratio %.2f (at most 1.3)\n", threads,
                threads == 1 ? " " : "s", facadeNs, floorNs, facadeNs / floorNs);
}

/// Bytes that a table of these records takes when no two records share a text.
double bytesPerAccount(const QList<tagUserAccountInfo>& records) {
    const std::size_t before = mallinfo2().uordblks;
    QMap<QString, tagUserAccountInfo> copy;
    const auto own = [](QString& text) { text.detach(); };
    for (tagUserAccountInfo record : records) {
        for (QString* const text : {&record.investorName,
                                    &record.productName,
                                    &record.assetAccountName,
                                    &record.tradingAccountName,
                                    &record.investorAccount,
                                    &record.productAccount,
                                    &record.assetAccount,
                                    &record.tradingAccount,
                                    &record.securityAccount,
                                    &record.securityExchange,
                                    &record.isMainAccount,
                                    &record.accountStatus,
                                    &record.seatNo,
                                    &record.investType,
                                    &record.assetAccountList,
                                    &record.userType,
                                    &record.organCode,
                                    &record.fundAccount,
                                    &record.fundAccountType,
                                    &record.accountName,
                                    &record.extCounterCode,
                                    &record.clientNo,
                                    &record.extNodeNo,
                                    &record.extOrgCode,
                                    &record.passStatus,
                                    &record.otcFundAccount,
                                    &record.counterAccountName}) {
            own(*text);
        }
        copy.insert(record.tradingAccount, record);
    }
    const std::size_t after = mallinfo2().uordblks;
    return records.isEmpty() ? 0 : static_cast<double>(after - before) / records.size();
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    const QTemporaryDir home;
    Client client(benchClient(home), {});
    QString error;
    if (!client.start(&error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    const auto records = VelmarBusinessDataInterface::GetFundAccountList(true, 0, true);
    Floor floor;
    QStringList accounts;
    for (const tagUserAccountInfo& record : records) {
        floor.records.insert(record.tradingAccount, record);
        accounts.append(record.tradingAccount);
    }
    std::printf("%d accounts, %d look-ups a thread and round, median of %d rounds\n",
                static_cast<int>(accounts.size()), kLookups, kRounds);
    compare(1, accounts, floor);
    compare(2, accounts, floor);
    std::printf("%.0f bytes per account record, no text shared\n", bytesPerAccount(records));
    client.stop();
    return 0;
}
