#include "profit_command.h"

#include <QJsonArray>
#include <algorithm>
#include <cmath>

#include "exact_json.h"
#include "figures_text.h"
#include "text_table.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// A side without deals has no average price.
constexpr double kNothing = 1e-10;
/// Sums of doubles depend on their order; differences up to this share of the amounts are rounding.
constexpr double kRounding = 1e-9;

QString text(const QVariantMap& record, const QString& field) {
    return record.value(field).toString();
}

inline const QString kNotCovered =
    QStringLiteral("realized profit covers normal and margin accounts that may trade");

double number(const QVariantMap& record, const QString& field) {
    return record.value(field).toDouble();
}

bool isBuy(const QVariantMap& deal) {
    return deal.value(Security::side) == OrderSide::buy;
}

QString sideText(const QVariantMap& deal) {
    const QString side = isBuy(deal) ? QStringLiteral("buy") : QStringLiteral("sell");
    return text(deal, UserAccount::ExchangeExecType) == EntrustType::cancelOrder
               ? side + QStringLiteral(", cancelled")
               : side;
}

QString averageText(double amount, double qty) {
    return qty > kNothing ? QString::number(amount / qty, 'f', 4) : QString();
}

bool isRounding(const DealSum& sum, double one, double other) {
    return std::abs(one - other) <=
           kRounding *
               (1 + std::abs(sum.buyAmount) + std::abs(sum.sellAmount) + std::abs(sum.commission));
}

}  // namespace

void DealSum::add(const QVariantMap& deal) {
    (isBuy(deal) ? buyAmount : sellAmount) += countable(number(deal, Security::lastAmount));
    (isBuy(deal) ? buyQty : sellQty) += countable(number(deal, Security::lastQty));
    commission += countable(number(deal, Margin::executionCommission));
    deals.append(deal);
}

bool DealSum::isNothing() const {
    return buyAmount == 0 && buyQty == 0 && sellAmount == 0 && sellQty == 0 && commission == 0;
}

double DealSum::matched() const {
    return buyQty > kNothing && sellQty > kNothing ? std::min(buyQty, sellQty) : 0;
}

double DealSum::profit() const {
    const double both = matched();
    return both > 0 ? (sellAmount / sellQty - buyAmount / buyQty) * both - commission : -commission;
}

ProfitCommand::ProfitCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                             const DealsOf& dealsOf)
    : m_facade(library, ask), m_dealsOf(dealsOf) {}

QStringList ProfitCommand::accounts() {
    constexpr int kTrade = 16;
    const int props = Torvi_InnerFundProp::normalTrade | Torvi_InnerFundProp::marginTrade;
    const QJsonArray records =
        m_facade
            .ask(QStringLiteral("GetFundAccountListByFundProp"),
                 {QString::number(props), QString::number(kTrade), QStringLiteral("true"),
                  QStringLiteral("[]"), QStringLiteral("true")})
            .toArray();
    QStringList accounts;
    for (const QJsonValue& record : records) {
        accounts.append(record.toObject().value(QLatin1String("tradingAccount")).toString());
    }
    return accounts;
}

ProfitCommand::Items ProfitCommand::itemsOf(const QString& account) {
    QMap<QPair<QString, QString>, Item> items;
    const auto itemOf = [&items](const QString& symbol, const QString& securityAccount) -> Item& {
        Item& item = items[{symbol, securityAccount}];
        item.symbol = symbol;
        item.securityAccount = securityAccount;
        return item;
    };
    const QList<QVariantMap> deals = m_dealsOf(account);
    for (const QVariantMap& deal : deals) {
        itemOf(text(deal, Security::symbol), text(deal, UserAccount::securityAccount))
            .sum.add(deal);
    }
    const QJsonObject running =
        m_facade.ask(QStringLiteral("GetRealizedProfitMapByAccount"), {account}).toObject();
    for (auto symbol = running.constBegin(); symbol != running.constEnd(); ++symbol) {
        const QJsonObject bySecurityAccount = symbol->toObject();
        for (auto it = bySecurityAccount.constBegin(); it != bySecurityAccount.constEnd(); ++it) {
            Item& item = itemOf(symbol.key(), it.key());
            item.isKnown = true;
            item.profit = it->toDouble();
        }
    }
    Items list;
    for (const Item& item : items) {
        list.append(item);
    }
    return list;
}

