// The rules of quantities, prices, the cage and tradability, one call each through the exported
// class, from one and from two threads. Each is printed beside a floor measured in the same run:
// the look-ups and the arithmetic of the rule written out, over the platform's data. The program
// fails when a floor and its rule give different answers.

#include <QHash>
#include <QMap>
#include <QReadWriteLock>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <functional>
#include <thread>

#include "bench_report.h"
#include "velmar_business_data_interface.h"
#include "velmarutils/velmar_busi_utils.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

namespace {

using Facade = VelmarBusinessDataInterface;

constexpr int kSymbols = 5000;
constexpr int kCalls = 20000;
constexpr int kRounds = 9;
constexpr int kCageCalls = 1000000;
constexpr qint64 kQty = 12345;
// One of the sample market's cash accounts, with security accounts in Shanghai and Shenzhen only.
inline const QString kAccount = QStringLiteral("T000002");

/// Keeps the optimiser from removing a call.
volatile double s_sink = 0;

struct Sample {
    QString symbol;
    QVariantMap tick;
};

struct MaxRule {
    QVariantMap filter;
    int qty = 0;
};

struct CageRecords {
    mutable QReadWriteLock lock;
    QHash<QString, QString> ids;
    QMap<QString, QVariantMap> cages;
};

struct Accounts {
    mutable QReadWriteLock lock;
    QMap<QString, QString> types;
    QMap<QString, QMap<QString, QStringList>> securityAccounts;
};

const CBusinessDataBase& data() {
    return *CBusinessDataBase::GetInstance();
}

QMap<QString, int> numbersOf(const char* section) {
    QMap<QString, int> numbers;
    const auto rows = CDataBase::GetInstance()->GetStaticValuesBySection(QLatin1String(section));
    for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
        numbers.insert(row.key(), row.value().toInt());
    }
    return numbers;
}

/// The data that the rules look up, read once, and the rules written out over it.
class Floors {
public:
    explicit Floors(const std::vector<Sample>& samples)
        : m_steps(numbersOf("StepQtyRule")), m_mins(numbersOf("MinQtyRule")) {
        readMaxRules();
        m_cage.cages = Facade::GetAllCageMap();
        for (const Sample& sample : samples) {
            m_cage.ids.insert(sample.symbol,
                              m_cage.cages.key(Facade::GetCageMapBySymbol(sample.symbol)));
        }
        const auto records = Facade::GetFundAccountList(true, 0, true);
        for (const tagUserAccountInfo& record : records) {
            m_accounts.types.insert(record.tradingAccount, record.fundAccountType);
        }
        m_accounts.securityAccounts = Facade::GetAllSecurityAccountMap();
    }
    Q_DISABLE_COPY(Floors)

