#include "day_ledger.h"

#include <cmath>

#include "neighbour_log.h"
#include "vocabulary/fields.h"

namespace {

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
    }
    for (const DayOpening::Position& one : opening.positions) {
        QString why;
        DayPosition position;
        position.instrument = Instrument::find({}, one.securityID, one.exchange, &why);
        position.tradingAccount = one.tradingAccount;
        position.securityAccount = one.securityAccount;
        position.quantity = one.quantity;
        position.averageCost = one.averageCost;
        if (!position.instrument || !contains(one.tradingAccount) || !set(position, &why)) {
            qCWarning(lcNeighbour).noquote()
                << "position of" << one.tradingAccount << "left out:" << why;
        }
    }
}

void DayLedger::setOpeningCash(const QString& tradingAccount, double cash) {
    const auto found = m_accounts.find(tradingAccount);
    if (found != m_accounts.end()) {
        found->opening.cash = cash;
    }
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
    holding.boughtToday += deal.isBuy ? deal.quantity : 0;
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
