// Realized profit. A rebuild from a million executions is measured beside SQLite's GROUP BY over a
// table that is already loaded, and beside reading the same fields into interned keys and a flat
// hash; readers ask for profits meanwhile. Then a client gets 20,000 deals a second for 30 seconds
// (the argument sets another time).

#include <QHash>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <atomic>
#include <random>
#include <thread>
#include <unordered_map>

#include "bench_report.h"
#include "interrupt_watch.h"
#include "local_platform.h"
#include "realized_profit.h"
#include "trade_fields.h"
#include "velmar_business_data_interface.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znmsg/c_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kExecutions = 1000000;
constexpr int kAccounts = 200;
constexpr int kSymbolsOfAccount = 50;
constexpr int kRounds = 5;
constexpr int kDealsPerSecond = 20000;

QVariantMap executionOf(int number, std::mt19937& random) {
    const auto account = static_cast<int>(random() % kAccounts);
    const auto symbol = static_cast<int>(random() % kSymbolsOfAccount);
    const double quantity = 100.0 * double(1 + random() % 20);
    const double price = 10 + double(random() % 1000) / 100;
    return {{UserAccount::tradingAccount, QStringLiteral("T%1").arg(account, 6, 10, QChar('0'))},
            {Security::symbol, QStringLiteral("%1.SH").arg(600000 + account * 7 + symbol)},
            {UserAccount::securityAccount, QStringLiteral("A%1").arg(account)},
            {Security::side, random() % 2 == 0 ? OrderSide::buy : DealSide::sell},
            {Security::lastQty, quantity},
            {Security::lastAmount, quantity * price},
            {Margin::executionCommission, quantity * price * 0.00025},
            {Security::execID, QStringLiteral("E%1").arg(number)},
            {UserAccount::ExchangeExecType, QStringLiteral("0")}};
}

QList<QVariantMap> makeExecutions() {
    std::mt19937 random(1);
    QList<QVariantMap> rows;
    rows.reserve(kExecutions);
    for (int i = 0; i < kExecutions; ++i) {
        rows.append(executionOf(i, random));
    }
    return rows;
}

/// The seven fields read into interned keys and a flat hash. Returns the sum of the commissions.
double flatHash(const QList<QVariantMap>& rows) {
    QHash<QString, quint64> keys;
    std::unordered_map<quint64, RealizedProfitItem> items;
    const auto keyOf = [&keys](const QVariantMap& row, const QString& field) {
        const QString text = row.value(field).toString();
        const auto found = keys.constFind(text);
        return found != keys.cend() ? *found : *keys.insert(text, quint64(keys.size()));
    };
    for (const QVariantMap& row : rows) {
        constexpr int kKeyBits = 20;
        const quint64 key = keyOf(row, UserAccount::tradingAccount) << 2 * kKeyBits |
                            keyOf(row, Security::symbol) << kKeyBits |
                            keyOf(row, UserAccount::securityAccount);
        const double quantity = row.value(Security::lastQty).toDouble();
        const double amount = row.value(Security::lastAmount).toDouble();
        RealizedProfitItem& item = items[key];
        if (row.value(Security::side) == OrderSide::buy) {
            item.buyQty += quantity;
            item.buyAmount += amount;
        } else {
            item.sellQty += quantity;
            item.sellAmount += amount;
        }
        item.commission += row.value(Margin::executionCommission).toDouble();
    }
    double commission = 0;
    for (const auto& item : items) {
        commission += item.second.commission;
    }
    return commission;
}

void orExit(bool good, const QString& error) {
    if (!good) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        std::exit(1);
    }
}

class SqlTable {
public:
    explicit SqlTable(const QList<QVariantMap>& rows) : m_query(open()) {
        orExit(m_query.exec(QStringLiteral("CREATE TABLE deal(account TEXT, symbol TEXT, security "
                                           "TEXT, side TEXT, qty REAL, amount REAL, fee REAL)")),
               m_query.lastError().text());
        QSqlDatabase::database().transaction();
        m_query.prepare(QStringLiteral("INSERT INTO deal VALUES(?, ?, ?, ?, ?, ?, ?)"));
        for (const QVariantMap& row : rows) {
            for (const QString& field :
                 {UserAccount::tradingAccount, Security::symbol, UserAccount::securityAccount,
                  Security::side, Security::lastQty, Security::lastAmount,
                  Margin::executionCommission}) {
                m_query.addBindValue(row.value(field));
            }
            orExit(m_query.exec(), m_query.lastError().text());
        }
        QSqlDatabase::database().commit();
    }

    /// Returns the sum of the commissions.
    double group() {
        orExit(
            m_query.exec(QStringLiteral(
                "SELECT account, symbol, security, SUM(CASE side WHEN '1' THEN qty END), "
                "SUM(CASE side WHEN '1' THEN amount END), SUM(CASE side WHEN '1' THEN 0 ELSE qty "
                "END), SUM(CASE side WHEN '1' THEN 0 ELSE amount END), SUM(fee) FROM deal GROUP "
                "BY account, symbol, security")),
            m_query.lastError().text());
        constexpr int kFeeColumn = 7;
        double fee = 0;
        while (m_query.next()) {
            fee += m_query.value(kFeeColumn).toDouble();
        }
        return fee;
    }

private:
    static QSqlQuery open() {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        database.setDatabaseName(QStringLiteral(":memory:"));
        orExit(database.open(), database.lastError().text());
        QSqlQuery query(database);
        query.setForwardOnly(true);
        return query;
    }

    QSqlQuery m_query;
};

