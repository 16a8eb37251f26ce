#pragma once

#include <QHash>
#include <QString>
#include <vector>

#include "account_state.h"

/// Every account that is not frozen, in account order, with the properties that lists select by as
/// bits. Points into the tables that it was built from, so it is valid only while these are locked
/// and unchanged.
class AccountRows {
public:
    // Bits 0 to 4 are the authorities, bits 8 to 12 the fund properties.
    static constexpr quint32 kCentral = 1U << 16;
    static constexpr quint32 kDistributed = 1U << 17;
    static constexpr quint32 authorityMarks(int mask) { return static_cast<quint32>(mask) & 0x1FU; }
    static constexpr quint32 fundPropMarks(int mask) {
        return (static_cast<quint32>(mask) & 0x1FU) << 8U;
    }

    struct Row {
        const QString* account;
        const tagUserAccountInfo* record;  ///< null when the tables contain none
        quint32 marks;
        quint64 exchanges;  ///< bits of exchangeMark()
    };

    AccountRows(const AccountTables& tables, const AccountOrder& order);

    const std::vector<Row>& rows() const { return m_rows; }
    /// Returns -1 for an account without a row.
    int rowOf(const QString& account) const { return m_rowOf.value(account, -1); }

    /// The bit of an exchange on which some account has a security account. 0 for any other
    /// exchange, and for those beyond the 64 that there are bits for.
    quint64 exchangeMark(const QString& exchange) const { return m_exchangeMarks.value(exchange); }

private:
    template <class Member>
    void mark(const QSet<QString>& accounts, Member Row::*member, Member marks);

    std::vector<Row> m_rows;
    QHash<QString, int> m_rowOf;
    QHash<QString, quint64> m_exchangeMarks;
};
