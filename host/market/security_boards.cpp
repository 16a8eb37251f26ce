#include "security_boards.h"

#include <QDate>
#include <array>

#include "market_names.h"
#include "vocabulary/values.h"

namespace {

inline const QString kHongKongMain = MdcSubSecurityType::HKSharesTypeList.at(0);
inline const QString kHongKongGrowth = MdcSubSecurityType::HKSharesTypeList.at(1);
inline const QString kHongKongFund = MdcSubSecurityType::HKSharesTypeList.at(2);
constexpr int kFundTurns = 3;

using Text = std::function<QString(int)>;

/// Consecutive ids, with a gap after the first `count` of them unless `goOnAt` is 0.
struct Numbering {
    int first;
    int count;
    int goOnAt = 0;
    int step = 1;
};

Text counting(const Numbering& numbers, int digits) {
    return [=](int index) {
        const bool early = numbers.goOnAt == 0 || index < numbers.count;
        const int number = early ? numbers.first + index * numbers.step
                                 : numbers.goOnAt + (index - numbers.count) * numbers.step;
        return QStringLiteral("%1").arg(number, digits, 10, QLatin1Char('0'));
    };
}

Text companies(int turn) {
    return [=](int index) { return MarketNames::company(index * kCompanyTurns + turn); };
}

Text funds(int turn) {
    return [=](int index) { return MarketNames::fund(index * kFundTurns + turn); };
}

/// For a kind that two exchanges have: each takes every other serial.
Text bonds(const QString& kind, int turn) {
    return [=](int index) {
        const int serial = index * 2 + turn;
        return MarketNames::bondIssuer(serial) + kind + QString::number(serial + 1);
    };
}

// The terms of the pledged repos, in days, with their ids on either exchange.
struct RepoTerm {
    int days;
    const char* shanghaiId;
    const char* shenzhenId;
};
constexpr std::array<RepoTerm, 9> kRepoTerms{{{1, "204001", "131810"},
                                              {2, "204002", "131811"},
                                              {3, "204003", "131800"},
                                              {4, "204004", "131809"},
                                              {7, "204007", "131801"},
                                              {14, "204014", "131802"},
                                              {28, "204028", "131803"},
                                              {91, "204091", "131805"},
                                              {182, "204182", "131806"}}};

const RepoTerm& repoTerm(int index) {
    return kRepoTerms[static_cast<size_t>(index)];
}

Text repoNames(const QString& prefix) {
    return [=](int index) {
        return prefix + QStringLiteral("%1").arg(repoTerm(index).days, 3, 10, QLatin1Char('0'));
    };
}

/// Contracts by month, from the start of 2026 on.
Text contracts(const QString& prefix) {
    return [=](int index) {
        return prefix + QDate(2026, 1, 1).addMonths(index).toString(QStringLiteral("yyMM"));
    };
}

QString optionName(int index) {
    return QStringLiteral("虚三百%1%2月%3")
        .arg(index % 2 ? QStringLiteral("沽") : QStringLiteral("购"))
        .arg(index / 2 % 12 + 1)
        .arg(3000 + index / 24 * 50);
}

QVector<SecurityBoard> mainlandShares() {
    using namespace MdcSubSecurityType;
    const QString& stock = MdcSecurityType::StockType;
    const Numbering shanghai{600000, kNewSharesShanghai - 600000,
                             kNewSharesShanghai + kNewShareIds};
    const Numbering growth{300001, kNewSharesShenzhen - 300001, kNewSharesShenzhen + kNewShareIds};
    return {
        {1700, 1, 80000, Exchange::sh, SymbolPost::sh, stock, BoardKind::mainBoard,
         counting(shanghai, 6), companies(0), 0.01, 2.5, 60},
        {1500, 1, 90000, Exchange::sz, SymbolPost::sz, stock, BoardKind::mainBoard,
         counting({1, 0}, 6), companies(1), 0.01, 2.5, 60},
        {600, 1, 11000, Exchange::sh, SymbolPost::sh, stock, ScienTechInnovateBoard,
         counting({688001, 0}, 6), companies(2), 0.01, 8, 300},
        {900, 1, 50000, Exchange::sz, SymbolPost::sz, stock, Gemstock, counting(growth, 6),
         companies(3), 0.01, 4, 200},
        {300, 1, 9900, Exchange::bj, kBeijingPost, stock, BjSelectedStock, counting({920001, 0}, 6),
         companies(4), 0.01, 3, 60},
    };
}

QVector<SecurityBoard> mainlandBonds() {
    using namespace MdcSubSecurityType;
    using namespace BoardKind;
    const QString& bond = MdcSecurityType::BondType;
    const QString& repo = Pledgetypetreasurybondrepurchase;
    const QString& sh = Exchange::sh;
    const QString& sz = Exchange::sz;
    const int terms = kRepoTerms.size();
    const QString convertible = QStringLiteral("转");
    const QString treasury = QStringLiteral("国债");
    const QString corporate = QStringLiteral("债");
    return {
        {300, 1, 9000, sh, SymbolPost::sh, bond, Convertiblebond, counting({113001, 0}, 6),
         bonds(convertible, 0), 0.001, 90, 180},
        {300, 1, 6000, sz, SymbolPost::sz, bond, Convertiblebond, counting({123001, 0}, 6),
         bonds(convertible, 1), 0.001, 90, 180},
        {500, 1, 80000, sh, SymbolPost::sh, bond, treasuryBond, counting({10001, 0}, 6),
         bonds(treasury, 0), 0.001, 95, 110},
        {400, 1, 9000, sz, SymbolPost::sz, bond, treasuryBond, counting({101001, 0}, 6),
         bonds(treasury, 1), 0.001, 95, 110},
        {782, 1, 60000, sh, SymbolPost::sh, bond, corporateBond, counting({136001, 0}, 6),
         bonds(corporate, 0), 0.001, 90, 108},
        {700, 1, 10900, sz, SymbolPost::sz, bond, corporateBond, counting({112001, 0}, 6),
         bonds(corporate, 1), 0.001, 90, 108},
        {9, terms, terms, sh, SymbolPost::sh, bond, repo,
         [](int index) { return QString::fromLatin1(repoTerm(index).shanghaiId); },
         repoNames(QStringLiteral("GC")), 0.005, 1.2, 3},
        {9, terms, terms, sz, SymbolPost::sz, bond, repo,
         [](int index) { return QString::fromLatin1(repoTerm(index).shenzhenId); },
         repoNames(QStringLiteral("R-")), 0.001, 1.2, 3},
    };
}

QVector<SecurityBoard> mainlandFunds() {
    const QString& fund = MdcSecurityType::FundType;
    const QString& etf = MdcSubSecurityType::TradingopenindexfundETF;
    return {
        {800, 1, 20000, Exchange::sh, SymbolPost::sh, fund, etf, counting({510010, 0, 0, 2}, 6),
         funds(0), 0.001, 0.5, 6},
        {700, 1, 20000, Exchange::sz, SymbolPost::sz, fund, etf, counting({159001, 999, 160000}, 6),
         funds(1), 0.001, 0.5, 6},
    };
}

QVector<SecurityBoard> hongKong() {
    const QString& stock = MdcSecurityType::StockType;
    return {
        {560, 1, 30000, Exchange::hhk, SymbolPost::hk, stock, kHongKongMain,
         counting({2001, 799, 10001}, 5), companies(5), 0, 0.2, 400},
        {240, 1, 20000, Exchange::szhk, SymbolPost::hk, stock, kHongKongGrowth,
         counting({8001, 799, 50001}, 5), companies(6), 0, 0.1, 20},
        {28, 1, 900, Exchange::hhk, SymbolPost::hk, MdcSecurityType::FundType, kHongKongFund,
         counting({2801, 190, 3001}, 5), funds(2), 0, 2, 30},
    };
}

QVector<SecurityBoard> contractsAndGold() {
    const QString& futures = MdcSecurityType::FuturesType;
    return {
        {1540, 1, 90000, Exchange::sh, SymbolPost::sh, MdcSecurityType::OptionType,
         BoardKind::stockOption, counting({10000001, 0}, 8), &optionName, 0.0001, 0.005, 0.4},
        {60, 2, 1100, Exchange::cffex, SymbolPost::cffex, futures, BoardKind::indexFuture,
         contracts(QStringLiteral("IF")), contracts(QStringLiteral("三百指数")), 0.2, 3500, 4500},
        {60, 2, 1100, Exchange::shf, SymbolPost::shf, futures, BoardKind::commodityFuture,
         contracts(QStringLiteral("CU")), contracts(QStringLiteral("铜")), 10, 70000, 80000},
        {12, 2, 999, Exchange::sge, kGoldPost, MdcSecurityType::SpotType, BoardKind::gold,
         [](int index) { return QStringLiteral("AU%1").arg(index + 1, 2, 10, QLatin1Char('0')); },
         [](int index) { return QStringLiteral("黄金现货%1").arg(index + 1); }, 0.01, 700, 900},
    };
}

}  // namespace

QVector<SecurityBoard> securityBoards() {
    return mainlandShares() + mainlandBonds() + mainlandFunds() + hongKong() + contractsAndGold();
}
