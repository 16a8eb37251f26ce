#include "market_values.h"

#include <cmath>
#include <optional>
#include <utility>

#include "businessdatamanager/business_data_interface.h"
#include "calc_market_value.h"
#include "commonquotahandler/common_quota_handler.h"
#include "log.h"
#include "position_contribution.h"
#include "position_rebuild.h"
#include "symbol_data_reader.h"
#include "tolerance.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kSubscribe = 1;
constexpr int kFiveLevels = 0;
/// Texts that are no symbols must not fill the log, one by one.
constexpr int kMostWithoutValue = 1000;

void subscribeTicks(const QStringList& symbols) {
    if (!symbols.isEmpty()) {
        CommonQuotaHandler::instance().subscribe(symbols, kSubscribe, kFiveLevels);
    }
}

QString incompleteRemark(const QString& tradingAccount, const QString& symbol) {
    return QStringLiteral(
               "position push without account or security: account \"%1\", security \"%2\"")
        .arg(tradingAccount, symbol);
}

void logRemarks(const QStringList& remarks) {
    for (const QString& remark : remarks) {
        qCWarning(lcOrders).noquote() << remark;
    }
}

QList<QVariantMap> positionRows(const QString& tradingAccount) {
    const QString any;
    return BusinessDataInterface::GetPositionListByAccount(
        {{UserAccount::tradingAccount, tradingAccount}}, any, any, any, any, any, any);
}

double rateIn(const QVariantMap& record) {
    return record.value(HKSExchgRate::HKSExchgRateMid, 1.0).toDouble();
}

double costOf(const QVariantMap& record) {
    return record.value(Security::omsAverageCost).toDouble() *
           record.value(Security::nominalQty).toDouble() * rateIn(record);
}

}  // namespace

/// What a position row changed in its record.
struct MarketValues::Change {
    QString tradingAccount;
    PositionSecurity security;
    double rate = 1.0;
    double oldNominal = 0;
    double newNominal = 0;
    double oldCost = 0;
    double newCost = 0;
    /// The cost of the record that was made before the symbol was known, which the row replaces.
    QString unknownSymbol;
    double unknownCost = 0;
    bool isIncomplete = false;  ///< without account or security
    quint64 epoch = 0;
};

MarketValues::MarketValues(const SymbolDataReader& symbols) : m_symbols(symbols) {}

void MarketValues::loadStandardBonds() {
    m_standardBondList.clear();
    m_standardBondList << QStringLiteral("888880.SH") << QStringLiteral("131990.SZ");
    qCInfo(lcOrders) << "加载标准券代码共计：" << m_standardBondList.size();
}

void MarketValues::initPosData(const std::function<bool()>& isBrokenOff) {
    // Outlives the locks: it holds the former tables in the end, whose destruction takes a while.
    std::optional<PositionRebuild> rebuild;
    {
        // All three are held for the whole rebuild, so that no update meets tables that do not
        // belong together.
        const auto positions = m_positionLock.write();
        const auto prices = m_lastPriceLock.write();
        const auto totals = m_marketValueLock.write();
        rebuild.emplace(m_symbols, m_standardBondList, *positions, *prices);
        const QStringList accounts =
            CBusinessDataBase::GetInstance()->GetTradeAccountList({AuthorityType::AccountTrade});
        for (const QString& account : accounts) {
            if (isBrokenOff && isBrokenOff()) {
                return;
            }
            rebuild->add(account, positionRows(account));
        }
        ++m_epoch;
        std::swap(*positions, rebuild->positions);
        std::swap(*prices, rebuild->prices);
        std::swap(*totals, rebuild->totals);
    }
    logRemarks(rebuild->remarks());
    qCDebug(lcOrders) << "positions were read again:" << rebuild->rowCount() << "rows,"
                      << rebuild->symbols().size() << "symbols with a price";
    subscribeTicks(rebuild->symbols());
}

void MarketValues::slotPositionUpdated(const QVariantMap& dataMap) {
    bool isPriced = true;
    QString symbol;
    {
        const std::lock_guard<std::mutex> stream(m_streamLock);
        Change change;
        applyPosition(dataMap, &change);
        betweenLocks();
        double price = 0;
        isPriced = readPrice(change.security, &price);
        symbol = change.security.symbol;
        betweenLocks();
        addToTotals(change, price);
    }
    if (!isPriced) {
        subscribeTicks({symbol});
    }
}

