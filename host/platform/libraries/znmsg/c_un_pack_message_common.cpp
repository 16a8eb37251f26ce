#include "znmsg/c_un_pack_message_common.h"

#include "message_log.h"
#include "packed_body.h"

CUnPackMessageCommon::CUnPackMessageCommon() : m_rows{QVariantMap()} {}

CUnPackMessageCommon::~CUnPackMessageCommon() = default;

void CUnPackMessageCommon::SetUnPackMsg(const QVariant& packed, bool) {
    if (!isPackedBody(packed)) {
        qCWarning(lcMessage) << "not a packed body, read as an empty one:" << packed.typeName();
    }
    m_rows = rowsOfPackedBody(packed);
    m_current = 0;
}

QVariant CUnPackMessageCommon::GetValue(QString key, QVariant defaultValue) {
    return m_rows.at(m_current).value(key, defaultValue);
}

QVariantMap CUnPackMessageCommon::GetRowValue() {
    return m_rows.at(m_current);
}

bool CUnPackMessageCommon::SetCurrentRow(int row) {
    if (row < 0 || row >= m_rows.size()) {
        return false;
    }
    m_current = row;
    return true;
}

int CUnPackMessageCommon::GetRowCount() const {
    return m_rows.size();
}
