#pragma once

#include <QList>
#include <QVariant>
#include <QVariantMap>

/// The size of a list as an answer's System::totalSize gives it.
struct ListTotal {
    enum class State {
        Usable,
        Missing,
        Unusable  ///< negative, not a whole number, or beyond what any list can have
    };

    State state = State::Missing;
    qint64 rows = 0;  ///< 0 unless usable
    QString text;     ///< the value as it came, for a log line

    bool isUsable() const { return state == State::Usable; }
    /// The rows, or what is `known` otherwise when the answer has no usable total.
    qint64 rowsOr(qint64 known) const { return isUsable() ? rows : known; }
};

/// Reads System::totalSize of an answer's header. A pure function.
ListTotal listTotalOf(const QVariantMap& header);

/// Whether two pages have the same rows; unlike operator== a NaN is the same as a NaN.
bool haveSameRows(const QList<QVariantMap>& one, const QList<QVariantMap>& other);
bool isSameRow(const QVariantMap& one, const QVariantMap& other);
