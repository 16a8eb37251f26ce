#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include "guarded.h"

class AccountState;
class ZnPresenterClass;

/// The user's authorities on accounts, by authority type: queried from the server at the first call
/// for a type and kept from then on. Operations may be called from any thread and block for their
/// requests. Locks: m_authorityLock; m_accountLock while the keys of a kind are read, never both.
class UserAuthorities {
public:
    explicit UserAuthorities(const AccountState& state) : m_state(state) {}

    /// Account (or user id) to the value of the authority. Empty for a type that the static
    /// database does not define. The first call for a type sends one request per key of the type's
    /// kind. A key whose request failed is left out and is not queried again in this process. An
    /// empty result is kept too. A result is not kept when closing interrupted it, or when it is
    /// about fund accounts and the account tables were not loaded yet. Without a presenter nothing
    /// is sent, and only a kept result is returned.
    QVariantMap GetUserAuthority(ZnPresenterClass* prtClass, const QString& authType);
    /// Changes one authority on the server, then in the table; a type that was not queried before
    /// is kept with this key alone from then on. Returns false and logs a line for an unknown type,
    /// a key that is not of the type's kind, or a request that failed.
    bool SetUserAuthority(ZnPresenterClass* prtClass, const QString& authType, const QString& key,
                          const QVariant& value);

    /// The keys of authorities of this kind, an AccountType value; empty for an unknown kind. Takes
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
