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
#include <algorithm>
#include <iterator>
#include <limits>
#include <type_traits>

#include "custom_odd_lot_type.h"
#include "exact_json.h"
#include "facade_function.h"
#include "symbol_list_type.h"
#include "tag_user_account_info.h"

/// How a parameter's or a result's type is named, read from a text and written as JSON.
///
/// fromJson() and fromText() return false when the value is of another kind; fromJson() leaves it
/// alone then. wanted() describes what they accept, to complete "'x' is not ...".
template <class T, class Enable = void>
struct FacadeValue;

namespace facade_detail {

/// `why`, when not null, gets the reason when the text is not one JSON value.
inline QJsonValue parseJson(const QString& text, bool* ok, QString* why = nullptr) {
    // A document is an array or an object; a bare value is read inside an array.
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson('[' + text.toUtf8() + ']', &error);
    *ok = error.error == QJsonParseError::NoError && document.array().size() == 1;
    if (!*ok && why) {
        *why = error.error == QJsonParseError::NoError ? QStringLiteral("it is not one value")
                                                       : error.errorString();
    }
    return *ok ? document.array().at(0) : QJsonValue();
}

/// A text as a message quotes it: not longer than a line.
inline QString quotedForMessage(const QString& text) {
    constexpr int kMostLetters = 60;
    return QStringLiteral("'%1'").arg(
        text.size() <= kMostLetters ? text : text.left(kMostLetters) + QStringLiteral("..."));
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
    static QString wanted() { return QStringLiteral("a text"); }
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
    static QString wanted() { return QStringLiteral("true or false"); }
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
    static QString wanted() {
        return QStringLiteral("a whole number from %1 to %2")
            .arg(std::numeric_limits<T>::min())
            .arg(std::numeric_limits<T>::max());
    }
    static bool fromText(const QString& text, T* value) {
        bool ok = false;
        const qlonglong number = text.toLongLong(&ok);
        *value = static_cast<T>(number);
        return ok && static_cast<qlonglong>(*value) == number;
    }
    static bool fromJson(const QJsonValue& json, T* value) {
        // Only 64 bits hold what JSON needs a text for.
        qint64 number = 0;
        if ((json.isString() && sizeof(T) < sizeof(qint64)) || !exactInteger(json, &number) ||
            static_cast<qint64>(static_cast<T>(number)) != number) {
            return false;
        }
        *value = static_cast<T>(number);
        return true;
    }
    static QJsonValue toJson(T value) { return exactJson(static_cast<qint64>(value)); }
};

/// Name and values of an enumeration; one without a specialisation is not read or written here.
template <class T>
struct FacadeEnum;

template <>
struct FacadeEnum<CustomOddLotType> {
    static QString name() { return QStringLiteral("CustomOddLotType"); }
    static constexpr FacadeEnumValue values[] = {
        {static_cast<int>(CustomOddLotType::Keep), "Keep"},
        {static_cast<int>(CustomOddLotType::Down), "Down"},
        {static_cast<int>(CustomOddLotType::Nearest), "Nearest"},
        {static_cast<int>(CustomOddLotType::Up), "Up"},
        {static_cast<int>(CustomOddLotType::ByFlag), "ByFlag"},
    };
};

/// An enumeration is its number; a text may be the name of a value instead.
template <class T>
struct FacadeValue<T, std::enable_if_t<std::is_enum_v<T>>> {
    using Number = std::underlying_type_t<T>;
    static constexpr int score = FacadeValue<Number>::score;
    static QString name() { return FacadeEnum<T>::name(); }
    static QString wanted() {
        return QStringLiteral("a value of %1 (%2)")
            .arg(name(), values().join(QStringLiteral(", ")));
    }
    /// "0 Keep" and so on.
    static QStringList values() {
        QStringList texts;
        for (const FacadeEnumValue& one : FacadeEnum<T>::values) {
            texts.append(QStringLiteral("%1 %2").arg(one.number).arg(QLatin1String(one.name)));
        }
        return texts;
    }
    static bool knows(T value) {
        return std::any_of(
            std::begin(FacadeEnum<T>::values), std::end(FacadeEnum<T>::values),
            [value](const FacadeEnumValue& one) { return one.number == static_cast<int>(value); });
    }
    static bool fromText(const QString& text, T* value) {
        for (const FacadeEnumValue& one : FacadeEnum<T>::values) {
            if (text == QLatin1String(one.name)) {
                *value = static_cast<T>(one.number);
                return true;
            }
        }
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
    static QString wanted() { return QStringLiteral("a number"); }
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
    static QString wanted() { return QStringLiteral("a date such as 2026-01-31 or 20260131"); }
    static bool fromText(const QString& text, QDate* value) {
        QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
        if (!date.isValid()) {
            date = QDate::fromString(text, QStringLiteral("yyyyMMdd"));
        }
        if (date.isValid()) {
            *value = date;
        }
        return date.isValid();
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
    static QString wanted() {
        return QStringLiteral("a time such as 09:30:00, or an empty text for an invalid one");
    }
    static bool fromText(const QString& text, QTime* value) {
        *value = QTime::fromString(text, Qt::ISODateWithMs);
        return value->isValid() || text.isEmpty();
    }
    static bool fromJson(const QJsonValue& json, QTime* value) {
        return json.isString() && fromText(json.toString(), value);
    }
    static QJsonValue toJson(const QTime& value) { return value.toString(Qt::ISODateWithMs); }
};

template <>
struct FacadeValue<QVariant> : FacadeJsonText<QVariant> {
    static constexpr int score = 0;
    static QString name() { return QStringLiteral("QVariant"); }
    static QString wanted() { return QStringLiteral("a value"); }
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
    static QJsonValue toJson(const QVariant& value) { return exactJson(value); }
};

template <class List, class Item>
struct FacadeList : FacadeJsonText<List> {
    static QString wanted() {
        return QStringLiteral("a JSON list, each entry %1").arg(FacadeValue<Item>::wanted());
    }
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
    static QString wanted() {
        return QStringLiteral("a JSON object, each entry %1").arg(FacadeValue<T>::wanted());
    }
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
    static QString wanted() {
        return QStringLiteral("a JSON object with fields of tagUserAccountInfo");
    }
    static bool fromJson(const QJsonValue& json, tagUserAccountInfo* value);
    static QString whyNot(const QJsonValue& json);
    static QJsonValue toJson(const tagUserAccountInfo& value);
};

template <>
struct FacadeValue<SymbolListType> : FacadeJsonText<SymbolListType> {
    static QString name() { return QStringLiteral("SymbolListType"); }
    static QString wanted() {
        return QStringLiteral("a JSON object with fields of SymbolListType");
    }
    static bool fromJson(const QJsonValue& json, SymbolListType* value);
    static QString whyNot(const QJsonValue& json);
    static QJsonValue toJson(const SymbolListType& value);
};

namespace facade_detail {

template <class Value, class = void>
struct HasWhyNot : std::false_type {};
template <class Value>
struct HasWhyNot<Value, std::void_t<decltype(&Value::whyNot)>> : std::true_type {};

}  // namespace facade_detail

/// Why a text is not a value of the type; only for such texts.
template <class T>
QString whyNotValue(const QString& text) {
    const QString quoted = facade_detail::quotedForMessage(text);
    if constexpr (std::is_base_of_v<FacadeJsonText<T>, FacadeValue<T>>) {
        bool ok = false;
        QString why;
        const QJsonValue json = facade_detail::parseJson(text, &ok, &why);
        if (!ok) {
            return QStringLiteral("%1 is not JSON (%2)").arg(quoted, why);
        }
        if constexpr (facade_detail::HasWhyNot<FacadeValue<T>>::value) {
            why = FacadeValue<T>::whyNot(json);
            if (!why.isEmpty()) {
                return QStringLiteral("%1: %2").arg(quoted, why);
            }
        }
    }
    return QStringLiteral("%1 is not %2").arg(quoted, FacadeValue<T>::wanted());
}
