#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>

/// A cross-check of the exported functions: it works out from the static configuration, the cage's
/// figures and a tick what they should answer. `rules explain` shows their answers, never these
/// values, and names the source of an answer only where both agree. rules_cross_check_test compares
/// the two over every security of a sample market.
namespace RulesCrossCheck {

/// Rules of a section: a sub-type, a type or "*" to a quantity; for the largest order also
/// "KEY_FIELD:VALUE,FIELD:VALUE".
using Rules = QMap<QString, QString>;

struct Identity {
    QStringList exchanges;
    QString type;
    QString subType;
};

/// The key of the first rule that covers a security: its sub-type, its type, "*", or null when only
/// the built-in default is left.
QString keyOfRule(const Rules& rules, const Identity& security);

/// A row of the largest order that holds for some orders only.
struct Condition {
    QString key;         ///< the sub-type or type
    QString text;        ///< FIELD:VALUE,FIELD:VALUE as configured
    QVariantMap fields;  ///< what an order must hold
    int qty = 0;
};

/// The conditions that an order on the security can meet, in the order in which they are tried.
/// Left out are those that name another exchange, type or sub-type, and those of the type that one
/// of the sub-type always precedes.
QVector<Condition> conditionsOf(const Rules& rules, const Identity& security);

/// A quantity as the functions convert it: cut off, and the nearest end of int when it does not
/// fit.
int cutOff(double value);

/// A whole number of a cage as the cage reads it: numbers are rounded, and a text that is not a
/// number is 0.
int wholeOf(const QJsonValue& value);

/// The price that a cage's limit starts from, and the tick's field that it comes from; 0 and an
/// empty name when the tick has no price.
double basePrice(const QVariantMap& tick, bool isSell, QString* field);

/// The unit in which a cage counts price units, from the decimals of a price. It is not the price
/// unit of an order: at most prices of Hong Kong shares that one is larger.
double cageUnit(int decimals);

/// The limit that the figures of a cage give, on the cage's unit.
double cageLimit(const QJsonObject& cage, double base, double unit, bool isSell);

/// Whether two prices are the same for a cage with that unit.
bool isSamePrice(double one, double other, double unit);

}  // namespace RulesCrossCheck
