#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include "guarded.h"

class AccountState;
class ZnPresenterClass;

/// The user's authorities on accounts, by authority type: asked of the server at the first question
/// about a type and kept from then on. Operations may be called from any thread and block for their
/// requests. Locks: m_authorityLock, and m_accountLock inside it.
class UserAuthorities {
public:
    explicit UserAuthorities(const AccountState& state) : m_state(state) {}

    /// Account, or user, to the value of the authority there. Empty for a type that the static
    /// database does not define. The first question sends one request per account of the type's
    /// kind; accounts that failed are left out, and are not asked about again. An empty answer is
    /// kept too; not kept is what a host that closes cut short, and what was asked about fund
    /// accounts before the account tables stood. Without a presenter nothing is sent and only what
    /// is kept is answered.
    QVariantMap GetUserAuthority(ZnPresenterClass* prtClass, const QString& authType);
    /// Changes one authority on the server, then in the table; a type that nobody has asked about
    /// yet is kept with this key alone from then on. False, with a log line, for an
    /// unknown type, a key that is none of the type's kind, or a request that failed.
    bool SetUserAuthority(ZnPresenterClass* prtClass, const QString& authType, const QString& key,
                          const QVariant& value);

    /// The keys of an authority of this kind, an AccountType value; empty for an unknown one. Takes
    /// m_accountLock for reading.
    QStringList allKeysOfAccountType(const QString& type) const;

private:
    struct AuthorityTables {
        QMap<QString, QString> m_authorityDefineMap;    ///< authority type to AccountType
        QMap<QString, QVariantMap> m_userAuthorityMap;  ///< authority type, then key to value
    };

    void loadDefinitions();
    static QVariantMap queryAuthority(ZnPresenterClass* prtClass, const QString& authType,
                                      const QString& kind, const QStringList& keys);

    const AccountState& m_state;
    Guarded<AuthorityTables> m_authorityLock{"m_authorityLock", LockRank::Authority};
};
