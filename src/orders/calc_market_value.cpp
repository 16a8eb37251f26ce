#include "calc_market_value.h"

#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"

namespace {

inline const QString kSuccess = QStringLiteral("0");

double bondValue(const QStringList& standardBonds, QString& error, const QString& symbol,
                 double quantity, double price) {
    if (standardBonds.contains(symbol)) {
        return quantity * kStandardBondPrice;
    }
    stuBaseInfo bond;
    if (ZnBondDataMgr::instance().GetSingelBondBaseInfo(symbol, bond) != kSuccess) {
        error = QStringLiteral("未找到债券代码%1的应计利息（stockInterest）").arg(symbol);
        return 0.0;
    }
    return (bond.stockInterest + price) * quantity;
}

}  // namespace

double calcMarketValue(const SymbolDataReader& symbols, const QStringList& standardBonds,
                       QString& error, const QString& symbol, qint64 pieces, double price,
                       double multiplier) {
    const auto quantity = static_cast<double>(pieces);
    const QString type = symbols.securityTypeOf(symbol);
    // A list of securities need not contain the standard bonds.
    if (type == MdcSecurityType::BondType || (type.isEmpty() && standardBonds.contains(symbol))) {
        return bondValue(standardBonds, error, symbol, quantity, price);
    }
    if (type == MdcSecurityType::FuturesType) {
        return quantity * price * multiplier;
    }
    if (type == MdcSecurityType::OptionType) {
        const QVariantMap details = symbols.detailsOf(symbol);
        return quantity * price * details.value(Security::contractMultiplier, 1).toDouble();
    }
    if (type == MdcSecurityType::SpotType) {
        const QVariantMap gold = ZnGoldEtfDataMgr::instance()->GetGoldSecurityInfoBySymbol(symbol);
        return quantity * price * gold.value(GoldTrade::TradeUnitQty).toDouble();
    }
    return quantity * price;
}
