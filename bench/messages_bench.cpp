// Business messages: what a caller pays for queueing one while the writer writes; rows written by
// the work database beside the same texts in a bare QSqlQuery and beside prepared statements of the
// SQLite library; a start with a busy day's messages; the lists beside the bare copy.

#include <malloc.h>
#include <sqlite3.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "bench_timing.h"
#include "busi_msg_sink.h"
#include "busi_msg_table.h"
#include "clock.h"
#include "local_platform.h"
#include "message_flow.h"
#include "message_store.h"
#include "product_account_reader.h"
#include "remind_settings.h"
#include "velmar_busi_msg_data_base.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"

namespace {

constexpr int kMessages = 100000;
constexpr int kRounds = 5;
constexpr int kBurst = 2000;  // messages that one thread queues at a time
constexpr int kBursts = 50;
constexpr double kPercent = 100;

void orExit(bool good, const QString& error) {
    if (!good) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        std::exit(1);
    }
}

QVariantMap messageOf(int number) {
    return {{System::clientMsgID, QStringLiteral("C%1").arg(number, 8, 10, QChar('0'))},
            {BusiMsgCenter::ServerMsgId, QStringLiteral("S%1").arg(number)},
            {System::BusiMsgLevel, BusiMsgLevel::Important},
            {System::BusiMsgType, BusiMsgType::TradeMsg},
            {System::BusiMsgSubType, QStringLiteral("4001")},
            {UserAccount::tradingAccount, QStringLiteral("T%1").arg(number % 200)},
            {UserAccount::productAccount, QStringLiteral("P%1").arg(number % 20)},
            {System::itemName, QStringLiteral("symbol")},
            {System::itemValue, QStringLiteral("%1.SH").arg(600000 + number % 5000)},
            {System::createTime, QDateTime::currentDateTime()},
            {BusiMsgCenter::ReadStatus, number % 2 == 0},
            {System::textDescription,
             QStringLiteral("委托 %1 已全部成交，请关注持仓变化。").arg(number)},
            {System::positionStr, QStringLiteral("%1").arg(number, 12, 10, QChar('0'))}};
}

QList<QVariantMap> makeMessages() {
    QList<QVariantMap> messages;
    messages.reserve(kMessages);
    for (int i = 0; i < kMessages; ++i) {
        messages.append(messageOf(i));
    }
    return messages;
}

/// A platform of its own, with an empty work database.
class Home {
public:
    Home() {
        LocalPlatform::Options options;
        options.homeDir = m_dir.path();
        QString error;
        orExit(LocalPlatform::instance().start(options, &error), error);
    }
    ~Home() { LocalPlatform::instance().close(); }
    Q_DISABLE_COPY(Home)

private:
    QTemporaryDir m_dir;
};

/// Writes to the store's table, and counts what the writer has taken over.
class CountingSink final : public MessageWriterSink {
public:
    explicit CountingSink(MessageStore& store) : m_store(store) {}

    void insertToDataBase(const QList<QVariantMap>& rows) override {
        taken += rows.size();
        m_store.insertToDataBase(rows);
    }
    void updateToDataBase(const QList<QVariantMap>& rows) override {
        m_store.updateToDataBase(rows);
    }

    std::atomic<int> taken{0};

private:
    MessageStore& m_store;
};

/// Nanoseconds of each call.
template <class Append>
void appendBurst(const QList<QVariantMap>& messages, std::vector<double>& times, Append append) {
    for (const QVariantMap& message : messages) {
        times.push_back(1e6 * millisecondsOf([&] { append(message); }));
    }
}

double partOf(std::vector<double>& times, double part) {
    const auto at = times.begin() + static_cast<std::ptrdiff_t>(double(times.size() - 1) * part);
    std::nth_element(times.begin(), at, times.end());
    return *at;
}

/// Runs the bursts of each thread; all of them begin a burst together, after `mayBegin`.
template <class Append, class MayBegin>
std::vector<double> burstTimes(int threads, const QList<QVariantMap>& messages, Append append,
                               MayBegin mayBegin) {
    std::vector<double> all;
    all.reserve(std::size_t(threads) * kBursts * kBurst);
    const QList<QVariantMap> burst = messages.mid(0, kBurst);
    for (int i = 0; i < kBursts; ++i) {
        mayBegin(i);
        std::vector<std::vector<double>> times(static_cast<std::size_t>(threads));
        std::vector<std::thread> runners;
        std::atomic<int> ready{0};
        for (auto& own : times) {
            own.reserve(kBurst);
            runners.emplace_back([&] {
                for (++ready; ready < threads;) {
                }
                appendBurst(burst, own, append);
            });
        }
        for (std::thread& runner : runners) {
            runner.join();
        }
        for (const auto& own : times) {
            all.insert(all.end(), own.begin(), own.end());
        }
    }
    return all;
}

