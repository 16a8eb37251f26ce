#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

class CMessageCommon;
class SecurityAccountsReader;

/// Builds the messages of new orders and of cancels; sends nothing and checks no rule. Any thread.
/// Has no tables of its own; waits where the choice of a security account waits.
class OrderMessages {
public:
    explicit OrderMessages(SecurityAccountsReader& securityAccounts);

    CMessageCommon* NewOrderList(const QList<QVariantMap>& list, bool numericType,
                                 bool packFlag) const;
    CMessageCommon* NewOrderListForInstance(const QList<QVariantMap>& list,
                                            const QString& msgType) const;
    CMessageCommon* OrderCancelRequest(const QVariantMap& order, bool numericType) const;

private:
    SecurityAccountsReader& m_securityAccounts;
};
