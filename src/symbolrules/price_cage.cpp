#include "price_cage.h"

#include "clock.h"
#include "price_cage_load.h"
#include "price_cage_sink.h"
#include "symbol_identity.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

inline const QString kWildcard = QStringLiteral("*");
inline const QString kNotNow = QStringLiteral("当前状态不可重新初始化价格笼子配置！");

}  // namespace

PriceCage::PriceCage(const SymbolIdentity& identity, const Clock& clock, PriceCageSink& sink,
                     const CageBuiltIn& builtIn)
    : m_identity(identity),
      m_clock(clock),
      m_sink(sink),
      m_builtIn(builtIn),
      m_loadStep(InitTypeCode::PriceCageInfo) {}

QString PriceCage::initCageMap(ZnPresenterClass* presenter, bool refresh) {
    if (!refresh && !m_loadStep.begin(presenter)) {
        return kNotNow;
    }
    CageSource mapSource = CageSource::Nothing;
    CageSource applySource = CageSource::Nothing;
    Outcome outcome = Outcome::MetASave;
    for (bool isRepeated = false; outcome == Outcome::MetASave; isRepeated = true) {
        const Pass pass = beginPass();
        PriceCageLoad load(presenter, m_builtIn);
        const bool hasProfile = presenter && load.queryUserProfile();
        load.fillFromOtherSources();
        if (load.isBrokenOff()) {
            // What the other sources gave would hide the user's own cage from the next presenter.
            if (!refresh) {
                m_loadStep.leaveToNextPresenter();
            }
            return kNotNow;
        }
        if (presenter) {
            noteProfileQuery(pass.number, hasProfile, false);
        }
        // Without the user's record a repeated load has nothing newer than what was saved.
        const bool keepsSaved = isRepeated && presenter && !hasProfile;
        outcome = take(load, pass, keepsSaved);
        if (outcome == Outcome::Taken) {
            if (presenter) {
                noteProfileQuery(pass.number, hasProfile, true);
            }
            load.warnOfUnusableFigures();
        }
        const bool isKept = outcome == Outcome::Kept;
        mapSource = isKept ? m_cageMapSource.load() : load.mapSource();
        applySource = isKept ? m_cageApplySource.load() : load.applySource();
    }
    if (outcome != Outcome::Failed || !refresh) {
        m_loadStep.finish(outcome != Outcome::Failed);
        m_sink.priceCageInfoFinishInit();
    }
    return userCageQueryFailed() ? getCageStatusText(mapSource, applySource) : QString();
}

PriceCage::Pass PriceCage::beginPass() {
    const auto tables = m_cageLock.read();
    return {++m_lastPass, tables->saves};
}

PriceCage::Outcome PriceCage::take(const PriceCageLoad& load, const Pass& pass, bool keepsSaved) {
    const auto tables = m_cageLock.write();
    if (tables->saves != pass.saves) {
        return Outcome::MetASave;
    }
    if (keepsSaved || pass.number < tables->loadInForce) {
        return Outcome::Kept;
    }
    if (!load.succeeded()) {
        return Outcome::Failed;
    }
    tables->m_cageMap = load.cageMap();
    tables->m_cageApplyMap = load.applyMap();
    tables->m_cageIndexMap = load.index();
    tables->loadInForce = pass.number;
    const auto cache = m_symbolCageIdLock.lock();
    cache->m_symbolCageIdMap.clear();
    m_cageApplySource = load.applySource();
    m_cageMapSource = load.mapSource();
    return Outcome::Taken;
}

void PriceCage::noteProfileQuery(quint64 load, bool succeeded, bool isTaken) {
    const QTime now = m_clock.now().time();
    const auto query = m_userCageQueryLock.lock();
    // A newer query that failed says nothing about the tables that an older load put in force.
    if (load < query->load && !isTaken) {
        return;
    }
    query->load = qMax(query->load, load);
    query->m_userCageQueryFailed = !succeeded;
    if (succeeded) {
        query->m_cageUpdateTime = now;
    }
}

bool PriceCage::userCageQueryFailed() const {
    const auto query = m_userCageQueryLock.lock();
    return query->m_userCageQueryFailed;
}

QVariantMap PriceCage::GetCageMapBySymbol(const QString& symbol) const {
    const auto tables = m_cageLock.read();
    QString cageId;
    if (!rememberedCageId(symbol, &cageId)) {
        cageId = cageIdOf(symbol, tables->m_cageIndexMap);
        // A load that replaces the tables clears the ids under the write lock, so this id is not
        // outdated.
        const auto cache = m_symbolCageIdLock.lock();
        cache->m_symbolCageIdMap.insert(symbol, cageId);
    }
    return tables->m_cageMap.value(cageId);
}

bool PriceCage::rememberedCageId(const QString& symbol, QString* cageId) const {
    const auto cache = m_symbolCageIdLock.lock();
    const auto found = cache->m_symbolCageIdMap.constFind(symbol);
    if (found == cache->m_symbolCageIdMap.cend()) {
        return false;
    }
    *cageId = *found;
    return true;
}

/// Goes level by level: where a level has the symbol's own entry, its "*" is not tried.
QString PriceCage::cageIdOf(const QString& symbol, const CageIndex& index) const {
    const auto keyOf = [](const auto& level, const QString& own) {
        return level.contains(own) ? own : kWildcard;
    };
    QString exchange = m_identity.GetASecurityExchangeBySymbol(symbol);
    if (exchange.isEmpty()) {
        // Only Shanghai and Shenzhen count as "A" exchanges, but Hong Kong has a cage too.
        exchange = m_identity.GetFirstSecurityExchangeBySymbol(symbol);
    }
    const auto types = index.value(keyOf(index, exchange));
    const auto subTypes = types.value(keyOf(types, m_identity.GetSecurityTypeBySymbol(symbol)));
    return subTypes.value(keyOf(subTypes, m_identity.GetSecuritySubTypeBySymbol(symbol)));
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
    if (userCageQueryFailed()) {
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
    const auto query = m_userCageQueryLock.lock();
    return query->m_cageUpdateTime;
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
