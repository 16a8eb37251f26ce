#include "price_cage.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "clock.h"
#include "log.h"
#include "price_cage_load.h"
#include "price_cage_sink.h"
#include "price_step.h"
#include "saturated.h"
#include "symbol_identity.h"
#include "symbol_post.h"
#include "velmarutils/velmar_busi_utils.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/values.h"

namespace {

constexpr double kNothing = 1e-10;
constexpr int kNullTime = -1;
constexpr int kDefaultPrecision = 2;
inline const QString kWildcard = QStringLiteral("*");
inline const QString kContinuousTrading = QStringLiteral("3");
inline const QString kSymbol = QStringLiteral("Symbol");
inline const QString kPhase = QStringLiteral("TradingPhaseCode");
inline const QString kBuy1 = QStringLiteral("Buy1Price");
inline const QString kSell1 = QStringLiteral("Sell1Price");
inline const QString kPreClose = QStringLiteral("PreClosePx");

/// CageField::controlType.
enum ControlType { RatioOnly = 1, TicksOnly = 2, RatioAndTicks = 3 };

bool isContinuousTrading(const QVariantMap& tick) {
    return tick.value(kPhase).toString() == kContinuousTrading;
}

/// No feed's infinity is a price either.
bool isPrice(double value) {
    return std::isfinite(value) && value > kNothing;
}

/// A whole number of a record that anybody may have written: read as an integer, so that a double
/// is rounded and a text that is none counts 0. What an int cannot hold becomes its nearest end.
int wholeOf(const QVariantMap& cage, const QString& field) {
    const QVariant value = cage.value(field);
    if (value.userType() == QMetaType::Double || value.userType() == QMetaType::Float) {
        return saturated<int>(std::round(value.toDouble()));
    }
    return static_cast<int>(qBound<qint64>(std::numeric_limits<int>::min(), value.toLongLong(),
                                           std::numeric_limits<int>::max()));
}

double lowestSell(const QVariantMap& cage, const QVariantMap& tick, double tickSize) {
    const double base = PriceCage::getCageBasePrice(tick, kBuy1);
    const double byRatio = base * (1.0 - cage.value(CageField::userSellPercent).toDouble());
    const double byTicks = base - wholeOf(cage, CageField::userSellUnit) * tickSize;
    switch (wholeOf(cage, CageField::controlType)) {
        case RatioOnly:
            return byRatio;
        case TicksOnly:
            return byTicks;
        default:
            return std::min(byRatio, byTicks);
    }
}

/// Unlike a sell's, a control of an unknown type is no wider one: it lets nothing through.
double highestBuy(const QVariantMap& cage, const QVariantMap& tick, double tickSize) {
    const double base = PriceCage::getCageBasePrice(tick, kSell1);
    const double byRatio = base * (cage.value(CageField::userBuyPercent).toDouble() + 1.0);
    const double byTicks = wholeOf(cage, CageField::userBuyUnit) * tickSize + base;
    switch (wholeOf(cage, CageField::controlType)) {
        case RatioOnly:
            return byRatio;
        case TicksOnly:
            return byTicks;
        case RatioAndTicks:
            return std::max(byRatio, byTicks);
        default:
            return 0.0;
    }
}

}  // namespace

PriceCage::PriceCage(const SymbolIdentity& identity, const Clock& clock, PriceCageSink& sink,
                     const CageBuiltIn& builtIn)
    : m_identity(identity),
      m_clock(clock),
      m_sink(sink),
      m_builtIn(builtIn),
      m_cageUpdateTime(kNullTime) {}

QString PriceCage::initCageMap(ZnPresenterClass* presenter, bool refresh) {
    auto& steps = VelmarInitStateMgr::instance();
    if (!refresh && !steps.StartInit(InitTypeCode::PriceCageInfo)) {
        return QStringLiteral("当前状态不可重新初始化价格笼子配置！");
    }
    PriceCageLoad load(presenter, m_builtIn);
    if (presenter) {
        noteProfileQuery(load.queryUserProfile());
    }
    load.fillFromOtherSources();
    if (load.succeeded()) {
        auto tables = m_cageLock.write();
        tables->m_cageMap = load.cageMap();
        tables->m_cageApplyMap = load.applyMap();
        tables->m_cageIndexMap = load.index();
        auto cache = m_symbolCageIdLock.lock();
        cache->m_symbolCageIdMap.clear();
        cache.unlock();
        m_cageApplySource = load.applySource();
        m_cageMapSource = load.mapSource();
    }
    if (load.succeeded() || !refresh) {
        steps.FinishInit(InitTypeCode::PriceCageInfo, load.succeeded(), true);
        m_sink.priceCageInfoFinishInit();
    }
    return m_userCageQueryFailed ? getCageStatusText(load.mapSource(), load.applySource())
                                 : QString();
}

void PriceCage::noteProfileQuery(bool succeeded) {
    m_userCageQueryFailed = !succeeded;
    if (succeeded) {
        m_cageUpdateTime = m_clock.now().time().msecsSinceStartOfDay();
    }
}

QVariantMap PriceCage::GetCageMapBySymbol(const QString& symbol) const {
    const auto tables = m_cageLock.read();
    auto known = m_symbolCageIdLock.lock();
    const auto found = known->m_symbolCageIdMap.constFind(symbol);
    if (found != known->m_symbolCageIdMap.cend()) {
        return tables->m_cageMap.value(*found);
    }
    known.unlock();
    const QString cageId = cageIdOf(symbol, tables->m_cageIndexMap);
    // A load that replaces the tables clears the ids under the write lock, so this one is not late.
    const auto cache = m_symbolCageIdLock.lock();
    cache->m_symbolCageIdMap.insert(symbol, cageId);
    return tables->m_cageMap.value(cageId);
}

