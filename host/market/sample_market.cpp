#include "sample_market.h"

#include <QDateTime>
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
#include "fund_rows.h"
#include "history_rows.h"
#include "market_file.h"
#include "market_log.h"
#include "market_stop.h"
#include "market_store.h"
#include "menu_rows.h"
#include "message_rows.h"
#include "patch_rows.h"
#include "reference_rows.h"
#include "risk_rows.h"
#include "sealed_database.h"
#include "securities.h"
#include "server_rows.h"
#include "static_config.h"
#include "system_item_rows.h"

namespace {

// To be raised when the rows that are written change, so that older files are replaced.
inline const QString kContents = QStringLiteral("16");
constexpr int kLockTryMs = 100;
constexpr int kOwnAccountsOfSecond = 3;
// The year of the orders and deals; positions are dated at its end.
constexpr int kHistoryYear = 2025;

inline const QString kInterrupted =
    QStringLiteral("interrupted while the sample market was being made");

using Marks = QList<QPair<QString, QString>>;

/// Which program wrote a file.
Marks programMarks() {
    return {{SealedDatabase::formatKey, SealedDatabase::format},
            {QStringLiteral("contents"), kContents}};
}

Marks optionMarks(const MarketOptions& options) {
    return {{QStringLiteral("seed"), QString::number(options.seed)},
            {QStringLiteral("accounts"), QString::number(options.accounts)},
            {QStringLiteral("symbols"), QString::number(options.symbols)},
            {QStringLiteral("history"), QString::number(options.historyOrders)},
            {QStringLiteral("scale"), QString::number(options.scale)}};
}

QString partFile(const QString& file) {
    return file + QStringLiteral(".part");
}

/// The rows of a market before they are written; of the orders and deals only the plan. The daily
/// funds, a few rows for each account, are computed in the file and not counted.
struct Contents {
    QList<TableRow> store;
    QList<TableRow> statics;
    std::unique_ptr<HistoryRows> history;
    QList<QVariantMap> securities;

    int rowCount() const { return store.size() + history->rowCount() + statics.size(); }
};

void addReferenceRows(const QList<QVariantMap>& securities, const AccountTree& tree,
                      const MarketStop& stop, QList<TableRow>& rows) {
    for (const ReferenceRow& row : makeReferenceRows(securities, tree, stop)) {
        if (stop.isSetAt(rows.size())) {
            return;
        }
        const QByteArray record =
            QJsonDocument::fromVariant(row.record).toJson(QJsonDocument::Compact);
        rows.append({QStringLiteral("reference"), {row.kind, row.key, QString::fromUtf8(record)}});
    }
}

/// False with a text when a built-in table cannot be read or `stop` is set.
bool makeContents(const MarketOptions& options, const MarketStop& stop, Contents* contents,
                  QString* error) {
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
    contents->securities = makeSecurities(options.seed, options.allSymbols(), rules, stop);
    const auto& securities = contents->securities;
    QList<TableRow> messages;
    if (!makeMessageRows(options.seed, tree, ofSecond, securities, &messages, error)) {
        return false;
    }
    const QDate lastDay(kHistoryYear, 12, 31);
    contents->store = makeStoreRows(tree, ofSecond) + makeAuthorityRows(tree, ofSecond) +
                      makeCalendarRows(calendar) + makeSpreadRows(rules) + menus + messages +
                      makeRiskRows(securities) + makePositionRows(options.seed, tree, securities) +
                      makePositionRows(options.seed + 1, ofSecond, securities) +
                      makeCashRows(options.seed, tree) + makeCashRows(options.seed + 1, ofSecond) +
                      makeSystemItemRows() + makePatchRows();
    contents->history = std::make_unique<HistoryRows>(
        options.seed, options.allHistoryOrders(), tree, securities,
        calendar.days(TradeDayType::Shares, QDate(kHistoryYear, 1, 1), lastDay));
    for (const StaticConfigRow& row : qAsConst(config)) {
        contents->statics.append({QStringLiteral("static_cfg"), {row.section, row.key, row.value}});
    }
    addReferenceRows(securities, tree, stop, contents->statics);
    if (stop.isSet()) {
        *error = kInterrupted;
    }
    return !stop.isSet();
}

/// Counts the rows of both files and checks every few hundred of them whether to continue.
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
    using Computed = std::function<bool(MarketFile& file, const HistoryRows::OnRows& onRows)>;

    FileWriter(const QString& path, ProgressMeter& meter) : m_file(path), m_meter(meter) {}

