#include "core.h"
#include "quantity_rules.h"
#include "symbol_identity.h"
#include "tradability.h"
#include "velmar_business_data_interface.h"

// The functions about symbols. None needs a presenter: the core is created by the first call.

namespace {

const SymbolIdentity& identity() {
    return core().symbolIdentity();
}

const QuantityRules& quantities() {
    return core().quantityRules();
}

const Tradability& tradability() {
    return core().tradability();
}

}  // namespace

QVariantMap VelmarBusinessDataInterface::GetSecurityDetailsBySymbol(QString symbol) {
    return identity().GetSecurityDetailsBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetSecurityTypeBySymbol(const QString& symbol) {
    return identity().GetSecurityTypeBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetSecuritySubTypeBySymbol(const QString& symbol) {
    return identity().GetSecuritySubTypeBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetASecurityExchangeBySymbol(const QString& symbol) {
    return identity().GetASecurityExchangeBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetFirstSecurityExchangeBySymbol(const QString& symbol) {
    return identity().GetFirstSecurityExchangeBySymbol(symbol);
}

QStringList VelmarBusinessDataInterface::GetSecurityExchangeListBySymbol(const QString& symbol) {
    return identity().GetSecurityExchangeListBySymbol(symbol);
}

QStringList VelmarBusinessDataInterface::GetExchangeNameBySymbol(const QString& symbol) {
    return identity().GetExchangeNameBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetSymbolBySecurityIDAndExchange(QString securityID,
                                                                      QString exchange) {
    return identity().GetSymbolBySecurityIDAndExchange(securityID, exchange);
}

QString VelmarBusinessDataInterface::GetSecurityIDBySymbol(QString symbol) {
    return identity().GetSecurityIDBySymbol(symbol);
}

QString VelmarBusinessDataInterface::GetSecurityChineseName(QString symbol) {
    return identity().GetSecurityChineseName(symbol);
}

QString VelmarBusinessDataInterface::GetSymbolFromMap(const QVariantMap& record) {
    return identity().GetSymbolFromMap(record);
}

bool VelmarBusinessDataInterface::IsBjOrGz(const QString& symbol) {
    return identity().IsBjOrGz(symbol);
}

bool VelmarBusinessDataInterface::IsSymbolBondRepurchase(const QString& symbol) {
    return identity().IsSymbolBondRepurchase(symbol);
}

QString VelmarBusinessDataInterface::TransferFromExchange2Ch(QString exchange) {
    return identity().TransferFromExchange2Ch(exchange);
}

QString VelmarBusinessDataInterface::TransferFromSymbolPost2Ch(QString symbolPost) {
    return identity().TransferFromSymbolPost2Ch(symbolPost);
}

int VelmarBusinessDataInterface::GetQtyStepBySymbol(QString symbol) {
    return quantities().GetQtyStepBySymbol(symbol);
}

int VelmarBusinessDataInterface::GetMinQtyPerOrderBySymbol(QString symbol) {
    return quantities().GetMinQtyPerOrderBySymbol(symbol);
}

int VelmarBusinessDataInterface::GetMaxQtyPerOrderBySymbol(QString symbol,
                                                           const QVariantMap& order) {
    return quantities().GetMaxQtyPerOrderBySymbol(symbol, order);
}

int VelmarBusinessDataInterface::GetMinSoldQtyBySymbol(QString symbol) {
    return quantities().GetMinSoldQtyBySymbol(symbol);
}

qint64 VelmarBusinessDataInterface::GetQtyByOddLotType(const QString& symbol,
                                                       const CustomOddLotType& type,
                                                       const qint64& qty, bool flag) {
    return quantities().GetQtyByOddLotType(symbol, type, qty, flag);
}

qint64 VelmarBusinessDataInterface::CalcEntrustQty(double amount, double price,
                                                   const QString& symbol, int multiplier,
                                                   bool includeFee) {
    return quantities().CalcEntrustQty(amount, price, symbol, multiplier, includeFee);
}

double VelmarBusinessDataInterface::CalcEntrustAmount(double price, double qty,
                                                      const QString& symbol, int multiplier) {
    return quantities().CalcEntrustAmount(price, qty, symbol, multiplier);
}

QStringList VelmarBusinessDataInterface::GetSupportSideUnionListByAccount(
    const QString& tradingAccount) {
    return tradability().GetSupportSideUnionListByAccount(tradingAccount);
}

bool VelmarBusinessDataInterface::IsSideUnionSupportByAccount(const QString& tradingAccount,
                                                              const QString& side) {
    return tradability().IsSideUnionSupportByAccount(tradingAccount, side);
}

bool VelmarBusinessDataInterface::IsSymbolTradableByAccount(const QString& tradingAccount,
                                                            const QString& symbol) {
    return tradability().IsSymbolTradableByAccount(tradingAccount, symbol);
}

bool VelmarBusinessDataInterface::IsSymbolFitSymbolType(const QString& symbol,
                                                        const QList<SymbolListType>& filter) {
    return tradability().IsSymbolFitSymbolType(symbol, filter);
}

void VelmarBusinessDataInterface::GetTradableSymbolListByAccount(const QString& tradingAccount,
                                                                 QStringList& out) {
    tradability().GetTradableSymbolListByAccount(tradingAccount, out);
}

void VelmarBusinessDataInterface::GetTradableSymbolListForSearchByAccount(
    const QString& tradingAccount, QStringList& out) {
    tradability().GetTradableSymbolListForSearchByAccount(tradingAccount, out);
}

bool VelmarBusinessDataInterface::CheckOrderMatchSuperEtf(const QString& tradingAccount,
                                                          const QString& symbol,
                                                          const QString& side) {
    return tradability().CheckOrderMatchSuperEtf(tradingAccount, symbol, side);
}
