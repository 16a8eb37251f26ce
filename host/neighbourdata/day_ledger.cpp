#include "day_ledger.h"

#include <algorithm>
#include <cmath>

#include "neighbour_log.h"
#include "vocabulary/fields.h"

namespace {

constexpr auto kMostPieces = static_cast<qint64>(kMostAmount);

bool isUsable(double figure) {
    return std::isfinite(figure) && std::abs(figure) <= kMostAmount;
}

QPair<QString, QString> keyOf(const Instrument& instrument) {
    return {instrument.symbol, instrument.exchange};
}

QString ownSecurityAccount(const DayLedger::Account& account, const Instrument& instrument) {
    return account.opening.securityAccounts.value(instrument.exchange);
}

/// A purchase moves the average of a long position, a sale that of a short one; whatever closes a
/// position leaves it.
double averageAfter(const DayLedger::Holding& before, qint64 change, double price) {
    const qint64 after = before.quantity + change;
    const bool opens = before.quantity == 0 || (before.quantity > 0) == (change > 0);
    if (!opens) {
        const bool turns = after != 0 && (after > 0) == (change > 0);
        return turns ? price : before.averageCost;
    }
    return (before.averageCost * static_cast<double>(before.quantity) +
            price * static_cast<double>(change)) /
           static_cast<double>(after);
}

}  // namespace

DayLedger::DayLedger(const DayOpening& opening) {
    for (const DayOpening::Account& one : opening.accounts) {
        m_order.append(one.tradingAccount);
        m_accounts[one.tradingAccount].opening = one;
        m_accounts[one.tradingAccount].opening.cash = 0;
        setOpeningCash(one.tradingAccount, one.cash);
    }
    for (const DayOpening::Position& one : opening.positions) {
        QString why;
        if (!addOpening(one, &why)) {
            qCWarning(lcNeighbour).noquote()
                << "position of" << one.tradingAccount << "left out:" << why;
        }
    }
}

void DayLedger::setOpeningCash(const QString& tradingAccount, double cash) {
    const auto found = m_accounts.find(tradingAccount);
    if (found == m_accounts.end()) {
        return;
    }
    if (!isUsable(cash)) {
        qCWarning(lcNeighbour).noquote()
            << "opening cash of" << tradingAccount << "left out: not a number of at most 1e15";
        return;
    }
    found->opening.cash = cash;
}

bool DayLedger::addOpening(const DayOpening::Position& row, QString* error) {
    DayPosition position;
    position.instrument = Instrument::find({}, row.securityID, row.exchange, error);
    if (!position.instrument) {
        return false;
    }
    if (!contains(row.tradingAccount)) {
        *error = QStringLiteral("the login has no such account");
        return false;
    }
    position.tradingAccount = row.tradingAccount;
    position.securityAccount = row.securityAccount;
    position.quantity = row.quantity;
    position.averageCost = row.averageCost;
    const Holding before = account(row.tradingAccount).holdings.value(keyOf(*position.instrument));
    const double sum = static_cast<double>(before.quantity) + static_cast<double>(row.quantity);
    if (!isUsable(static_cast<double>(row.quantity)) || !isUsable(sum) ||
        !isUsable(row.averageCost)) {
        *error = QStringLiteral("quantity or cost is not a number of at most 1e15");
        return false;
    }
    if (before.instrument) {
        // Another security account of the same account holds it too.
        position.securityAccount = before.securityAccount;
        position.quantity = before.quantity + row.quantity;
        position.averageCost = row.quantity == 0
                                   ? before.averageCost
                                   : averageAfter(before, row.quantity, row.averageCost);
    }
    return set(position, error);
}

bool DayLedger::add(const DayDeal& deal, QString* error) {
    Account& account = m_accounts.find(deal.tradingAccount).value();
    const Instrument& instrument = *deal.instrument;
    const QString own = ownSecurityAccount(account, instrument);
    if (deal.securityAccount.isEmpty() && own.isEmpty()) {
        *error = QStringLiteral("%1 has no security account on the exchange '%2'")
                     .arg(deal.tradingAccount, instrument.exchange);
        return false;
    }
    if (deal.isCancel) {
        return true;
    }
    const double paid = (deal.isBuy ? deal.amount : -deal.amount) + deal.commission;
    const double moved = account.moved - paid * instrument.rate;
    Holding holding = account.holdings.value(keyOf(instrument));
    const qint64 change = deal.isBuy ? deal.quantity : -deal.quantity;
    if (std::abs(moved) > kMostAmount || std::abs(static_cast<double>(holding.quantity) +
                                                  static_cast<double>(change)) > kMostAmount) {
        *error = QStringLiteral("the position or the cash of %1 would be larger than 1e15")
                     .arg(deal.tradingAccount);
        return false;
    }
    account.moved = moved;
    if (!holding.instrument) {
        holding.instrument = deal.instrument;
        holding.securityAccount = deal.securityAccount.isEmpty() ? own : deal.securityAccount;
    }
    const double price = deal.amount / (static_cast<double>(deal.quantity) * instrument.unit);
    holding.averageCost = averageAfter(holding, change, price);
    holding.quantity += change;
    // Adds up over the day, also when all was sold in between, so it needs a bound of its own.
    if (deal.isBuy) {
        holding.boughtToday = std::min(holding.boughtToday + deal.quantity, kMostPieces);
    }
    account.holdings.insert(keyOf(instrument), holding);
    return true;
}

bool DayLedger::set(const DayPosition& position, QString* error) {
    Account& account = m_accounts.find(position.tradingAccount).value();
    const Instrument& instrument = *position.instrument;
    QString securityAccount = position.securityAccount;
    if (securityAccount.isEmpty()) {
        securityAccount = account.holdings.value(keyOf(instrument)).securityAccount;
    }
    if (securityAccount.isEmpty()) {
        securityAccount = ownSecurityAccount(account, instrument);
    }
    if (securityAccount.isEmpty()) {
        *error = QStringLiteral("%1 has no security account on the exchange '%2'")
                     .arg(position.tradingAccount, instrument.exchange);
        return false;
    }
    account.holdings.insert(keyOf(instrument), {position.instrument, securityAccount,
                                                position.quantity, position.averageCost, 0});
    return true;
}

QVariantMap DayLedger::rowOf(const QString& tradingAccount, const Holding& holding) {
    const Instrument& instrument = *holding.instrument;
    return {
        {UserAccount::tradingAccount, tradingAccount},
        {Security::symbol, instrument.symbol},
        {Security::securityID, instrument.securityID},
        {UserAccount::securityExchange, instrument.exchange},
        {UserAccount::securityAccount, holding.securityAccount},
        {Security::nominalQty, static_cast<double>(holding.quantity) * instrument.nominalPerPiece},
        {Security::omsAverageCost, holding.averageCost}};
}
