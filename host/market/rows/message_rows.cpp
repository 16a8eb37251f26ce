#include "message_rows.h"

#include <QHash>
#include <QTime>
#include <QVector>
#include <algorithm>
#include <functional>

#include "market_random.h"
#include "quote_fields.h"
#include "rule_table.h"
#include "sample_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

inline const QString kTime = QStringLiteral("time");
inline const QString kKind = QStringLiteral("kind");
inline const QString kUsers = QStringLiteral("users");
inline const QString kAccount = QStringLiteral("account");
inline const QString kSecurity = QStringLiteral("security");
inline const QString kItem = QStringLiteral("item");
inline const QString kText = QStringLiteral("text");

constexpr int kMsPerSecond = 1000;

/// The type, the sub-type and the level of the dictionary's kinds.
using Kinds = QHash<QString, QStringList>;

bool readKinds(Kinds* kinds, QString* error) {
    const QString section = QStringLiteral("section");
    const QString key = QStringLiteral("key");
    const QString value = QStringLiteral("value");
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("message_dictionary.csv"), {section, key, value}, &table,
                         error)) {
        return false;
    }
    for (const RuleTable::Row& row : table.rows()) {
        if (table.cell(row, section) == DictionaryKey::VelmarBusiMsgTypeDict) {
            kinds->insert(table.cell(row, key), table.cell(row, value).split(QLatin1Char('|')));
        }
    }
    return true;
}

bool isShare(const QVariantMap& security) {
    return security.value(MDCFieldDefine::mdcSecurityType) == MdcSecurityType::StockType &&
           security.contains(Security::STFlag);
}

/// Whether a security is of a kind that the table names.
bool isOfKind(const QVariantMap& security, const QString& kind) {
    const QString type = security.value(MDCFieldDefine::mdcSecurityType).toString();
    const QString flag = security.value(Security::STFlag).toString();
    if (kind == QLatin1String("share")) {
        return isShare(security) && flag == StFlag::Normal;
    }
    if (kind == QLatin1String("st")) {
        return isShare(security) && flag == StFlag::IsST;
    }
    if (kind == QLatin1String("delist")) {
        return security.value(Security::delistFlag).toBool();
    }
    return type ==
           (kind == QLatin1String("bond") ? MdcSecurityType::BondType : MdcSecurityType::FundType);
}

/// The fund account types by the table's names.
const QHash<QString, QString>& accountKinds() {
    static const QHash<QString, QString> kinds{
        {QStringLiteral("cash"), FundAccountType::Cash},
        {QStringLiteral("credit"), FundAccountType::Credit},
        {QStringLiteral("future"), FundAccountType::Future},
    };
    return kinds;
}

/// The texts that a message's placeholders stand for, and the fields that go with them.
struct Subject {
    QString tradingAccount;
    QString productAccount;
    QHash<QString, QString> texts;

    QString filled(QString text) const {
        for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
            text.replace(QLatin1Char('{') + it.key() + QLatin1Char('}'), it.value());
        }
        return text;
    }
};

class MessageMaker {
public:
    MessageMaker(quint32 seed, const QList<QVariantMap>& securities)
        : m_random(seed), m_securities(securities) {}

    Subject subject(const QString& account, const QString& security, const AccountTree& tree) {
        Subject made;
        made.texts = {{QStringLiteral("qty"), QString::number(m_random.between(1, 90) * 100)},
                      {QStringLiteral("amount"), QString::number(m_random.between(5, 990) * 10000)},
                      {QStringLiteral("percent"), QString::number(m_random.between(10, 19))},
                      {QStringLiteral("orderID"), QString::number(600000 + ++m_orders)}};
        made.texts.insert(QStringLiteral("order"), made.texts.value(QStringLiteral("orderID")));
        if (!account.isEmpty()) {
            addAccount(accountKinds().value(account), tree, &made);
        }
        if (!security.isEmpty()) {
            addSecurity(security, &made);
        }
        return made;
    }

private:
    /// One of the matching entries; of all of them when none matches, as in a very small market.
    int pick(int count, const std::function<bool(int)>& matches) {
        QVector<int> found;
        for (int i = 0; i < count; ++i) {
            if (matches(i)) {
                found.append(i);
            }
        }
        return found.isEmpty() ? m_random.below(count) : found.at(m_random.below(found.size()));
    }

    void addAccount(const QString& type, const AccountTree& tree, Subject* made) {
        const auto& accounts = tree.accounts;
        const int index = pick(accounts.size(), [&](int i) {
            const AccountTree::TradingAccount& one = accounts.at(i);
            return one.binding.fundAccountType == type &&
                   one.binding.accountStatus != AccountStatus::freezing &&
                   one.authorities.contains(AuthorityType::AccountTrade);
        });
        const AccountTree::TradingAccount& account = accounts.at(index);
        made->tradingAccount = account.account;
        made->productAccount = tree.products.at(tree.assets.at(account.asset).product).account;
        made->texts.insert(kAccount, account.name);
    }

