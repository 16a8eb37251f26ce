#include "znmsg/c_pack_message_common.h"

#include <utility>

#include "flat_row.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

/// A row to which fields can be added; one that was taken over as a record is converted.
FlatRow& writableRow(QVariant& row) {
    if (row.userType() != flatRowType()) {
        row = QVariant::fromValue(FlatRow(row.toMap()));
    }
    return flatRowIn(row);
}

bool isEmpty(const QVariant& row) {
    return row.userType() == flatRowType() ? flatRowIn(row).size() == 0 : row.toMap().isEmpty();
}

QVariant fieldOf(const QVariant& row, const QString& key) {
    if (row.userType() != flatRowType()) {
        return row.toMap().value(key);
    }
    const QVariant* const found = flatRowIn(row).find(key);
    return found ? *found : QVariant();
}

}  // namespace

CPackMessageCommon::CPackMessageCommon() : m_rows{QVariantMap()} {}

CPackMessageCommon::~CPackMessageCommon() = default;

int CPackMessageCommon::AddVaule(QString key, QVariant value) {
    writableRow(m_rows[m_current]).set(std::move(key), std::move(value));
    return 0;
}

int CPackMessageCommon::AddRowVaule(const QVariantMap& row) {
    QVariant& current = m_rows[m_current];
    // A record that nothing is added to stays as it is, shared with the caller's.
    if (isEmpty(current)) {
        current = row;
        return 0;
    }
    FlatRow& fields = writableRow(current);
    for (auto it = row.cbegin(); it != row.cend(); ++it) {
        fields.set(it.key(), it.value());
    }
    return 0;
}

int CPackMessageCommon::AddRow() {
    m_rows.append(QVariantMap());
    m_current = m_rows.size() - 1;
    return m_current;
}

bool CPackMessageCommon::SetCurrentRow(int row) {
    if (row < 0 || row >= m_rows.size()) {
        return false;
    }
    m_current = row;
    return true;
}

int CPackMessageCommon::GetRowCount() const {
    return m_rows.size();
}

QVariant CPackMessageCommon::GetValue(QString key) {
    QVariant found = fieldOf(m_rows.at(m_current), key);
    if (found.isValid() || key != System::clientMsgID) {
        return found;
    }
    FlatRow& header = writableRow(m_rows.first());
    if (!header.find(key)) {
        header.set(key, CBusinessDataBase::GetInstance()->getClientOrderID());
    }
    return *header.find(key);
}

void CPackMessageCommon::delValue(const QString& key) {
    writableRow(m_rows[m_current]).remove(key);
}

const QVariant CPackMessageCommon::GetPackedMsg(bool) {
    return m_rows;
}
