#include "order_cross_check.h"

#include <QStringList>
#include <array>
#include <cmath>

#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

using namespace OrderCrossCheck;

/// Quantities are inexact doubles.
constexpr double kSameQty = 1e-10;

struct Row {
    bool isMarket;
    QString priceType;
    const char* timeInForce;
    const char* maxPriceLevels;
    bool isWhole;  ///< the smallest quantity to fill is the whole order
};

const std::array<Row, 9>& rows() {
    static const std::array<Row, 9> table{
        {{false, PriceType::limitPriceAllDealOrCancel, "3", "0", true},
         {false, PriceType::fixedPriceAfterMarket, "7", "0", false},
         {true, PriceType::shDealOrbeLimit5, "0", "5", false},
         {true, PriceType::shDealOrCancel5, "3", "5", false},
         {true, PriceType::szDealOrCancel5, "3", "5", false},
         {true, PriceType::szDealOrCancel, "3", "0", false},
         {true, PriceType::szOpponentOptimization, "0", "1", false},
         {true, PriceType::szSelfOptimization, "0", "0", false},
         {true, PriceType::szAllDealOrCancel, "3", "0", true}}};
    return table;
}

QString text(const QVariantMap& record, const QString& field) {
    return record.value(field).toString();
}

double qty(const QVariantMap& record, const QString& field) {
    return record.value(field).toDouble();
}

QString quantities(const QVariantMap& record) {
    return QStringLiteral("%1 dealt, %2 cancelled")
        .arg(qty(record, Security::cumQty), 0, 'g', 15)
        .arg(qty(record, Security::cancelledQty), 0, 'g', 15);
}

}  // namespace

TimeInForce OrderCrossCheck::timeInForceOf(const QVariantMap& order) {
    const bool isMarket = text(order, Security::orderType) == OrderType::market;
    const QString priceType = text(order, CustomField::priceType);
    const QString kind = isMarket ? QStringLiteral("market") : QStringLiteral("limit");
    TimeInForce family;
    if (priceType == PriceType::shEntrustAfterHours) {
        return {true, QStringLiteral("7"), QStringLiteral("0"), QStringLiteral("0"),
                QStringLiteral("any order, price type %1").arg(priceType)};
    }
    for (const Row& row : rows()) {
        if (row.isMarket == isMarket && row.priceType == priceType) {
            family.isDerived = true;
            family.timeInForce = QLatin1String(row.timeInForce);
            family.maxPriceLevels = QLatin1String(row.maxPriceLevels);
            family.minQty = row.isWhole ? text(order, Security::orderQty) : QStringLiteral("0");
            family.reason = QStringLiteral("%1 order, price type %2").arg(kind, priceType);
            return family;
        }
    }
    family.reason =
        priceType.isEmpty()
            ? QStringLiteral("record; no rule for a %1 order without a price type").arg(kind)
            : QStringLiteral("record; no rule for a %1 order, price type %2").arg(kind, priceType);
    return family;
}

bool OrderCrossCheck::isSameValue(const QString& one, const QString& other) {
    bool isNumber = false;
    bool isOtherNumber = false;
    const double number = one.toDouble(&isNumber);
    const double otherNumber = other.toDouble(&isOtherNumber);
    return one == other || (isNumber && isOtherNumber && number == otherNumber);
}

Verdict OrderCrossCheck::judge(const QVariantMap& stored, const QVariantMap& update,
                               const QString& successors) {
    const QString id = text(stored, Security::orderID);
    if (id.isEmpty()) {
        return Verdict::NoOrderId;
    }
    if (id != text(update, Security::orderID)) {
        return Verdict::OtherOrder;
    }
    const QString status = text(update, Security::orderStatus);
    if (!successors.split(QLatin1Char('|')).contains(status)) {
        return Verdict::StatusNotListed;
    }
    const double cum = qty(update, Security::cumQty);
    const double cancelled = qty(update, Security::cancelledQty);
    if (!std::isfinite(cum) || !std::isfinite(cancelled)) {
        return Verdict::NotFinite;
    }
    const double storedCum = qty(stored, Security::cumQty);
    const double storedCancelled = qty(stored, Security::cancelledQty);
    if (cum < storedCum - kSameQty || cancelled < storedCancelled - kSameQty) {
        return Verdict::Shrinks;
    }
    const bool isSameStatus = status == text(stored, Security::orderStatus);
    const bool isNothingNew =
        cum <= storedCum + kSameQty && cancelled <= storedCancelled + kSameQty;
    return isSameStatus && isNothingNew ? Verdict::NothingNew : Verdict::Accepted;
}

bool OrderCrossCheck::isStored(Verdict verdict) {
    return verdict == Verdict::FirstReport || verdict == Verdict::Accepted;
}

namespace {

/// Quantities that are texts without a number, with a separator in front; empty when there are
/// none.
QString uncounted(const QVariantMap& stored, const QVariantMap& update) {
    QStringList texts;
    for (const QVariantMap& record : {update, stored}) {
        for (const QString& field : {Security::cumQty, Security::cancelledQty}) {
            const QString value = text(record, field);
            bool isNumber = false;
            record.value(field).toDouble(&isNumber);
            if (!isNumber && !value.isEmpty() && !texts.contains(value)) {
                texts.append(value);
            }
        }
    }
    QString notes;
    for (const QString& value : qAsConst(texts)) {
        notes += QStringLiteral("; '%1' is not a number and counts as 0").arg(value);
    }
    return notes;
}

QString verdictText(Verdict verdict, const QVariantMap& stored, const QVariantMap& update,
                    const QString& successors) {
    const QString from = text(stored, Security::orderStatus);
    const QString to = text(update, Security::orderStatus);
    const QString change = QStringLiteral("status '%1' to '%2'").arg(from, to);
    QString unlisted =
        QStringLiteral("the table has no status '%1', so only the empty one may follow").arg(from);
    switch (verdict) {
        case Verdict::FirstReport:
            return QStringLiteral("first report of the order");
        case Verdict::Accepted:
            if (successors.isNull()) {
                return unlisted;
            }
            return from == to ? QStringLiteral("same status '%1', more dealt or cancelled").arg(to)
                              : QStringLiteral("%1 is listed").arg(change);
        case Verdict::NoOrderId:
            return QStringLiteral("no order id");
        case Verdict::OtherOrder:
            return QStringLiteral("another order's id");
        case Verdict::StatusNotListed:
            return successors.isNull() ? unlisted : QStringLiteral("%1 is not listed").arg(change);
        case Verdict::NotFinite:
            return QStringLiteral("a quantity is not a finite number");
        case Verdict::NothingNew:
            return QStringLiteral("same status '%1', nothing more dealt or cancelled").arg(to);
        case Verdict::Shrinks:
            return QStringLiteral("a quantity shrinks: %1, stored are %2")
                .arg(quantities(update), quantities(stored));
    }
    return {};
}

}  // namespace

QString OrderCrossCheck::reasonOf(Verdict verdict, const QVariantMap& stored,
                                  const QVariantMap& update, const QString& successors) {
    const QString reason = verdictText(verdict, stored, update, successors);
    const bool isAboutIds = verdict == Verdict::NoOrderId || verdict == Verdict::OtherOrder;
    return isAboutIds ? reason : reason + uncounted(stored, update);
}
