#include "accounts_command.h"

#include <QJsonArray>
#include <QSet>
#include <algorithm>

#include "account_lists.h"
#include "text_table.h"

namespace {

/// Whether a list of accounts or of their records contains an account.
bool contains(const QJsonArray& list, const QString& account) {
    for (const QJsonValue& one : list) {
        if (one.toString() == account || AccountRecord::account(one.toObject()) == account) {
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
    const QJsonValue answer = m_facade.ask(QStringLiteral("GetAllSecurityAccountMap"), {});
    m_knowsSecurityAccounts = answer.isObject();
    m_securityAccounts = answer.toObject();
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
        listed.insert(AccountRecord::account(records.last()));
    }
    for (const QString& account : m_known) {
        if (!listed.contains(account)) {
            records.append(recordOf(account));
        }
    }
    return records;
}

QJsonObject AccountsCommand::describe(const QJsonObject& record) const {
    const QString account = AccountRecord::name(record);
    const int flags = AccountRecord::number(record, "authorityFlags");
    QJsonObject described{
        {QStringLiteral("account"), account},
        {QStringLiteral("name"), AccountRecord::text(record, "accountName")},
        {QStringLiteral("product"), AccountRecord::text(record, "productName")},
        {QStringLiteral("fundAccount"), AccountRecord::text(record, "fundAccount")},
        {QStringLiteral("kind"), AccountRecord::kindText(record)},
        {QStringLiteral("counter"), AccountRecord::counterText(record)},
        {QStringLiteral("authorities"), authorityWords(flags)},
        {QStringLiteral("state"), AccountRecord::stateText(record)}};
    if (m_knowsSecurityAccounts) {
        described.insert(QStringLiteral("exchanges"),
                         QJsonArray::fromStringList(exchangesOf(account)));
    }
    return described;
}

QString AccountsCommand::whyNoExchanges(const QJsonObject& record) const {
    if (AccountRecord::isNotLoaded(record)) {
        return QStringLiteral("unknown (the account is not loaded)");
    }
    // GetAllSecurityAccountMap leaves frozen accounts out.
    if (AccountRecord::isFrozen(record)) {
        return QStringLiteral("unknown (the account is frozen)");
    }
    return m_knowsSecurityAccounts ? QStringLiteral("none") : QStringLiteral("unknown");
}

CommandAnswer AccountsCommand::list(int columns) {
    readSecurityAccounts();
    TextTable table({QStringLiteral("Account"), QStringLiteral("Name"), QStringLiteral("Kind"),
                     QStringLiteral("Counter"), QStringLiteral("May"), QStringLiteral("State"),
                     QStringLiteral("Exchanges")});
    CommandAnswer answer;
    QJsonArray rows;
    for (const QJsonObject& record : allRecords()) {
        const QJsonObject described = describe(record);
        rows.append(described);
        table.addRow(
            {AccountRecord::text(described, "account"), AccountRecord::text(described, "name"),
             AccountRecord::text(described, "kind"), AccountRecord::text(described, "counter"),
             authorityLetters(AccountRecord::number(record, "authorityFlags")),
             AccountRecord::text(described, "state"),
             exchangeTexts(exchangesOf(AccountRecord::text(described, "account")))});
    }
    answer.lines = table.lines(columns);
    answer.lines.append(authorityLegend());
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(QStringLiteral("%1 is not exported").arg(function));
    }
    answer.json = rows;
    answer.interrupted = m_facade.interrupted();
    return answer;
}

QStringList AccountsCommand::reasons(const AccountList& list, const QJsonObject& record) const {
    using Counter = AccountList::Counter;
    if (AccountRecord::isNotLoaded(record)) {
        // Without the counter's row nothing in the record is known.
        return {QStringLiteral("the counter sent no row for it")};
    }
    if (AccountRecord::isFrozen(record)) {
        return {QStringLiteral("it is frozen")};
    }
    QStringList found;
    const int flags = AccountRecord::number(record, "authorityFlags");
    for (const Authority& one : kAuthorities) {
        if (list.authority & one.bit && !(flags & one.bit)) {
            found.append(QStringLiteral("no right: %1").arg(QLatin1String(one.word)));
        }
    }
    if (list.counter == Counter::Central && AccountRecord::isDistributed(record)) {
        found.append(QStringLiteral("it is on a distributed counter"));
    }
    if (list.counter == Counter::Distributed && !AccountRecord::isDistributed(record)) {
        found.append(QStringLiteral("it is on a central counter"));
    }
    if (list.fundProps != 0 && !(list.fundProps & AccountRecord::fundProp(record))) {
        found.append(QStringLiteral("it is of the kind %1").arg(AccountRecord::kindText(record)));
    }
    if (!list.exchanges.isEmpty()) {
        const QStringList held = exchangesOf(AccountRecord::account(record));
        const QString wanted = exchangeTexts(list.exchanges);
        if (!m_knowsSecurityAccounts) {
            found.append(
                QStringLiteral("whether it has a security account at %1 is unknown").arg(wanted));
        } else if (!QSet<QString>(held.cbegin(), held.cend())
                        .intersects(
                            QSet<QString>(list.exchanges.cbegin(), list.exchanges.cend()))) {
            found.append(QStringLiteral("no security account at %1").arg(wanted));
        }
    }
    if (found.isEmpty()) {
        found.append(QStringLiteral("the answers of the functions do not say why"));
    }
    return found;
}

QJsonObject AccountsCommand::judge(const AccountList& list, const QJsonObject& record) {
    QJsonObject judged{{QStringLiteral("list"), list.title},
                       {QStringLiteral("function"), list.function},
                       {QStringLiteral("arguments"), QJsonArray::fromStringList(list.arguments)}};
    const QJsonValue accounts = m_facade.ask(list.function, list.arguments);
    if (!accounts.isArray()) {
        judged.insert(QStringLiteral("in"), QJsonValue::Null);
        judged.insert(QStringLiteral("reasons"),
                      QJsonArray{QStringLiteral("%1 is not exported").arg(list.function)});
        return judged;
    }
    const bool isIn = contains(accounts.toArray(), AccountRecord::name(record));
    judged.insert(QStringLiteral("in"), isIn);
    judged.insert(QStringLiteral("reasons"),
                  isIn ? QJsonArray() : QJsonArray::fromStringList(reasons(list, record)));
    return judged;
}

CommandAnswer AccountsCommand::why(const QString& account, int columns) {
    CommandAnswer answer;
    const QJsonObject record = recordOf(account);
    if (!m_facade.interrupted() && AccountRecord::isNotLoaded(record) &&
        !m_known.contains(account)) {
        const QStringList close = closeNames(account, m_known);
        answer.error = QStringLiteral("no account is called '%1'").arg(account);
        if (!close.isEmpty()) {
            answer.error +=
                QStringLiteral("; similar names: %1").arg(close.join(QStringLiteral(", ")));
        }
        return answer;
    }
    readSecurityAccounts();
    QJsonObject described = describe(record);
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
    described.insert(QStringLiteral("lists"), lists);
    const QString exchanges = exchangeTexts(exchangesOf(account));
    QStringList heading{
        QStringLiteral("%1  %2").arg(account, AccountRecord::text(described, "name")).trimmed(),
        AccountRecord::isNotLoaded(record)
            ? AccountRecord::stateText(record)
            : QStringLiteral("%1, %2 counter, may %3, %4")
                  .arg(AccountRecord::text(described, "kind"),
                       AccountRecord::text(described, "counter"),
                       authorityLetters(AccountRecord::number(record, "authorityFlags")),
                       AccountRecord::stateText(record)),
        QStringLiteral("security accounts at: %1")
            .arg(exchanges.isEmpty() ? whyNoExchanges(record) : exchanges),
        QString()};
    // A name with a line break must not look like a line of this output.
    std::transform(heading.cbegin(), heading.cend(), heading.begin(), &harmlessText);
    answer.lines = heading + table.lines(columns);
    answer.json = described;
    answer.interrupted = m_facade.interrupted();
    return answer;
}
