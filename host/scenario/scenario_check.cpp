#include "scenario_check.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace {

constexpr double kGreatestWhole = 9007199254740992.0;

int countOf(const QJsonValue& value) {
    if (value.isArray()) {
        return value.toArray().size();
    }
    if (value.isObject()) {
        return value.toObject().size();
    }
    return value.isString() ? value.toString().size() : -1;
}

bool contains(const QJsonValue& value, const QString& part) {
    if (!value.isArray()) {
        return jsonText(value).contains(part);
    }
    const QJsonArray list = value.toArray();
    return std::any_of(list.begin(), list.end(),
                       [&part](const QJsonValue& one) { return jsonText(one) == part; });
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
            const bool whole = number == std::floor(number) && std::fabs(number) < kGreatestWhole;
            return whole ? QString::number(static_cast<qint64>(number))
                         : QString::number(number, 'g', 15);
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
            return QJsonDocument::fromJson(check.value.toUtf8()).array().at(0) == value;
        case ScenarioCheck::Op::Equals:
            return jsonText(value) == check.value;
        case ScenarioCheck::Op::Contains:
            return contains(value, check.value);
        case ScenarioCheck::Op::Matches:
            return QRegularExpression(check.value).match(jsonText(value)).hasMatch();
        case ScenarioCheck::Op::Count:
            return countOf(value) == check.value.toInt();
    }
    return false;
}
