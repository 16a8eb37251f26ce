#include "dealer.h"

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "dealer_quantities.h"
#include "neighbour_log.h"
#include "order_status.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr size_t kMostOpenOrders = 16;
/// Events without a deal after which a step gives up: most accounts have then had their turn.
constexpr int kMostEventsOfStep = 400;
// Of a hundred orders; the rest is cancelled without a deal.
constexpr int kRejected = 6;
constexpr int kFilledAtOnce = 38;
constexpr int kFilledInParts = 30;
constexpr int kPartlyCancelled = 13;
constexpr int kTicksAround = 5;
/// A higher last price is a fault of its source.
constexpr double kMostPrice = 1e8;

/// Deals that fall due closer together are made together.
constexpr auto kShortestRest = std::chrono::milliseconds(20);
constexpr double kMostSecondsToCatchUp = 1.0;
/// Later than any clock gets, while its nanoseconds still fit their type.
constexpr double kNeverSeconds = 1e9;

}  // namespace

/// The thread between start() and stop().
class Dealer::Runner {
public:
    explicit Runner(Dealer& dealer) : m_thread([this, &dealer] { run(dealer); }) {}

    ~Runner() {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_ending = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    Q_DISABLE_COPY(Runner)

private:
    using Clock = std::chrono::steady_clock;

    void run(Dealer& dealer) {
        pthread_setname_np(pthread_self(), "dealer");
        const auto began = Clock::now();
        auto next = began;
        while (sleepUntil(next)) {
            const auto now = Clock::now();
            dealer.catchUp(now - began);
            const auto due = dealer.nextDue();
            if (!due || dealer.m_ending) {
                return;
            }
            next = std::max(began + *due, now + kShortestRest);
        }
    }

    /// Returns false when the thread has to end.
    bool sleepUntil(const Clock::time_point& time) {
        std::unique_lock<std::mutex> guard(m_lock);
        return !m_wake.wait_until(guard, time, [this] { return m_ending; });
    }

    std::mutex m_lock;  // guards m_ending; not held while the desk is called
    std::condition_variable m_wake;
    bool m_ending = false;
    std::thread m_thread;  // declared last, because it uses the members above
};

Dealer::Dealer(std::shared_ptr<TradingDesk> desk, const Options& options)
    : m_desk(std::move(desk)), m_options(options), m_random(options.seed) {}

Dealer::~Dealer() {
    stop();
}

void Dealer::start() {
    if (!m_runner) {
        m_paid = 0;
        m_ending = false;
        m_runner = std::make_unique<Runner>(*this);
        qCInfo(lcNeighbour) << "dealing started:" << m_options.dealsPerSecond
                            << "deals per second, seed" << m_options.seed;
    }
}

void Dealer::stop() {
    endSoon();
    m_runner.reset();
    m_ending = false;
}

bool Dealer::stepOnce() {
    return !running() && dealOnce();
}

int Dealer::step(int count) {
    int made = 0;
    while (made < count && stepOnce()) {
        ++made;
    }
    return made;
}

double Dealer::ratePerSecond() const {
    return std::isfinite(m_options.dealsPerSecond)
               ? std::min(m_options.dealsPerSecond, kMostDealsPerSecond)
               : 0;
}

int Dealer::catchUp(std::chrono::nanoseconds sinceStart) {
    const double elapsed = std::chrono::duration<double>(sinceStart).count();
    const double rate = ratePerSecond();
    if (!(rate > 0)) {
        return 0;
    }
    // At a low rate one second holds less than a deal: allow for two, or none would ever come.
    m_paid = std::max(m_paid, elapsed - std::max(kMostSecondsToCatchUp, 2 / rate));
    // The fraction of a deal stays owed, so that rounding does not add up.
    const int due = static_cast<int>(std::max(0.0, std::floor((elapsed - m_paid) * rate + 1e-9)));
    int made = 0;
    while (made < due && !m_ending && dealOnce()) {
        ++made;
    }
    // A step that fails has tried for long; the next one waits for at least a second.
    m_paid = made < due ? std::max(elapsed, elapsed + kMostSecondsToCatchUp - 1 / rate)
                        : m_paid + due / rate;
    return made;
}

std::optional<std::chrono::nanoseconds> Dealer::nextDue() const {
    const double rate = ratePerSecond();
    if (!(rate > 0)) {
        return std::nullopt;
    }
    const double seconds = std::min(m_paid + 1 / rate, kNeverSeconds);
    return std::chrono::nanoseconds(static_cast<qint64>(std::ceil(seconds * 1e9)));
}

QDateTime Dealer::now() const {
    return m_options.clock ? m_options.clock()
                           : CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime();
}

void Dealer::complain(const QString& why) {
    if (!m_complaints.contains(why)) {
        m_complaints.insert(why);
        qCWarning(lcNeighbour).noquote() << why;
    }
}

void Dealer::refused(const QString& error) {
    complain(QStringLiteral("the dealer's record was refused: %1").arg(error));
}

/// Reads the securities at the first step, on the thread that deals: a large market takes a while.
bool Dealer::prepare() {
    if (!std::exchange(m_prepared, true)) {
        QString error;
        m_securities =
            DealerSecurities::open(m_options.staticDatabaseFile, m_options.seed, &error, &m_ending);
        if (m_ending) {
            m_securities.reset();
            m_prepared = false;
        } else if (!m_securities) {
            complain(QStringLiteral("no deals: %1").arg(error));
        } else if (m_securities->isEmpty()) {
            complain(QStringLiteral("no deals: the static database has no security to deal"));
        }
    }
    return m_securities && !m_securities->isEmpty();
}

bool Dealer::dealOnce() {
    if (!prepare()) {
        return false;
    }
    m_accounts = m_desk->tradableAccounts();
    if (m_accounts.isEmpty()) {
        complain(QStringLiteral("no deals: there is no account on which the login may trade"));
        return false;
    }
    for (int events = 0; events < kMostEventsOfStep; ++events) {
        if (m_ending) {
            return false;
        }
        if (act() == Event::Deal) {
            return true;
        }
    }
    complain(
        QStringLiteral("no deals: no account has the cash or the holdings that an order needs"));
    return false;
}

Dealer::Event Dealer::act() {
    if (m_open.empty() || (m_open.size() < kMostOpenOrders && m_random.below(2) == 0)) {
        return openOrder(m_accounts.at(m_random.below(m_accounts.size())));
    }
    return advance(static_cast<size_t>(m_random.below(static_cast<int>(m_open.size()))));
}

qint64 Dealer::priceOfOrder(const DealtSecurity& security) {
    return security.priceFrom(priceOf(security), m_random.between(-kTicksAround, kTicksAround));
}

qint64 Dealer::priceOf(const DealtSecurity& security) const {
    const double last = m_options.lastPrice ? m_options.lastPrice(security.symbol) : 0;
    if (last > 0 && last < kMostPrice) {
        return qRound64(last * DealtSecurity::kPriceUnits);
    }
    return m_prices.value(security.symbol, security.previousClose);
}

bool Dealer::hasOpenOrder(const QString& tradingAccount, const QString& symbol) const {
    return std::any_of(m_open.cbegin(), m_open.cend(), [&](const DealerOrder& order) {
        return order.tradingAccount() == tradingAccount && order.symbol() == symbol;
    });
}

double Dealer::freeCash(const QString& tradingAccount) const {
    double cash = m_desk->cash(tradingAccount);
    for (const DealerOrder& order : m_open) {
        if (order.tradingAccount() == tradingAccount) {
            cash -= order.reserved();
        }
    }
    return std::isfinite(cash) ? cash : 0;
}

Dealer::Event Dealer::openOrder(const TradingDesk::Account& account) {
    DealerOrder::Terms terms;
    terms.account = account;
    const Holdings holdings = m_desk->holdings(account.tradingAccount);
    const bool sellsFirst = m_random.below(2) == 0;
    const bool chosen = sellsFirst ? chooseSale(holdings, &terms) || chooseBuy(holdings, &terms)
                                   : chooseBuy(holdings, &terms) || chooseSale(holdings, &terms);
    return chosen ? place(terms) : Event::None;
}

/// Null when the account cannot deal in it, or has an open order on it.
Dealer::SecurityPtr Dealer::heldSecurity(const TradingDesk::Account& account,
                                         const TradingDesk::Holding& holding) {
    SecurityPtr held = m_securities->find(holding.symbol);
    const bool isDealt = held && held->exchange == holding.exchange &&
                         account.securityAccounts.contains(holding.exchange) &&
                         DealerSecurities::deals(account.fundAccountType, held->type) &&
                         !hasOpenOrder(account.tradingAccount, holding.symbol);
    return isDealt ? held : nullptr;
}

bool Dealer::chooseSale(const Holdings& holdings, DealerOrder::Terms* terms) {
    terms->buys = false;
    // From a random place on, so that the whole list need not be looked at.
    const int start = holdings.isEmpty() ? 0 : m_random.below(holdings.size());
    for (int i = 0; i < holdings.size(); ++i) {
        const TradingDesk::Holding& one = holdings.at((start + i) % holdings.size());
        terms->security = one.sellable > 0 ? heldSecurity(terms->account, one) : nullptr;
        if (terms->security) {
            terms->price = priceOfOrder(*terms->security);
            terms->quantity = quantityToSell(one.sellable, *terms->security, m_random);
            return terms->quantity > 0;
        }
    }
    return false;
}

bool Dealer::chooseBuy(const Holdings& holdings, DealerOrder::Terms* terms) {
    terms->buys = true;
    terms->security = chooseToBuy(holdings, terms->account);
    if (!terms->security) {
        return false;
    }
    terms->price = priceOfOrder(*terms->security);
    terms->quantity = quantityToBuy(freeCash(terms->account.tradingAccount), *terms->security,
                                    terms->price, m_random);
    return terms->quantity > 0;
}

/// Something that is held already, or something new; null when it cannot be dealt.
Dealer::SecurityPtr Dealer::chooseToBuy(const Holdings& holdings,
                                        const TradingDesk::Account& account) {
    if (account.securityAccounts.isEmpty()) {
        return nullptr;
    }
    if (!holdings.isEmpty() && m_random.below(3) > 0) {
        if (SecurityPtr held =
                heldSecurity(account, holdings.at(m_random.below(holdings.size())))) {
            return held;
        }
    }
    const int place = m_random.below(account.securityAccounts.size());
    const QString& exchange = std::next(account.securityAccounts.cbegin(), place).key();
    const DealerSecurities::Sample sample = m_securities->sample(exchange, account.fundAccountType);
    if (sample.isEmpty()) {
        return nullptr;
    }
    const SecurityPtr& found = sample.at(m_random.below(sample.size()));
    return hasOpenOrder(account.tradingAccount, found->symbol) ? nullptr : found;
}

Dealer::Event Dealer::place(const DealerOrder::Terms& chosen) {
    DealerOrder::Terms terms = chosen;
    terms.orderID =
        QStringLiteral("D%1-%2").arg(m_options.seed).arg(++m_orderCount, 8, 10, QLatin1Char('0'));
    int outcome = m_random.below(100);
    const auto falls = [&outcome](int share) { return (outcome -= share) < 0; };
    const bool isRejected = falls(kRejected);
    const bool isAtOnce = !isRejected && falls(kFilledAtOnce);
    QVector<qint64> parts;
    if (isAtOnce) {
        parts = {terms.quantity};
    } else if (!isRejected && falls(kFilledInParts)) {
        parts = dealParts(terms.quantity, *terms.security, m_random);
    } else if (!isRejected && falls(kPartlyCancelled)) {
        parts = dealParts(terms.quantity, *terms.security, m_random);
        parts.resize(parts.size() > 1 ? m_random.between(1, parts.size() - 1) : 0);
    }
    DealerOrder order(terms, parts);
    if (!put(order, OrderStatus::sent) ||
        !put(order, isRejected ? OrderStatus::rejected : OrderStatus::accepted) || isRejected) {
        return Event::Order;
    }
    m_open.push_back(order);
    return isAtOnce ? advance(m_open.size() - 1) : Event::Order;
}

Dealer::Event Dealer::advance(size_t index) {
    const DealerOrder& order = m_open[index];
    const qint64 quantity = order.nextPart();
    if (quantity == 0) {
        return cancel(index);
    }
    // At the limit or one tick better.
    const int better = m_random.below(2);
    const DealerOrder::Terms& terms = order.terms();
    const qint64 price = terms.security->priceFrom(terms.price, terms.buys ? -better : better);
    // Others may have used the desk since the order was made.
    return canPay(order, quantity, price) ? fill(index, price) : cancel(index);
}

bool Dealer::canPay(const DealerOrder& order, qint64 quantity, qint64 price) const {
    const DealerOrder::Terms& terms = order.terms();
    if (!(m_desk->cash(order.tradingAccount()) + order.cashOf(quantity, price) >= 0)) {
        return false;
    }
    if (terms.buys) {
        return true;
    }
    const QVector<TradingDesk::Holding> holdings = m_desk->holdings(order.tradingAccount());
    return std::any_of(holdings.cbegin(), holdings.cend(), [&](const TradingDesk::Holding& one) {
        return one.symbol == terms.security->symbol && one.exchange == terms.security->exchange &&
               one.sellable >= quantity;
    });
}

Dealer::Event Dealer::fill(size_t index, qint64 price) {
    DealerOrder& order = m_open[index];
    const QVariantMap deal = order.deal(price, now());
    if (!putDeal(deal)) {
        drop(index);
        return Event::Order;
    }
    m_prices.insert(order.symbol(), price);
    const bool isFilled = order.isFilled();
    if (!put(order, isFilled ? OrderStatus::filled : OrderStatus::partlyFilled) || isFilled) {
        drop(index);
    }
    return Event::Deal;
}

Dealer::Event Dealer::cancel(size_t index) {
    DealerOrder& order = m_open[index];
    if (put(order, OrderStatus::cancelling) && putDeal(order.cancelRest(now()))) {
        put(order, order.hasDeals() ? OrderStatus::partlyCancelled : OrderStatus::cancelled);
    }
    drop(index);
    return Event::Order;
}

void Dealer::drop(size_t index) {
    m_open.erase(m_open.begin() + static_cast<std::ptrdiff_t>(index));
}

bool Dealer::put(DealerOrder& order, const QString& status) {
    order.setStatus(status);
    QString error;
    const bool taken = m_desk->putOrder(order.record(now()), &error);
    if (!taken) {
        refused(error);
    }
    return taken;
}

bool Dealer::putDeal(const QVariantMap& deal) {
    QString error;
    const bool taken = m_desk->putDeal(deal, &error);
    if (!taken) {
        refused(error);
    }
    return taken;
}