QJsonObject ProfitCommand::asJson(const Item& item) {
    const DealSum& sum = item.sum;
    const auto average = [](double amount, double qty) {
        return qty > kNothing ? QJsonValue(amount / qty) : QJsonValue(QJsonValue::Null);
    };
    QJsonArray deals;
    for (const QVariantMap& deal : sum.deals) {
        deals.append(exactJsonObject(deal));
    }
    return {{QStringLiteral("symbol"), item.symbol},
            {QStringLiteral("securityAccount"), item.securityAccount},
            {QStringLiteral("profit"),
             item.isKnown ? QJsonValue(item.profit) : QJsonValue(QJsonValue::Null)},
            {QStringLiteral("profitOfDeals"), sum.profit()},
            {QStringLiteral("bought"), sum.buyQty},
            {QStringLiteral("averageBuy"), average(sum.buyAmount, sum.buyQty)},
            {QStringLiteral("sold"), sum.sellQty},
            {QStringLiteral("averageSell"), average(sum.sellAmount, sum.sellQty)},
            {QStringLiteral("matched"), sum.matched()},
            {QStringLiteral("commission"), sum.commission},
            {QStringLiteral("deals"), deals}};
}

void ProfitCommand::addAbsent(CommandAnswer& answer) const {
    for (const QString& function : m_facade.absent()) {
        answer.lines.append(QStringLiteral("%1 is not exported").arg(function));
    }
    answer.interrupted = m_facade.interrupted();
}

CommandAnswer ProfitCommand::show(const QStringList& accounts, int columns) {
    TextTable figures({QStringLiteral("Account"), QStringLiteral("Symbol"),
                       QStringLiteral("Security account"), QStringLiteral("Bought"),
                       QStringLiteral("Average"), QStringLiteral("Sold"), QStringLiteral("Average"),
                       QStringLiteral("Matched"), QStringLiteral("Commission"),
                       QStringLiteral("Profit"), QStringLiteral("Deals"), QStringLiteral("Note")});
    TextTable trail({QStringLiteral("Account"), QStringLiteral("Symbol"), QStringLiteral("Deal"),
                     QStringLiteral("Order"), QStringLiteral("Side"), QStringLiteral("Quantity"),
                     QStringLiteral("Price"), QStringLiteral("Amount"),
                     QStringLiteral("Commission")});
    QJsonArray json;
    QStringList totals;
    int without = 0;
    const QStringList covered = this->accounts();
    QStringList notCovered;
    for (const QString& account : accounts) {
        const Items items = itemsOf(account);
        const bool isCovered = covered.contains(account);
        if (items.isEmpty()) {
            if (isCovered) {
                ++without;
            } else {
                notCovered.append(harmlessText(QStringLiteral("%1  %2").arg(account, kNotCovered)));
            }
            continue;
        }
        QJsonArray itemsAsJson;
        for (const Item& item : items) {
            const DealSum& sum = item.sum;
            QString note;
            if (!item.isKnown) {
                note = !isCovered        ? kNotCovered
                       : sum.isNothing() ? QStringLiteral("only cancels")
                                         : QStringLiteral("not in the running table yet");
            } else if (!isRounding(sum, item.profit, sum.profit())) {
                note = QStringLiteral("these deals give %1").arg(moneyText(sum.profit()));
            }
            figures.addRow({account, item.symbol, item.securityAccount, numberText(sum.buyQty),
                            averageText(sum.buyAmount, sum.buyQty), numberText(sum.sellQty),
                            averageText(sum.sellAmount, sum.sellQty), numberText(sum.matched()),
                            moneyText(sum.commission),
                            item.isKnown ? moneyText(item.profit) : QString(),
                            QString::number(sum.deals.size()), note});
            for (const QVariantMap& deal : sum.deals) {
                trail.addRow({account, item.symbol, text(deal, Security::execID),
                              text(deal, Security::orderID), sideText(deal),
                              numberText(number(deal, Security::lastQty)),
                              text(deal, TradeField::dealPrice),
                              moneyText(number(deal, Security::lastAmount)),
                              moneyText(number(deal, Margin::executionCommission))});
            }
            itemsAsJson.append(asJson(item));
        }
        const double total =
            m_facade.ask(QStringLiteral("GetRealizedProfitByAccount"), {account}).toDouble();
        totals.append(
            harmlessText(QStringLiteral("%1  realized profit %2").arg(account, moneyText(total))));
        json.append(QJsonObject{{QStringLiteral("account"), account},
                                {QStringLiteral("profit"), total},
                                {QStringLiteral("items"), itemsAsJson}});
    }
    CommandAnswer answer;
    if (!json.isEmpty()) {
        answer.lines = figures.lines(columns) << QString();
        answer.lines += trail.lines(columns) << QString();
        answer.lines += totals;
    }
    answer.lines += notCovered;
    if (without > 0) {
        answer.lines.append(
            QStringLiteral("without deals today: %1").arg(countText(without, "account")));
    }
    answer.json = json;
    addAbsent(answer);
    return answer;
}