/// Asks for the profit of one account again and again; worst() is the longest that a call took.
class Reader {
public:
    explicit Reader(const RealizedProfit& profit)
        : m_thread([this, &profit] {
              while (!m_ended) {
                  const double ms = millisecondsOf([&profit] {
                      profit.GetRealizedProfitByAccountAndSymbol(QStringLiteral("T000001"),
                                                                 QStringLiteral("600007.SH"), {});
                  });
                  m_worst = std::max<double>(m_worst, ms);
                  std::this_thread::sleep_for(std::chrono::microseconds(50));
              }
          }) {}
    ~Reader() {
        m_ended = true;
        m_thread.join();
    }
    Q_DISABLE_COPY(Reader)

    double worst() const { return m_worst; }

private:
    std::atomic<bool> m_ended{false};
    std::atomic<double> m_worst{0};
    std::thread m_thread;
};

void reportRebuild() {
    const QList<QVariantMap> rows = makeExecutions();
    SqlTable table(rows);
    RealizedProfit profit;
    std::vector<double> ours;
    std::vector<double> sqlite;
    std::vector<double> flat;
    double worst = 0;
    double sink = 0;
    for (int round = 0; round < kRounds; ++round) {
        flat.push_back(millisecondsOf([&] { sink += flatHash(rows); }));
        sqlite.push_back(millisecondsOf([&] { sink += table.group(); }));
        const auto rebuild = [&] {
            auto fresh = RealizedProfit::build(rows, [] { return false; });
            profit.replace(std::move(*fresh), [] {});
        };
        ours.push_back(millisecondsOf(rebuild));
        const Reader reader(profit);
        rebuild();
        worst = std::max(worst, reader.worst());
    }
    orExit(sink > 0 && !profit.GetAllRealizedProfitMap().isEmpty(),
           QStringLiteral("the tables are empty"));
    std::printf(
        "rebuild from %d executions: %.0f ms, %.2f M rows/s; SQLite's GROUP BY %.0f ms, %.1f times "
        "as long (at least 2.5); flat hash %.0f ms, ratio %.2f (at most 2); longest read meanwhile "
        "%.2f ms (at most 5)\n",
        kExecutions, medianOf(ours), kExecutions / medianOf(ours) / 1000, medianOf(sqlite),
        medianOf(sqlite) / medianOf(ours), medianOf(flat), medianOf(ours) / medianOf(flat), worst);
}

/// Counts the events that report changed profits.
class EventCounter : public ZnPresenterClass {
public:
    EventCounter()
        : ZnPresenterClass(QStringLiteral("bench.profit"), nullptr, IMessageInterface::OwnThreads) {
        for (const QString& name :
             {EventMsgName::RealizedProfitInitedEvent, EventMsgName::RealizedProfitUpdateEvent}) {
            SubEvent(pluginPid(), VelmarUtils::GetTorviEventMsgIdByStr(name), 1);
        }
    }

    void ProcSubMsg(QString, QVariant, QVariant) override {}
    void ProcOtherMsg(QString, QVariant, QVariant) override {}
    void ProcResponseMsg(QString, QString, QVariant, QVariant) override {}
    void ProcEventMsg(QString, QVariant id, QVariant) override {
        const bool isUpdate = id.toInt() == VelmarUtils::GetTorviEventMsgIdByStr(
                                                EventMsgName::RealizedProfitUpdateEvent);
        ++(isUpdate ? updates : loads);
    }

    std::atomic<int> updates{0};
    std::atomic<int> loads{0};
};

void publishDeal(int number) {
    CPackMessageCommon packer;
    packer.AddRowVaule({{UserAccount::tradingAccount, QStringLiteral("bench")},
                        {Security::symbol, QStringLiteral("%1.SH").arg(600000 + number % 500)},
                        {UserAccount::securityAccount, QStringLiteral("A1")},
                        {Security::side, OrderSide::buy},
                        {Security::lastQty, 100},
                        {Security::lastAmount, 1000.0},
                        {Margin::executionCommission, 1.0},
                        {Security::execID, QStringLiteral("S%1").arg(number)},
                        {UserAccount::ExchangeExecType, QStringLiteral("0")}});
    LocalPlatform::instance().publishEvent(NeighbourEvent::normalDeal, packer.GetPackedMsg(false));
}

/// Deals that are in the table: each has a commission of 1, and there are no sales.
int countedDeals() {
    return static_cast<int>(
        -VelmarBusinessDataInterface::GetRealizedProfitByAccount(QStringLiteral("bench")));
}

void reportStream(int seconds) {
    using namespace std::chrono;
    const QTemporaryDir home;
    Client client(benchClient(home), {});
    QString error;
    orExit(client.start(&error), error);
    auto* const events = new EventCounter;
    events->initPresenter();
    LocalPlatform::instance().publishEvent(
        VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::CalcRealizedProfitInitEvent), {});
    while (events->loads == 0) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(milliseconds(5));
    }
    int published = 0;
    int mostBehind = 0;
    const auto began = steady_clock::now();
    const int all = seconds * kDealsPerSecond;
    while (published < all) {
        const double passed = duration<double>(steady_clock::now() - began).count();
        const int due = std::min(all, static_cast<int>(passed * kDealsPerSecond));
        for (; published < due; ++published) {
            publishDeal(published);
        }
        mostBehind = std::max(mostBehind, published - countedDeals());
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(milliseconds(5));
    }
    const auto ended = steady_clock::now();
    while (countedDeals() < all) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(milliseconds(1));
    }
    std::printf(
        "stream of %d deals a second for %d s: %d events, at most %d deals behind (1.0 s of them "
        "are %d), the last one counted %.2f s after it was published\n",
        kDealsPerSecond, seconds, events->updates.load(), mostBehind, kDealsPerSecond,
        duration<double>(steady_clock::now() - ended).count());
    events->deleteLater();
    client.stop();
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    constexpr int kStandardSeconds = 30;
    reportRebuild();
    reportStream(argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : kStandardSeconds);
    return 0;
}
