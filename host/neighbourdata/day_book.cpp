#include "day_book.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "neighbour_log.h"
#include "order_status.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

bool refuse(const char* what, const QString& why, QString* error) {
    qCWarning(lcNeighbour).noquote() << what << "refused:" << why;
    if (error) {
        *error = why;
    }
    return false;
}

qint64 now() {
    return CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime().toMSecsSinceEpoch();
}

void setDefault(QVariantMap& record, const QString& field, const QVariant& value) {
    if (record.value(field).toString().isEmpty()) {
        record.insert(field, value);
    }
}

/// The record of a deal as it is listed and published.
QVariantMap rowOf(const DayDeal& deal, const QString& securityAccount, qint64 time) {
    QVariantMap row = deal.record;
    row.insert(UserAccount::tradingAccount, deal.tradingAccount);
    row.insert(Security::side, deal.isBuy ? OrderSide::buy : DealSide::sell);
    row.insert(Security::symbol, deal.instrument->symbol);
    row.insert(Security::securityID, deal.instrument->securityID);
    row.insert(UserAccount::securityExchange, deal.instrument->exchange);
    row.insert(Security::execID, deal.execID);
    row.insert(Security::lastQty, deal.quantity);
    row.insert(Security::lastAmount, deal.amount);
    row.insert(TradeField::dealPrice, deal.price);
    row.insert(Margin::executionCommission, deal.commission);
    setDefault(row, UserAccount::securityAccount, securityAccount);
    setDefault(row, Security::transActTime, time);
    setDefault(row, UserAccount::ExchangeExecType, DealRow::deal);
    setDefault(row, UserAccount::ExchangeExecStat,
               deal.isCancel ? OrderStatus::cancelled : ExchangeExeStat::filled);
    return row;
}

bool fits(const QVariantMap& record, const QVariantMap& filter) {
    for (auto it = filter.cbegin(); it != filter.cend(); ++it) {
        const QString wanted = it->toString();
        if (!wanted.isEmpty() && record.value(it.key()).toString() != wanted) {
            return false;
        }
    }
    return true;
}

/// Whether a filter has a condition besides the account.
bool isNarrow(const QVariantMap& filter) {
    for (auto it = filter.cbegin(); it != filter.cend(); ++it) {
        if (it.key() != UserAccount::tradingAccount && !it->toString().isEmpty()) {
            return true;
        }
    }
    return false;
}

QList<QVariantMap> partOf(const QList<QVariantMap>& rows, int start, int count, int* total) {
    if (total) {
        *total = rows.size();
    }
    return start <= 0 && count < 0 ? rows : rows.mid(std::max(0, start), count);
}

void countDeal(const DayDeal& deal, DayOrder* order) {
    QString& status = order->status;
    if (deal.isCancel) {
        order->cancelled += order->left();
        status = order->filled > 0 ? OrderStatus::partlyCancelled : OrderStatus::cancelled;
        return;
    }
    const double amount = order->averagePrice * static_cast<double>(order->filled) +
                          deal.price * static_cast<double>(deal.quantity);
    order->filled += deal.quantity;
    order->averagePrice = amount / static_cast<double>(order->filled);
    if (order->left() == 0) {
        status = order->cancelled > 0 ? OrderStatus::partlyCancelled : OrderStatus::filled;
    } else if (status != OrderStatus::cancelling) {
        status = OrderStatus::partlyFilled;
    }
}

}  // namespace

DayBook::DayBook(DayOpeningSource opening)
    : m_opening(std::move(opening)),
      m_stream({{NeighbourEvent::positionsReloaded, NeighbourEvent::executionsReloaded}}) {}

DayBook::~DayBook() {
    close();
}

bool DayBook::load(QString* error) {
    DayOpening opening;
    QString why;
    if (!m_opening(&opening, &why)) {
        return refuse("positions", why, error);
    }
    DayLedger ledger(opening);
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_loaded || m_closed) {
        return refuse("positions", QStringLiteral("the book is loaded already or closed"), error);
    }
    m_ledger = std::move(ledger);
    m_loaded = true;
    m_stream.put(NeighbourEvent::positionsLoaded, {});
    return true;
}

