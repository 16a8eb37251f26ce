#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QVariant>
#include <cmath>

// JSON that keeps every digit of a 64-bit integer. A JSON number is a double for most readers, Qt's
// writer among them, so an integer that a double may not hold is written as its decimal text.

/// The largest integer up to which a double can represent every integer.
constexpr qint64 kMostExactInteger = 9007199254740992;

inline QJsonValue exactJson(qint64 number) {
    return number >= -kMostExactInteger && number <= kMostExactInteger
               ? QJsonValue(number)
               : QJsonValue(QString::number(number));
}

inline QJsonValue exactJson(quint64 number) {
    return number <= static_cast<quint64>(kMostExactInteger)
               ? QJsonValue(static_cast<qint64>(number))
               : QJsonValue(QString::number(number));
}

/// As QJsonValue::fromVariant(), with every integer exact, inside lists and maps too.
inline QJsonValue exactJson(const QVariant& value) {
    switch (static_cast<QMetaType::Type>(value.userType())) {
        case QMetaType::LongLong:
        case QMetaType::Long:
            return exactJson(static_cast<qint64>(value.toLongLong()));
        case QMetaType::ULongLong:
        case QMetaType::ULong:
            return exactJson(static_cast<quint64>(value.toULongLong()));
        case QMetaType::QVariantList: {
            QJsonArray list;
            const QVariantList entries = value.toList();
            for (const QVariant& entry : entries) {
                list.append(exactJson(entry));
            }
            return list;
        }
        case QMetaType::QVariantMap: {
            QJsonObject object;
            const QVariantMap map = value.toMap();
            for (auto it = map.constBegin(); it != map.constEnd(); ++it) {
                object.insert(it.key(), exactJson(it.value()));
            }
            return object;
        }
        default:
            return QJsonValue::fromVariant(value);
    }
}

inline QJsonObject exactJsonObject(const QVariantMap& map) {
    return exactJson(QVariant(map)).toObject();
}

/// A JSON value read as a whole number: a number, or a decimal text as exactJson() writes it.
/// False for everything else and beyond 64 bits.
inline bool exactInteger(const QJsonValue& json, qint64* number) {
    bool ok = false;
    if (json.isString()) {
        const qlonglong read = json.toString().toLongLong(&ok);
        *number = read;
        return ok;
    }
    // What the parser read as an integer keeps its digits in the variant only.
    const QVariant value = json.toVariant();
    if (value.userType() == QMetaType::LongLong) {
        *number = value.toLongLong();
        return true;
    }
    const double real = json.toDouble();
    if (!json.isDouble() || std::floor(real) != real ||
        std::abs(real) > static_cast<double>(kMostExactInteger)) {
        return false;
    }
    *number = static_cast<qint64>(real);
    return true;
}