    int step(const QString& symbol) const {
        const double lot =
            data().GetSecurityDetailsBySymbol(symbol).value(Security::LotSize).toDouble();
        return lot > 0 ? static_cast<int>(lot) : ruleOf(m_steps, symbol);
    }
    int min(const QString& symbol) const {
        return VelmarUtils::isHKTypeSymbol(symbol) ? step(symbol) : ruleOf(m_mins, symbol);
    }
    int max(const QString& symbol, const QVariantMap& order) const {
        const QString subType = data().GetSecuritySubTypeBySymbol(symbol);
        if (MdcSubSecurityType::HKSharesTypeList.contains(subType)) {
            return std::min(step(symbol) * 3000, 99999999);
        }
        for (const QString& key : {subType, data().GetSecurityTypeBySymbol(symbol)}) {
            const auto rules = m_maxes.constFind(key);
            if (rules == m_maxes.cend()) {
                continue;
            }
            for (const MaxRule& rule : *rules) {
                QVariantMap matched;
                if (VelmarUtils::IsMapQuatifiedByFilter(order, rule.filter, matched, {})) {
                    return rule.qty;
                }
            }
        }
        const auto rest = m_maxes.constFind(m_any);
        return rest == m_maxes.cend() ? 1000000 : rest->first().qty;
    }
    qint64 oddLotDown(const QString& symbol, qint64 qty) const {
        const int least = min(symbol);
        const int each = step(symbol);
        return qty < least ? 0 : qty / each * each;
    }
    double unit(const QString& symbol) const {
        const QString type = data().GetSecurityTypeBySymbol(symbol);
        const QString subType = data().GetSecuritySubTypeBySymbol(symbol);
        if (subType == MdcSubSecurityType::Convertiblebond ||
            subType == MdcSubSecurityType::DirectedConBond) {
            return QStringLiteral("0.001").toDouble();
        }
        if (type == MdcSecurityType::StockType) {
            return QStringLiteral("0.01").toDouble();
        }
        const bool isRepo = subType == MdcSubSecurityType::Thecorporatebondpledgedrepo ||
                            subType == MdcSubSecurityType::Pledgetypetreasurybondrepurchase;
        return (isRepo ? QStringLiteral("0.005") : QStringLiteral("0.001")).toDouble();
    }
    int precision(const QString& symbol) const {
        return VelmarBusiUtils::GetPricePrecision(data().GetSecurityTypeBySymbol(symbol),
                                                  data().GetSecuritySubTypeBySymbol(symbol),
                                                  data().GetSymbolPostBySymbol(symbol), QString());
    }
    double buyInCage(const QVariantMap& tick, double price) const {
        const QString symbol = tick.value(TickField::symbol).toString();
        if (tick.value(TickField::phase).toString() == TickPhase::continuous) {
            const QVariantMap cage = cageOf(symbol);
            if (!cage.isEmpty()) {
                price = std::min(price, highestBuy(cage, tick, symbol));
            }
        }
        return VelmarBusiUtils::GetCheckedPriceFromTick(tick, price);
    }
    double askForQty(const QVariantMap& tick, qint64 qty) const {
        const QString symbol = tick.value(TickField::symbol).toString();
        const int factor = VelmarBusiUtils::GetDispFactor(data().GetSecurityTypeBySymbol(symbol),
                                                          data().GetSymbolPostBySymbol(symbol));
        return buyInCage(tick, VelmarBusiUtils::GetPriceByTickAndType(
                                   tick, CustomPriceType::AskForQty, qty / factor, nullptr));
    }
    bool isTradable(const QString& symbol) const {
        const QReadLocker locker(&m_accounts.lock);
        const QString accountType = m_accounts.types.value(kAccount);
        if (accountType != FundAccountType::Cash && accountType != FundAccountType::Credit) {
            return false;
        }
        const QStringList exchanges = m_accounts.securityAccounts.value(kAccount).keys();
        const QString subType = data().GetSecuritySubTypeBySymbol(symbol);
        if (MdcSubSecurityType::HKSharesTypeList.contains(subType)) {
            return exchanges.contains(Exchange::hhk) || exchanges.contains(Exchange::szhk);
        }
        const QString type = data().GetSecurityTypeBySymbol(symbol);
        return type == MdcSecurityType::StockType || type == MdcSecurityType::BondType ||
               type == MdcSecurityType::FundType;
    }

private:
    void readMaxRules() {
        const auto rows = numbersOf("MaxQtyRule");
        for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
            const QStringList parts = row.key().split(QLatin1Char('_'), Qt::SkipEmptyParts);
            MaxRule rule{{}, row.value()};
            if (parts.size() > 1) {
                for (const QString& piece : parts.last().split(QLatin1Char(','))) {
                    rule.filter.insert(piece.section(QLatin1Char(':'), 0, 0),
                                       piece.section(QLatin1Char(':'), -1));
                }
            }
            m_maxes[parts.first()].append(rule);
        }
        for (QList<MaxRule>& rules : m_maxes) {
            std::sort(rules.begin(), rules.end(), [](const MaxRule& a, const MaxRule& b) {
                return a.filter.size() > b.filter.size();
            });
        }
    }
    int ruleOf(const QMap<QString, int>& rules, const QString& symbol) const {
        auto found = rules.constFind(data().GetSecuritySubTypeBySymbol(symbol));
        if (found == rules.cend()) {
            found = rules.constFind(data().GetSecurityTypeBySymbol(symbol));
        }
        return found == rules.cend() ? rules.value(m_any, 100) : *found;
    }
    QVariantMap cageOf(const QString& symbol) const {
        const QReadLocker locker(&m_cage.lock);
        return m_cage.cages.value(m_cage.ids.value(symbol));
    }
    double highestBuy(const QVariantMap& cage, const QVariantMap& tick,
                      const QString& symbol) const {
        const double tickSize = std::pow(0.1, precision(symbol));
        const double base = tick.value(TickField::sellPrice.front()).toDouble();
        const double byRatio = base * (cage.value(CageField::userBuyPercent).toDouble() + 1.0);
        const double byTicks = cage.value(CageField::userBuyUnit).toInt() * tickSize + base;
        const int control = cage.value(CageField::controlType).toInt();
        const double limit = control == 1   ? byRatio
                             : control == 2 ? byTicks
                                            : std::max(byRatio, byTicks);
        return std::trunc(limit / tickSize + 1e-6) / std::round(1.0 / tickSize);
    }

    const QString m_any = QStringLiteral("*");
    const QMap<QString, int> m_steps;
    const QMap<QString, int> m_mins;
    QMap<QString, QList<MaxRule>> m_maxes;
    CageRecords m_cage;
    Accounts m_accounts;
};

