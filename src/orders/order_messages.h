#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

class Clock;
class CMessageCommon;
class CPackMessageCommon;
class OrderRecord;
class SecurityAccountsReader;

/// Builds the messages of new orders and of cancels; sends nothing and checks no rule. The caller
/// owns what it gets. Any thread. Has no tables of its own; waits for the account tables when it
/// has to choose a security account.
class OrderMessages {
public:
    /// Both must outlive the object.
    OrderMessages(SecurityAccountsReader& securityAccounts, const Clock& clock)
        : m_securityAccounts(securityAccounts), m_clock(clock) {}

    /// The message of a batch: element 0 of the list is its header record, the others are orders.
    /// Null for an empty list.
    CMessageCommon* NewOrderList(const QList<QVariantMap>& list, bool numericType,
                                 bool packFlag) const;
    /// The same for the instance of a strategy.
    CMessageCommon* NewOrderListForInstance(const QList<QVariantMap>& list,
                                            const QString& msgType) const;
    /// The message that cancels an order. Never null; does not wait.
    CMessageCommon* OrderCancelRequest(const QVariantMap& order, bool numericType) const;

private:
    /// When an order's security id is looked up by its symbol.
    enum class IdLookup { WithoutId, WithoutIdOrSource };

    /// A chosen security account; most orders of a batch have that of the order before.
    struct Choice {
        QString tradingAccount;
        QString exchange;  ///< empty before the first choice
        QString securityAccount;
    };

    QString transActTime() const;
    void addOrders(const QList<QVariantMap>& list, IdLookup idLookup,
                   CPackMessageCommon& packer) const;
    void addSecurityAccount(const OrderRecord& order, const QString& symbol, Choice* last,
                            CPackMessageCommon& packer) const;

    SecurityAccountsReader& m_securityAccounts;
    const Clock& m_clock;
};