bool DayBook::reload(QString* error) {
    DayOpening opening;
    QString why;
    if (!m_opening(&opening, &why)) {
        return refuse("positions", why, error);
    }
    DayLedger ledger(opening);
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_loaded || m_closed) {
        return refuse("positions", QStringLiteral("the book is not loaded or closed"), error);
    }
    for (const Change& change : qAsConst(m_changes)) {
        const QString& account =
            change.deal ? change.deal->tradingAccount : change.position->tradingAccount;
        if (!ledger.contains(account) ||
            !(change.deal ? ledger.add(*change.deal, &why) : ledger.set(*change.position, &why))) {
            return refuse(
                "reload",
                QStringLiteral("a change of %1 does not fit the opening any more: %2")
                    .arg(account, why.isEmpty() ? QStringLiteral("unknown account") : why),
                error);
        }
    }
    m_ledger = std::move(ledger);
    m_stream.put(NeighbourEvent::positionsReloaded, {});
    m_stream.put(NeighbourEvent::executionsReloaded, {});
    return true;
}

void DayBook::close() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_closed = true;
    }
    m_stream.close();
}

void DayBook::awaitPublished() {
    m_stream.awaitPublished();
}

QStringList DayBook::accountsOf(const QVariantMap& filter) const {
    const QString account = filter.value(UserAccount::tradingAccount).toString();
    return account.isEmpty() ? m_ledger.order() : QStringList{account};
}

QList<QVariantMap> DayBook::executions(const QVariantMap& filter, int start, int count,
                                       int* total) const {
    QList<QVariantMap> found;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        for (const QString& account : accountsOf(filter)) {
            const auto day = m_days.constFind(account);
            if (day != m_days.constEnd()) {
                found += day->executions;  // shares the first list instead of copying it
            }
        }
    }
    if (!isNarrow(filter)) {
        return partOf(found, start, count, total);
    }
    // Into a list of its own: the book may still share the other one.
    QList<QVariantMap> fitting;
    std::copy_if(found.cbegin(), found.cend(), std::back_inserter(fitting),
                 [&filter](const QVariantMap& record) { return fits(record, filter); });
    return partOf(fitting, start, count, total);
}

QList<QVariantMap> DayBook::orders(const QVariantMap& filter, int start, int count,
                                   int* total) const {
    QList<QVariantMap> found;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        for (const QString& account : accountsOf(filter)) {
            const auto day = m_days.constFind(account);
            for (int i = 0; day != m_days.constEnd() && i < day->orders.size(); ++i) {
                const QVariantMap row = day->orders.at(i).row();
                if (fits(row, filter)) {
                    found.append(row);
                }
            }
        }
    }
    return partOf(found, start, count, total);
}

QList<QVariantMap> DayBook::positions(const QVariantMap& filter) const {
    QList<QVariantMap> found;
    const std::lock_guard<std::mutex> guard(m_lock);
    for (const QString& account : accountsOf(filter)) {
        if (!m_ledger.contains(account)) {
            continue;
        }
        for (const DayLedger::Holding& holding : m_ledger.account(account).holdings) {
            const QVariantMap row = DayLedger::rowOf(account, holding);
            if (fits(row, filter)) {
                found.append(row);
            }
        }
    }
    return found;
}

void DayBook::requeryFunds(ZnPresenterClass*) {
    DayOpening opening;
    QString why;
    if (!m_opening(&opening, &why)) {
        qCWarning(lcNeighbour).noquote() << "the funds cannot be read again:" << why;
        return;
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        for (const DayOpening::Account& account : qAsConst(opening.accounts)) {
            m_ledger.setOpeningCash(account.tradingAccount, account.cash);
        }
    }
    ++m_fundRequeries;
    qCInfo(lcNeighbour) << "funds of" << opening.accounts.size() << "accounts read again";
}

