#include "accounts_command.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <array>

#include "text_table.h"
#include "vocabulary/values.h"

/// One of the exported lists, with what it asks of an account.
struct AccountList {
    enum class Counter { Any, Central, Distributed };

    QString title;
    QString function;
    QStringList arguments;
    int authority = 0;  ///< bits that the account must have, every one
    Counter counter = Counter::Any;
    int fundProps = 0;           ///< bits of which it must have one; 0 asks for none
    QStringList exchanges = {};  ///< of which it must have a security account at one; empty: none
};

namespace {

constexpr int kTrade = 16;
constexpr int kEveryFundProp = 31;

struct Authority {
    int bit;
    const char* word;
    char letter;
};

constexpr std::array<Authority, 5> kAuthorities{{{1, "query", 'Q'},
                                                 {2, "edit", 'E'},
                                                 {4, "authority", 'A'},
                                                 {8, "subscribe", 'S'},
                                                 {kTrade, "trade", 'T'}}};

struct FundKind {
    QString type;
    int prop;
    QString text;
};

const std::array<FundKind, 5>& fundKinds() {
    static const std::array<FundKind, 5> kinds{{
        {FundAccountType::Cash, Torvi_InnerFundProp::normalTrade, QStringLiteral("现货")},
        {FundAccountType::Credit, Torvi_InnerFundProp::marginTrade, QStringLiteral("信用")},
        {FundAccountType::Option, Torvi_InnerFundProp::optionTrade, QStringLiteral("期权")},
        {FundAccountType::Future, Torvi_InnerFundProp::futuresTrade, QStringLiteral("期货")},
        {FundAccountType::Metal, Torvi_InnerFundProp::metalTrade, QStringLiteral("贵金属")},
    }};
    return kinds;
}

struct ExchangeName {
    QString code;
    QString name;
};

const std::array<ExchangeName, 9>& exchangeNames() {
    static const std::array<ExchangeName, 9> names{{
        {Exchange::sh, QStringLiteral("Shanghai")},
        {Exchange::sz, QStringLiteral("Shenzhen")},
        {Exchange::bj, QStringLiteral("Beijing")},
        {Exchange::hhk, QStringLiteral("HK by Shanghai")},
        {Exchange::szhk, QStringLiteral("HK by Shenzhen")},
        {Exchange::HkStockCirculation, QStringLiteral("H share circulation")},
        {Exchange::cffex, QStringLiteral("CFFEX")},
        {Exchange::shf, QStringLiteral("SHFE")},
        {Exchange::sge, QStringLiteral("SGE")},
    }};
    return names;
}

QString exchangeText(const QString& code) {
    for (const ExchangeName& one : exchangeNames()) {
        if (one.code == code) {
            return one.name;
        }
    }
    return code;
}

QString exchangeTexts(const QStringList& codes) {
    QStringList texts;
    for (const QString& code : codes) {
        texts.append(exchangeText(code));
    }
    return texts.join(QStringLiteral(", "));
}

QString textOf(const QJsonObject& record, const char* field) {
    return record.value(QLatin1String(field)).toString();
}

int numberOf(const QJsonObject& record, const char* field) {
    return record.value(QLatin1String(field)).toInt();
}

QString accountOf(const QJsonObject& record) {
    return textOf(record, "tradingAccount");
}

/// The platform lists the account, but the counter sent no row of it.
bool isNotLoaded(const QJsonObject& record) {
    return accountOf(record).isEmpty();
}

/// The account that a record is of; one that is not loaded has but the name that was asked for.
QString nameOf(const QJsonObject& record) {
    return isNotLoaded(record) ? textOf(record, "asked") : accountOf(record);
}

QString kindText(const QJsonObject& record) {
    QString type = textOf(record, "fundAccountType");
    for (const FundKind& kind : fundKinds()) {
        if (kind.type == type) {
            return kind.text;
        }
    }
    return type;
}

int fundPropOf(const QJsonObject& record) {
    const QString type = textOf(record, "fundAccountType");
    for (const FundKind& kind : fundKinds()) {
        if (kind.type == type) {
            return kind.prop;
        }
    }
    return 0;
}

bool isFrozen(const QJsonObject& record) {
    return textOf(record, "accountStatus") == AccountStatus::freezing;
}

bool isDistributed(const QJsonObject& record) {
    return numberOf(record, "counterSiteType") != 0;
}

QString counterText(const QJsonObject& record) {
    if (isNotLoaded(record)) {
        return QString();
    }
    return isDistributed(record) ? QStringLiteral("distributed") : QStringLiteral("central");
}

QString stateText(const QJsonObject& record) {
    if (isNotLoaded(record)) {
        return QStringLiteral("not loaded");
    }
    return isFrozen(record) ? QStringLiteral("frozen") : QStringLiteral("normal");
}

QString authorityLetters(int flags) {
    QString letters;
    for (const Authority& one : kAuthorities) {
        letters += QLatin1Char(flags & one.bit ? one.letter : '-');
    }
    return letters;
}

QJsonArray authorityWords(int flags) {
    QJsonArray words;
    for (const Authority& one : kAuthorities) {
        if (flags & one.bit) {
            words.append(QLatin1String(one.word));
        }
    }
    return words;
}

QString asJson(const QStringList& texts) {
    return QString::fromUtf8(
        QJsonDocument(QJsonArray::fromStringList(texts)).toJson(QJsonDocument::Compact));
}

QStringList tradingListArguments(int authority, bool includeDistributed) {
    return {QStringLiteral("true"), QString::number(authority),
            includeDistributed ? QStringLiteral("true") : QStringLiteral("false")};
}

QStringList fundPropArguments(int fundProp, int authority, const QStringList& exchanges) {
    return {QString::number(fundProp), QString::number(authority), QStringLiteral("true"),
            asJson(exchanges), QStringLiteral("true")};
}

QList<AccountList> accountLists() {
    using Counter = AccountList::Counter;
    const QString trading = QStringLiteral("GetTradingAccountList");
    const QString byProp = QStringLiteral("GetFundAccountListByFundProp");
    QList<AccountList> lists{
        {QStringLiteral("all that are not frozen"), trading, tradingListArguments(0, true)}};
    for (const Authority& one : kAuthorities) {
        lists.append({QStringLiteral("with the right: %1").arg(QLatin1String(one.word)), trading,
                      tradingListArguments(one.bit, true), one.bit});
    }
    lists.append({QStringLiteral("tradable, central counter"), trading,
                  tradingListArguments(kTrade, false), kTrade, Counter::Central});
    lists.append({QStringLiteral("tradable, distributed counter"),
                  QStringLiteral("GetDistributedAccountList"),
                  {},
                  kTrade,
                  Counter::Distributed});
    for (const FundKind& kind : fundKinds()) {
        lists.append(
            {kind.text, byProp, fundPropArguments(kind.prop, 0, {}), 0, Counter::Any, kind.prop});
    }
    for (const ExchangeName& exchange : exchangeNames()) {
        lists.append({QStringLiteral("tradable at %1").arg(exchange.name),
                      byProp,
                      fundPropArguments(kEveryFundProp, kTrade, {exchange.code}),
                      kTrade,
                      Counter::Any,
                      kEveryFundProp,
                      {exchange.code}});
    }
    const int normal = Torvi_InnerFundProp::normalTrade;
    lists.append({QStringLiteral("Hong Kong connect"),
                  QStringLiteral("GetHKAccountInfoList"),
                  {},
                  kTrade,
                  Counter::Central,
                  normal,
                  {Exchange::hhk, Exchange::szhk}});
    lists.append({QStringLiteral("circulating H shares"),
                  QStringLiteral("GetHStockCirculateAccountList"),
                  {},
                  kTrade,
                  Counter::Central,
                  normal,
                  {Exchange::HkStockCirculation}});
    return lists;
}

/// Whether a list of accounts or of their records holds an account.
bool holds(const QJsonArray& list, const QString& account) {
    for (const QJsonValue& one : list) {
        if (one.toString() == account || accountOf(one.toObject()) == account) {
            return true;
        }
    }
    return false;
}

QString joined(const QJsonValue& array) {
    QStringList texts;
    const QJsonArray values = array.toArray();
    for (const QJsonValue& one : values) {
        texts.append(one.toString());
    }
    return texts.join(QStringLiteral(", "));
}

}  // namespace

