#include "tick_feed.h"

#include <QJsonDocument>
#include <QSet>
#include <QSqlQuery>
#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "data_stores.h"
#include "local_platform.h"
#include "market_log.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

inline const QString kPriceStep = QStringLiteral("PriceTick");
constexpr double kStandardLimit = 0.1;
/// Ticks that fall due closer together are published together.
constexpr auto kShortestRest = std::chrono::milliseconds(20);
/// Later than any clock gets, while its nanoseconds still fit their type.
constexpr double kNeverSeconds = 1e9;
constexpr double kMostSecondsToCatchUp = 1.0;
constexpr double kMostTicksPerSecond = 1e6;

/// The same on every machine and in every run, which qHash() does not guarantee.
quint32 seedOf(const QString& symbol, quint32 seed) {
    quint32 hash = 2166136261U;
    const auto mix = [&hash](quint32 byte) { hash = (hash ^ byte) * 16777619U; };
    for (const char byte : symbol.toUtf8()) {
        mix(static_cast<unsigned char>(byte));
    }
    for (int shift = 0; shift < 32; shift += 8) {
        mix(seed >> shift & 0xffU);
    }
    return hash;
}

}  // namespace

/// The thread between start() and stop().
class TickFeed::Runner {
public:
    explicit Runner(TickFeed& feed)
        : m_listening(
              DataStores::tickSubscriptions().onChanged([bell = m_bell] { bell->ring(false); })),
          m_thread([this, &feed] { run(feed); }) {}

    ~Runner() {
        m_bell->ring(true);
        m_thread.join();
    }
    Q_DISABLE_COPY(Runner)

private:
    using Clock = std::chrono::steady_clock;

    /// Wakes the thread. It is shared with the subscription listener, which may still be running
    /// when the feed is destroyed.
    struct Bell {
        std::mutex lock;  // guards what follows; not held while ticks are published
        std::condition_variable wake;
        bool rung = false;
        bool ending = false;

        void ring(bool toEnd) {
            {
                const std::lock_guard<std::mutex> guard(lock);
                rung = true;
                ending = ending || toEnd;
            }
            wake.notify_all();
        }
        /// Sleeps until it is rung. Returns false when the thread has to end.
        bool sleep() {
            std::unique_lock<std::mutex> guard(lock);
            wake.wait(guard, [this] { return rung; });
            rung = false;
            return !ending;
        }
        /// The same, with a time at which the sleep ends anyway.
        bool sleepUntil(const Clock::time_point& time) {
            std::unique_lock<std::mutex> guard(lock);
            wake.wait_until(guard, time, [this] { return rung; });
            rung = false;
            return !ending;
        }
    };

    void run(TickFeed& feed) {
        const auto began = Clock::now();
        bool goesOn = true;
        while (goesOn) {
            const auto now = Clock::now();
            feed.catchUp(now - began);
            const auto due = feed.nextDue();
            goesOn = due ? m_bell->sleepUntil(std::max(began + *due, now + kShortestRest))
                         : m_bell->sleep();
        }
    }

    const std::shared_ptr<Bell> m_bell = std::make_shared<Bell>();
    const std::shared_ptr<void> m_listening;
    std::thread m_thread;  // declared last, because it uses the members above
};

TickFeed::TickFeed(const Options& options) : m_options(options) {
    if (m_options.staticDatabaseFile.isEmpty()) {
        return;
    }
    QString error;
    m_store = MarketStore::open(m_options.staticDatabaseFile, &error);
    if (!m_store) {
        qCWarning(lcMarket) << "the static database cannot be read, ticks use standard figures:"
                            << error;
    }
}

TickFeed::~TickFeed() {
    stop();
}

void TickFeed::start() {
    if (!m_runner) {
        m_paid = 0;
        m_idle = false;
        m_runner = std::make_unique<Runner>(*this);
        qCInfo(lcMarket).noquote()
            << "tick feed started:" << hoursText() + QLatin1Char(',') << m_options.symbols.size()
            << "symbols chosen," << m_options.ticksPerSecond << "ticks per second";
    }
}

void TickFeed::stop() {
    m_runner.reset();
}

bool TickFeed::stepOnce() {
    return !running() && publishNext();
}

int TickFeed::step(int count) {
    int published = 0;
    while (published < count && stepOnce()) {
        ++published;
    }
    return published;
}

QDateTime TickFeed::now() const {
    return m_options.clock ? m_options.clock()
                           : CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime();
}

QString TickFeed::hoursText() const {
    return m_options.aroundTheClock ? QStringLiteral("continuous trading around the clock")
                                    : QStringLiteral("trading hours of the exchanges");
}

/// 0 while there is nothing to publish.
double TickFeed::ratePerSecond() const {
    if (m_walks.empty()) {
        return 0;
    }
    const double rate = m_options.ratePerSymbol
                            ? m_options.ticksPerSecond * static_cast<double>(m_walks.size())
                            : m_options.ticksPerSecond;
    return std::min(rate, kMostTicksPerSecond);
}

