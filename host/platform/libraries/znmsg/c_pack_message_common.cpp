#include "znmsg/c_pack_message_common.h"

#include "vocabulary/fields.h"
#include "znbusinessdata/c_business_data_base.h"

CPackMessageCommon::CPackMessageCommon() : m_rows{QVariantMap()} {}

CPackMessageCommon::~CPackMessageCommon() = default;

int CPackMessageCommon::AddVaule(QString key, QVariant value) {
    m_rows[m_current].insert(key, value);
    return 0;
}

int CPackMessageCommon::AddRowVaule(const QVariantMap& row) {
    QVariantMap& current = m_rows[m_current];
    if (current.isEmpty()) {
        current = row;
        return 0;
    }
    for (auto it = row.cbegin(); it != row.cend(); ++it) {
        current.insert(it.key(), it.value());
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
    const auto found = m_rows.at(m_current).constFind(key);
    if (found != m_rows.at(m_current).cend()) {
        return found.value();
    }
    if (key != System::clientMsgID) {
        return {};
    }
    QVariantMap& header = m_rows.first();
    if (!header.contains(key)) {
        header.insert(key, CBusinessDataBase::GetInstance()->getClientOrderID());
    }
    return header.value(key);
}

void CPackMessageCommon::delValue(const QString& key) {
    m_rows[m_current].remove(key);
}

const QVariant CPackMessageCommon::GetPackedMsg(bool) {
    QVariantList packed;
    packed.reserve(m_rows.size());
    for (const QVariantMap& row : qAsConst(m_rows)) {
        packed.append(row);
    }
    return packed;
}
