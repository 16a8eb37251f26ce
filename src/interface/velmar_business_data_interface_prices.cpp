#include <QElapsedTimer>
#include <QThread>

#include "core.h"
#include "first_load.h"
#include "hong_kong_prices.h"
#include "presenter_use.h"
#include "price_cage.h"
#include "price_rules.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/constants.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr unsigned long kWaitStepMs = 10;
constexpr qint64 kMsPerSecond = 1000;

InitState cageLoadState() {
    return VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo);
}

bool isAccountListLoaded() {
    QVariant ready;
    return CBusinessDataBase::GetInstance()->GetCacheData(Constants::USER_ACCOUNTLIST_INITED,
                                                          ready) &&
           ready.toBool();
}

/// Waits until the presenter's load of the cage has ended, at most for the standing time-out.
/// Returns whether there is a cage that can be changed. Does not wait for a load that cannot end:
/// one that the missing account list holds up, or one on the calling thread.
bool waitForCage(const VelmarBusinessDataManagerPresenterClass& presenter) {
    // Read once: a send may change the time-out for its own length.
    const qint64 limitMs = presenter.getRequestTimeOut() * kMsPerSecond;
    QElapsedTimer timer;
    timer.start();
    while (cageLoadState() < InitState::Failed) {
        if (presenter.isClosing() || QThread::currentThread() == presenter.thread() ||
            !isAccountListLoaded() || timer.elapsed() >= limitMs) {
            return false;
        }
        QThread::msleep(kWaitStepMs);
    }
    return cageLoadState() != InitState::Failed || !core().cage().GetAllCageMap().isEmpty();
}

}  // namespace

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
    if (use.hasEnded()) {
        // Without a presenter the local copies would replace the user's own cages.
        return QStringLiteral("当前状态不可重新初始化价格笼子配置！");
    }
    return core().cage().initCageMap(use.presenter(), true);
}

QString VelmarBusinessDataInterface::updateUserCageInfo(
    const QMap<QString, QVariantMap>& applyInfo, const QMap<QString, QVariantMap>& cageInfo) {
    const PresenterUse use;
    // Saved before the load, the changed figures alone would replace the user's whole cage.
    if (use.presenter() && !waitForCage(*use.presenter())) {
        return QStringLiteral("设置失败，失败原因：价格笼子尚未加载完成，请重新设置。");
    }
    return core().cage().updateUserCageInfo(use.presenter(), applyInfo, cageInfo);
}
