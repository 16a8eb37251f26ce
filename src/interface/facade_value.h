#pragma once

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTime>
#include <QVariant>
#include <cmath>
#include <type_traits>

#include "custom_odd_lot_type.h"
#include "symbol_list_type.h"
#include "tag_user_account_info.h"

/// How a parameter's or a result's type is named, read from a text and written as JSON.
///
/// fromJson() and fromText() return false and leave the value alone when it is of another kind.
template <class T, class Enable = void>
struct FacadeValue;

namespace facade_detail {

inline QJsonValue parseJson(const QString& text, bool* ok) {
    // A document is an array or an object; a bare value is read inside an array.
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson('[' + text.toUtf8() + ']', &error);
    *ok = error.error == QJsonParseError::NoError && document.array().size() == 1;
    return *ok ? document.array().at(0) : QJsonValue();
}

}  // namespace facade_detail

/// What every type but plain texts and numbers shares: a text is read as JSON.
template <class T>
struct FacadeJsonText {
    static constexpr int score = 3;
    static bool fromText(const QString& text, T* value) {
        bool ok = false;
        const QJsonValue json = facade_detail::parseJson(text, &ok);
        return ok && FacadeValue<T>::fromJson(json, value);
    }
};

template <>
struct FacadeValue<QString> {
    static constexpr int score = 0;  // every text is a text
    static QString name() { return QStringLiteral("QString"); }
    static bool fromText(const QString& text, QString* value) {
        *value = text;
        return true;
    }
    static bool fromJson(const QJsonValue& json, QString* value) {
        *value = json.toString();
        return json.isString();
    }
    static QJsonValue toJson(const QString& value) { return value; }
};

template <>
struct FacadeValue<bool> {
    static constexpr int score = 3;
    static QString name() { return QStringLiteral("bool"); }
    static bool fromText(const QString& text, bool* value) {
        *value = text == QLatin1String("true");
        return *value || text == QLatin1String("false");
    }
    static bool fromJson(const QJsonValue& json, bool* value) {
        *value = json.toBool();
        return json.isBool();
    }
    static QJsonValue toJson(bool value) { return value; }
};

template <class T>
struct FacadeValue<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>> {
    static constexpr int score = 2;
    static QString name() {
        return sizeof(T) == sizeof(qint64) ? QStringLiteral("qint64") : QStringLiteral("int");
    }
    static bool fromText(const QString& text, T* value) {
        bool ok = false;
        const qlonglong number = text.toLongLong(&ok);
        *value = static_cast<T>(number);
        return ok && static_cast<qlonglong>(*value) == number;
    }
    static bool fromJson(const QJsonValue& json, T* value) {
        const double number = json.toDouble();
        // Beyond 2^53 a JSON number no longer tells one integer from the next.
        const bool whole = json.isDouble() && std::floor(number) == number &&
                           std::abs(number) <= 9007199254740992.0;
        return whole && fromText(QString::number(number, 'f', 0), value);
    }
    static QJsonValue toJson(T value) { return static_cast<qint64>(value); }
};

/// The name of an enumeration; one that has none is not read or written here.
template <class T>
struct FacadeEnumName;

template <>
struct FacadeEnumName<CustomOddLotType> {
    static QString name() { return QStringLiteral("CustomOddLotType"); }
};

/// An enumeration is its number.
template <class T>
struct FacadeValue<T, std::enable_if_t<std::is_enum_v<T>>> {
    using Number = std::underlying_type_t<T>;
    static constexpr int score = FacadeValue<Number>::score;
    static QString name() { return FacadeEnumName<T>::name(); }
    static bool fromText(const QString& text, T* value) {
        Number number = 0;
        const bool ok = FacadeValue<Number>::fromText(text, &number);
        *value = static_cast<T>(number);
        return ok;
    }
    static bool fromJson(const QJsonValue& json, T* value) {
        Number number = 0;
        const bool ok = FacadeValue<Number>::fromJson(json, &number);
        if (ok) {
            *value = static_cast<T>(number);
        }
        return ok;
    }
    static QJsonValue toJson(T value) {
        return FacadeValue<Number>::toJson(static_cast<Number>(value));
    }
};

template <>
struct FacadeValue<double> {
    static constexpr int score = 1;
    static QString name() { return QStringLiteral("double"); }
    static bool fromText(const QString& text, double* value) {
        bool ok = false;
        *value = text.toDouble(&ok);
        return ok;
    }
    static bool fromJson(const QJsonValue& json, double* value) {
        *value = json.toDouble();
        return json.isDouble();
    }
    static QJsonValue toJson(double value) { return value; }
};