    /// `computed`, where given, writes the rows that statements compute from the others.
    bool write(const QString& schema, const QList<TableRow>& rows, const Computed& computed,
               const Marks& marks, QString* error) {
        const auto onRows = [this](int count) { return step(count); };
        const bool written = m_file.create(schema) &&
                             std::all_of(rows.cbegin(), rows.cend(),
                                         [this](const TableRow& row) {
                                             return m_file.insert(row.table, row.values) && step(1);
                                         }) &&
                             (!computed || computed(m_file, onRows)) && m_file.finish(marks);
        if (!written) {
            *error = m_stopped ? kInterrupted : m_file.error();
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

/// Gives the finished file its name, in place of an older file.
bool takeName(const QString& file, QString* error) {
    const QByteArray from = QFile::encodeName(partFile(file));
    if (std::rename(from.constData(), QFile::encodeName(file).constData()) == 0) {
        return true;
    }
    *error = QStringLiteral("%1: the finished file cannot be renamed").arg(file);
    return false;
}

bool writeMarket(const QString& dir, const MarketOptions& options, const MarketWatch& watch,
                 QString* error) {
    const MarketStop stop(watch.interrupted);
    Contents contents;
    if (!makeContents(options, stop, &contents, error)) {
        return false;
    }
    const MarketProgress progress = [&](int done, int total) {
        return (!watch.progress || watch.progress(done, total)) && !stop.isSet();
    };
    const Marks marks = programMarks() + optionMarks(options);
    ProgressMeter meter(progress, contents.rowCount());
    const QString store = marketStoreFile(dir);
    const QString statics = staticDatabaseFile(dir);
    const auto computed = [&](MarketFile& file, const HistoryRows::OnRows& onRows) {
        return contents.history->write(file, onRows) &&
               writeFundRows(file, contents.securities, QDate(kHistoryYear, 1, 1));
    };
    const bool done =
        FileWriter(partFile(store), meter)
            .write(QStringLiteral("market.sql"), contents.store, computed, marks, error) &&
        FileWriter(partFile(statics), meter)
            .write(QStringLiteral("static.sql"), contents.statics, nullptr, marks, error) &&
        writePatchFiles(dir, error) && takeName(store, error) && takeName(statics, error);
    QFile::remove(partFile(store));
    QFile::remove(partFile(statics));
    return done;
}

/// The first mark that a file does not have as it should; empty when it has them all.
QString otherMark(const MarketStore& store, const Marks& marks) {
    for (const auto& mark : marks) {
        if (store.meta(mark.first) != mark.second) {
            return QStringLiteral("%1 has the %2 \"%3\", not \"%4\"; %5")
                .arg(store.file(), mark.first, store.meta(mark.first), mark.second,
                     SealedDatabase::repair);
        }
    }
    return {};
}

MarketState stateOf(const QString& file, const MarketOptions& options, QString* text) {
    DatabaseFault fault;
    if (!QFileInfo::exists(file)) {
        *text = QStringLiteral("%1 is missing").arg(file);
        return MarketState::Missing;
    }
    const auto store = MarketStore::open(file, text, &fault);
    if (!store) {
        return fault.kind == DatabaseFault::Kind::OtherFormat ? MarketState::Outdated
                                                              : MarketState::Unusable;
    }
    *text = otherMark(*store, programMarks());
    if (!text->isEmpty()) {
        return MarketState::Outdated;
    }
    *text = otherMark(*store, optionMarks(options));
    return text->isEmpty() ? MarketState::Ready : MarketState::Other;
}

/// Whether a market can be made from the options; false with a text.
bool areSound(const MarketOptions& options, QString* error) {
    if (options.accounts >= 1 && options.symbols >= 1 && options.historyOrders >= 0 &&
        options.scale >= 1 && options.scale <= kMaxMarketScale) {
        return true;
    }
    *error = QStringLiteral(
        "a market needs at least one account and one symbol, and a scale of 1 to 20");
    return false;
}

/// The lock for making a market in a folder; one process holds it at a time.
class MakerLock {
public:
    explicit MakerLock(const QString& dir)
        : m_dir(dir), m_file(QDir(dir).filePath(QStringLiteral("market.lock"))) {
        m_file.setStaleLockTime(0);  // stale only when its process is gone, however long it takes
    }

    /// False with a text when the folder or the lock's file cannot be created.
    bool prepare(QString* error) const {
        if (QDir().mkpath(m_dir)) {
            return true;
        }
        *error = QStringLiteral("%1: the folder cannot be created").arg(m_dir);
        return false;
    }

    bool take() { return m_file.tryLock(0); }

    /// Waits for as long as another process holds it. False with a text when `watch` interrupted
    /// the wait or the lock cannot be taken for another reason.
    bool await(const MarketWatch& watch, QString* error) {
        bool said = false;
        while (!m_file.tryLock(kLockTryMs)) {
            if (m_file.error() != QLockFile::LockFailedError) {
                *error = refusal();
                return false;
            }
            if (!said && watch.waits) {
                watch.waits(owner() + QStringLiteral("; waiting for it, Ctrl-C ends the wait"));
            }
            said = true;
            if (watch.interrupted && watch.interrupted()) {
                *error = QStringLiteral("interrupted while waiting: %1").arg(owner());
                return false;
            }
        }
        return true;
    }

    /// Why the lock could not be taken.
    QString refusal() const {
        return m_file.error() == QLockFile::LockFailedError
                   ? owner()
                   : QStringLiteral("%1: the file market.lock cannot be created").arg(m_dir);
    }

private:
    QString owner() const {
        qint64 pid = 0;
        QString host;
        QString program;
        m_file.getLockInfo(&pid, &host, &program);
        return QStringLiteral("another process (%1) is making a market in %2").arg(pid).arg(m_dir);
    }

    const QString m_dir;
    QLockFile m_file;
};

/// Distinguishes a market that another process has just finished from the one before it.
struct MarketStamp {
    explicit MarketStamp(const QString& dir)
        : written(QFileInfo(marketStoreFile(dir)).lastModified()) {}
    bool operator==(const MarketStamp& other) const { return written == other.written; }

    QDateTime written;
};

bool makeUnderLock(const QString& dir, const MarketOptions& options, const MarketWatch& watch,
                   QString* error) {
    const bool made = writeMarket(dir, options, watch, error);
    if (!made) {
        qCWarning(lcMarket).noquote() << "no sample market made:" << *error;
    }
    return made;
}

}  // namespace

QString marketStoreFile(const QString& dir) {
    return QDir(dir).filePath(QStringLiteral("market.sqlite"));
}

QString staticDatabaseFile(const QString& dir) {
    return QDir(dir).filePath(QStringLiteral("static.sqlite"));
}

QString sampleMarketDir(const QString& home, const MarketOptions& options) {
    const MarketOptions standard;
    QString name = QStringLiteral("market");
    const auto add = [&name](const QString& what, int value, int standardValue) {
        if (value != standardValue) {
            name += QStringLiteral("-%1%2").arg(what).arg(value);
        }
    };
    add(QStringLiteral("accounts"), options.accounts, standard.accounts);
    add(QStringLiteral("symbols"), options.symbols, standard.symbols);
    add(QStringLiteral("history"), options.historyOrders, standard.historyOrders);
    add(QStringLiteral("x"), options.scale, standard.scale);
    if (options.seed != standard.seed) {
        name += QStringLiteral("-seed%1").arg(options.seed);
    }
    return QDir(home).filePath(name);
}

bool makeSampleMarket(const QString& dir, const MarketOptions& options,
                      const MarketProgress& progress, QString* error) {
    MakerLock lock(dir);
    if (!areSound(options, error) || !lock.prepare(error)) {
        return false;
    }
    if (!lock.take()) {
        *error = lock.refusal();
        return false;
    }
    MarketWatch watch;
    watch.progress = progress;
    return makeUnderLock(dir, options, watch, error);
}

MarketProvided provideSampleMarket(const QString& dir, const MarketOptions& options, bool rebuild,
                                   const MarketWatch& watch, QString* error) {
    if (!areSound(options, error)) {
        return MarketProvided::Failed;
    }
    const auto isReady = [&](MarketState* state) {
        *state = sampleMarketState(dir, options, error);
        return *state == MarketState::Ready;
    };
    const MarketStamp before(dir);
    MarketState state = MarketState::Missing;
    if (!rebuild && isReady(&state)) {
        return MarketProvided::Opened;
    }
    MakerLock lock(dir);
    // A market that may still be wanted is replaced on request only.
    if (state == MarketState::Unusable || state == MarketState::Other || !lock.prepare(error) ||
        !lock.await(watch, error)) {
        return MarketProvided::Failed;
    }
    const bool madeMeanwhile = !(MarketStamp(dir) == before);
    if (madeMeanwhile && isReady(&state)) {
        return MarketProvided::Opened;
    }
    return makeUnderLock(dir, options, watch, error) ? MarketProvided::Made
                                                     : MarketProvided::Failed;
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
