#include "account_rows.h"

#include "password_hash.h"
#include "sample_market.h"
#include "vocabulary/values.h"

namespace {

inline const QString kOrganCode = QStringLiteral("0101");
inline const QString kUserType = QStringLiteral("1");
// The second login sees one account of the first tree in this many.
constexpr int kSharedEvery = 40;

using Rows = QList<TableRow>;

void addLogin(Rows& rows, const QString& userId, const QString& name) {
    const QString salt = QStringLiteral("salt-of-") + userId;
    rows.append({QStringLiteral("login"),
                 {userId, name, kUserType, UserStatus::good, kOrganCode, salt,
                  passwordHash(salt, SampleLogin::password)}});
}

void addUpperLevels(Rows& rows, const AccountTree& tree) {
    for (const AccountTree::Investor& one : tree.investors) {
        rows.append({QStringLiteral("investor"), {one.account, one.name}});
    }
    for (const AccountTree::Product& one : tree.products) {
        rows.append({QStringLiteral("product"),
                     {one.account, tree.investors.at(one.investor).account, one.name}});
    }
    for (const AccountTree::AssetAccount& one : tree.assets) {
        rows.append({QStringLiteral("asset_account"),
                     {one.account, tree.products.at(one.product).account, one.name}});
    }
}

/// The asset accounts by their product.
QVector<QStringList> assetListsOf(const AccountTree& tree) {
    QVector<QStringList> lists(tree.products.size());
    for (const AccountTree::AssetAccount& one : tree.assets) {
        lists[one.product].append(one.account);
    }
    return lists;
}

void addTradingAccounts(Rows& rows, const AccountTree& tree, int firstSeq) {
    const QVector<QStringList> assetLists = assetListsOf(tree);
    for (int i = 0; i < tree.accounts.size(); ++i) {
        const AccountTree::TradingAccount& one = tree.accounts.at(i);
        const AccountTree::AssetAccount& asset = tree.assets.at(one.asset);
        const AccountTree::Binding& binding = one.binding;
        rows.append({QStringLiteral("trading_account"),
                     {firstSeq + i,
                      one.account,
                      asset.account,
                      one.name,
                      one.seatNo,
                      one.investType,
                      assetLists.at(asset.product).join(QLatin1Char(',')),
                      kUserType,
                      kOrganCode,
                      binding.fundAccount,
                      binding.fundAccountType,
                      one.name,
                      binding.extCounterCode,
                      binding.clientNo,
                      binding.extNodeNo,
                      binding.branchNo,
                      binding.extOrgCode,
                      binding.passStatus,
                      binding.otcFundAccount,
                      binding.counterSiteType,
                      binding.accountStatus}});
        for (int position = 0; position < one.securityAccounts.size(); ++position) {
            const AccountTree::SecurityAccount& security = one.securityAccounts.at(position);
            rows.append({QStringLiteral("security_account"),
                         {one.account, position, security.exchange, security.account,
                          security.isMain ? QStringLiteral("1") : QStringLiteral("0")}});
        }
    }
}

void addAuthority(Rows& rows, const QString& userId, const AccountTree::TradingAccount& account,
                  const QStringList& authorities) {
    rows.append({QStringLiteral("account_authority"),
                 {userId, account.account, authorities.join(QLatin1Char(','))}});
}

}  // namespace

QList<TableRow> makeStoreRows(const AccountTree& tree, const AccountTree& ofSecond) {
    const QStringList trader{AuthorityType::AccountQuery, AuthorityType::AccountTrade};
    Rows rows;
    addLogin(rows, SampleLogin::user, QStringLiteral("演示用户一"));
    addLogin(rows, SampleLogin::secondUser, QStringLiteral("演示用户二"));
    addUpperLevels(rows, tree);
    addUpperLevels(rows, ofSecond);
    addTradingAccounts(rows, tree, 1);
    addTradingAccounts(rows, ofSecond, tree.accounts.size() + 1);
    for (int i = 0; i < tree.accounts.size(); ++i) {
        addAuthority(rows, SampleLogin::user, tree.accounts.at(i), tree.accounts.at(i).authorities);
        if (i % kSharedEvery == 0) {
            addAuthority(rows, SampleLogin::secondUser, tree.accounts.at(i), trader);
        }
    }
    for (int i = 0; i < ofSecond.accounts.size(); ++i) {
        // On the last account the login has only an authority for reports; no client lists it.
        const bool isLast = i == ofSecond.accounts.size() - 1;
        addAuthority(rows, SampleLogin::secondUser, ofSecond.accounts.at(i),
                     isLast ? QStringList{kReportAuthority} : trader);
    }
    return rows;
}