template <>
struct FacadeValue<QDate> {
    static constexpr int score = 1;
    static QString name() { return QStringLiteral("QDate"); }
    static bool fromText(const QString& text, QDate* value) {
        *value = QDate::fromString(text, Qt::ISODate);
        return value->isValid();
    }
    static bool fromJson(const QJsonValue& json, QDate* value) {
        return fromText(json.toString(), value);
    }
    static QJsonValue toJson(const QDate& value) { return value.toString(Qt::ISODate); }
};

template <>
struct FacadeValue<QTime> {
    static constexpr int score = 1;
    static QString name() { return QStringLiteral("QTime"); }
    static bool fromText(const QString& text, QTime* value) {
        *value = QTime::fromString(text, Qt::ISODateWithMs);
        return value->isValid();
    }
    static bool fromJson(const QJsonValue& json, QTime* value) {
        return fromText(json.toString(), value);
    }
    static QJsonValue toJson(const QTime& value) { return value.toString(Qt::ISODateWithMs); }
};

template <>
struct FacadeValue<QVariant> : FacadeJsonText<QVariant> {
    static constexpr int score = 0;
    static QString name() { return QStringLiteral("QVariant"); }
    static bool fromText(const QString& text, QVariant* value) {
        if (!FacadeJsonText<QVariant>::fromText(text, value)) {
            *value = text;
        }
        return true;
    }
    static bool fromJson(const QJsonValue& json, QVariant* value) {
        *value = json.toVariant();
        return true;
    }
    static QJsonValue toJson(const QVariant& value) { return QJsonValue::fromVariant(value); }
};

template <class List, class Item>
struct FacadeList : FacadeJsonText<List> {
    static bool fromJson(const QJsonValue& json, List* value) {
        List list;
        const QJsonArray entries = json.toArray();
        for (const QJsonValue& entry : entries) {
            Item item{};
            if (!FacadeValue<Item>::fromJson(entry, &item)) {
                return false;
            }
            list.append(item);
        }
        *value = list;
        return json.isArray();
    }
    static QJsonValue toJson(const List& value) {
        QJsonArray array;
        for (const Item& item : value) {
            array.append(FacadeValue<Item>::toJson(item));
        }
        return array;
    }
};

template <class T>
struct FacadeValue<QList<T>> : FacadeList<QList<T>, T> {
    static QString name() { return QStringLiteral("QList<%1>").arg(FacadeValue<T>::name()); }
};

template <>
struct FacadeValue<QStringList> : FacadeList<QStringList, QString> {
    static QString name() { return QStringLiteral("QStringList"); }
};

template <class T>
struct FacadeValue<QMap<QString, T>> : FacadeJsonText<QMap<QString, T>> {
    using Map = QMap<QString, T>;
    static QString name() {
        return std::is_same_v<T, QVariant>
                   ? QStringLiteral("QVariantMap")
                   : QStringLiteral("QMap<QString, %1>").arg(FacadeValue<T>::name());
    }
    static bool fromJson(const QJsonValue& json, Map* value) {
        Map map;
        const QJsonObject object = json.toObject();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
            T item{};
            if (!FacadeValue<T>::fromJson(it.value(), &item)) {
                return false;
            }
            map.insert(it.key(), item);
        }
        *value = map;
        return json.isObject();
    }
    static QJsonValue toJson(const Map& value) {
        QJsonObject object;
        for (auto it = value.constBegin(); it != value.constEnd(); ++it) {
            object.insert(it.key(), FacadeValue<T>::toJson(it.value()));
        }
        return object;
    }
};

template <>
struct FacadeValue<tagUserAccountInfo> : FacadeJsonText<tagUserAccountInfo> {
    static QString name() { return QStringLiteral("tagUserAccountInfo"); }
    static bool fromJson(const QJsonValue& json, tagUserAccountInfo* value);
    static QJsonValue toJson(const tagUserAccountInfo& value);
};

template <>
struct FacadeValue<SymbolListType> : FacadeJsonText<SymbolListType> {
    static QString name() { return QStringLiteral("SymbolListType"); }
    static bool fromJson(const QJsonValue& json, SymbolListType* value);
    static QJsonValue toJson(const SymbolListType& value);
};