AccountsCommand::AccountsCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                                 const QStringList& known)
    : m_facade(library, ask), m_known(known) {}

AccountsCommand::~AccountsCommand() = default;

void AccountsCommand::readSecurityAccounts() {
    const QJsonValue told = m_facade.ask(QStringLiteral("GetAllSecurityAccountMap"), {});
    m_securityAccountsTold = told.isObject();
    m_securityAccounts = told.toObject();
}

QStringList AccountsCommand::exchangesOf(const QString& account) const {
    QStringList exchanges;
    const QJsonObject byExchange = m_securityAccounts.value(account).toObject();
    for (auto it = byExchange.constBegin(); it != byExchange.constEnd(); ++it) {
        if (!it.value().toArray().isEmpty()) {
            exchanges.append(it.key());
        }
    }
    return exchanges;
}

QJsonObject AccountsCommand::recordOf(const QString& account) {
    QJsonObject record = m_facade
                             .ask(QStringLiteral("GetAccountInfoByTradingAccount"),
                                  {account, QStringLiteral("false")})
                             .toObject();
    record.insert(QStringLiteral("asked"), account);
    return record;
}

QList<QJsonObject> AccountsCommand::allRecords() {
    QList<QJsonObject> records;
    QSet<QString> listed;
    const QJsonArray normal =
        m_facade.ask(QStringLiteral("GetFundAccountList"), tradingListArguments(0, true)).toArray();
    for (const QJsonValue& one : normal) {
        records.append(one.toObject());
        listed.insert(accountOf(records.last()));
    }
    for (const QString& account : m_known) {
        if (!listed.contains(account)) {
            records.append(recordOf(account));
        }
    }
    return records;
}

