#include <QSqlQuery>

#include "handler_families.h"
#include "price_samples.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

HandlerAnswer answerRows(const QList<QVariantMap>& rows) {
    HandlerAnswer answer;
    answer.rows = rows;
    return answer;
}

HandlerAnswer hongKongRates(const ServerCall&) {
    return answerRows(PriceSamples::hongKongRates());
}

/// The minimum spreads of shares or funds, a row per band.
HandlerAnswer hongKongPriceUnits(const ServerCall& call) {
    static const StoreColumns columns{{QStringLiteral("up_to"), HKSExchgRate::HKLevelUpPrice},
                                      {QStringLiteral("spread"), HKSExchgRate::HKLevelPrice}};
    QList<QVariantMap> rows;
    const bool read = call.store.select(
        QStringLiteral("SELECT %1 FROM hong_kong_spread WHERE security_type = ? ORDER BY up_to")
            .arg(columnList(columns)),
        {call.text(HKSExchgRate::HKPriceUnitType)},
        [&rows](const QSqlQuery& query) { rows.append(recordOf(query, columns)); });
    if (!read) {
        return HandlerAnswer::storeFailed();
    }
    if (rows.isEmpty()) {
        return HandlerAnswer::refused(
            QStringLiteral("不支持的价差类别：%1").arg(call.text(HKSExchgRate::HKPriceUnitType)));
    }
    return answerRows(rows);
}

}  // namespace

void addCageHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::HKStockExchangeRateRequest, hongKongRates);
    handlers.insert(Velmar_MsgType::HKPriceUnitRequest, hongKongPriceUnits);
}
