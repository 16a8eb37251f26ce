#include "position_rebuild.h"

#include <cmath>

#include "calc_market_value.h"
#include "commonquotahandler/common_quota_handler.h"
#include "symbol_data_reader.h"
#include "vocabulary/fields.h"

namespace {

/// Appends the remark on the first of several, with their count.
void appendRemark(QStringList* remarks, const QString& first, int count, const char* what) {
    if (count == 1) {
        remarks->append(first);
    } else if (count > 1) {
        remarks->append(QStringLiteral("%1; %2 %3 in all").arg(first).arg(count).arg(what));
    }
}

}  // namespace

bool isNewRemark(QSet<QString>& logged, const QString& tradingAccount, const QString& symbol) {
    const QString key = tradingAccount + QLatin1Char('|') + symbol;
    if (logged.contains(key)) {
        return false;
    }
    logged.insert(key);
    return true;
}

QString leftOutRemark(const QString& tradingAccount, const QString& symbol, double nominal,
                      double price, double cost) {
    return QStringLiteral(
               "left out of the market value of %1 in %2: quantity %3, price %4, cost %5")
        .arg(tradingAccount, symbol)
        .arg(nominal)
        .arg(price)
        .arg(cost);
}

QString missingRateRemark(const QString& exchange) {
    return QStringLiteral("no mid rate of exchange %1 is loaded, its positions count at 1.0")
        .arg(exchange);
}

PositionRebuild::PositionRebuild(const SymbolDataReader& symbols, const QStringList& standardBonds,
                                 const PositionTables& formerPositions,
                                 const LastPriceTables& formerPrices)
    : m_symbols(symbols), m_standardBonds(standardBonds), m_rates(symbols.hongKongRates()) {
    positions.m_withoutRate = formerPositions.m_withoutRate;
    prices.m_lastPriceMap = formerPrices.m_lastPriceMap;
}

QStringList PositionRebuild::remarks() const {
    QStringList all = m_missingRates;
    appendRemark(&all, m_firstLeftOut, m_leftOutCount, "rows");
    appendRemark(&all, m_firstBadPrice, m_badPriceCount, "symbols");
    return all;
}

void PositionRebuild::add(const QString& tradingAccount, const QList<QVariantMap>& rows) {
    VelmarMarketValueInfo& total = totals.m_marketValueMap[tradingAccount];
    total.tradingAccount = tradingAccount;
    for (const QVariantMap& row : rows) {
        addRow(tradingAccount, row, total);
    }
    m_rowCount += rows.size();
}

void PositionRebuild::addRow(const QString& tradingAccount, const QVariantMap& row,
                             VelmarMarketValueInfo& total) {
    const QString exchange = row.value(UserAccount::securityExchange).toString();
    const PositionSecurity& security =
        securityOf(row.value(Security::securityID).toString(), exchange);
    const double nominal = row.value(Security::nominalQty).toDouble() * security.unit;
    QVariantMap record = row;
    record.insert(Security::nominalQty, nominal);
    const double rate = rateOf(exchange, record);
    const double price = priceOf(security);
    const double value = nominal * price * rate;
    const double cost = row.value(Security::omsAverageCost).toDouble() * nominal * rate;
    if (!isCountable(value) || !isCountable(cost)) {
        // The streams need not log it again. Several rows of one position are one remark there.
        isNewRemark(totals.m_leftOut, tradingAccount, security.symbol);
        if (++m_leftOutCount == 1) {
            m_firstLeftOut = leftOutRemark(tradingAccount, security.symbol, nominal, price, cost);
        }
    }
    VelmarMarketValueInfo contribution;
    contribution.marketValue = countable(value);
    contribution.costValue = countable(cost);
    contribution.symbolMarketValueMap.insert(security.symbol, contribution.marketValue);
    contribution.symbolCostValueMap.insert(security.symbol, contribution.costValue);
    total += contribution;
    positions.m_positionMap[tradingAccount][security.symbol][exchange] = record;
    if (security.isKnown) {
        positions.m_holders[security.symbol][tradingAccount][exchange] = {nominal, rate};
    }
}

const PositionSecurity& PositionRebuild::securityOf(const QString& securityID,
                                                    const QString& exchange) {
    const QPair<QString, QString> key(securityID, exchange);
    auto found = m_securities.find(key);
    if (found == m_securities.end()) {
        found = m_securities.insert(
            key, positionSecurityOf(m_symbols, m_standardBonds, securityID, exchange));
    }
    return found.value();
}

/// The rate at which a row counts, written into its record where the exchange has one.
double PositionRebuild::rateOf(const QString& exchange, QVariantMap& record) {
    record.remove(HKSExchgRate::HKSExchgRateMid);
    if (!hasExchangeRate(exchange)) {
        return 1.0;
    }
    const double rate = midRateOf(m_rates, exchange);
    if (rate > 0.0) {
        positions.m_withoutRate.remove(exchange);
        record.insert(HKSExchgRate::HKSExchgRateMid, rate);
        return rate;
    }
    if (!positions.m_withoutRate.contains(exchange)) {
        positions.m_withoutRate.insert(exchange);
        m_missingRates.append(missingRateRemark(exchange));
    }
    return 1.0;
}

double PositionRebuild::priceOf(const PositionSecurity& security) {
    if (m_standardBonds.contains(security.symbol)) {
        return kStandardBondPrice;
    }
    if (!security.isKnown) {
        return 0.0;
    }
    double& price = prices.m_lastPriceMap[security.symbol];
    if (!m_isPriced.contains(security.symbol)) {
        m_isPriced.insert(security.symbol);
        m_priced.append(security.symbol);
        readPrice(security.symbol, &price);
    }
    return price;
}

/// Leaves the former price where the feed has no usable one.
void PositionRebuild::readPrice(const QString& symbol, double* price) {
    const double last = CommonQuotaHandler::instance().getLastPrice(symbol);
    if (std::isfinite(last)) {
        *price = last;
        return;
    }
    prices.m_badTicks.insert(symbol);
    if (++m_badPriceCount == 1) {
        m_firstBadPrice = QStringLiteral("the last price of %1 is not a finite number, %2 counts")
                              .arg(symbol)
                              .arg(*price);
    }
}
