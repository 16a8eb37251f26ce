#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <vector>

#include "realized_profit_item.h"

class CountedDeals;

/// Sums deals by trading account, symbol and security account. Made for a million deals: one flat
/// hash while they come, the nested table once at the end. Not shared by threads.
///
/// A missing field counts as 0.0 or as an empty key. A number that cannot be read, is not finite or
/// is above 1e15 counts as 0.0 too and is reported by logLeftOut().
class DealSums {
public:
    /// Adds a row of the execution list, even if its id was added before, and appends the id if it
    /// has one.
    void addListed(const QVariantMap& deal, std::vector<quint64>* ids);
    /// Adds a deal of the stream, unless its id is counted already. A deal without an id always
    /// counts.
    void addStreamed(const QVariantMap& deal, CountedDeals* counted);

    RealizedProfitTable table() const;
    /// The number of deals that were counted already.
    int repeated() const { return m_repeated; }
    /// Logs one line when values were left out.
    void logLeftOut() const;

private:
    struct Deal;
    struct Entry {
        quint64 hash;
        QString tradingAccount;
        QString symbol;
        QString securityAccount;
        RealizedProfitItem item;
    };

    void read(const QVariantMap& record, Deal* read);
    /// 0.0 for a null pointer and for what counts as 0.0.
    double number(const QVariantMap& deal, const QString& field, const QVariant* found);
    RealizedProfitItem& itemOf(const Deal& deal);
    void growSlots();

    std::vector<Entry> m_entries;
    std::vector<quint32> m_slots;  // a power of two of them: 1 + a place in m_entries, 0 when empty
    int m_repeated = 0;
    int m_leftOut = 0;
    QString m_firstLeftOut;
};