/// Level by level: once a level has the symbol's own entry, "*" is not tried there any more.
QString PriceCage::cageIdOf(const QString& symbol, const CageIndex& index) const {
    const auto keyOf = [](const auto& level, const QString& own) {
        return level.contains(own) ? own : kWildcard;
    };
    QString exchange = m_identity.GetASecurityExchangeBySymbol(symbol);
    if (exchange.isEmpty()) {
        // Only Shanghai and Shenzhen are an "A" exchange, and Hong Kong has a cage too.
        exchange = m_identity.GetFirstSecurityExchangeBySymbol(symbol);
    }
    const auto types = index.value(keyOf(index, exchange));
    const auto subTypes = types.value(keyOf(types, m_identity.GetSecurityTypeBySymbol(symbol)));
    return subTypes.value(keyOf(subTypes, m_identity.GetSecuritySubTypeBySymbol(symbol)));
}

double PriceCage::getCageBasePrice(const QVariantMap& tick, const QString& fieldName) {
    QStringList quotes;
    if (fieldName == kBuy1) {
        quotes = QStringList{kBuy1, kSell1};
    } else if (fieldName == kSell1) {
        quotes = QStringList{kSell1, kBuy1};
    }
    for (const QString& quote : qAsConst(quotes)) {
        const double price = tick.value(quote).toDouble();
        if (isPrice(price)) {
            return price;
        }
    }
    for (const double price :
         {VelmarBusiUtils::GetLastPriceFromTick(tick), tick.value(kPreClose).toDouble()}) {
        if (isPrice(price)) {
            return price;
        }
    }
    return 0.0;
}

double PriceCage::tickSizeOf(const QString& symbol) const {
    const int precision = VelmarBusiUtils::GetPricePrecision(
        m_identity.GetSecurityTypeBySymbol(symbol), m_identity.GetSecuritySubTypeBySymbol(symbol),
        symbolPostOf(m_identity, symbol), QString());
    return std::pow(0.1, precision < 0 ? kDefaultPrecision : precision);
}

bool PriceCage::getCageLimitPrice(double& limit, const QVariantMap& tick, bool isSell) const {
    limit = 0.0;
    const QString symbol = tick.value(kSymbol).toString();
    const QVariantMap cage = isContinuousTrading(tick) ? GetCageMapBySymbol(symbol) : QVariantMap();
    if (cage.isEmpty()) {
        return false;
    }
    const double tickSize = tickSizeOf(symbol);
    limit = isSell ? lowestSell(cage, tick, tickSize) : highestBuy(cage, tick, tickSize);
    limit = alignPriceToStep(limit, tickSize, !isSell);
    return true;
}

double PriceCage::CheckCagePrice(const double& price, const QVariantMap& tick, bool isSell) const {
    double checked = price;
    double limit = 0.0;
    if (isContinuousTrading(tick) && getCageLimitPrice(limit, tick, isSell)) {
        const bool outside = isSell ? limit - kNothing > price : price > limit + kNothing;
        checked = outside ? limit : price;
    }
    return VelmarBusiUtils::GetCheckedPriceFromTick(tick, checked);
}

bool PriceCage::IsCageApply(const QString& key) const {
    const auto tables = m_cageLock.read();
    return tables->m_cageApplyMap.value(key).value(CageField::status).toBool();
}

bool PriceCage::IsGetUserCageInfo(QString& text) const {
    const CageSource mapSource = m_cageMapSource;
    if (mapSource == CageSource::United) {
        return true;
    }
    text = getCageStatusText(mapSource, m_cageApplySource);
    return text.isEmpty();
}

bool PriceCage::IsUserCageInfoInited(const QString& key, QString& text) const {
    if (VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo) <
        InitState::Failed) {
        return false;
    }
    if (m_userCageQueryFailed) {
        text = QStringLiteral(
            "查询价格笼子设置失败，请点击右上角【设置】，"
            "在【价格笼子设置】中确认当前价格笼子的启用情况及参数详情，"
            "如不符合预期，您可手工刷新或重新设置。");
    } else if (!key.isEmpty() && !IsCageApply(key)) {
        text = QStringLiteral(
            "当前未启用价格笼子控制，买卖股票易出现废单，"
            "建议点击右上角【设置】，在【价格笼子设置】中启用并调整参数值。");
    } else if (m_cageMapSource == CageSource::ServerDefault) {
        text = QStringLiteral(
            "当前价格笼子参数是按交易所规则默认处理，买卖股票易出现废单，"
            "建议点击右上角【设置】，在【价格笼子设置】中调整参数值。");
    }
    return true;
}

QTime PriceCage::getCageUpdateTime() const {
    const int milliseconds = m_cageUpdateTime;
    return milliseconds < 0 ? QTime() : QTime::fromMSecsSinceStartOfDay(milliseconds);
}

CageRecords PriceCage::GetAllCageMap() const {
    const auto tables = m_cageLock.read();
    return tables->m_cageMap;
}

CageRecords PriceCage::GetCageApplyMap() const {
    const auto tables = m_cageLock.read();
    return tables->m_cageApplyMap;
}

CageIndex PriceCage::GetCageIndexMap() const {
    const auto tables = m_cageLock.read();
    return tables->m_cageIndexMap;
}
