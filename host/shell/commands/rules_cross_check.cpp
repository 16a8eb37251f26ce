#include "rules_cross_check.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

using namespace RulesCrossCheck;

constexpr double kNoPrice = 1e-10;
constexpr int kStandardDecimals = 2;
/// How far off a step a limit may be and still count as on it, in steps.
constexpr double kOnStep = 1e-6;
constexpr int kShare = 1;
constexpr int kUnits = 2;
constexpr int kWider = 3;

inline const QString kAny = QStringLiteral("*");

QVariantMap fieldsOf(const QString& text) {
    QVariantMap fields;
    for (const QString& piece : text.split(QLatin1Char(','))) {
        if (piece.contains(QLatin1Char(':'))) {
            fields.insert(piece.section(QLatin1Char(':'), 0, 0),
                          piece.section(QLatin1Char(':'), -1));
        }
    }
    return fields;
}

/// An order carries the identity of its security, so a condition on another one never holds.
bool canHold(const QVariantMap& fields, const Identity& security) {
    const auto allows = [&fields](const QString& field, const QStringList& values) {
        return !fields.contains(field) || values.contains(fields.value(field).toString());
    };
    return allows(UserAccount::securityExchange, security.exchanges) &&
           allows(MDCFieldDefine::mdcSecurityType, {security.type}) &&
           allows(MDCFieldDefine::mdcSubSecurityType, {security.subType});
}

bool contains(const QVariantMap& fields, const QVariantMap& part) {
    for (auto it = part.cbegin(); it != part.cend(); ++it) {
        if (fields.value(it.key()) != it.value()) {
            return false;
        }
    }
    return true;
}

}  // namespace

QString RulesCrossCheck::keyOfRule(const Rules& rules, const Identity& security) {
    for (const QString& key : {security.subType, security.type, kAny}) {
        if (rules.contains(key)) {
            return key;
        }
    }
    return {};
}

QVector<Condition> RulesCrossCheck::conditionsOf(const Rules& rules, const Identity& security) {
    QVector<Condition> found;
    for (const QString& key : {security.subType, security.type}) {
        QVector<Condition> ofKey;
        for (auto it = rules.cbegin(); it != rules.cend(); ++it) {
            const QStringList parts = it.key().split(QLatin1Char('_'), Qt::SkipEmptyParts);
            if (parts.size() < 2 || parts.first() != key) {
                continue;
            }
            const Condition condition{key, parts.last(), fieldsOf(parts.last()), it->toInt()};
            const bool isPreceded =
                std::any_of(found.cbegin(), found.cend(), [&condition](const Condition& earlier) {
                    return contains(condition.fields, earlier.fields);
                });
            if (!condition.fields.isEmpty() && canHold(condition.fields, security) && !isPreceded) {
                ofKey.append(condition);
            }
        }
        found += ofKey;
        // A row of the sub-type without conditions precedes every row of the type.
        if (rules.contains(key)) {
            break;
        }
    }
    return found;
}

int RulesCrossCheck::cutOff(double value) {
    constexpr double kLeast = std::numeric_limits<int>::min();
    constexpr double kMost = std::numeric_limits<int>::max();
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp(value, kLeast, kMost));
}

int RulesCrossCheck::wholeOf(const QJsonValue& value) {
    return value.isDouble() ? cutOff(std::round(value.toDouble())) : value.toVariant().toInt();
}

double RulesCrossCheck::basePrice(const QVariantMap& tick, bool isSell, QString* field) {
    const QString& own = isSell ? TickField::buyPrice[0] : TickField::sellPrice[0];
    const QString& other = isSell ? TickField::sellPrice[0] : TickField::buyPrice[0];
    for (const QString& name : {own, other, TickField::lastPrice, TickField::previousClose}) {
        const double price = tick.value(name).toDouble();
        if (price > kNoPrice) {
            *field = name;
            return price;
        }
    }
    return 0;
}

double RulesCrossCheck::cageUnit(int decimals) {
    return 1 / std::pow(10.0, decimals < 0 ? kStandardDecimals : decimals);
}

double RulesCrossCheck::cageLimit(const QJsonObject& cage, double base, double unit, bool isSell) {
    const double direction = isSell ? -1 : 1;
    const double share = cage.value(isSell ? CageField::userSellPercent : CageField::userBuyPercent)
                             .toVariant()
                             .toDouble();
    const int units =
        wholeOf(cage.value(isSell ? CageField::userSellUnit : CageField::userBuyUnit));
    const double byShare = base * (1 + direction * share);
    const double byUnits = base + direction * units * unit;
    const double wider = isSell ? std::min(byShare, byUnits) : std::max(byShare, byUnits);
    double limit = 0;
    switch (wholeOf(cage.value(CageField::controlType))) {
        case kShare:
            limit = byShare;
            break;
        case kUnits:
            limit = byUnits;
            break;
        case kWider:
            limit = wider;
            break;
        default:
            limit = isSell ? wider : 0;
    }
    const double steps = limit / unit;
    return (isSell ? std::ceil(steps - kOnStep) : std::floor(steps + kOnStep)) * unit;
}

bool RulesCrossCheck::isSamePrice(double one, double other, double unit) {
    return std::abs(one - other) < unit * kOnStep;
}
