#include "znevent/c_event_message_common.h"

CEventMessageCommon::CEventMessageCommon() = default;
CEventMessageCommon::~CEventMessageCommon() = default;

void CEventMessageCommon::SetMsg(QVariant msg) {
    m_msg = msg;
}
void CEventMessageCommon::SetType(QVariant type) {
    m_type = type;
}
void CEventMessageCommon::SetSrcid(QString srcId) {
    m_srcId = srcId;
}
void CEventMessageCommon::SetDstid(QString dstId) {
    m_dstId = dstId;
}

QVariant CEventMessageCommon::GetMsg() const {
    return m_msg;
}
QVariant CEventMessageCommon::GetType() const {
    return m_type;
}
QString CEventMessageCommon::GetSrcid() const {
    return m_srcId;
}
QString CEventMessageCommon::GetDstid() const {
    return m_dstId;
}