/// Writes the row into its record and fills `change`. As in a rebuild, the record takes any
/// quantity; the totals decide whether its figures count.
void MarketValues::applyPosition(const QVariantMap& dataMap, Change* change) {
    const QString securityID = dataMap.value(Security::securityID).toString();
    const QString exchange = dataMap.value(UserAccount::securityExchange).toString();
    change->tradingAccount = dataMap.value(UserAccount::tradingAccount).toString();
    change->isIncomplete = change->tradingAccount.isEmpty() || securityID.isEmpty();
    change->security = positionSecurityOf(m_symbols, m_standardBondList, securityID, exchange);
    change->newNominal = dataMap.value(Security::nominalQty).toDouble() * change->security.unit;
    const double averageCost = dataMap.value(Security::omsAverageCost).toDouble();
    const bool ratesApply = hasExchangeRate(exchange);
    const double midRate = ratesApply ? midRateOf(m_symbols.hongKongRates(), exchange) : 1.0;
    bool isRateMissing = false;

    auto positions = m_positionLock.write();
    change->epoch = m_epoch;
    auto& bySymbol = positions->m_positionMap[change->tradingAccount];
    if (change->security.isKnown) {
        takeUnknown(bySymbol, securityID, exchange, change);
    }
    auto& records = bySymbol[change->security.symbol];
    const bool isNew = !records.contains(exchange);
    QVariantMap& record = records[exchange];
    if (isNew && ratesApply) {
        if (midRate > 0.0) {
            record.insert(HKSExchgRate::HKSExchgRateMid, midRate);
        } else if (!positions->m_withoutRate.contains(exchange)) {
            positions->m_withoutRate.insert(exchange);
            isRateMissing = true;
        }
    }
    change->rate = rateIn(record);
    change->oldNominal = record.value(Security::nominalQty).toDouble();
    change->oldCost = costOf(record);
    change->newCost = averageCost * change->newNominal * change->rate;
    record.insert(Security::nominalQty, change->newNominal);
    record.insert(Security::omsAverageCost, averageCost);
    if (change->security.isKnown) {
        positions->m_holders[change->security.symbol][change->tradingAccount][exchange] = {
            change->newNominal, change->rate};
    }
    positions.unlock();

    if (isRateMissing) {
        logRemarks({missingRateRemark(exchange)});
    }
}

/// Removes the record that a row of the position left before its symbol was known.
void MarketValues::takeUnknown(RecordsBySymbol& bySymbol, const QString& securityID,
                               const QString& exchange, Change* change) {
    const QString symbol = unknownSymbol(securityID);
    const auto records = bySymbol.find(symbol);
    if (records == bySymbol.end() || !records->contains(exchange)) {
        return;
    }
    change->unknownSymbol = symbol;
    change->unknownCost = costOf(records->take(exchange));
    if (records->isEmpty()) {
        bySymbol.erase(records);
    }
}

bool MarketValues::readPrice(const PositionSecurity& security, double* price) const {
    if (m_standardBondList.contains(security.symbol)) {
        *price = kStandardBondPrice;
        return true;
    }
    if (!security.isKnown) {
        return true;
    }
    const auto prices = m_lastPriceLock.read();
    *price = prices->m_lastPriceMap.value(security.symbol, 0.0);
    return *price != 0.0;
}

void MarketValues::addToTotals(const Change& change, double price) {
    const QString& symbol = change.security.symbol;
    const double value = change.newNominal * price * change.rate;
    QStringList remarks;
    VelmarMarketValueInfo delta;
    delta.marketValue = countable(value) - countable(change.oldNominal * price * change.rate);
    delta.costValue = countable(change.newCost) - countable(change.oldCost);
    delta.symbolMarketValueMap.insert(symbol, delta.marketValue);
    delta.symbolCostValueMap.insert(symbol, delta.costValue);
    if (!change.unknownSymbol.isEmpty()) {
        delta.costValue -= countable(change.unknownCost);
        delta.symbolCostValueMap.insert(change.unknownSymbol, -countable(change.unknownCost));
    }

    auto totals = m_marketValueLock.write();
    if (change.epoch != m_epoch) {
        return;
    }
    VelmarMarketValueInfo& total = totals->m_marketValueMap[change.tradingAccount];
    total.tradingAccount = change.tradingAccount;
    total += delta;
    const bool isLeftOut = !isCountable(value) || !isCountable(change.newCost);
    if ((isLeftOut || change.isIncomplete) &&
        isNewRemark(totals->m_leftOut, change.tradingAccount, symbol)) {
        remarks.append(isLeftOut ? leftOutRemark(change.tradingAccount, symbol, change.newNominal,
                                                 price, change.newCost)
                                 : incompleteRemark(change.tradingAccount, symbol));
    }
    totals.unlock();
    logRemarks(remarks);
}

