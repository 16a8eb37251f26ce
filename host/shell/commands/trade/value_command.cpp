#include "value_command.h"

#include <QJsonArray>
#include <QSet>
#include <cmath>

#include "figures_text.h"
#include "profit_command.h"
#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// A running figure adds up differences of prices, so it is rounded more often than a fresh sum: it
/// may be off by this share of the absolute amounts in it, and by this amount when they are gone.
constexpr double kRounding = 1e-9;
constexpr double kLeftOver = 1e-6;
/// Of a gold contract, in grams.
constexpr double kGoldUnit = 1000;
constexpr double kStandardBondPrice = 100;

/// Bonds that only stand for pledged ones: valued at a fixed price, without ticks.
bool isStandardBond(const QString& symbol) {
    return symbol == QLatin1String("888880.SH") || symbol == QLatin1String("131990.SZ");
}

/// The symbol of a standard bond, which needs no record; empty for other securities.
QString standardBondOf(const QString& id, const QString& exchange) {
    const QString symbol =
        id + QLatin1Char('.') + (exchange == Exchange::sh ? SymbolPost::sh : SymbolPost::sz);
    const bool isListed = exchange == Exchange::sh || exchange == Exchange::sz;
    return isListed && isStandardBond(symbol) ? symbol : QString();
}

QString text(const QVariantMap& record, const QString& field) {
    return record.value(field).toString();
}

double figure(const QJsonObject& running, const char* name) {
    return running.value(QLatin1String(name)).toDouble();
}

}  // namespace

ValueCommand::ValueCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                           const Sources& sources)
    : m_facade(library, ask), m_sources(sources) {}

double ValueCommand::Row::marketValue() const {
    return countable(nominal() * price * rate);
}

double ValueCommand::Row::cost() const {
    return countable(averageCost * nominal() * rate);
}

void ValueCommand::Sum::add(double amount) {
    total += amount;
    absolute += std::abs(amount);
}

bool ValueCommand::Sum::agreesWith(double running) const {
    return std::abs(running - total) <= kLeftOver + kRounding * absolute;
}

ValueCommand::Sum ValueCommand::Account::marketValue() const {
    Sum sum;
    for (const Row& row : rows) {
        sum.add(row.marketValue());
    }
    return sum;
}

ValueCommand::Sum ValueCommand::Account::cost() const {
    Sum sum;
    for (const Row& row : rows) {
        sum.add(row.cost());
    }
    return sum;
}

const ValueCommand::Instrument& ValueCommand::securityOf(const QString& id,
                                                         const QString& exchange) {
    const QString key = exchange + QChar(0) + id;
    const auto known = m_securities.constFind(key);
    if (known != m_securities.constEnd()) {
        return *known;
    }
    Instrument found;
    found.symbol =
        m_facade.ask(QStringLiteral("GetSymbolBySecurityIDAndExchange"), {id, exchange}).toString();
    if (found.symbol.isEmpty()) {
        const QString bond = standardBondOf(id, exchange);
        found.isKnown = !bond.isEmpty();
        found.symbol = found.isKnown ? bond : QLatin1Char('?') + id;
    }
    if (found.isKnown) {
        found.factor = m_facade.ask(QStringLiteral("GetDispFactorBySymbol"), {found.symbol})
                           .toVariant()
                           .toDouble();
        const double multiplier =
            m_facade.ask(QStringLiteral("GetSecurityDetailsBySymbol"), {found.symbol})
                .toObject()
                .value(Security::contractMultiplier)
                .toVariant()
                .toDouble();
        found.multiplier = multiplier == 0 ? 1 : multiplier;
    }
    return *m_securities.insert(key, found);
}

double ValueCommand::rateOf(const QString& exchange, bool* isKnown) {
    *isKnown = true;
    if (exchange != Exchange::hhk && exchange != Exchange::szhk) {
        return 1;
    }
    if (!m_hasRates) {
        m_hasRates = true;
        m_rates = m_facade.call(QStringLiteral("GetHKStockExchangeRate"), {})
                      .value(QLatin1String("out"))
                      .toArray()
                      .first()
                      .toObject()
                      .value(QLatin1String("value"))
                      .toObject();
    }
    const double rate = m_rates.value(exchange)
                            .toObject()
                            .value(HKSExchgRate::HKSExchgRateMid)
                            .toVariant()
                            .toDouble();
    *isKnown = rate != 0;
    return *isKnown ? rate : 1;
}