void reportQueueing(const QList<QVariantMap>& messages, int threads) {
    const Home home;
    const SystemClock clock;
    MessageStore store(clock);
    store.initBusiMsgCenterData();
    CountingSink sink(store);
    VelmarBusiMsgDataBase writer(sink);
    writer.startWriting();
    std::vector<double> ours = burstTimes(
        threads, messages,
        [&writer](const QVariantMap& message) { writer.appendBusiMsg(message, true); },
        [&](int burst) {
            // The writer has taken the burst before over and writes it meanwhile.
            while (sink.taken < burst * threads * kBurst) {
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        });
    writer.endAndJoin();

    QList<QVariantMap> list;
    std::mutex lock;
    std::vector<double> bare = burstTimes(
        threads, messages,
        [&](const QVariantMap& message) {
            const std::lock_guard<std::mutex> guard(lock);
            list.append(message);
        },
        [&list](int) { list.clear(); });
    std::printf(
        "queueing from %d thread%s while the writer writes: %.0f ns a message, p99.9 %.1f us, "
        "longest %.2f ms; a bare mutex and list %.0f ns, p99.9 %.1f us (both with the clock's own "
        "time)\n",
        threads, threads == 1 ? "" : "s", medianOf(ours), partOf(ours, 0.999) / 1e3,
        partOf(ours, 1) / 1e6, medianOf(bare), partOf(bare, 0.999) / 1e3);
}

QStringList insertTexts(const QList<QVariantMap>& messages) {
    QStringList values;
    values.reserve(messages.size());
    for (const QVariantMap& message : messages) {
        values.append(BusiMsgTable::valuesOf(message));
    }
    return BusiMsgTable::insertStatements(values);
}

double workDatabaseMs(const QStringList& texts) {
    const Home home;
    const SystemClock clock;
    MessageStore store(clock);
    store.initBusiMsgCenterData();
    int changed = 0;
    const double ms =
        millisecondsOf([&] { changed = CDBWorkInfoManager::getInstance()->executeUpdate(texts); });
    orExit(changed == kMessages, QStringLiteral("%1 rows written").arg(changed));
    return ms;
}

/// The texts in one transaction, in a file with the journal and the sync level of the work
/// database.
double bareQueryMs(const QStringList& texts) {
    const QTemporaryDir dir;
    const QString name = QStringLiteral("bare");
    double ms = 0;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(dir.filePath(QStringLiteral("bare.db")));
        orExit(database.open(), database.lastError().text());
        QSqlQuery query(database);
        for (const QString& text :
             {QStringLiteral("PRAGMA journal_mode = WAL"),
              QStringLiteral("PRAGMA synchronous = NORMAL"), BusiMsgTable::createStatement()}) {
            orExit(query.exec(text), query.lastError().text());
        }
        query.finish();
        ms = millisecondsOf([&] {
            orExit(database.transaction(), database.lastError().text());
            for (const QString& text : texts) {
                orExit(query.exec(text), query.lastError().text());
            }
            query.finish();
            orExit(database.commit(), database.lastError().text());
        });
    }
    QSqlDatabase::removeDatabase(name);
    return ms;
}

/// One prepared INSERT of the SQLite library with bound values, in one transaction.
double preparedMs(const QList<QVariantMap>& messages) {
    const QTemporaryDir dir;
    sqlite3* database = nullptr;
    orExit(sqlite3_open(qPrintable(dir.filePath(QStringLiteral("prepared.db"))), &database) ==
               SQLITE_OK,
           QStringLiteral("prepared.db cannot be opened"));
    const auto run = [database](const QString& text) {
        orExit(sqlite3_exec(database, text.toUtf8().constData(), nullptr, nullptr, nullptr) ==
                   SQLITE_OK,
               QString::fromUtf8(sqlite3_errmsg(database)));
    };
    run(QStringLiteral("PRAGMA journal_mode = WAL"));
    run(QStringLiteral("PRAGMA synchronous = NORMAL"));
    run(BusiMsgTable::createStatement());
    sqlite3_stmt* insert = nullptr;
    orExit(sqlite3_prepare_v2(database,
                              "INSERT INTO BUSI_MSG_CENTER VALUES (?,?,?,?,?,?,?,?,?,?,?,?,?)", -1,
                              &insert, nullptr) == SQLITE_OK,
           QString::fromUtf8(sqlite3_errmsg(database)));
    const double ms = millisecondsOf([&] {
        run(QStringLiteral("BEGIN"));
        for (const QVariantMap& message : messages) {
            int place = 1;
            for (const BusiMsgTable::Column& column : BusiMsgTable::columns()) {
                const QVariant value = message.value(column.field);
                const QString text = column.form == BusiMsgTable::Form::Time
                                         ? BusiMsgTable::timeText(value.toDateTime())
                                     : column.form == BusiMsgTable::Form::Flag
                                         ? QString::number(value.toBool() ? 1 : 0)
                                         : value.toString();
                sqlite3_bind_text16(insert, place++, text.utf16(), text.size() * 2,
                                    SQLITE_TRANSIENT);
            }
            orExit(sqlite3_step(insert) == SQLITE_DONE,
                   QString::fromUtf8(sqlite3_errmsg(database)));
            sqlite3_reset(insert);
        }
        run(QStringLiteral("COMMIT"));
    });
    sqlite3_finalize(insert);
    sqlite3_close(database);
    return ms;
}

