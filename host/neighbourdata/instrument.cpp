#include "instrument.h"

#include <QVariantMap>
#include <cmath>

#include "price_samples.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

// Repos are counted in these; they are on no list of securities.
inline const QStringList kStandardBonds{QStringLiteral("888880.SH"), QStringLiteral("131990.SZ")};
constexpr double kGramsPerKilogram = 1000;

const CBusinessDataBase& data() {
    return *CBusinessDataBase::GetInstance();
}

QString symbolOf(const QString& securityID, const QString& exchange) {
    QString known = CBusinessDataBase::GetInstance()->getSymbolBySecurityIDAndExchange(
        securityID, exchange, SecurityIDSource::securityID);
    if (!known.isEmpty()) {
        return known;
    }
    const QString assembled =
        VelmarBusiUtils::AssembleSymbolBySecurityIDAndExchange(securityID, exchange);
    return kStandardBonds.contains(assembled) ? assembled : QString();
}

double contractMultiplier(const QVariantMap& details) {
    const double multiplier = details.value(Security::contractMultiplier).toDouble();
    return std::isfinite(multiplier) && multiplier > 0 ? multiplier : 1;
}

double unitOf(const QString& type, const QString& symbol, const QVariantMap& details) {
    if (type == MdcSecurityType::SpotType) {
        const double grams = ZnGoldEtfDataMgr::instance()
                                 ->GetGoldSecurityInfoBySymbol(symbol)
                                 .value(GoldTrade::TradeUnitQty)
                                 .toDouble();
        return Instrument::goldUnit(grams, contractMultiplier(details));
    }
    const bool isContract =
        type == MdcSecurityType::FuturesType || type == MdcSecurityType::OptionType;
    return isContract ? contractMultiplier(details) : 1;
}

bool isSellableNextDay(const QString& type, const QString& exchange) {
    const bool isShare = type == MdcSecurityType::StockType || type == MdcSecurityType::FundType;
    return isShare &&
           (exchange == Exchange::sh || exchange == Exchange::sz || exchange == Exchange::bj);
}

std::shared_ptr<const Instrument> make(const QString& symbol, const QString& securityID,
                                       const QString& exchange) {
    const QString type = data().GetSecurityTypeBySymbol(symbol);
    const QVariantMap details = data().GetSecurityDetailsBySymbol(symbol);
    const int factor = VelmarBusiUtils::GetDispFactor(type, data().GetSymbolPostBySymbol(symbol));
    const double inKilograms = exchange == Exchange::sge ? kGramsPerKilogram : 1;
    Instrument made;
    made.symbol = symbol;
    made.securityID = securityID;
    made.exchange = exchange;
    made.unit = unitOf(type, symbol, details);
    made.nominalPerPiece = made.unit / (factor * contractMultiplier(details) * inKilograms);
    made.rate = Instrument::rateOf(exchange);
    made.sellableNextDay = isSellableNextDay(type, exchange);
    return std::make_shared<const Instrument>(made);
}

}  // namespace

double Instrument::goldUnit(double tradeUnitQty, double contractMultiplier) {
    return tradeUnitQty > 0 ? tradeUnitQty : contractMultiplier * kGramsPerKilogram;
}

double Instrument::rateOf(const QString& exchange) {
    for (const QVariantMap& row : PriceSamples::hongKongRates()) {
        if (row.value(UserAccount::securityExchange).toString() == exchange) {
            return (row.value(HKSExchgRate::HKSExchgRateBuy).toDouble() +
                    row.value(HKSExchgRate::HKSExchgRateSell).toDouble()) /
                   2;
        }
    }
    return 1;
}

std::shared_ptr<const Instrument> Instrument::find(const QString& symbol, const QString& securityID,
                                                   const QString& exchange, QString* error) {
    const QString found = symbol.isEmpty() ? symbolOf(securityID, exchange) : symbol;
    if (kStandardBonds.contains(found)) {
        const QString id = found.section(QLatin1Char('.'), 0, 0);
        const QString& own = found == kStandardBonds.first() ? Exchange::sh : Exchange::sz;
        if ((!securityID.isEmpty() && securityID != id) ||
            (!exchange.isEmpty() && exchange != own)) {
            *error = QStringLiteral("the symbol '%1' has the id '%2' on the exchange '%3'")
                         .arg(found, id, own);
            return nullptr;
        }
        return make(found, id, own);
    }
    const QVariantMap details = data().GetSecurityDetailsBySymbol(found);
    if (found.isEmpty() || details.isEmpty()) {
        *error = symbol.isEmpty()
                     ? QStringLiteral("no security has the id '%1' on the exchange '%2'")
                           .arg(securityID, exchange)
                     : QStringLiteral("the symbol '%1' is unknown").arg(symbol);
        return nullptr;
    }
    const QString id = details.value(Security::securityID).toString();
    if (!securityID.isEmpty() && securityID != id) {
        *error =
            QStringLiteral("the symbol '%1' has the id '%2', not '%3'").arg(found, id, securityID);
        return nullptr;
    }
    const QStringList exchanges = data().GetSecurityExchangeBySymbol(found, false);
    if (exchanges.isEmpty() || (!exchange.isEmpty() && !exchanges.contains(exchange))) {
        *error = QStringLiteral("the symbol '%1' is not listed on the exchange '%2'")
                     .arg(found, exchange);
        return nullptr;
    }
    return make(found, id, exchange.isEmpty() ? exchanges.first() : exchange);
}