QVariantMap tickOf(const QString& symbol) {
    QVariantMap tick{{TickField::symbol, symbol},  {TickField::phase, TickPhase::continuous},
                     {TickField::lastPrice, 10.0}, {TickField::previousClose, 10.0},
                     {TickField::maxPrice, 11.0},  {TickField::minPrice, 9.0}};
    for (std::size_t level = 0; level < TickField::kLevels; ++level) {
        const double distance = static_cast<double>(level + 1) * 0.01;
        tick.insert(TickField::buyPrice[level], 10.0 - distance);
        tick.insert(TickField::sellPrice[level], 10.0 + distance);
        tick.insert(TickField::buyQty[level], 200.0);
        tick.insert(TickField::sellQty[level], 200.0);
    }
    return tick;
}

std::vector<Sample> samplesOfMarket() {
    QStringList symbols;
    Facade::GetTradableSymbolListByAccount(kAccount, symbols);
    std::vector<Sample> samples;
    // Evenly spread over the list, so that every type is included.
    const int count = std::min(kSymbols, static_cast<int>(symbols.size()));
    for (int i = 0; i < count; ++i) {
        const QString& symbol = symbols.at(static_cast<int>(qint64{i} * symbols.size() / count));
        samples.push_back({symbol, tickOf(symbol)});
    }
    return samples;
}

using Rule = std::function<double(const Sample&)>;

struct Subject {
    const char* name;
    Rule rule;
    Rule floor;
};

std::vector<Subject> subjects(const Floors& floors) {
    static const QVariantMap order{{QStringLiteral("orderType"), QStringLiteral("1")}};
    const QString noSide;
    return {
        {"step", [](const Sample& s) { return Facade::GetQtyStepBySymbol(s.symbol); },
         [&floors](const Sample& s) { return floors.step(s.symbol); }},
        {"minimum", [](const Sample& s) { return Facade::GetMinQtyPerOrderBySymbol(s.symbol); },
         [&floors](const Sample& s) { return floors.min(s.symbol); }},
        {"maximum",
         [](const Sample& s) { return Facade::GetMaxQtyPerOrderBySymbol(s.symbol, order); },
         [&floors](const Sample& s) { return floors.max(s.symbol, order); }},
        {"odd lot",
         [](const Sample& s) {
             return Facade::GetQtyByOddLotType(s.symbol, CustomOddLotType::Down, kQty, false);
         },
         [&floors](const Sample& s) { return floors.oddLotDown(s.symbol, kQty); }},
        {"price unit",
         [noSide](const Sample& s) { return Facade::GetPriceUnitBySymbol(s.symbol, 10, noSide); },
         [&floors](const Sample& s) { return floors.unit(s.symbol); }},
        {"precision",
         [noSide](const Sample& s) { return Facade::GetPricePrecisionBySymbol(s.symbol, noSide); },
         [&floors](const Sample& s) { return floors.precision(s.symbol); }},
        {"cage limit", [](const Sample& s) { return Facade::CheckCagePrice(10.9, s.tick, false); },
         [&floors](const Sample& s) { return floors.buyInCage(s.tick, 10.9); }},
        {"price by tick",
         [](const Sample& s) {
             return Facade::GetPriceByTickAndType(s.tick, CustomPriceType::AskForQty, 50000, true,
                                                  true, false, nullptr);
         },
         [&floors](const Sample& s) { return floors.askForQty(s.tick, 50000); }},
        {"tradability",
         [](const Sample& s) { return Facade::IsSymbolTradableByAccount(kAccount, s.symbol); },
         [&floors](const Sample& s) { return floors.isTradable(s.symbol); }},
    };
}