void MarketValues::takeTick(const QString& symbol) {
    const std::lock_guard<std::mutex> stream(m_streamLock);
    PriceStep step;
    if (!takePrice(symbol, &step)) {
        return;
    }
    betweenLocks();
    SymbolHolders holders;
    {
        const auto positions = m_positionLock.read();
        holders = positions->m_holders.value(symbol);
    }
    if (holders.isEmpty()) {
        return;
    }
    betweenLocks();
    addToHolders(symbol, step, holders);
}

/// Stores the symbol's last price. False when it has not changed or cannot be used.
bool MarketValues::takePrice(const QString& symbol, PriceStep* step) {
    auto prices = m_lastPriceLock.write();
    step->epoch = m_epoch;
    const auto known = prices->m_lastPriceMap.find(symbol);
    const bool isKnown = known != prices->m_lastPriceMap.end();
    step->before = isKnown ? *known : 0.0;
    step->after = CommonQuotaHandler::instance().getLastPrice(symbol);
    if (!std::isfinite(step->after)) {
        const bool isNew = !prices->m_badTicks.contains(symbol);
        prices->m_badTicks.insert(symbol);
        prices.unlock();
        if (isNew) {
            qCWarning(lcOrders) << "tick of" << symbol << "ignored: its last price is"
                                << step->after;
        }
        return false;
    }
    if (std::abs(step->after - step->before) < kNothing || m_standardBondList.contains(symbol)) {
        return false;
    }
    if (isKnown) {
        *known = step->after;
    } else {
        prices->m_lastPriceMap.insert(symbol, step->after);
    }
    return true;
}

void MarketValues::addToHolders(const QString& symbol, const PriceStep& step,
                                const SymbolHolders& holders) {
    QStringList remarks;
    auto totals = m_marketValueLock.write();
    if (step.epoch != m_epoch) {
        return;
    }
    for (auto holder = holders.cbegin(); holder != holders.cend(); ++holder) {
        double delta = 0;
        bool isLeftOut = false;
        for (const Holding& held : holder.value()) {
            const double value = step.after * held.nominal * held.rate;
            isLeftOut = isLeftOut || !isCountable(value);
            delta += countable(value) - countable(step.before * held.nominal * held.rate);
        }
        VelmarMarketValueInfo& total = totals->m_marketValueMap[holder.key()];
        total.marketValue += delta;
        total.symbolMarketValueMap[symbol] += delta;
        if (isLeftOut && isNewRemark(totals->m_leftOut, holder.key(), symbol)) {
            remarks.append(QStringLiteral("left out of the market value of %1 in %2: price %3")
                               .arg(holder.key(), symbol)
                               .arg(step.after));
        }
    }
    totals.unlock();
    logRemarks(remarks);
}

VelmarMarketValueInfo MarketValues::GetMarketValueByTradingAccount(
    const QString& tradingAccount) const {
    const auto totals = m_marketValueLock.read();
    VelmarMarketValueInfo info = totals->m_marketValueMap.value(tradingAccount);
    // A copy that shared its maps would make the next tick copy them under the write lock.
    info.symbolMarketValueMap.detach();
    info.symbolCostValueMap.detach();
    return info;
}

double MarketValues::calcMarketValue(QString& error, const QString& symbol, qint64 quantity,
                                     double price, double multiplier) const {
    const double value = ::calcMarketValue(m_symbols, m_standardBondList, error, symbol, quantity,
                                           price, multiplier);
    if (std::isfinite(value)) {
        return value;
    }
    if (isFirstWithoutValue(symbol)) {
        qCWarning(lcOrders) << "no market value of" << symbol << "for quantity" << quantity
                            << "price" << price << "multiplier" << multiplier;
    }
    return 0.0;
}

bool MarketValues::isFirstWithoutValue(const QString& symbol) const {
    const auto logged = m_withoutValueLock.lock();
    if (logged->size() >= kMostWithoutValue || logged->contains(symbol)) {
        return false;
    }
    logged->insert(symbol);
    return true;
}