int TickFeed::catchUp(std::chrono::nanoseconds sinceStart) {
    const double elapsed = std::chrono::duration<double>(sinceStart).count();
    followSymbols(now().date());
    const double rate = ratePerSecond();
    const bool wasIdle = std::exchange(m_idle, !(rate > 0));
    if (m_idle || wasIdle) {
        m_paid = elapsed;
        return 0;
    }
    // At a low rate one second holds less than a tick: allow for two ticks, or none would ever
    // come.
    m_paid = std::max(m_paid, elapsed - std::max(kMostSecondsToCatchUp, 2 / rate));
    // The fraction of a tick stays owed, so that rounding does not add up.
    const int due = static_cast<int>(std::floor((elapsed - m_paid) * rate + 1e-9));
    int published = 0;
    while (published < due && publishNext()) {
        ++published;
    }
    m_paid += due / rate;
    return published;
}

std::optional<std::chrono::nanoseconds> TickFeed::nextDue() const {
    const double rate = ratePerSecond();
    if (!(rate > 0)) {
        return std::nullopt;
    }
    const double seconds = std::min(m_paid + 1 / rate, kNeverSeconds);
    return std::chrono::nanoseconds(static_cast<qint64>(std::ceil(seconds * 1e9)));
}

TickWalk::Figures TickFeed::figuresOf(const QVariantMap& record) {
    TickWalk::Figures figures;
    const double close = record.value(TickField::previousClose).toDouble();
    if (close > 0) {
        figures.previousClose = close;
        figures.upperLimit = record.value(TickField::maxPrice).toDouble();
        figures.lowerLimit = record.value(TickField::minPrice).toDouble();
    } else {
        figures.upperLimit = figures.previousClose * (1 + kStandardLimit);
        figures.lowerLimit = figures.previousClose * (1 - kStandardLimit);
    }
    const double step = record.value(kPriceStep).toDouble();
    if (step > 0) {
        figures.step = step;
    }
    figures.lot = std::max(1, record.value(Security::LotSize, figures.lot).toInt());
    return figures;
}

/// Takes over changes of the subscriptions; a new day restarts every walk.
void TickFeed::followSymbols(const QDate& day) {
    const QStringList subscribed = DataStores::tickSubscriptions().symbols();
    if (day == m_day && subscribed == m_subscribed) {
        return;
    }
    const QStringList symbols = m_options.symbols + subscribed;
    const QSet<QString> wanted(symbols.cbegin(), symbols.cend());
    m_refused.intersect(wanted);
    QSet<QString> present = m_refused;
    std::vector<Walk> walks;
    if (day == m_day) {
        for (Walk& one : m_walks) {
            if (wanted.contains(one.symbol)) {
                present.insert(one.symbol);
                walks.push_back(std::move(one));
            }
        }
    }
    for (const QString& symbol : symbols) {
        if (!symbol.isEmpty() && !present.contains(symbol)) {
            present.insert(symbol);
            addWalk(symbol, walks);
        }
    }
    m_day = day;
    m_subscribed = subscribed;
    m_walks = std::move(walks);
    m_next = m_walks.empty() ? 0 : m_next % m_walks.size();
}

void TickFeed::addWalk(const QString& symbol, std::vector<Walk>& walks) {
    const QVariantMap record = recordOfSymbol(symbol);
    if (m_store && record.isEmpty()) {
        m_refused.insert(symbol);
        qCWarning(lcMarket).nospace()
            << "no ticks for " << symbol << ": the static database has no security of this name";
        return;
    }
    walks.push_back(
        {symbol,
         DayPhases(record.value(UserAccount::securityExchange).toString(), m_options.calendar),
         TickWalk(seedOf(symbol, m_options.seed), figuresOf(record))});
}

QVariantMap TickFeed::recordOfSymbol(const QString& symbol) const {
    QVariantMap record;
    if (m_store) {
        m_store->select(
            QStringLiteral("SELECT record FROM reference WHERE kind = 'security' AND symbol = ?"),
            {symbol}, [&record](const QSqlQuery& query) {
                record = QJsonDocument::fromJson(query.value(0).toByteArray()).toVariant().toMap();
            });
    }
    return record;
}

bool TickFeed::publishNext() {
    const QDateTime time = now();
    followSymbols(time.date());
    if (m_walks.empty()) {
        return false;
    }
    Walk& one = m_walks[m_next];
    m_next = (m_next + 1) % m_walks.size();
    QVariantMap tick =
        one.walk.step(m_options.aroundTheClock ? TickPhase::continuous : one.phases.at(time));
    const QString symbol = one.symbol;
    tick.insert(TickField::symbol, symbol);
    tick.insert(TickField::time, time);
    // Publish last: a reader that takes the tick on this thread may step the feed again.
    LocalPlatform::instance().publishTick(symbol, tick);
    return true;
}