bool agree(const Subject& subject, const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) {
        const double ruled = subject.rule(sample);
        const double floor = subject.floor(sample);
        if (std::abs(ruled - floor) > 1e-9) {
            std::fprintf(stderr, "%s of %s: the rule gives %g, the floor %g\n", subject.name,
                         qPrintable(sample.symbol), ruled, floor);
            return false;
        }
    }
    return true;
}

/// Nanoseconds of one call, as measured by each thread.
double nanosecondsEach(int threads, int calls, const std::vector<Sample>& samples,
                       const Rule& rule) {
    std::vector<std::thread> pool;
    const double milliseconds = millisecondsOf([&] {
        for (int thread = 0; thread < threads; ++thread) {
            pool.emplace_back([&samples, &rule, calls, thread] {
                double sum = 0;
                for (int i = 0; i < calls; ++i) {
                    sum += rule(samples[(static_cast<std::size_t>(i) * 7 +
                                         static_cast<std::size_t>(thread)) %
                                        samples.size()]);
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

void compare(int threads, const Subject& subject, const std::vector<Sample>& samples) {
    std::vector<double> rules;
    std::vector<double> floors;
    for (int round = 0; round < kRounds; ++round) {
        floors.push_back(nanosecondsEach(threads, kCalls, samples, subject.floor));
        rules.push_back(nanosecondsEach(threads, kCalls, samples, subject.rule));
    }
    const double rule = medianOf(rules);
    const double floor = medianOf(floors);
    std::printf("%-14s %d thread%s %8.1f ns, floor %8.1f ns, ratio %.2f (at most 2)\n",
                subject.name, threads, threads == 1 ? " " : "s", rule, floor, rule / floor);
}

/// The list that every order ticket requests, over all securities of the market.
void printTradableLists() {
    std::vector<double> lists;
    QStringList symbols;
    for (int round = 0; round < kRounds; ++round) {
        lists.push_back(millisecondsOf(
            [&symbols] { Facade::GetTradableSymbolListByAccount(kAccount, symbols); }));
    }
    std::printf("GetTradableSymbolListByAccount: %.1f ms for %d symbols\n", medianOf(lists),
                static_cast<int>(symbols.size()));
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    const QTemporaryDir home;
    Client::Options options = benchClient(home);
    options.market.historyOrders = 100;
    Client client(options, {});
    QString error;
    if (!client.start(&error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    // The cage is loaded after the accounts; a refresh makes sure that it is loaded now.
    Facade::refreshUserCageInfo();
    const std::vector<Sample> samples = samplesOfMarket();
    const Floors floors(samples);
    const std::vector<Subject> all = subjects(floors);
    std::printf("%zu symbols, %d calls a thread and round, median of %d rounds\n", samples.size(),
                kCalls, kRounds);
    bool good = !samples.empty();
    for (const Subject& subject : all) {
        good = agree(subject, samples) && good;
    }
    for (const Subject& subject : all) {
        compare(1, subject, samples);
        compare(2, subject, samples);
    }
    for (const Subject& subject : all) {
        if (QByteArray(subject.name) == "cage limit") {
            std::printf("%d calls of CheckCagePrice over %zu symbols: %.0f ms, floor %.0f ms\n",
                        kCageCalls, samples.size(),
                        nanosecondsEach(1, kCageCalls, samples, subject.rule) * kCageCalls / 1e6,
                        nanosecondsEach(1, kCageCalls, samples, subject.floor) * kCageCalls / 1e6);
        }
    }
    printTradableLists();
    client.stop();
    return good ? 0 : 1;
}