template <class CountOf>
int DayBook::sumOverAccounts(const QString& tradingAccount, CountOf countOf) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    int sum = 0;
    for (const QString& account : accountsOf({{UserAccount::tradingAccount, tradingAccount}})) {
        sum += countOf(account);
    }
    return sum;
}

int DayBook::positionCount(const QString& tradingAccount) const {
    return sumOverAccounts(tradingAccount, [this](const QString& account) {
        return m_ledger.contains(account) ? m_ledger.account(account).holdings.size() : 0;
    });
}

int DayBook::executionCount(const QString& tradingAccount) const {
    return sumOverAccounts(tradingAccount, [this](const QString& account) {
        return m_days.value(account).executions.size();
    });
}

int DayBook::orderCount(const QString& tradingAccount) const {
    return sumOverAccounts(tradingAccount, [this](const QString& account) {
        return m_days.value(account).orders.size();
    });
}

QVector<TradingDesk::Account> DayBook::tradableAccounts() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    QVector<Account> found;
    for (const QString& name : m_ledger.order()) {
        const DayOpening::Account& one = m_ledger.account(name).opening;
        if (one.mayTrade && !one.frozen) {
            found.append({name, one.fundAccountType, one.securityAccounts});
        }
    }
    return found;
}

QVector<TradingDesk::Holding> DayBook::holdings(const QString& tradingAccount) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    QVector<Holding> found;
    if (!m_ledger.contains(tradingAccount)) {
        return found;
    }
    for (const DayLedger::Holding& one : m_ledger.account(tradingAccount).holdings) {
        const qint64 locked = one.instrument->sellableNextDay ? one.boughtToday : 0;
        found.append({one.instrument->symbol, one.instrument->exchange, one.quantity,
                      std::max<qint64>(0, one.quantity - locked)});
    }
    return found;
}

double DayBook::cash(const QString& tradingAccount) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_ledger.contains(tradingAccount) ? m_ledger.account(tradingAccount).cash() : 0;
}

double DayBook::openingCash(const QString& tradingAccount) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_ledger.contains(tradingAccount) ? m_ledger.account(tradingAccount).opening.cash : 0;
}

double DayBook::cashMoved(const QString& tradingAccount) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_ledger.contains(tradingAccount) ? m_ledger.account(tradingAccount).moved : 0;
}

bool DayBook::isOpenFor(const QString& tradingAccount, QString* error) const {
    if (!m_loaded || m_closed) {
        *error = QStringLiteral("the book is not loaded or closed");
    } else if (!m_ledger.contains(tradingAccount)) {
        *error = QStringLiteral("the login has no account '%1'").arg(tradingAccount);
    } else {
        return true;
    }
    return false;
}

bool DayBook::putOrder(const QVariantMap& record, QString* error) {
    QString why;
    const QString id = record.value(Security::orderID).toString();
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto place = m_orderPlace.constFind(id);
    if (place != m_orderPlace.constEnd()) {
        DayOrder& known = m_days[place->first].orders[place->second];
        return (isOpenFor(place->first, &why) && known.takeState(record, &why)) ||
               refuse("order", why, error);
    }
    DayOrder order;
    if (!readOrder(record, &order, &why) || !isOpenFor(order.tradingAccount, &why)) {
        return refuse("order", why, error);
    }
    setDefault(order.record, Security::transActTime, now());
    setDefault(order.record, UserAccount::securityAccount,
               m_ledger.account(order.tradingAccount)
                   .opening.securityAccounts.value(
                       order.record.value(UserAccount::securityExchange).toString()));
    QVector<DayOrder>& orders = m_days[order.tradingAccount].orders;
    m_orderPlace.insert(id, {order.tradingAccount, orders.size()});
    orders.append(order);
    return true;
}