ValueCommand::Row ValueCommand::rowOf(const QVariantMap& position) {
    Row row;
    row.exchange = text(position, UserAccount::securityExchange);
    const Instrument& security = securityOf(text(position, Security::securityID), row.exchange);
    row.symbol = security.symbol;
    row.factor = security.factor;
    row.multiplier = security.multiplier * (row.exchange == Exchange::sge ? kGoldUnit : 1);
    row.shown = position.value(Security::nominalQty).toDouble();
    row.rate = rateOf(row.exchange, &row.hasRate);
    if (isStandardBond(row.symbol)) {
        row.price = kStandardBondPrice;
    } else if (security.isKnown) {
        row.price = m_sources.lastPrice(row.symbol);
    }
    row.averageCost = position.value(Security::omsAverageCost).toDouble();
    return row;
}

ValueCommand::Account ValueCommand::accountOf(const QString& name) {
    Account account;
    account.name = name;
    const QList<QVariantMap> positions = m_sources.positionsOf(name);
    for (const QVariantMap& position : positions) {
        account.rows.append(rowOf(position));
    }
    account.running =
        m_facade.ask(QStringLiteral("GetMarketValueByTradingAccount"), {name}).toObject();
    return account;
}

QStringList ValueCommand::symbolsWithoutPrice(const QStringList& accounts) {
    QSet<QString> symbols;
    for (const QString& account : accounts) {
        const QList<QVariantMap> positions = m_sources.positionsOf(account);
        for (const QVariantMap& position : positions) {
            const Row row = rowOf(position);
            if (!(row.price > 0)) {
                symbols.insert(row.symbol);
            }
        }
    }
    QStringList sorted = symbols.values();
    sorted.sort();
    return sorted;
}

bool ValueCommand::agrees(const Account& account) const {
    return account.marketValue().agreesWith(figure(account.running, "marketValue")) &&
           account.cost().agreesWith(figure(account.running, "costValue"));
}

QJsonObject ValueCommand::asJson(const Account& account) {
    QJsonArray rows;
    for (const Row& row : account.rows) {
        rows.append(
            QJsonObject{{QStringLiteral("symbol"), row.symbol},
                        {QStringLiteral("exchange"), row.exchange},
                        {QStringLiteral("displayQty"), row.shown},
                        {QStringLiteral("displayFactor"), row.factor},
                        {QStringLiteral("quantity"), row.quantity()},
                        {QStringLiteral("multiplier"), row.multiplier},
                        {QStringLiteral("nominal"), row.nominal()},
                        {QStringLiteral("price"),
                         row.price > 0 ? QJsonValue(row.price) : QJsonValue(QJsonValue::Null)},
                        {QStringLiteral("rate"), row.rate},
                        {QStringLiteral("marketValue"), row.marketValue()},
                        {QStringLiteral("averageCost"), row.averageCost},
                        {QStringLiteral("cost"), row.cost()}});
    }
    return {{QStringLiteral("account"), account.name},
            {QStringLiteral("marketValue"), figure(account.running, "marketValue")},
            {QStringLiteral("costValue"), figure(account.running, "costValue")},
            {QStringLiteral("marketValueOfPositions"), account.marketValue().total},
            {QStringLiteral("costOfPositions"), account.cost().total},
            {QStringLiteral("positions"), rows}};
}

void ValueCommand::addAbsent(CommandAnswer& answer) const {
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(QStringLiteral("%1 is not exported").arg(function));
    }
    answer.interrupted = m_facade.interrupted();
}