CommandAnswer ProfitCommand::check(const QStringList& accounts, int columns) {
    QVector<FigureDifference> differences;
    int compared = 0;
    // The running table may have an account that it should not have.
    QStringList all = accounts;
    all += m_facade.ask(QStringLiteral("GetAllRealizedProfitMap"), {}).toObject().keys();
    all.removeDuplicates();
    for (const QString& account : qAsConst(all)) {
        const Items items = itemsOf(account);
        for (const Item& item : items) {
            ++compared;
            const double fresh = item.sum.profit();
            // Rebuilds count cancel rows, the stream of deals drops them.
            const bool isOnlyCancelled = !item.isKnown && item.sum.isNothing();
            const bool agrees = item.isKnown && !item.sum.deals.isEmpty() &&
                                isRounding(item.sum, item.profit, fresh);
            if (!agrees && !isOnlyCancelled) {
                differences.append(
                    {account,
                     QStringLiteral("%1 %2").arg(item.symbol, item.securityAccount).trimmed(),
                     QStringLiteral("profit"), item.isKnown ? item.profit : std::nan(""),
                     item.sum.deals.isEmpty() ? std::nan("") : fresh});
            }
        }
    }
    CommandAnswer answer = checkAnswer(differences, compared, columns);
    addAbsent(answer);
    return answer;
}

CommandAnswer checkAnswer(const QVector<FigureDifference>& differences, int compared, int columns) {
    const auto shown = [](double figure) {
        return std::isfinite(figure) ? QString::number(figure, 'f', 4) : QStringLiteral("missing");
    };
    const auto asJson = [](double figure) {
        return std::isfinite(figure) ? QJsonValue(figure) : QJsonValue(QJsonValue::Null);
    };
    TextTable table({QStringLiteral("Account"), QStringLiteral("Item"), QStringLiteral("Figure"),
                     QStringLiteral("Running"), QStringLiteral("Fresh"),
                     QStringLiteral("Difference")});
    QJsonArray json;
    for (const FigureDifference& one : differences) {
        const double difference = one.running - one.fresh;
        table.addRow({one.account, one.item, one.figure, shown(one.running), shown(one.fresh),
                      std::isfinite(difference) ? shown(difference) : QString()});
        json.append(QJsonObject{{QStringLiteral("account"), one.account},
                                {QStringLiteral("item"), one.item},
                                {QStringLiteral("figure"), one.figure},
                                {QStringLiteral("running"), asJson(one.running)},
                                {QStringLiteral("fresh"), asJson(one.fresh)}});
    }
    CommandAnswer answer;
    if (!differences.isEmpty()) {
        answer.lines = table.lines(columns);
    }
    answer.lines.append(QStringLiteral("%1 compared, %2 differ")
                            .arg(countText(compared, "figure"))
                            .arg(differences.size()));
    answer.json =
        QJsonObject{{QStringLiteral("compared"), compared}, {QStringLiteral("differences"), json}};
    answer.isFault = !differences.isEmpty();
    return answer;
}
