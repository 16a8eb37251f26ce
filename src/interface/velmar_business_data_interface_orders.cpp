#include "core.h"
#include "first_load.h"
#include "market_values.h"
#include "order_arbitration.h"
#include "order_messages.h"
#include "presenter_use.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"

CMessageCommon* VelmarBusinessDataInterface::NewOrderList(const QList<QVariantMap>& list,
                                                          bool numericType, bool packFlag) {
    InitVelmarBusinessManagePlugin();
    return core().orderMessages().NewOrderList(list, numericType, packFlag);
}

CMessageCommon* VelmarBusinessDataInterface::NewOrderListForInstance(const QList<QVariantMap>& list,
                                                                     const QString& msgType) {
    InitVelmarBusinessManagePlugin();
    return core().orderMessages().NewOrderListForInstance(list, msgType);
}

CMessageCommon* VelmarBusinessDataInterface::OrderCancelRequest(const QVariantMap& order,
                                                                bool numericType) {
    InitVelmarBusinessManagePlugin();
    return core().orderMessages().OrderCancelRequest(order, numericType);
}

QString VelmarBusinessDataInterface::GetVelmarOrderStation(QString prefix) {
    return VelmarUtils::GetVelmarOrderStation(prefix);
}

bool VelmarBusinessDataInterface::CanOrderUpdate(const QVariantMap& oldOrder,
                                                 const QVariantMap& newOrder) {
    return canOrderUpdate(oldOrder, newOrder);
}

double VelmarBusinessDataInterface::GetRealizedProfitByAccount(const QString& tradingAccount) {
    const PresenterUse use;
    return use.presenter()
               ? use.presenter()->realizedProfit().GetRealizedProfitByAccount(tradingAccount)
               : 0.0;
}

double VelmarBusinessDataInterface::GetRealizedProfitByAccountAndSymbol(
    const QString& tradingAccount, const QString& symbol, const QString& securityAccount) {
    const PresenterUse use;
    return use.presenter() ? use.presenter()->realizedProfit().GetRealizedProfitByAccountAndSymbol(
                                 tradingAccount, symbol, securityAccount)
                           : 0.0;
}

QMap<QString, QMap<QString, double>> VelmarBusinessDataInterface::GetRealizedProfitMapByAccount(
    const QString& tradingAccount) {
    const PresenterUse use;
    return use.presenter()
               ? use.presenter()->realizedProfit().GetRealizedProfitMapByAccount(tradingAccount)
               : QMap<QString, QMap<QString, double>>();
}

QMap<QString, QMap<QString, QMap<QString, double>>>
VelmarBusinessDataInterface::GetAllRealizedProfitMap() {
    const PresenterUse use;
    return use.presenter() ? use.presenter()->realizedProfit().GetAllRealizedProfitMap()
                           : QMap<QString, QMap<QString, QMap<QString, double>>>();
}

VelmarMarketValueInfo VelmarBusinessDataInterface::GetMarketValueByTradingAccount(
    const QString& tradingAccount) {
    InitVelmarBusinessManagePlugin();
    return core().marketValues().GetMarketValueByTradingAccount(tradingAccount);
}

double VelmarBusinessDataInterface::calcMarketValue(QString& error, const QString& symbol,
                                                    const qint64& quantity, const double& price,
                                                    const double& multiplier) {
    return core().marketValues().calcMarketValue(error, symbol, quantity, price, multiplier);
}

void VelmarBusinessDataInterface::RequeryFundInfo() {
    const PresenterUse use;
    if (use.presenter()) {
        core().RequeryFundInfo(use.presenter());
    }
}