CommandAnswer ValueCommand::show(const QStringList& accounts, int columns) {
    TextTable table({QStringLiteral("Account"), QStringLiteral("Symbol"),
                     QStringLiteral("Exchange"), QStringLiteral("Quantity"),
                     QStringLiteral("Multiplier"), QStringLiteral("Price"), QStringLiteral("Rate"),
                     QStringLiteral("Value"), QStringLiteral("Average cost"),
                     QStringLiteral("Cost"), QStringLiteral("Note")});
    QJsonArray json;
    QStringList totals;
    QSet<QString> unpriced;
    int without = 0;
    for (const QString& name : accounts) {
        const Account account = accountOf(name);
        if (account.rows.isEmpty()) {
            ++without;
            continue;
        }
        for (const Row& row : account.rows) {
            QStringList notes;
            if (!(row.price > 0)) {
                unpriced.insert(row.symbol);
                notes.append(QStringLiteral("no price"));
            }
            if (!row.hasRate) {
                notes.append(QStringLiteral("no rate, 1 is used"));
            }
            table.addRow({name, row.symbol, row.exchange, numberText(row.quantity()),
                          numberText(row.multiplier),
                          row.price > 0 ? numberText(row.price) : QString(), numberText(row.rate),
                          moneyText(row.marketValue()), numberText(row.averageCost),
                          moneyText(row.cost()), notes.join(QStringLiteral(", "))});
        }
        QString total = QStringLiteral("%1  market value %2, cost %3")
                            .arg(name, moneyText(figure(account.running, "marketValue")),
                                 moneyText(figure(account.running, "costValue")));
        if (!agrees(account)) {
            total +=
                QStringLiteral("; these positions give %1 and %2")
                    .arg(moneyText(account.marketValue().total), moneyText(account.cost().total));
        }
        totals.append(harmlessText(total));
        json.append(asJson(account));
    }
    CommandAnswer answer;
    if (!json.isEmpty()) {
        answer.lines = table.lines(columns) << QString();
        answer.lines += totals;
    }
    QStringList names = unpriced.values();
    names.sort();
    if (!names.isEmpty()) {
        answer.lines.append(harmlessText(
            QStringLiteral("without a price: %1").arg(names.join(QStringLiteral(", ")))));
    }
    if (without > 0) {
        answer.lines.append(
            QStringLiteral("without positions: %1").arg(countText(without, "account")));
    }
    answer.json = QJsonObject{{QStringLiteral("accounts"), json},
                              {QStringLiteral("withoutPrice"), QJsonArray::fromStringList(names)}};
    addAbsent(answer);
    return answer;
}

CommandAnswer ValueCommand::check(const QStringList& accounts, int columns) {
    QVector<FigureDifference> differences;
    int compared = 0;
    for (const QString& name : accounts) {
        const Account account = accountOf(name);
        const auto compare = [&](const QString& item, const char* figureName, double running,
                                 const Sum& fresh) {
            ++compared;
            if (!fresh.agreesWith(running)) {
                differences.append({name, item, QLatin1String(figureName), running, fresh.total});
            }
        };
        compare(QString(), "market value", figure(account.running, "marketValue"),
                account.marketValue());
        compare(QString(), "cost", figure(account.running, "costValue"), account.cost());
        QMap<QString, QPair<Sum, Sum>> fresh;
        for (const Row& row : account.rows) {
            fresh[row.symbol].first.add(row.marketValue());
            fresh[row.symbol].second.add(row.cost());
        }
        const QJsonObject values =
            account.running.value(QLatin1String("symbolMarketValueMap")).toObject();
        const QJsonObject costs =
            account.running.value(QLatin1String("symbolCostValueMap")).toObject();
        for (const QString& symbol : values.keys() + costs.keys()) {
            fresh[symbol];  // one that no position has any more must be worth nothing
        }
        for (auto it = fresh.cbegin(); it != fresh.cend(); ++it) {
            compare(it.key(), "market value", values.value(it.key()).toDouble(), it->first);
            compare(it.key(), "cost", costs.value(it.key()).toDouble(), it->second);
        }
    }
    CommandAnswer answer = checkAnswer(differences, compared, columns);
    addAbsent(answer);
    return answer;
}
