#pragma once

#include <QHash>
#include <QString>
#include <vector>

#include "account_state.h"

/// Every account that is not frozen, in priority order, with what the lists ask of it as bits.
/// Points into the tables that it was made of: good only while these are locked and unchanged.
class PriorityRows {
public:
    // An authority bit stands as it is; the others beside.
    static constexpr quint32 kCentral = 1U << 16;
    static constexpr quint32 kDistributed = 1U << 17;
    static constexpr quint32 authorityMarks(int mask) { return static_cast<quint32>(mask) & 0x1FU; }
    static constexpr quint32 fundPropMarks(int mask) {
        return (static_cast<quint32>(mask) & 0x1FU) << 8U;
    }

    struct Row {
        const QString* account;
        const tagUserAccountInfo* record;  ///< null when the tables hold none
        quint32 marks;
        quint64 exchanges;  ///< bits of exchangeMark()
    };

    PriorityRows(const AccountTables& tables, const AccountOrder& order);

    const std::vector<Row>& rows() const { return m_rows; }
    /// -1 for an account that has no row.
    int rowOf(const QString& account) const { return m_rowOf.value(account, -1); }

    /// The bit of an exchange where some account has a security account; 0 for one that has none,
    /// which with more than 64 exchanges may happen to one of these too.
    quint64 exchangeMark(const QString& exchange) const { return m_exchangeMarks.value(exchange); }

private:
    template <class Member>
    void mark(const QSet<QString>& accounts, Member Row::*member, Member marks);

    std::vector<Row> m_rows;
    QHash<QString, int> m_rowOf;
    QHash<QString, quint64> m_exchangeMarks;
};
