#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <vector>

#include "realized_profit_item.h"
#include "record_field.h"

class CountedDeals;

/// Sums deals by trading account, symbol and security account. Made for a million deals: one flat
/// hash while they come, the nested table once at the end. Not shared by threads.
///
/// A missing field counts as 0.0 or as an empty key. A number that cannot be read, is not finite or
/// is above 1e15 counts as 0.0 too and is reported by logLeftOut().
class DealSums {
public:
    /// Of an item's three keys: 128 bits, so that equal hashes stand for equal keys. Comparing the
    /// texts would fetch them from all over the memory.
    struct Hash {
        quint64 one = 1;
        quint64 other = 1;
        bool operator==(const Hash& hash) const { return one == hash.one && other == hash.other; }
    };

    DealSums();

    /// Adds a row of the execution list, whatever it repeats, and appends its id if it has one.
    void addListed(const QVariantMap& deal, std::vector<quint64>* ids);
    /// Adds a deal of the stream, unless its id is counted already. A deal without an id always
    /// counts.
    void addStreamed(const QVariantMap& deal, CountedDeals* counted);

    /// Brings the texts of a record that will be added soon closer to the processor.
    void fetchTexts(const QVariantMap& record);

    RealizedProfitTable table() const;
    /// The number of deals that were counted already.
    int repeated() const { return m_repeated; }
    /// Logs one line when values were left out.
    void logLeftOut() const;

private:
    struct Deal;
    struct Entry {
        Hash hash;
        QString tradingAccount;
        QString symbol;
        QString securityAccount;
        RealizedProfitItem item;
    };

    Deal read(const QVariantMap& deal);
    double number(const QVariantMap& record, RecordField* field, const Deal& deal);
    RealizedProfitItem& itemOf(const Deal& deal);
    void growSlots();

    RecordField m_tradingAccount;
    RecordField m_symbol;
    RecordField m_securityAccount;
    RecordField m_side;
    RecordField m_amount;
    RecordField m_quantity;
    RecordField m_commission;
    RecordField m_execId;
    std::vector<Entry> m_entries;
    std::vector<quint32> m_slots;  // a power of two of them: 1 + a place in m_entries, 0 when empty
    int m_repeated = 0;
    int m_leftOut = 0;
    QString m_firstLeftOut;
};
