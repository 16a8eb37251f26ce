#include "hong_kong_prices.h"

#include "data_query.h"
#include "price_unit_ladders.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr double kNothing = 1e-10;
constexpr double kUnitOfNoLadder = 0.001;
constexpr double kThousandths = 1000.0;

// What the price unit request calls the kinds of security.
constexpr int kStockUnits = 2;
constexpr int kFundUnits = 8;

QString ladderStep(const QString& securityType) {
    return InitTypeCode::HkPriceUnitInfo + securityType;
}

double getPriceUnitFromLevelMap(const QMap<int, double>& ladder, double price) {
    if (ladder.isEmpty()) {
        return kUnitOfNoLadder;
    }
    for (auto it = ladder.cbegin(); it != ladder.cend(); ++it) {
        if (!(price * kThousandths > it.key() + kNothing)) {
            return it.value();
        }
    }
    return ladder.last();
}

QString fieldOf(RateSideType side) {
    switch (side) {
        case RateSideType::Mid:
            return HKSExchgRate::HKSExchgRateMid;
        case RateSideType::Buy:
            return HKSExchgRate::HKSExchgRateBuy;
        case RateSideType::Sell:
            return HKSExchgRate::HKSExchgRateSell;
    }
    return {};
}

}  // namespace

void HongKongPrices::initHKExchangeRate(ZnPresenterClass* presenter) {
    auto& steps = VelmarInitStateMgr::instance();
    if (!steps.StartInit(InitTypeCode::HkExchangeRate)) {
        return;
    }
    ServerReply reply = queryRows(presenter, Velmar_MsgType::HKStockExchangeRateRequest, {});
    if (!reply.isAnswered()) {
        steps.FinishInit(InitTypeCode::HkExchangeRate, false, true);
        return;
    }
    auto tables = m_hkRateLock.write();
    for (QVariantMap& row : reply.rows) {
        const double mid = (row.value(HKSExchgRate::HKSExchgRateSell).toDouble() +
                            row.value(HKSExchgRate::HKSExchgRateBuy).toDouble()) *
                           0.5;
        row.insert(HKSExchgRate::HKSExchgRateMid, mid);
        tables->m_hkRateMap.insert(row.value(UserAccount::securityExchange).toString(), row);
    }
    tables.unlock();
    steps.FinishInit(InitTypeCode::HkExchangeRate, true, true);
}

void HongKongPrices::initHKPriceUnit(ZnPresenterClass* presenter) {
    loadLadder(presenter, MdcSecurityType::StockType, kStockUnits, &m_hkStockPriceUnitSrvMap);
    loadLadder(presenter, MdcSecurityType::FundType, kFundUnits, &m_hkFundPriceUnitSrvMap);
}

void HongKongPrices::loadLadder(ZnPresenterClass* presenter, const QString& securityType,
                                int unitType, Ladder* ladder) {
    auto& steps = VelmarInitStateMgr::instance();
    const QString step = ladderStep(securityType);
    if (!steps.StartInit(step)) {
        return;
    }
    const ServerReply reply = queryRows(presenter, Velmar_MsgType::HKPriceUnitRequest,
                                        {{HKSExchgRate::HKPriceUnitType, unitType}});
    if (reply.isAnswered()) {
        ladder->clear();
        for (const QVariantMap& row : reply.rows) {
            const double bound = row.value(HKSExchgRate::HKLevelUpPrice).toDouble() * kThousandths;
            // By way of a text, which rounds: 0.57 dollars are 570 thousandths, not 569.
            ladder->insert(QString::number(bound, 'f', 0).toInt(),
                           row.value(HKSExchgRate::HKLevelPrice).toDouble());
        }
    }
    steps.FinishInit(step, !reply.rows.isEmpty(), true);
}

double HongKongPrices::GetHKStockPriceUnit(double price, const QString& securityType) const {
    const bool isFund = securityType == MdcSecurityType::FundType;
    if (VelmarInitStateMgr::instance().IsInited(ladderStep(securityType))) {
        return getPriceUnitFromLevelMap(isFund ? m_hkFundPriceUnitSrvMap : m_hkStockPriceUnitSrvMap,
                                        price);
    }
    return getPriceUnitFromLevelMap(
        isFund ? m_builtIn.hkFundPriceUnitMap() : m_builtIn.hkStockPriceUnitMap(), price);
}

void HongKongPrices::GetHKStockExchangeRate(ZnPresenterClass* presenter,
                                            QMap<QString, QVariantMap>& rates) {
    rates.clear();
    if (!presenter) {
        return;
    }
    initHKExchangeRate(presenter);
    const auto tables = m_hkRateLock.read();
    rates = tables->m_hkRateMap;
}

double HongKongPrices::GetHKStockRate(ZnPresenterClass* presenter, const QString& exchange,
                                      RateSideType side) {
    if (!presenter) {
        return 0.0;
    }
    initHKExchangeRate(presenter);
    const auto tables = m_hkRateLock.read();
    return tables->m_hkRateMap.value(exchange).value(fieldOf(side)).toDouble();
}