void reportWriting(const QList<QVariantMap>& messages) {
    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<double> prepared;
    std::vector<double> building;
    for (int round = 0; round < kRounds; ++round) {
        QStringList texts;
        building.push_back(millisecondsOf([&] { texts = insertTexts(messages); }));
        ours.push_back(workDatabaseMs(texts));
        bare.push_back(bareQueryMs(texts));
        prepared.push_back(preparedMs(messages));
    }
    std::printf(
        "writing %d rows: executeUpdate %.0f ms, %.0f k rows/s; bare QSqlQuery with the same texts "
        "%.0f ms, so %.0f%% of its rate (at least 80); building the texts %.0f ms; prepared "
        "statements of the SQLite library %.0f ms\n",
        kMessages, medianOf(ours), kMessages / medianOf(ours), medianOf(bare),
        kPercent * medianOf(bare) / medianOf(ours), medianOf(building), medianOf(prepared));
}

double heapBytes() {
    return double(mallinfo2().uordblks) + double(mallinfo2().hblkhd);
}

class NoAccounts final : public ProductAccountReader {
public:
    std::optional<QString> productAccountOf(const QString&) const override { return std::nullopt; }
};

class NoSink final : public BusiMsgSink {
public:
    bool busiMsgAdded(QVariantMap&) override { return true; }
    void busiMsgRead(const QVariantMap&) override {}
};

/// The rows of the table read by the work database alone.
double bareReadMs() {
    ZnSqlQuery query;
    query.prepare(QStringLiteral("SELECT * FROM BUSI_MSG_CENTER"));
    QList<QVariant> rows;
    const double ms =
        millisecondsOf([&] { rows = CDBWorkInfoManager::getInstance()->executeQuery(query); });
    orExit(rows.size() == kMessages, QStringLiteral("%1 rows read").arg(rows.size()));
    return ms;
}

void reportLists(MessageStore& store) {
    const SystemClock clock;
    RemindSettings reminders(clock);
    const NoAccounts accounts;
    NoSink sink;
    const MessageFlow flow(store, reminders, accounts, sink);
    std::vector<double> all;
    std::vector<double> unread;
    std::vector<double> bare;
    int size = 0;
    for (int round = 0; round < 4 * kRounds; ++round) {
        all.push_back(millisecondsOf([&] { size += flow.GetAllBusiMsgList().size(); }));
        unread.push_back(millisecondsOf([&] { size += flow.GetUnreadBusiMsgList().size(); }));
        const auto tables = store.m_busiMsgLock.read();
        bare.push_back(millisecondsOf([&] { size += tables->m_busiMsgMap.values().size(); }));
    }
    orExit(size == 4 * kRounds * kMessages * 5 / 2, QStringLiteral("%1 messages").arg(size));
    std::printf("lists of %d messages: all %.1f ms, unread %.1f ms; bare copy %.1f ms\n", kMessages,
                medianOf(all), medianOf(unread), medianOf(bare));
}

void reportStart(const QList<QVariantMap>& messages) {
    const Home home;
    const SystemClock clock;
    {
        MessageStore writing(clock);
        writing.initBusiMsgCenterData();
        writing.insertToDataBase(messages);
    }
    std::vector<double> times;
    std::vector<double> reading;
    double bytes = 0;
    for (int round = 0; round < kRounds; ++round) {
        reading.push_back(bareReadMs());
        const double before = heapBytes();
        MessageStore store(clock);
        times.push_back(millisecondsOf([&] { store.initBusiMsgCenterData(); }));
        bytes = (heapBytes() - before) / kMessages;
        if (round == kRounds - 1) {
            reportLists(store);
        }
    }
    std::printf(
        "start with %d messages of today: %.0f ms, %.0f bytes a message; reading the rows alone "
        "%.0f ms\n",
        kMessages, medianOf(times), bytes, medianOf(reading));
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    const QList<QVariantMap> messages = makeMessages();
    reportQueueing(messages, 1);
    reportQueueing(messages, 2);
    reportWriting(messages);
    reportStart(messages);
    return 0;
}
