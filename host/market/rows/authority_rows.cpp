#include "authority_rows.h"

#include <algorithm>

#include "sample_market.h"
#include "vocabulary/values.h"

namespace {

inline const QString kOrganCode = QStringLiteral("0101");
inline const QString kOtherOrganCode = QStringLiteral("0202");
inline const QString kGone = QStringLiteral("2");
inline const QString kTrader = QStringLiteral("1");
inline const QString kManager = QStringLiteral("2");

// More than a page of a thousand, so that a client has to request two.
constexpr int kTraders = 1200;
constexpr int kGoneEvery = 50;
constexpr int kManagerEvery = 10;
constexpr int kOtherTraders = 60;

using Rows = QList<TableRow>;

QString traderId(int number) {
    return QStringLiteral("trader%1").arg(number + 1, 4, 10, QLatin1Char('0'));
}

void addTrader(Rows& rows, int number, const QString& status, const QString& organCode) {
    const QString name = QStringLiteral("交易员%1").arg(number + 1, 4, 10, QLatin1Char('0'));
    const QString& type = number % kManagerEvery == kManagerEvery - 1 ? kManager : kTrader;
    rows.append({QStringLiteral("organ_user"), {traderId(number), name, type, status, organCode}});
}

void addUsers(Rows& rows) {
    const QString table = QStringLiteral("organ_user");
    rows.append(
        {table,
         {SampleLogin::user, QStringLiteral("演示用户一"), kTrader, UserStatus::good, kOrganCode}});
    rows.append({table,
                 {SampleLogin::secondUser, QStringLiteral("演示用户二"), kTrader, UserStatus::good,
                  kOrganCode}});
    const int gone = kTraders / kGoneEvery;
    for (int i = 0; i < kTraders + gone; ++i) {
        const bool isGone = i % (kGoneEvery + 1) == kGoneEvery;
        addTrader(rows, i, isGone ? kGone : UserStatus::good, kOrganCode);
    }
    for (int i = 0; i < kOtherTraders; ++i) {
        addTrader(rows, kTraders + gone + i, UserStatus::good, kOtherOrganCode);
    }
}

/// One to four traders per account. Some are bound twice, as trader and as deputy.
void addBindings(Rows& rows, const QString& kind, const QStringList& accounts) {
    for (int i = 0; i < accounts.size(); ++i) {
        const int count = i % 4 + 1;
        for (int position = 0; position < count; ++position) {
            const int trader = position == 3 ? i * 7 : i * 7 + position;
            rows.append({QStringLiteral("trader_binding"),
                         {kind, accounts.at(i), position, traderId(trader % kTraders)}});
        }
    }
}

/// The accounts of a tree by kind, each once.
struct Level {
    QString kind;
    QStringList accounts;
};

QList<Level> levelsOf(const AccountTree& tree) {
    QStringList investors;
    QStringList products;
    QStringList assets;
    QStringList trading;
    QStringList funds;
    QStringList securities;
    for (const AccountTree::Investor& one : tree.investors) {
        investors.append(one.account);
    }
    for (const AccountTree::Product& one : tree.products) {
        products.append(one.account);
    }
    for (const AccountTree::AssetAccount& one : tree.assets) {
        assets.append(one.account);
    }
    for (const AccountTree::TradingAccount& one : tree.accounts) {
        trading.append(one.account);
        funds.append(one.binding.fundAccount);
        for (const AccountTree::SecurityAccount& security : one.securityAccounts) {
            securities.append(security.account);
        }
    }
    funds.removeDuplicates();
    securities.removeDuplicates();
    return {{AccountType::InvestAccount, investors}, {AccountType::ProductAccount, products},
            {AccountType::AssetAccount, assets},     {AccountType::TradingAccount, trading},
            {AccountType::FundAccount, funds},       {AccountType::SecurityAccount, securities}};
}

/// An amount of money or a switch, depending on the type.
QString valueOf(const QString& authType, int number) {
    if (authType == SampleAuthority::orderAmount) {
        return QString::number((number % 5 + 1) * 1000000);
    }
    return number % 3 == 0 ? QStringLiteral("0") : QStringLiteral("1");
}

/// Two accounts out of three have a value.
void addValues(Rows& rows, const QString& userId, const QList<Level>& levels) {
    for (const auto& type : sampleAuthorityTypes()) {
        const auto level = std::find_if(levels.cbegin(), levels.cend(), [&type](const Level& one) {
            return one.kind == type.second;
        });
        if (level == levels.cend() || type.first == SampleAuthority::algorithmTrade) {
            continue;
        }
        for (int i = 0; i < level->accounts.size(); ++i) {
            if (i % 3 != 2) {
                rows.append({QStringLiteral("authority_value"),
                             {userId, type.first, level->accounts.at(i), valueOf(type.first, i)}});
            }
        }
    }
    rows.append({QStringLiteral("authority_value"),
                 {userId, SampleAuthority::loginCount, userId, QStringLiteral("3")}});
}

}  // namespace

const QList<QPair<QString, QString>>& sampleAuthorityTypes() {
    static const QList<QPair<QString, QString>> types{
        {SampleAuthority::loginCount, AccountType::UserId},
        {SampleAuthority::orderAmount, AccountType::TradingAccount},
        {SampleAuthority::investorReport, AccountType::InvestAccount},
        {SampleAuthority::productExport, AccountType::ProductAccount},
        {SampleAuthority::assetTransfer, AccountType::AssetAccount},
        {SampleAuthority::fundTransfer, AccountType::FundAccount},
        {SampleAuthority::securityLending, AccountType::SecurityAccount},
        {SampleAuthority::externalTrade, AccountType::ExternUserAccount},
        {SampleAuthority::algorithmTrade, AccountType::TradingAccount},
    };
    return types;
}

QList<TableRow> makeAuthorityRows(const AccountTree& tree, const AccountTree& ofSecond) {
    Rows rows;
    for (const auto& type : sampleAuthorityTypes()) {
        rows.append({QStringLiteral("authority_type"), {type.first, type.second}});
    }
    addUsers(rows);
    const QList<Level> levels = levelsOf(tree);
    for (const Level& level : levels) {
        const bool bound = level.kind == AccountType::InvestAccount ||
                           level.kind == AccountType::ProductAccount ||
                           level.kind == AccountType::TradingAccount;
        if (bound) {
            addBindings(rows, level.kind, level.accounts);
        }
    }
    addValues(rows, SampleLogin::user, levels);
    addValues(rows, SampleLogin::secondUser, levelsOf(ofSecond));
    return rows;
}
