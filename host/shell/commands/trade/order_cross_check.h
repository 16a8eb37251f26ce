#pragma once

#include <QString>
#include <QVariantMap>

/// A cross-check of the exported functions about orders: it works out from the records alone what
/// they should answer, and why. The commands show the functions' answers, never these values, and
/// give a reason only where both agree.
namespace OrderCrossCheck {

/// The fields that follow from an order's type and price type.
struct TimeInForce {
    bool isDerived = false;  ///< otherwise the order keeps its own fields
    QString timeInForce;
    QString maxPriceLevels;
    QString minQty;
    QString reason;
};
TimeInForce timeInForceOf(const QVariantMap& order);

/// Whether two field texts are the same number, or the same text.
bool isSameValue(const QString& one, const QString& other);

/// Why an order update may or may not replace the stored record.
enum class Verdict {
    FirstReport,      ///< stored without asking: no record with this order id was stored
    Accepted,         ///< the status may follow, and nothing shrinks
    NoOrderId,        ///< the stored record has no order id
    OtherOrder,       ///< the order ids differ
    StatusNotListed,  ///< the status table does not list the change
    NotFinite,        ///< a quantity of the update is not a finite number
    NothingNew,       ///< same status, and neither quantity has grown
    Shrinks           ///< one of the quantities has become smaller
};

/// `successors`: the entry of the status table for the stored status, codes joined with "|"; null
/// when the table does not have that status.
Verdict judge(const QVariantMap& stored, const QVariantMap& update, const QString& successors);
bool isStored(Verdict verdict);
/// The verdict in words, with the values that lead to it; `successors` as for judge().
QString reasonOf(Verdict verdict, const QVariantMap& stored, const QVariantMap& update,
                 const QString& successors);

}  // namespace OrderCrossCheck
