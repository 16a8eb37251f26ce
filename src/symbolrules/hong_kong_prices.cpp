#include "hong_kong_prices.h"

#include "data_query.h"
#include "price_unit_ladders.h"
#include "tolerance.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr double kUnitOfNoLadder = 0.001;
constexpr double kThousandths = 1000.0;

// Values of HKSExchgRate::HKPriceUnitType.
constexpr int kStockUnits = 2;
constexpr int kFundUnits = 8;

QString ladderKey(const QString& securityType) {
    return InitTypeCode::HkPriceUnitInfo + securityType;
}

/// A bound in dollars as thousandths. Formatting rounds: 0.57 dollars are 570, not 569. What is not
/// a number stays as it is.
QString thousandthsOf(const QVariant& bound) {
    bool isNumber = false;
    const double dollars = bound.toDouble(&isNumber);
    return isNumber ? QString::number(dollars * kThousandths, 'f', 0) : bound.toString();
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

HongKongPrices::HongKongPrices(const PriceUnitLadders& builtIn)
    : m_builtIn(builtIn),
      m_rateStep(InitTypeCode::HkExchangeRate),
      m_stockUnitStep(ladderKey(MdcSecurityType::StockType)),
      m_fundUnitStep(ladderKey(MdcSecurityType::FundType)) {}

void HongKongPrices::initHKExchangeRate(ZnPresenterClass* presenter) {
    if (!m_rateStep.begin(presenter)) {
        return;
    }
    ServerReply reply = queryRows(presenter, Velmar_MsgType::HKStockExchangeRateRequest, {});
    if (!reply.isAnswered()) {
        if (LoadStep::isClosing(presenter)) {
            m_rateStep.leaveToNextPresenter();
        } else {
            m_rateStep.finish(false);
        }
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
    m_rateStep.finish(true);
}

void HongKongPrices::initHKPriceUnit(ZnPresenterClass* presenter) {
    loadLadder(presenter, kStockUnits, &m_stockUnitStep, &m_hkStockPriceUnitSrvMap);
    loadLadder(presenter, kFundUnits, &m_fundUnitStep, &m_hkFundPriceUnitSrvMap);
}

void HongKongPrices::loadLadder(ZnPresenterClass* presenter, int unitType, LoadStep* step,
                                Ladder* ladder) {
    if (!step->begin(presenter)) {
        return;
    }
    const ServerReply reply = queryRows(presenter, Velmar_MsgType::HKPriceUnitRequest,
                                        {{HKSExchgRate::HKPriceUnitType, unitType}});
    if (!reply.isAnswered() && LoadStep::isClosing(presenter)) {
        step->leaveToNextPresenter();
        return;
    }
    if (reply.isAnswered()) {
        ladder->clear();
        for (const QVariantMap& row : reply.rows) {
            enterLadderRow(thousandthsOf(row.value(HKSExchgRate::HKLevelUpPrice)),
                           row.value(HKSExchgRate::HKLevelPrice), ladder);
        }
    }
    step->finish(!reply.rows.isEmpty());
}

double HongKongPrices::GetHKStockPriceUnit(double price, const QString& securityType) const {
    const bool isFund = securityType == MdcSecurityType::FundType;
    if (VelmarInitStateMgr::instance().IsInited(ladderKey(securityType))) {
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

QMap<QString, QVariantMap> HongKongPrices::heldRates() const {
    const auto tables = m_hkRateLock.read();
    return tables->m_hkRateMap;
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
