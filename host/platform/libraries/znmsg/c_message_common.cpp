#include "znmsg/c_message_common.h"

CMessageCommon::CMessageCommon() = default;
CMessageCommon::~CMessageCommon() = default;

void CMessageCommon::SetType(QVariant type) {
    m_type = type;
}
void CMessageCommon::SetSrcid(QString srcId) {
    m_srcId = srcId;
}
void CMessageCommon::SetMsg(QVariant msg) {
    m_msg = msg;
}

QVariant CMessageCommon::GetType() const {
    return m_type;
}
QString CMessageCommon::GetSrcid() const {
    return m_srcId;
}
QVariant CMessageCommon::GetMsg() const {
    return m_msg;
}
