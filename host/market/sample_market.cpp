#include "sample_market.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLockFile>
#include <algorithm>
#include <cstdio>
#include <memory>

#include "account_rows.h"
#include "authority_rows.h"
#include "history_rows.h"
#include "market_file.h"
#include "market_log.h"
#include "market_store.h"
#include "reference_rows.h"
#include "securities.h"
#include "server_rows.h"
#include "static_config.h"

namespace {

// Raised when the making changes what it writes, so that older files are made anew.
inline const QString kContents = QStringLiteral("7");
constexpr int kLockWaitMs = 60000;
constexpr int kOwnAccountsOfSecond = 3;
// The year of the orders and deals; positions and messages are those of its end.
constexpr int kHistoryYear = 2025;

using Marks = QList<QPair<QString, QString>>;

Marks marksOf(const MarketOptions& options) {
    return {{QStringLiteral("format"), MarketStore::format()},
            {QStringLiteral("contents"), kContents},
            {QStringLiteral("seed"), QString::number(options.seed)},
            {QStringLiteral("accounts"), QString::number(options.accounts)},
            {QStringLiteral("symbols"), QString::number(options.symbols)},
            {QStringLiteral("history"), QString::number(options.historyOrders)},
            {QStringLiteral("scale"), QString::number(options.scale)}};
}

QString partFile(const QString& file) {
    return file + QStringLiteral(".part");
}

/// All that a market holds, before it is written; the orders and deals as the plan of them.
struct Contents {
    QList<TableRow> store;
    QList<TableRow> statics;
    std::unique_ptr<HistoryRows> history;

    int rowCount() const { return store.size() + history->rowCount() + statics.size(); }
};

void addReferenceRows(const QList<QVariantMap>& securities, const AccountTree& tree,
                      QList<TableRow>& rows) {
    for (const ReferenceRow& row : makeReferenceRows(securities, tree)) {
        const QByteArray record =
            QJsonDocument::fromVariant(row.record).toJson(QJsonDocument::Compact);
        rows.append({QStringLiteral("reference"), {row.kind, row.key, QString::fromUtf8(record)}});
    }
}

bool makeContents(const MarketOptions& options, Contents* contents, QString* error) {
    MarketRules rules;
    TradeCalendar calendar;
    QVector<StaticConfigRow> config;
    QList<TableRow> menus;
    if (!rules.load(error) || !calendar.load(error) || !makeStaticConfig(rules, &config, error) ||
        !makeMenuRows(&menus, error)) {
        return false;
    }
    const int accounts = options.allAccounts();
    const AccountTree tree = makeAccountTree(options.seed, accounts);
    const AccountTree ofSecond = makeAccountTree(options.seed, kOwnAccountsOfSecond, accounts);
    const auto securities = makeSecurities(options.seed, options.allSymbols(), rules);
    const QDate lastDay(kHistoryYear, 12, 31);
    contents->store = makeStoreRows(tree, ofSecond) + makeAuthorityRows(tree, ofSecond) +
                      makeCalendarRows(calendar) + makeSpreadRows(rules) + menus +
                      makeMessageRows(tree, calendar, lastDay) +
                      makePositionRows(options.seed, tree, securities) +
                      makePositionRows(options.seed + 1, ofSecond, securities);
    contents->history = std::make_unique<HistoryRows>(
        options.seed, options.allHistoryOrders(), tree, securities,
        calendar.days(TradeDayType::Shares, QDate(kHistoryYear, 1, 1), lastDay));
    for (const StaticConfigRow& row : qAsConst(config)) {
        contents->statics.append({QStringLiteral("static_cfg"), {row.section, row.key, row.value}});
    }
    addReferenceRows(securities, tree, contents->statics);
    return true;
}

/// Counts the rows of both files and asks, now and then, whether to go on.
class ProgressMeter {
public:
    ProgressMeter(const MarketProgress& progress, int total)
        : m_progress(progress), m_total(total) {}

    bool step(int rows = 1) {
        constexpr int kStride = 256;
        const int before = m_done;
        m_done += rows;
        const bool due = m_done / kStride != before / kStride || m_done == m_total;
        return !m_progress || !due || m_progress(m_done, m_total);
    }

private:
    const MarketProgress& m_progress;
    const int m_total;
    int m_done = 0;
};

/// One of the two files, as it is being written.
class FileWriter {
public:
    FileWriter(const QString& path, ProgressMeter& meter) : m_file(path), m_meter(meter) {}

