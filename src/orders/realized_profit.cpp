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

/// The records of an update event, still without their profit.
QVariantList recordsOf(const RealizedProfitTable& changes) {
    QVariantList records;
    for (auto account = changes.cbegin(); account != changes.cend(); ++account) {
        for (auto symbol = account->cbegin(); symbol != account->cend(); ++symbol) {
            for (auto item = symbol->cbegin(); item != symbol->cend(); ++item) {
                records.append(QVariantMap{{UserAccount::tradingAccount, account.key()},
                                           {UserAccount::securityAccount, item.key()},
                                           {Security::symbol, symbol.key()},
                                           {AppraisementInfo::benefitTotal, 0.0}});
            }
        }
    }
    return records;
}

/// Edits the record in its place: this runs under the lock, for each of many records.
void setProfit(QVariant* record, double profit) {
    auto* const fields = static_cast<QVariantMap*>(record->data());
    (*fields)[AppraisementInfo::benefitTotal] = profit;
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

double RealizedProfit::GetRealizedProfitByAccount(const QString& tradingAccount) const {
    const auto tables = m_profitLock.lock();
    const auto account = tables->m_realizedProfitMap.constFind(tradingAccount);
    double sum = 0;
    if (account != tables->m_realizedProfitMap.cend()) {
        for (const ItemsBySecurityAccount& items : *account) {
            sum += sumOf(items);
        }
    }
    return sum;
}

double RealizedProfit::GetRealizedProfitByAccountAndSymbol(const QString& tradingAccount,
                                                           const QString& symbol,
                                                           const QString& securityAccount) const {
    const auto tables = m_profitLock.lock();
    const auto account = tables->m_realizedProfitMap.constFind(tradingAccount);
    if (account == tables->m_realizedProfitMap.cend()) {
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
    const auto tables = m_profitLock.lock();
    const auto account = tables->m_realizedProfitMap.constFind(tradingAccount);
    return account != tables->m_realizedProfitMap.cend() ? profitsOf(*account) : ProfitBySymbol();
}

QMap<QString, RealizedProfit::ProfitBySymbol> RealizedProfit::GetAllRealizedProfitMap() const {
    const auto tables = m_profitLock.lock();
    const RealizedProfitTable& accounts = tables->m_realizedProfitMap;
    QMap<QString, ProfitBySymbol> profits;
    for (auto account = accounts.cbegin(); account != accounts.cend(); ++account) {
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
    const auto tables = m_profitLock.lock();
    // `fresh` is destroyed after the lock is released, and the former table with it.
    tables->m_realizedProfitMap.swap(fresh.table);
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
    QVariantList records = recordsOf(changes);
    auto record = records.begin();
    const auto tables = m_profitLock.lock();
    for (auto account = changes.cbegin(); account != changes.cend(); ++account) {
        ItemsBySymbol& symbols = tables->m_realizedProfitMap[account.key()];
        for (auto symbol = account->cbegin(); symbol != account->cend(); ++symbol) {
            ItemsBySecurityAccount& items = symbols[symbol.key()];
            for (auto change = symbol->cbegin(); change != symbol->cend(); ++change) {
                RealizedProfitItem& item = items[change.key()];
                item += *change;
                setProfit(&*record++, realizedProfitOf(item));
            }
        }
    }
    announce(records);
}
