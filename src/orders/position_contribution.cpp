#include "position_contribution.h"

#include <cmath>

#include "symbol_data_reader.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr double kLargest = 1e15;
constexpr double kGramsPerKilogram = 1000.0;

double multiplierOf(const QVariantMap& details) {
    const double multiplier = details.value(Security::contractMultiplier).toDouble();
    return std::isfinite(multiplier) && multiplier != 0.0 ? multiplier : 1.0;
}

QString symbolOf(const SymbolDataReader& symbols, const QStringList& standardBonds,
                 const QString& securityID, const QString& exchange) {
    QString known = symbols.symbolOf(securityID, exchange);
    if (!known.isEmpty()) {
        return known;
    }
    const QString assembled =
        VelmarBusiUtils::AssembleSymbolBySecurityIDAndExchange(securityID, exchange);
    return standardBonds.contains(assembled) ? assembled : QString();
}

}  // namespace

bool isCountable(double contribution) {
    return std::isfinite(contribution) && std::abs(contribution) <= kLargest;
}

double countable(double contribution) {
    return isCountable(contribution) ? contribution : 0.0;
}

QString unknownSymbol(const QString& securityID) {
    return QLatin1Char('?') + securityID;
}

PositionSecurity positionSecurityOf(const SymbolDataReader& symbols,
                                    const QStringList& standardBonds, const QString& securityID,
                                    const QString& exchange) {
    PositionSecurity security;
    security.symbol = symbolOf(symbols, standardBonds, securityID, exchange);
    security.isKnown = !security.symbol.isEmpty();
    if (security.isKnown) {
        security.unit = symbols.displayFactorOf(security.symbol) *
                        multiplierOf(symbols.detailsOf(security.symbol));
    } else {
        security.symbol = unknownSymbol(securityID);
    }
    if (exchange == Exchange::sge) {
        security.unit *= kGramsPerKilogram;
    }
    return security;
}

bool hasExchangeRate(const QString& exchange) {
    return exchange == Exchange::hhk || exchange == Exchange::szhk;
}

double midRateOf(const QMap<QString, QVariantMap>& rates, const QString& exchange) {
    const double rate = rates.value(exchange).value(HKSExchgRate::HKSExchgRateMid).toDouble();
    return std::isfinite(rate) && rate > 0.0 ? rate : 0.0;
}
