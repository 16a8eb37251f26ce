#pragma once

#include <QMetaType>
#include <QSharedData>
#include <QString>
#include <QVarLengthArray>
#include <QVariant>
#include <QVariantMap>
#include <algorithm>
#include <utility>

/// A row of a packed body that is being written: a record that was taken over, which stays shared
/// with the caller's, and the fields that were set and removed since. Neither the fields of the
/// record nor its nodes are copied, which counts for messages with thousands of rows. A variant
/// that contains a FlatRow converts to a QVariantMap (toMap()).
class FlatRow {
public:
    /// A field that differs from the record's.
    struct Change {
        QString key;
        QVariant value;
        bool isRemoved;
    };

    FlatRow() = default;
    explicit FlatRow(const QVariantMap& record) : m_data(new Data) { m_data->record = record; }

    void set(QString key, QVariant value) { change({std::move(key), std::move(value), false}); }
    void remove(const QString& key) { change({key, QVariant(), true}); }
    /// Null for a field that the row does not have; valid until the row changes.
    const QVariant* find(const QString& key) const;
    int size() const;
    QVariantMap toMap() const;
    /// Calls each(key, value) with every field in the order of the keys, until it returns false.
    /// Returns whether it never did.
    template <class Each>
    bool forEach(const Each& each) const;

    /// Brings the rows from `first` on, at most kTogether of them, into the processor's cache, with
    /// the waits for their fields at the same time instead of one after the other. In a body of
    /// thousands of rows these waits are a large part of the work.
    static void fetch(const QVariantList& rows, int first);
    static constexpr int kTogether = 16;

private:
    // An order gets about a dozen fields.
    static constexpr int kUsualChanges = 12;
    struct Data : QSharedData {
        QVariantMap record;
        QVarLengthArray<Change, kUsualChanges> changes;  // by key
    };

    static int compared(const QString& left, const QString& right);
    static bool isBefore(const Change& change, const QString& key) {
        return compared(change.key, key) < 0;
    }
    void change(Change made);

    QSharedDataPointer<Data> m_data;  // null while the row is empty
};

Q_DECLARE_TYPEINFO(FlatRow::Change, Q_MOVABLE_TYPE);
Q_DECLARE_TYPEINFO(FlatRow, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(FlatRow)

/// Negative, 0 or positive, in the order of QString's own comparison. Most keys that are equal are
/// the same text and others differ within their first characters, so a call of that costs more than
/// the comparison.
inline int FlatRow::compared(const QString& left, const QString& right) {
    const QChar* const a = left.constData();
    const QChar* const b = right.constData();
    // Texts at one place differ at most in their length.
    const int common = a == b ? 0 : std::min(left.size(), right.size());
    for (int i = 0; i < common; ++i) {
        if (a[i] != b[i]) {
            return a[i].unicode() - b[i].unicode();
        }
    }
    return left.size() - right.size();
}

template <class Each>
bool FlatRow::forEach(const Each& each) const {
    if (!m_data) {
        return true;
    }
    auto field = m_data->record.cbegin();
    const auto end = m_data->record.cend();
    for (const Change& change : m_data->changes) {
        int order = -1;
        while (field != end && (order = compared(field.key(), change.key)) < 0) {
            if (!each(field.key(), *field)) {
                return false;
            }
            ++field;
        }
        if (order == 0) {
            ++field;
        }
        if (!change.isRemoved && !each(change.key, change.value)) {
            return false;
        }
    }
    for (; field != end; ++field) {
        if (!each(field.key(), *field)) {
            return false;
        }
    }
    return true;
}

/// The type number of a FlatRow in a variant; registers the type and its conversion first.
int flatRowType();
/// The row in a variant of that type.
inline FlatRow& flatRowIn(QVariant& row) {
    return *static_cast<FlatRow*>(row.data());
}
inline const FlatRow& flatRowIn(const QVariant& row) {
    return *static_cast<const FlatRow*>(row.constData());
}