    void addSecurity(const QString& kind, Subject* made) {
        const int index =
            pick(m_securities.size(), [&](int i) { return isOfKind(m_securities.at(i), kind); });
        const QVariantMap& security = m_securities.at(index);
        constexpr int kDecimals = 2;
        made->texts.insert(QStringLiteral("code"), security.value(Security::securityID).toString());
        made->texts.insert(QStringLiteral("name"),
                           security.value(Security::chineseName).toString());
        made->texts.insert(Security::symbol, security.value(Security::symbol).toString());
        made->texts.insert(
            QStringLiteral("price"),
            QString::number(security.value(QuoteField::previousClose).toDouble(), 'f', kDecimals));
    }

    MarketRandom m_random;
    const QList<QVariantMap>& m_securities;
    int m_orders = 0;
};

/// A row of the built-in table, as it is written for each login that gets it.
struct DailyMessage {
    int second;
    QStringList kind;
    bool isOfAll;
    QString account;
    QString security;
    QString item;
    QString text;
};

bool readMessage(const RuleTable& table, const RuleTable::Row& row, const Kinds& kinds,
                 DailyMessage* message, QString* error) {
    const QTime time = QTime::fromString(table.cell(row, kTime), QStringLiteral("HH:mm"));
    const QString users = table.cell(row, kUsers);
    const QString account = table.cell(row, kAccount);
    const QStringList kind = kinds.value(table.cell(row, kKind));
    static const QStringList securities{{}, "share", "st", "delist", "fund", "bond"};
    static const QStringList items{{}, "symbol", "orderID", "account"};
    const bool isOfAll = users == QLatin1String("all");
    if (!time.isValid() || kind.size() != 3 || !(isOfAll || users == QLatin1String("first")) ||
        !(account.isEmpty() || accountKinds().contains(account)) ||
        !securities.contains(table.cell(row, kSecurity)) ||
        !items.contains(table.cell(row, kItem))) {
        *error =
            table.fault(row.line, QStringLiteral("a cell before the text has an unknown value"));
        return false;
    }
    *message = {time.msecsSinceStartOfDay() / kMsPerSecond,
                kind,
                isOfAll,
                account,
                table.cell(row, kSecurity),
                table.cell(row, kItem),
                table.cell(row, kText)};
    return true;
}

bool readMessages(QVector<DailyMessage>* messages, QString* error) {
    Kinds kinds;
    RuleTable table;
    if (!readKinds(&kinds, error) ||
        !RuleTable::load(QStringLiteral("daily_messages.csv"),
                         {kTime, kKind, kUsers, kAccount, kSecurity, kItem, kText}, &table,
                         error)) {
        return false;
    }
    for (const RuleTable::Row& row : table.rows()) {
        DailyMessage message;
        if (!readMessage(table, row, kinds, &message, error)) {
            return false;
        }
        messages->append(message);
    }
    return true;
}

QVariantList valuesOf(const QString& userId, int seq, const DailyMessage& message,
                      const Subject& subject) {
    const QString itemValue =
        message.item == kAccount ? subject.tradingAccount : subject.texts.value(message.item);
    return {userId,
            seq,
            message.second,
            message.kind.at(2),
            message.kind.at(0),
            message.kind.at(1),
            subject.tradingAccount,
            subject.productAccount,
            message.item,
            itemValue,
            subject.filled(message.text)};
}

}  // namespace

bool makeMessageRows(quint32 seed, const AccountTree& tree, const AccountTree& ofSecond,
                     const QList<QVariantMap>& securities, QList<TableRow>* rows, QString* error) {
    QVector<DailyMessage> messages;
    if (!readMessages(&messages, error)) {
        return false;
    }
    MessageMaker maker(seed, securities);
    const auto add = [&](const QString& userId, const AccountTree& of, bool isFirst) {
        int seq = 0;
        for (const DailyMessage& message : qAsConst(messages)) {
            // The making of a market that was interrupted has none of either.
            const bool lacksSubject = (!message.account.isEmpty() && of.accounts.isEmpty()) ||
                                      (!message.security.isEmpty() && securities.isEmpty());
            if ((isFirst || message.isOfAll) && !lacksSubject) {
                const Subject subject = maker.subject(message.account, message.security, of);
                rows->append(
                    {QStringLiteral("daily_message"), valuesOf(userId, ++seq, message, subject)});
            }
        }
    };
    add(SampleLogin::user, tree, true);
    AccountTree listed = ofSecond;
    if (listed.accounts.size() > 1) {
        listed.accounts.removeLast();  // clients do not list it, see makeStoreRows()
    }
    add(SampleLogin::secondUser, listed, false);
    return true;
}
