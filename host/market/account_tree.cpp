#include "account_tree.h"

#include <QHash>
#include <array>

#include "market_names.h"
#include "market_random.h"
#include "vocabulary/values.h"

namespace {

QString padded(const QString& prefix, int number, int digits) {
    return prefix + QStringLiteral("%1").arg(number, digits, 10, QLatin1Char('0'));
}

/// Kinds of fund account in realistic shares: mostly cash, each other kind at least once in ten
/// accounts.
const QString& fundAccountTypeOf(int number) {
    static const std::array<const QString*, 10> pattern{
        &FundAccountType::Cash,   &FundAccountType::Credit, &FundAccountType::Cash,
        &FundAccountType::Future, &FundAccountType::Cash,   &FundAccountType::Option,
        &FundAccountType::Cash,   &FundAccountType::Metal,  &FundAccountType::Cash,
        &FundAccountType::Cash};
    return *pattern[static_cast<size_t>(number) % pattern.size()];
}

QString kindName(const QString& fundAccountType) {
    static const QHash<QString, QString> names{{FundAccountType::Cash, QStringLiteral("现货")},
                                               {FundAccountType::Credit, QStringLiteral("信用")},
                                               {FundAccountType::Future, QStringLiteral("期货")},
                                               {FundAccountType::Option, QStringLiteral("期权")},
                                               {FundAccountType::Metal, QStringLiteral("贵金属")}};
    return names.value(fundAccountType);
}

/// What the login may do with an account that is not bound by its product.
QStringList authoritiesOf(int number) {
    using namespace AuthorityType;
    static const std::array<QStringList, 7> pattern{{
        {AccountQuery, AccountEdit, AccountAuthority, AccountSubscribe, AccountTrade},
        {AccountQuery, AccountTrade},
        {AccountQuery, AccountEdit, AccountAuthority, AccountSubscribe, AccountTrade},
        {AccountQuery, AccountSubscribe, AccountTrade},
        {AccountQuery, AccountEdit, AccountAuthority},
        {AccountQuery, AccountTrade, kReportAuthority},
        {AccountSubscribe},
    }};
    return pattern[static_cast<size_t>(number) % pattern.size()];
}

QString counterCodeOf(int number) {
    if (number % 29 == 11) {
        return CounterSysCode::QFII_ZN;
    }
    return number % 31 == 13 ? CounterSysCode::PUBLICRAISE : CounterSysCode::Normal_ZN;
}

class TreeBuilder {
public:
    TreeBuilder(quint32 seed, int firstNumber) : m_random(seed), m_firstNumber(firstNumber) {}

    AccountTree build(int accounts) {
        m_wanted = accounts;
        while (!isFull()) {
            addInvestor();
        }
        return std::move(m_tree);
    }

private:
    bool isFull() const { return m_tree.accounts.size() >= m_wanted; }

    /// The numbers of all levels continue those of the previous tree.
    int nextNumber(int siblings) const { return m_firstNumber + siblings; }

    void addInvestor() {
        const int number = nextNumber(m_tree.investors.size());
        m_tree.investors.append(
            {padded(QStringLiteral("I"), number + 1, 5), MarketNames::investor(number)});
        for (int left = m_random.between(2, 4); left > 0 && !isFull(); --left) {
            addProduct();
        }
    }

    void addProduct() {
        const int index = m_tree.products.size();
        const int number = nextNumber(index);
        m_tree.products.append({padded(QStringLiteral("P"), number + 1, 5),
                                m_tree.investors.last().name + MarketNames::product(number),
                                m_tree.investors.size() - 1, index % 9 == 4});
        for (int left = m_random.between(1, 2); left > 0 && !isFull(); --left) {
            addAssetAccount();
        }
    }

    void addAssetAccount() {
        const int number = nextNumber(m_tree.assets.size());
        AccountTree::AssetAccount asset;
        asset.account = padded(QStringLiteral("A"), number + 1, 5);
        asset.name = QStringLiteral("%1资产%2").arg(m_tree.products.last().name).arg(number + 1);
        asset.product = m_tree.products.size() - 1;
        asset.clientNo = padded(QStringLiteral("88"), number + 1, 6);
        asset.otcFundAccount = padded(QStringLiteral("OTC"), number + 1, 6);
        m_tree.assets.append(asset);
        for (int place = 0, count = m_random.between(1, 4); place < count && !isFull(); ++place) {
            addTradingAccount(place);
        }
    }

