#include "core.h"
#include "first_load.h"
#include "hong_kong_prices.h"
#include "presenter_use.h"
#include "price_cage.h"
#include "price_rules.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"

QString VelmarBusinessDataInterface::GetPriceUnitStringBySymbol(QString symbol, double price,
                                                                const QString& side) {
    return core().prices().GetPriceUnitStringBySymbol(symbol, price, side);
}

double VelmarBusinessDataInterface::GetPriceUnitBySymbol(QString symbol, double price,
                                                         const QString& side) {
    return core().prices().GetPriceUnitBySymbol(symbol, price, side);
}

int VelmarBusinessDataInterface::GetPricePrecisionBySymbol(QString symbol, const QString& side) {
    return core().prices().GetPricePrecisionBySymbol(symbol, side);
}

int VelmarBusinessDataInterface::GetDispFactorBySymbol(const QString& symbol) {
    return core().prices().GetDispFactorBySymbol(symbol);
}

double VelmarBusinessDataInterface::GetPriceByTickAndType(const QVariantMap& tick,
                                                          const CustomPriceType& type,
                                                          const qint64& qty, bool useDispFactor,
                                                          bool applyCage, bool isSell,
                                                          HandicapInfo* handicap) {
    return core().prices().GetPriceByTickAndType(tick, type, qty, useDispFactor, applyCage, isSell,
                                                 handicap);
}

double VelmarBusinessDataInterface::GetPriceByTickAndType(const QVariantMap& tick,
                                                          CustomPriceType type, qint64 qty,
                                                          double ratio, HandicapInfo* handicap) {
    return core().prices().GetPriceByTickAndType(tick, type, qty, ratio, handicap);
}

bool VelmarBusinessDataInterface::IsSymbolSupportProtectedLimitPrice(const QString& symbol) {
    return core().prices().IsSymbolSupportProtectedLimitPrice(symbol);
}

double VelmarBusinessDataInterface::GetHKStockPriceUnit(double price, const QString& securityType) {
    return core().hongKongPrices().GetHKStockPriceUnit(price, securityType);
}

void VelmarBusinessDataInterface::GetHKStockExchangeRate(QMap<QString, QVariantMap>& rates) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    core().hongKongPrices().GetHKStockExchangeRate(use.presenter(), rates);
}

double VelmarBusinessDataInterface::GetHKStockRate(const QString& exchange, RateSideType side) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().hongKongPrices().GetHKStockRate(use.presenter(), exchange, side);
}

double VelmarBusinessDataInterface::CheckCagePrice(const double& price, const QVariantMap& tick,
                                                   bool isSell) {
    return core().cage().CheckCagePrice(price, tick, isSell);
}

QMap<QString, QVariantMap> VelmarBusinessDataInterface::GetAllCageMap() {
    return core().cage().GetAllCageMap();
}

QMap<QString, QVariantMap> VelmarBusinessDataInterface::GetCageApplyMap() {
    return core().cage().GetCageApplyMap();
}

QMap<QString, QMap<QString, QMap<QString, QString>>>
VelmarBusinessDataInterface::GetCageIndexMap() {
    return core().cage().GetCageIndexMap();
}

QVariantMap VelmarBusinessDataInterface::GetCageMapBySymbol(const QString& symbol) {
    return core().cage().GetCageMapBySymbol(symbol);
}

bool VelmarBusinessDataInterface::IsCageApply(const QString& key) {
    return core().cage().IsCageApply(key);
}

bool VelmarBusinessDataInterface::IsGetUserCageInfo(QString& text) {
    return core().cage().IsGetUserCageInfo(text);
}

bool VelmarBusinessDataInterface::IsUserCageInfoInited(const QString& key, QString& text) {
    return core().cage().IsUserCageInfoInited(key, text);
}

QTime VelmarBusinessDataInterface::getCageUpdateTime() {
    return core().cage().getCageUpdateTime();
}

QString VelmarBusinessDataInterface::refreshUserCageInfo() {
    const PresenterUse use;
    return core().cage().initCageMap(use.presenter(), true);
}

QString VelmarBusinessDataInterface::updateUserCageInfo(
    const QMap<QString, QVariantMap>& applyInfo, const QMap<QString, QVariantMap>& cageInfo) {
    const PresenterUse use;
    return core().cage().updateUserCageInfo(use.presenter(), applyInfo, cageInfo);
}
