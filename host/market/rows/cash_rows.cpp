#include <QHash>

#include "market_random.h"
#include "server_rows.h"
#include "vocabulary/values.h"

namespace {

/// The least and the most of a kind of account, in thousands of yuan.
struct CashRange {
    int least;
    int most;
};

CashRange rangeOf(const QString& fundAccountType) {
    static const QHash<QString, CashRange> ranges{
        {FundAccountType::Cash, {500, 30000}},    {FundAccountType::Credit, {500, 20000}},
        {FundAccountType::Future, {5000, 80000}}, {FundAccountType::Option, {200, 5000}},
        {FundAccountType::Metal, {1000, 40000}},
    };
    return ranges.value(fundAccountType, {100, 1000});
}

}  // namespace

QList<TableRow> makeCashRows(quint32 seed, const AccountTree& tree) {
    constexpr quint32 kOwnSeed = 7;
    constexpr int kFenOfThousand = 100000;
    MarketRandom random(seed + kOwnSeed);
    QList<TableRow> rows;
    for (const AccountTree::TradingAccount& account : tree.accounts) {
        const CashRange range = rangeOf(account.binding.fundAccountType);
        const qint64 thousands = random.between(range.least, range.most);
        const qint64 fen = thousands * kFenOfThousand + random.below(kFenOfThousand);
        rows.append(
            {QStringLiteral("opening_cash"), {account.account, static_cast<double>(fen) / 100}});
    }
    return rows;
}
