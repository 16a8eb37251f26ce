#include "day_opening.h"

#include <QHash>
#include <QSqlQuery>
#include <algorithm>

#include "market_store.h"
#include "vocabulary/values.h"

namespace {

using Accounts = QHash<QString, int>;  // index in the opening

bool isListed(const QStringList& authorities) {
    using namespace AuthorityType;
    static const QStringList listed{AccountQuery, AccountEdit, AccountAuthority, AccountSubscribe,
                                    AccountTrade};
    return std::any_of(authorities.cbegin(), authorities.cend(),
                       [](const QString& one) { return listed.contains(one); });
}

bool readAccounts(const MarketStore& store, const QString& user, DayOpening* opening,
                  Accounts* index, QString* error) {
    return store.select(
        QStringLiteral("SELECT t.trading_account, t.fund_account_type, t.account_status,"
                       " a.authority_types, c.cash FROM account_authority a"
                       " JOIN trading_account t ON t.trading_account = a.trading_account"
                       " LEFT JOIN opening_cash c ON c.trading_account = t.trading_account"
                       " WHERE a.user_id = ? ORDER BY t.seq"),
        {user},
        [&](const QSqlQuery& row) {
            const QStringList authorities = row.value(3).toString().split(QLatin1Char(','));
            if (!isListed(authorities)) {
                return;
            }
            DayOpening::Account account;
            account.tradingAccount = row.value(0).toString();
            account.fundAccountType = row.value(1).toString();
            account.frozen = row.value(2).toString() == AccountStatus::freezing;
            account.mayTrade = authorities.contains(AuthorityType::AccountTrade);
            account.cash = row.value(4).toDouble();
            index->insert(account.tradingAccount, opening->accounts.size());
            opening->accounts.append(account);
        },
        error);
}

bool readSecurityAccounts(const MarketStore& store, const QString& user, const Accounts& index,
                          DayOpening* opening, QString* error) {
    return store.select(
        QStringLiteral("SELECT s.trading_account, s.exchange, s.security_account"
                       " FROM security_account s JOIN account_authority a"
                       " ON a.trading_account = s.trading_account"
                       " WHERE a.user_id = ? ORDER BY s.trading_account, s.is_main DESC,"
                       " s.position"),
        {user},
        [&](const QSqlQuery& row) {
            const auto found = index.constFind(row.value(0).toString());
            if (found == index.constEnd()) {
                return;
            }
            auto& accounts = opening->accounts[*found].securityAccounts;
            const QString exchange = row.value(1).toString();
            if (!accounts.contains(exchange)) {
                accounts.insert(exchange, row.value(2).toString());
            }
        },
        error);
}

bool readPositions(const MarketStore& store, const QString& user, const Accounts& index,
                   DayOpening* opening, QString* error) {
    return store.select(
        QStringLiteral("SELECT p.trading_account, p.security_id, p.security_exchange,"
                       " p.security_account, p.nominal_qty, p.oms_average_cost FROM position p"
                       " JOIN account_authority a ON a.trading_account = p.trading_account"
                       " WHERE a.user_id = ?"
                       " ORDER BY p.trading_account, p.security_exchange, p.security_id"),
        {user},
        [&](const QSqlQuery& row) {
            if (index.contains(row.value(0).toString())) {
                opening->positions.append({row.value(0).toString(), row.value(1).toString(),
                                           row.value(2).toString(), row.value(3).toString(),
                                           row.value(4).toLongLong(), row.value(5).toDouble()});
            }
        },
        error);
}

}  // namespace

DayOpeningSource storedOpening(const QString& marketStoreFile, const QString& userId) {
    return [marketStoreFile, userId](DayOpening* opening, QString* error) {
        const auto store = MarketStore::open(marketStoreFile, error);
        DayOpening read;
        Accounts index;
        if (!store || !readAccounts(*store, userId, &read, &index, error) ||
            !readSecurityAccounts(*store, userId, index, &read, error) ||
            !readPositions(*store, userId, index, &read, error)) {
            return false;
        }
        *opening = read;
        return true;
    };
}