bool DayBook::findOrderOf(const DayDeal& deal, DayOrder** order, QString* error) {
    *order = nullptr;
    const auto place = m_orderPlace.constFind(deal.orderID);
    if (deal.orderID.isEmpty() || place == m_orderPlace.constEnd()) {
        return true;
    }
    DayOrder& found = m_days[place->first].orders[place->second];
    if (found.tradingAccount != deal.tradingAccount || found.symbol != deal.instrument->symbol ||
        found.exchange != deal.instrument->exchange || !found.allows(deal.isBuy)) {
        *error =
            QStringLiteral("the order '%1' is one of %2 for %3, exchange '%4', side '%5'")
                .arg(deal.orderID, found.tradingAccount, found.symbol, found.exchange, found.side);
        return false;
    }
    if (found.isFinal()) {
        *error = QStringLiteral("the order '%1' is final with the status '%2'")
                     .arg(deal.orderID, found.status);
        return false;
    }
    if (deal.quantity > found.left()) {
        *error = QStringLiteral("the order '%1' has %2 left, not %3")
                     .arg(deal.orderID)
                     .arg(found.left())
                     .arg(deal.quantity);
        return false;
    }
    *order = &found;
    return true;
}

bool DayBook::putDeal(const QVariantMap& record, QString* error) {
    DayDeal deal;
    QString why;
    if (!readDeal(record, &deal, &why)) {
        return refuse("deal", why, error);
    }
    const qint64 time = now();
    const std::lock_guard<std::mutex> guard(m_lock);
    DayOrder* order = nullptr;
    if (!isOpenFor(deal.tradingAccount, &why) || !findOrderOf(deal, &order, &why)) {
        return refuse("deal", why, error);
    }
    if (m_execIDs.contains(deal.execID)) {
        return refuse("deal", QStringLiteral("the deal '%1' is stored already").arg(deal.execID),
                      error);
    }
    if (!m_ledger.add(deal, &why)) {
        return refuse("deal", why, error);
    }
    while (deal.execID.isEmpty() || m_execIDs.contains(deal.execID)) {
        deal.execID = QStringLiteral("X%1").arg(++m_madeExecIDs, 8, 10, QLatin1Char('0'));
    }
    const auto& own = m_ledger.account(deal.tradingAccount).opening.securityAccounts;
    const QVariantMap row = rowOf(deal, own.value(deal.instrument->exchange), time);
    deal.record.clear();
    m_execIDs.insert(deal.execID);
    m_days[deal.tradingAccount].executions.append(row);
    if (order) {
        countDeal(deal, order);
    }
    m_changes.append({std::make_shared<const DayDeal>(deal), nullptr});
    publishDeal(deal, row);
    return true;
}

bool DayBook::setPosition(const QVariantMap& record, QString* error) {
    DayPosition position;
    QString why;
    if (!readPosition(record, &position, &why)) {
        return refuse("position", why, error);
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!isOpenFor(position.tradingAccount, &why) || !m_ledger.set(position, &why)) {
        return refuse("position", why, error);
    }
    m_changes.append({nullptr, std::make_shared<const DayPosition>(position)});
    publishPosition(position.tradingAccount, *position.instrument);
    return true;
}

void DayBook::publishDeal(const DayDeal& deal, const QVariantMap& row) {
    const DayOpening::Account& account = m_ledger.account(deal.tradingAccount).opening;
    if (account.mayTrade && !account.frozen) {
        if (account.fundAccountType == FundAccountType::Cash) {
            m_stream.put(NeighbourEvent::normalDeal, row);
        } else if (account.fundAccountType == FundAccountType::Credit) {
            m_stream.put(NeighbourEvent::marginDeal, row);
        }
    }
    if (!deal.isCancel) {
        publishPosition(deal.tradingAccount, *deal.instrument);
    }
}

void DayBook::publishPosition(const QString& tradingAccount, const Instrument& instrument) {
    const DayLedger::Account& account = m_ledger.account(tradingAccount);
    if (account.opening.mayTrade) {
        m_stream.put(
            NeighbourEvent::positionChanged,
            DayLedger::rowOf(tradingAccount,
                             account.holdings.value({instrument.symbol, instrument.exchange})));
    }
}
