#include "realized_profit.h"

#include <utility>
#include <vector>

#include "deal_sums.h"
#include "log.h"
#include "tolerance.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kRowsBetweenChecks = 10000;

using ItemsBySecurityAccount = QMap<QString, RealizedProfitItem>;
using ItemsBySymbol = QMap<QString, ItemsBySecurityAccount>;

double sumOf(const ItemsBySecurityAccount& items) {
    double sum = 0;
    for (const RealizedProfitItem& item : items) {
        sum += realizedProfitOf(item);
    }
    return sum;
}

RealizedProfit::ProfitBySymbol profitsOf(const ItemsBySymbol& symbols) {
    RealizedProfit::ProfitBySymbol profits;
    for (auto symbol = symbols.cbegin(); symbol != symbols.cend(); ++symbol) {
        QMap<QString, double> bySecurityAccount;
        for (auto item = symbol->cbegin(); item != symbol->cend(); ++item) {
            bySecurityAccount.insert(bySecurityAccount.cend(), item.key(), realizedProfitOf(*item));
        }
        profits.insert(profits.cend(), symbol.key(), bySecurityAccount);
    }
    return profits;
}

}  // namespace

double realizedProfitOf(const RealizedProfitItem& item) {
    double gain = 0;
    if (item.buyQty > kNothing && item.sellQty > kNothing) {
        const double matched = item.sellQty > item.buyQty ? item.buyQty : item.sellQty;
        gain = (item.sellAmount / item.sellQty - item.buyAmount / item.buyQty) * matched;
    }
    return gain - item.commission;
}

std::shared_ptr<const RealizedProfitTable> RealizedProfit::table() const {
    const auto tables = m_profitLock.lock();
    return tables->m_realizedProfitMap;
}

double RealizedProfit::GetRealizedProfitByAccount(const QString& tradingAccount) const {
    const auto accounts = table();
    const auto account = accounts->constFind(tradingAccount);
    double sum = 0;
    if (account != accounts->cend()) {
        for (const ItemsBySecurityAccount& items : *account) {
            sum += sumOf(items);
        }
    }
    return sum;
}

double RealizedProfit::GetRealizedProfitByAccountAndSymbol(const QString& tradingAccount,
                                                           const QString& symbol,
                                                           const QString& securityAccount) const {
    const auto accounts = table();
    const auto account = accounts->constFind(tradingAccount);
    if (account == accounts->cend()) {
        return 0;
    }
    const auto items = account->constFind(symbol);
    if (items == account->cend()) {
        return 0;
    }
    if (securityAccount.isEmpty()) {
        return sumOf(*items);
    }
    const auto item = items->constFind(securityAccount);
    return item != items->cend() ? realizedProfitOf(*item) : 0.0;
}

RealizedProfit::ProfitBySymbol RealizedProfit::GetRealizedProfitMapByAccount(
    const QString& tradingAccount) const {
    const auto accounts = table();
    const auto account = accounts->constFind(tradingAccount);
    return account != accounts->cend() ? profitsOf(*account) : ProfitBySymbol();
}

QMap<QString, RealizedProfit::ProfitBySymbol> RealizedProfit::GetAllRealizedProfitMap() const {
    const auto accounts = table();
    QMap<QString, ProfitBySymbol> profits;
    for (auto account = accounts->cbegin(); account != accounts->cend(); ++account) {
        profits.insert(profits.cend(), account.key(), profitsOf(*account));
    }
    return profits;
}

std::optional<RealizedProfit::Fresh> RealizedProfit::build(
    const QList<QVariantMap>& executions, const std::function<bool()>& isBrokenOff) {
    Fresh fresh;
    DealSums sums;
    std::vector<quint64> ids;
    ids.reserve(static_cast<size_t>(executions.size()));
    int untilCheck = kRowsBetweenChecks;
    for (const QVariantMap& execution : executions) {
        if (--untilCheck == 0) {
            untilCheck = kRowsBetweenChecks;
            if (isBrokenOff()) {
                return std::nullopt;
            }
        }
        sums.addListed(execution, &ids);
    }
    sums.logLeftOut();
    fresh.counted.addListed(ids);
    fresh.table = sums.table();
    return fresh;
}

void RealizedProfit::replace(Fresh fresh, const std::function<void()>& announce) {
    m_counted = std::move(fresh.counted);
    putInForce(std::move(fresh.table), announce);
}

void RealizedProfit::putInForce(RealizedProfitTable changed,
                                const std::function<void()>& announce) {
    std::shared_ptr<const RealizedProfitTable> table =
        std::make_shared<RealizedProfitTable>(std::move(changed));
    const auto tables = m_profitLock.lock();
    // The former table is destroyed after the lock is released.
    tables->m_realizedProfitMap.swap(table);
    announce();
}

void RealizedProfit::addDeals(const QVariantList& deals,
                              const std::function<void(const QVariantList& records)>& announce) {
    DealSums sums;
    for (const QVariant& deal : deals) {
        sums.addStreamed(deal.toMap(), &m_counted);
    }
    sums.logLeftOut();
    if (sums.repeated() > 0) {
        qCDebug(lcOrders) << "realized profit:" << sums.repeated() << "deals were counted already";
    }
    const RealizedProfitTable changes = sums.table();
    if (changes.isEmpty()) {
        return;
    }
    QVariantList records;
    RealizedProfitTable changed = *table();
    for (auto account = changes.cbegin(); account != changes.cend(); ++account) {
        ItemsBySymbol& symbols = changed[account.key()];
        for (auto symbol = account->cbegin(); symbol != account->cend(); ++symbol) {
            ItemsBySecurityAccount& items = symbols[symbol.key()];
            for (auto change = symbol->cbegin(); change != symbol->cend(); ++change) {
                RealizedProfitItem& item = items[change.key()];
                item += *change;
                records.append(
                    QVariantMap{{UserAccount::tradingAccount, account.key()},
                                {UserAccount::securityAccount, change.key()},
                                {Security::symbol, symbol.key()},
                                {AppraisementInfo::benefitTotal, realizedProfitOf(item)}});
            }
        }
    }
    putInForce(std::move(changed), [&] { announce(records); });
}
