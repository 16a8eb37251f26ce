#include "scenario_check.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

#include "exact_json.h"

namespace {

int countOf(const QJsonValue& value) {
    if (value.isArray()) {
        return value.toArray().size();
    }
    if (value.isObject()) {
        return value.toObject().size();
    }
    return value.isString() ? value.toString().size() : -1;
}

/// Numbers are compared as numbers, so that 10.2 equals "10.20" and 1e1 equals "10".
bool equalsText(const QJsonValue& value, const QString& text) {
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return (value.isDouble() && isNumber && value.toDouble() == number) || jsonText(value) == text;
}

bool contains(const QJsonValue& value, const QString& part) {
    if (!value.isArray()) {
        return equalsText(value, part) || jsonText(value).contains(part);
    }
    const QJsonArray list = value.toArray();
    return std::any_of(list.begin(), list.end(),
                       [&part](const QJsonValue& one) { return equalsText(one, part); });
}

/// The value of Op::Same, with integers beyond 2^53 as in the printed answers.
QJsonValue expectedValue(const ScenarioCheck& check) {
    const QJsonArray list = QJsonDocument::fromJson(check.value.toUtf8()).array();
    return exactJson(list.at(0).toVariant());
}

}  // namespace

QJsonValue jsonAt(const QJsonValue& root, const QString& path) {
    QJsonValue value = root;
    const QStringList parts = path.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        bool isIndex = false;
        const int index = part.toInt(&isIndex);
        if (value.isArray()) {
            const QJsonArray list = value.toArray();
            value = isIndex && index >= 0 && index < list.size()
                        ? list.at(index)
                        : QJsonValue(QJsonValue::Undefined);
        } else {
            value =
                value.isObject() ? value.toObject().value(part) : QJsonValue(QJsonValue::Undefined);
        }
    }
    return value;
}

QString jsonText(const QJsonValue& value) {
    switch (value.type()) {
        case QJsonValue::String:
            return value.toString();
        case QJsonValue::Double: {
            const double number = value.toDouble();
            const bool isWhole = number == std::floor(number) &&
                                 std::fabs(number) <= static_cast<double>(kMostExactInteger);
            return isWhole ? QString::number(static_cast<qint64>(number))
                           : QString::number(number, 'g', QLocale::FloatingPointShortest);
        }
        case QJsonValue::Undefined:
            return QStringLiteral("(nothing)");
        default: {
            const QByteArray inList =
                QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
            return QString::fromUtf8(inList.mid(1, inList.size() - 2));
        }
    }
}

bool checkHolds(const ScenarioCheck& check, const QJsonValue& root) {
    const QJsonValue value = jsonAt(root, check.path);
    if (value.isUndefined()) {
        return false;
    }
    switch (check.op) {
        case ScenarioCheck::Op::Same:
            return expectedValue(check) == value;
        case ScenarioCheck::Op::Equals:
            return equalsText(value, check.value);
        case ScenarioCheck::Op::Contains:
            return contains(value, check.value);
        case ScenarioCheck::Op::Matches:
            return QRegularExpression(check.value).match(jsonText(value)).hasMatch();
        case ScenarioCheck::Op::Count:
            return countOf(value) == check.value.toInt();
        case ScenarioCheck::Op::Near:
            return value.isDouble() && std::fabs(value.toDouble() - check.value.toDouble()) <= 1e-6;
    }
    return false;
}
