#include "order_arbitration.h"

#include <QStringView>
#include <cmath>

#include "log.h"
#include "tolerance.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "zndatabase/c_data_base.h"

namespace {

struct Quantities {
    double cum = 0;
    double cancelled = 0;

    bool areFinite() const { return std::isfinite(cum) && std::isfinite(cancelled); }
    bool areAtMost(const Quantities& other) const {
        return cum <= other.cum + kNothing && cancelled <= other.cancelled + kNothing;
    }
    bool areBehind(const Quantities& other) const {
        return cum < other.cum - kNothing || cancelled < other.cancelled - kNothing;
    }
};

Quantities quantitiesOf(const QVariantMap& order) {
    return {order.value(Security::cumQty).toDouble(),
            order.value(Security::cancelledQty).toDouble()};
}

/// Whether a text of parts joined with "|" contains the part. An empty text has one empty part.
bool containsPart(QStringView joined, QStringView part) {
    for (;;) {
        const auto end = joined.indexOf(QLatin1Char('|'));
        if (joined.left(end < 0 ? joined.size() : end) == part) {
            return true;
        }
        if (end < 0) {
            return false;
        }
        joined = joined.mid(end + 1);
    }
}

/// With enough digits to see a difference that is too small to count.
QString exact(double quantity) {
    constexpr int kDigits = 15;
    return QString::number(quantity, 'g', kDigits);
}

void logQuantities(const Quantities& old, const Quantities& incoming) {
    qCDebug(lcOrders).noquote().nospace()
        << "same status, oldCumQty = " << exact(old.cum) << ", newCumQty = " << exact(incoming.cum)
        << ", oldCancelQty = " << exact(old.cancelled)
        << ", newCancelQty = " << exact(incoming.cancelled);
}

}  // namespace

bool canOrderUpdate(const QVariantMap& oldOrder, const QVariantMap& newOrder) {
    const QString orderID = oldOrder.value(Security::orderID).toString();
    if (orderID.isEmpty() || orderID != newOrder.value(Security::orderID).toString()) {
        return false;
    }
    const QString oldStatus = oldOrder.value(Security::orderStatus).toString();
    const QString newStatus = newOrder.value(Security::orderStatus).toString();
    const QString next =
        CDataBase::GetInstance()->GetStaticCfgValue(Constants::ORDERSTATUSSWITCH, oldStatus);
    if (!containsPart(next, newStatus)) {
        qCDebug(lcOrders).noquote().nospace()
            << "oldStatus = " << oldStatus << ", newStatus = " << newStatus;
        return false;
    }
    const Quantities old = quantitiesOf(oldOrder);
    const Quantities incoming = quantitiesOf(newOrder);
    if (!incoming.areFinite()) {
        // Once stored, they would refuse or hide every later update of the order.
        qCDebug(lcOrders).noquote().nospace()
            << "order " << orderID << ": not a finite quantity, newCumQty = " << incoming.cum
            << ", newCancelQty = " << incoming.cancelled;
        return false;
    }
    const bool saysNothingNew = oldStatus == newStatus && incoming.areAtMost(old);
    if (saysNothingNew || incoming.areBehind(old)) {
        logQuantities(old, incoming);
        return false;
    }
    return true;
}
