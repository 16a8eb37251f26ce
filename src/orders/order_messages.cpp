#include "order_messages.h"

#include "znmsg/c_message_common.h"

OrderMessages::OrderMessages(SecurityAccountsReader& securityAccounts)
    : m_securityAccounts(securityAccounts) {}

CMessageCommon* OrderMessages::NewOrderList(const QList<QVariantMap>&, bool, bool) const {
    return nullptr;
}

CMessageCommon* OrderMessages::NewOrderListForInstance(const QList<QVariantMap>&,
                                                       const QString&) const {
    return nullptr;
}

CMessageCommon* OrderMessages::OrderCancelRequest(const QVariantMap&, bool) const {
    return nullptr;
}