QJsonObject AccountsCommand::describe(const QJsonObject& record) const {
    const QString account = nameOf(record);
    const int flags = numberOf(record, "authorityFlags");
    QJsonObject told{{QStringLiteral("account"), account},
                     {QStringLiteral("name"), textOf(record, "accountName")},
                     {QStringLiteral("product"), textOf(record, "productName")},
                     {QStringLiteral("fundAccount"), textOf(record, "fundAccount")},
                     {QStringLiteral("kind"), kindText(record)},
                     {QStringLiteral("counter"), counterText(record)},
                     {QStringLiteral("authorities"), authorityWords(flags)},
                     {QStringLiteral("state"), stateText(record)}};
    if (m_securityAccountsTold) {
        told.insert(QStringLiteral("exchanges"), QJsonArray::fromStringList(exchangesOf(account)));
    }
    return told;
}

AccountsAnswer AccountsCommand::list(int columns) {
    readSecurityAccounts();
    TextTable table({QStringLiteral("Account"), QStringLiteral("Name"), QStringLiteral("Kind"),
                     QStringLiteral("Counter"), QStringLiteral("May"), QStringLiteral("State"),
                     QStringLiteral("Exchanges")});
    AccountsAnswer answer;
    QJsonArray rows;
    for (const QJsonObject& record : allRecords()) {
        const QJsonObject told = describe(record);
        rows.append(told);
        table.addRow({textOf(told, "account"), textOf(told, "name"), textOf(told, "kind"),
                      textOf(told, "counter"), authorityLetters(numberOf(record, "authorityFlags")),
                      textOf(told, "state"), exchangeTexts(exchangesOf(textOf(told, "account")))});
    }
    answer.lines = table.lines(columns);
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(QStringLiteral("%1 is not exported").arg(function));
    }
    answer.json = rows;
    answer.interrupted = m_facade.interrupted();
    return answer;
}

