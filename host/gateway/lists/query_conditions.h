#pragma once

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QVector>

#include "server_call.h"

/// A condition that a field of a request puts on a list. A missing or empty field puts none.
struct PagedFilter {
    enum class Kind {
        OneOf,    ///< values joined with ",": the column has one of them
        Equal,    ///< the column has this value
        NotLess,  ///< the column is this date or a later one
        NotMore,  ///< the column is this date or an earlier one
        SameDate  ///< the column is this date
    };

    Kind kind;
    QString field;
    QString column;         ///< for a date: a plain column with yyyyMMdd, as a number or a text
    bool required = false;  ///< a request without it, or without any value in it, is refused
    int maxValues = 1000;   ///< OneOf: a request with more values is refused
};

/// The conditions of a statement and the values of their "?".
struct QueryConditions {
    QStringList clauses;
    QVariantList values;

    bool isEmpty() const { return clauses.isEmpty(); }
    /// " WHERE ..."; empty without conditions.
    QString where() const;
    void add(const QString& clause, const QVariantList& bound = {}) {
        clauses.append(clause);
        values.append(bound);
    }
    void add(const QueryConditions& other) {
        clauses.append(other.clauses);
        values.append(other.values);
    }

    /// Adds the conditions of a request's filters. False with a text for the client when a field is
    /// invalid or missing.
    bool addFilters(const ServerCall& call, const QVector<PagedFilter>& filters, QString* refusal);
};

/// Whether a value can be compared with a column: it has a text and is not a list or a record.
bool isSingleValue(const QVariant& value);
/// The date of a number (20260105), a text ("20260105", "2026-01-05") or a date; invalid for
/// anything else.
QDate dateOf(const QVariant& value);