    void addTradingAccount(int place) {
        const int index = m_tree.accounts.size();
        const AccountTree::Product& product = m_tree.products.last();
        AccountTree::TradingAccount account;
        account.account = padded(QStringLiteral("T"), nextNumber(index) + 1, 6);
        account.asset = m_tree.assets.size() - 1;
        account.seatNo = padded(QStringLiteral("2"), m_random.below(100000), 5);
        account.investType = QString::number(m_random.between(1, 3));
        account.binding = bindingOf(index, place);
        account.name = QStringLiteral("%1%2%3").arg(
            product.name, kindName(account.binding.fundAccountType), QString::number(place + 1));
        account.securityAccounts = securityAccountsOf(index, account.binding.fundAccountType);
        account.authorities =
            product.queryOnly ? QStringList{AuthorityType::AccountQuery} : authoritiesOf(index);
        m_tree.accounts.append(account);
    }

    AccountTree::Binding bindingOf(int index, int place) {
        AccountTree::Binding binding;
        if (place == 1 && index % 3 == 0) {
            // Two strategies on one real account.
            binding = m_tree.accounts.last().binding;
        } else {
            const AccountTree::AssetAccount& asset = m_tree.assets.last();
            binding.fundAccount = padded(QStringLiteral("66"), nextNumber(index) + 1, 8);
            binding.fundAccountType = fundAccountTypeOf(index);
            binding.clientNo = asset.clientNo;
            binding.otcFundAccount = asset.otcFundAccount;
            binding.extCounterCode = counterCodeOf(index);
            binding.extNodeNo = padded(QStringLiteral("N"), m_random.between(1, 6), 2);
            binding.branchNo = 1000 + m_random.below(40);
            binding.extOrgCode = padded(QStringLiteral("X"), m_random.between(1, 9), 3);
            binding.counterSiteType = index % 11 == 7 ? 1 : 0;
        }
        binding.passStatus = QStringLiteral("1");
        binding.accountStatus = index % 17 == 5 ? AccountStatus::freezing : QStringLiteral("0");
        return binding;
    }

    QVector<AccountTree::SecurityAccount> securityAccountsOf(int index, const QString& kind) {
        if (kind == FundAccountType::Future) {
            return {one(Exchange::cffex), one(Exchange::shf)};
        }
        if (kind == FundAccountType::Option) {
            return {one(Exchange::sh), one(Exchange::sz)};
        }
        if (kind == FundAccountType::Metal) {
            return {one(Exchange::sge)};
        }
        QVector<AccountTree::SecurityAccount> list{one(Exchange::sh), one(Exchange::sz)};
        addSecondOfShanghai(index, list);
        const std::array<std::pair<bool, const QString*>, 4> others{{
            {index % 4 == 0, &Exchange::bj},
            {index % 3 == 0, &Exchange::hhk},
            {index % 5 == 0, &Exchange::szhk},
            {index % 25 == 10, &Exchange::HkStockCirculation},
        }};
        for (const auto& other : others) {
            if (other.first) {
                list.append(one(*other.second));
            }
        }
        return list;
    }

    /// Some have two accounts on an exchange: with none of them marked, or with the second one.
    void addSecondOfShanghai(int index, QVector<AccountTree::SecurityAccount>& list) {
        if (index % 6 != 2 && index % 6 != 4) {
            return;
        }
        list.first().isMain = false;
        list.append(one(Exchange::sh));
        list.last().isMain = index % 6 == 4;
    }

    AccountTree::SecurityAccount one(const QString& exchange) {
        return {exchange, padded(exchange, m_random.below(1000000000), 9), true};
    }

    MarketRandom m_random;
    const int m_firstNumber;
    int m_wanted = 0;
    AccountTree m_tree;
};

}  // namespace

AccountTree makeAccountTree(quint32 seed, int accounts, int firstNumber) {
    return TreeBuilder(seed, firstNumber).build(accounts);
}