    bool write(const QString& schema, const QList<TableRow>& rows, const HistoryRows* history,
               const Marks& marks, QString* error) {
        const auto onRows = [this](int count) { return step(count); };
        const bool written = m_file.create(schema) &&
                             std::all_of(rows.cbegin(), rows.cend(),
                                         [this](const TableRow& row) {
                                             return m_file.insert(row.table, row.values) && step(1);
                                         }) &&
                             (!history || history->write(m_file, onRows)) && m_file.finish(marks);
        if (!written) {
            *error =
                m_stopped ? QStringLiteral("the making of the market was stopped") : m_file.error();
        }
        return written;
    }

private:
    bool step(int rows) {
        m_stopped = !m_meter.step(rows);
        return !m_stopped;
    }

    MarketFile m_file;
    ProgressMeter& m_meter;
    bool m_stopped = false;
};

/// Takes the place of what stood there, in one step.
bool takeName(const QString& file, QString* error) {
    const QByteArray from = QFile::encodeName(partFile(file));
    if (std::rename(from.constData(), QFile::encodeName(file).constData()) == 0) {
        return true;
    }
    *error = QStringLiteral("%1: the finished file cannot be renamed").arg(file);
    return false;
}

bool writeMarket(const QString& dir, const MarketOptions& options, const MarketProgress& progress,
                 QString* error) {
    Contents contents;
    if (!makeContents(options, &contents, error)) {
        return false;
    }
    const Marks marks = marksOf(options);
    ProgressMeter meter(progress, contents.rowCount());
    const QString store = marketStoreFile(dir);
    const QString statics = staticDatabaseFile(dir);
    const bool done =
        FileWriter(partFile(store), meter)
            .write(QStringLiteral("market.sql"), contents.store, contents.history.get(), marks,
                   error) &&
        FileWriter(partFile(statics), meter)
            .write(QStringLiteral("static.sql"), contents.statics, nullptr, marks, error) &&
        takeName(store, error) && takeName(statics, error);
    QFile::remove(partFile(store));
    QFile::remove(partFile(statics));
    return done;
}

MarketState stateOf(const QString& file, const MarketOptions& options, QString* text) {
    if (!QFileInfo::exists(file)) {
        *text = QStringLiteral("%1 does not stand").arg(file);
        return MarketState::Missing;
    }
    const auto store = MarketStore::open(file, text);
    if (!store) {
        return MarketState::Damaged;
    }
    for (const auto& mark : marksOf(options)) {
        if (store->meta(mark.first) != mark.second) {
            *text = QStringLiteral("%1 is of %2 \"%3\", not \"%4\"")
                        .arg(file, mark.first, store->meta(mark.first), mark.second);
            return MarketState::Other;
        }
    }
    return MarketState::Ready;
}

}  // namespace

QString marketStoreFile(const QString& dir) {
    return QDir(dir).filePath(QStringLiteral("market.sqlite"));
}

QString staticDatabaseFile(const QString& dir) {
    return QDir(dir).filePath(QStringLiteral("static.sqlite"));
}

bool makeSampleMarket(const QString& dir, const MarketOptions& options,
                      const MarketProgress& progress, QString* error) {
    if (options.accounts < 1 || options.symbols < 1 || options.historyOrders < 0 ||
        options.scale < 1 || options.scale > kMaxMarketScale) {
        *error = QStringLiteral(
            "a market needs at least one account and one symbol, and a scale of 1 to 20");
        return false;
    }
    if (!QDir().mkpath(dir)) {
        *error = QStringLiteral("%1: the folder cannot be made").arg(dir);
        return false;
    }
    QLockFile lock(QDir(dir).filePath(QStringLiteral("market.lock")));
    lock.setStaleLockTime(0);  // only a dead owner's lock is stale, however long a making takes
    if (!lock.tryLock(kLockWaitMs)) {
        *error = QStringLiteral("%1: another process is making a market there").arg(dir);
        return false;
    }
    const bool made = writeMarket(dir, options, progress, error);
    if (!made) {
        qCWarning(lcMarket).noquote() << "makeSampleMarket failed:" << *error;
    }
    return made;
}

MarketState sampleMarketState(const QString& dir, const MarketOptions& options, QString* text) {
    QString reason;
    MarketState state = stateOf(marketStoreFile(dir), options, &reason);
    if (state == MarketState::Ready) {
        state = stateOf(staticDatabaseFile(dir), options, &reason);
    }
    if (text) {
        *text = reason;
    }
    return state;
}

bool sampleMarketReady(const QString& dir, const MarketOptions& options) {
    return sampleMarketState(dir, options) == MarketState::Ready;
}
