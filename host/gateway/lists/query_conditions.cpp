#include "query_conditions.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>

namespace {

QString missing(const PagedFilter& filter) {
    return QStringLiteral("请求缺少%1").arg(filter.field);
}

/// False with a text when there are too many values, or none for a required field.
bool addOneOf(const PagedFilter& filter, const QString& text, QueryConditions* conditions,
              QString* refusal) {
    const QStringList values = text.split(QLatin1Char(','), Qt::SkipEmptyParts);
    if (values.isEmpty()) {
        *refusal = filter.required ? missing(filter) : QString();
        return !filter.required;
    }
    if (values.size() > filter.maxValues) {
        *refusal = QStringLiteral("%1一次最多%2个，请求了%3个")
                       .arg(filter.field)
                       .arg(filter.maxValues)
                       .arg(values.size());
        return false;
    }
    // One "?" for all values, so that their number does not change the statement.
    const QByteArray list =
        QJsonDocument(QJsonArray::fromStringList(values)).toJson(QJsonDocument::Compact);
    conditions->add(QStringLiteral("%1 IN (SELECT value FROM json_each(?))").arg(filter.column),
                    {QString::fromUtf8(list)});
    return true;
}

bool addDate(const PagedFilter& filter, const QVariant& value, QueryConditions* conditions,
             QString* refusal) {
    const QDate date = dateOf(value);
    if (!date.isValid()) {
        *refusal = QStringLiteral("日期无效：%1").arg(value.toString());
        return false;
    }
    const QString sign = filter.kind == PagedFilter::Kind::NotLess   ? QStringLiteral(">=")
                         : filter.kind == PagedFilter::Kind::NotMore ? QStringLiteral("<=")
                                                                     : QStringLiteral("=");
    conditions->add(QStringLiteral("%1 %2 ?").arg(filter.column, sign),
                    {date.toString(QStringLiteral("yyyyMMdd")).toInt()});
    return true;
}

bool addFilter(const PagedFilter& filter, const ServerCall& call, QueryConditions* conditions,
               QString* refusal) {
    const QVariant value = call.value(filter.field);
    if (!value.isNull() && !isSingleValue(value)) {
        *refusal = QStringLiteral("%1应为单个值").arg(filter.field);
        return false;
    }
    if (value.toString().isEmpty()) {
        if (filter.required) {
            *refusal = missing(filter);
        }
        return !filter.required;
    }
    switch (filter.kind) {
        case PagedFilter::Kind::OneOf:
            return addOneOf(filter, value.toString(), conditions, refusal);
        case PagedFilter::Kind::Equal:
            conditions->add(QStringLiteral("%1 = ?").arg(filter.column), {value});
            return true;
        case PagedFilter::Kind::NotLess:
        case PagedFilter::Kind::NotMore:
        case PagedFilter::Kind::SameDate:
            break;
    }
    return addDate(filter, value, conditions, refusal);
}

}  // namespace

QString QueryConditions::where() const {
    return clauses.isEmpty() ? QString()
                             : QStringLiteral(" WHERE ") + clauses.join(QStringLiteral(" AND "));
}

bool QueryConditions::addFilters(const ServerCall& call, const QVector<PagedFilter>& filters,
                                 QString* refusal) {
    return std::all_of(filters.cbegin(), filters.cend(), [&](const PagedFilter& filter) {
        return addFilter(filter, call, this, refusal);
    });
}

bool isSingleValue(const QVariant& value) {
    return value.userType() != QMetaType::QStringList && value.canConvert<QString>();
}

QDate dateOf(const QVariant& value) {
    if (value.userType() == QMetaType::QDate || value.userType() == QMetaType::QDateTime) {
        return value.toDate();
    }
    const QString text = value.toString();
    const QDate date = QDate::fromString(text, QStringLiteral("yyyyMMdd"));
    return date.isValid() ? date : QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
}