QStringList AccountsCommand::reasons(const AccountList& list, const QJsonObject& record) const {
    using Counter = AccountList::Counter;
    if (isNotLoaded(record)) {
        // What the record says is nothing that anybody told.
        return {QStringLiteral("the counter sent no row for it")};
    }
    if (isFrozen(record)) {
        return {QStringLiteral("it is frozen")};
    }
    QStringList found;
    const int flags = numberOf(record, "authorityFlags");
    for (const Authority& one : kAuthorities) {
        if (list.authority & one.bit && !(flags & one.bit)) {
            found.append(QStringLiteral("no right: %1").arg(QLatin1String(one.word)));
        }
    }
    if (list.counter == Counter::Central && isDistributed(record)) {
        found.append(QStringLiteral("it is on a distributed counter"));
    }
    if (list.counter == Counter::Distributed && !isDistributed(record)) {
        found.append(QStringLiteral("it is on a central counter"));
    }
    if (list.fundProps != 0 && !(list.fundProps & fundPropOf(record))) {
        found.append(QStringLiteral("it is of the kind %1").arg(kindText(record)));
    }
    if (!list.exchanges.isEmpty()) {
        const QStringList held = exchangesOf(accountOf(record));
        const QString wanted = exchangeTexts(list.exchanges);
        if (!m_securityAccountsTold) {
            found.append(QStringLiteral("a security account at %1 cannot be told of").arg(wanted));
        } else if (!QSet<QString>(held.cbegin(), held.cend())
                        .intersects(
                            QSet<QString>(list.exchanges.cbegin(), list.exchanges.cend()))) {
            found.append(QStringLiteral("no security account at %1").arg(wanted));
        }
    }
    if (found.isEmpty()) {
        found.append(QStringLiteral("nothing that the functions answer tells why"));
    }
    return found;
}

QJsonObject AccountsCommand::judge(const AccountList& list, const QJsonObject& record) {
    QJsonObject told{{QStringLiteral("list"), list.title},
                     {QStringLiteral("function"), list.function},
                     {QStringLiteral("arguments"), QJsonArray::fromStringList(list.arguments)}};
    const QJsonValue accounts = m_facade.ask(list.function, list.arguments);
    if (!accounts.isArray()) {
        told.insert(QStringLiteral("in"), QJsonValue::Null);
        told.insert(QStringLiteral("reasons"),
                    QJsonArray{QStringLiteral("%1 is not exported").arg(list.function)});
        return told;
    }
    const bool isIn = holds(accounts.toArray(), nameOf(record));
    told.insert(QStringLiteral("in"), isIn);
    told.insert(QStringLiteral("reasons"),
                isIn ? QJsonArray() : QJsonArray::fromStringList(reasons(list, record)));
    return told;
}

AccountsAnswer AccountsCommand::why(const QString& account, int columns) {
    AccountsAnswer answer;
    const QJsonObject record = recordOf(account);
    if (!m_facade.interrupted() && isNotLoaded(record) && !m_known.contains(account)) {
        const QStringList close = closeNames(account, m_known);
        answer.error = QStringLiteral("no account is called '%1'").arg(account);
        if (!close.isEmpty()) {
            answer.error +=
                QStringLiteral("; close to it: %1").arg(close.join(QStringLiteral(", ")));
        }
        return answer;
    }
    readSecurityAccounts();
    QJsonObject told = describe(record);
    TextTable table({QStringLiteral("In"), QStringLiteral("List"), QStringLiteral("Why not")});
    QJsonArray lists;
    for (const AccountList& list : accountLists()) {
        const QJsonObject judged = judge(list, record);
        const QJsonValue isIn = judged.value(QLatin1String("in"));
        const QString word = isIn.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
        lists.append(judged);
        table.addRow({isIn.isNull() ? QStringLiteral("?") : word, list.title,
                      joined(judged.value(QLatin1String("reasons")))});
    }
    told.insert(QStringLiteral("lists"), lists);
    const QString exchanges = exchangeTexts(exchangesOf(account));
    answer.lines = QStringList{
        QStringLiteral("%1  %2").arg(account, textOf(told, "name")).trimmed(),
        isNotLoaded(record)
            ? stateText(record)
            : QStringLiteral("%1, %2 counter, may %3, %4")
                  .arg(textOf(told, "kind"), textOf(told, "counter"),
                       authorityLetters(numberOf(record, "authorityFlags")), stateText(record)),
        QStringLiteral("security accounts at: %1")
            .arg(exchanges.isEmpty() ? QStringLiteral("none told of") : exchanges),
        QString()};
    answer.lines += table.lines(columns);
    answer.json = told;
    answer.interrupted = m_facade.interrupted();
    return answer;
}
