#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <array>

/// Brings the records from `first` on, at most kTogether of them, into the processor's cache, with
/// the waits for their fields at the same time instead of one after the other. In a list of
/// thousands of records these waits are a large part of the work.
class RecordBlock {
public:
    static constexpr int kTogether = 16;

    static void fetch(const QList<QVariantMap>& list, int first);
};

/// The fields of an order record that an order message is derived from, found in one pass over the
/// record instead of one search each. Valid as long as the record.
class OrderRecord {
public:
    enum Field {
        Symbol,
        SecurityID,
        SecurityIDSource,
        OrderStation,
        InstructionID,
        SecurityAccount,
        SecurityExchange,
        TradingAccount,
        PriceType,
        OrderType,
        OrderQty,
        FieldCount
    };

    explicit OrderRecord(const QVariantMap& record);

    /// An invalid value for a field that the record does not have.
    QVariant value(Field field) const { return m_values[field] ? *m_values[field] : QVariant(); }
    /// Empty for a field that the record does not have.
    QString text(Field field) const {
        return m_values[field] ? m_values[field]->toString() : QString();
    }
    bool isEmpty(Field field) const;

private:
    std::array<const QVariant*, FieldCount> m_values{};
};
