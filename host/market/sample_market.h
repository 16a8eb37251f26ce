#pragma once

#include <QString>
#include <functional>

inline constexpr int kMaxMarketScale = 20;

/// What a market is made from; equal options give equal files, byte for byte.
struct MarketOptions {
    quint32 seed = 20260105;
    int accounts = 200;          ///< trading accounts of the first login
    int symbols = 12000;         ///< securities of all boards
    int historyOrders = 100000;  ///< of the first cash account in a year; others have fewer
    int scale = 1;               ///< multiplies the three above, 1 to kMaxMarketScale

    int allAccounts() const { return accounts * scale; }
    int allSymbols() const { return symbols * scale; }
    int allHistoryOrders() const { return historyOrders * scale; }
};

/// Called every few hundred rows, and once after the last row, with the number of rows written and
/// the number of rows of both files. Returning false stops the making.
using MarketProgress = std::function<bool(int done, int total)>;

enum class MarketState {
    Missing,   ///< at least one of the files does not exist
    Outdated,  ///< complete, but with other contents or in another format than this program writes
    Other,     ///< complete, but made with other options
    Unusable,  ///< a file is damaged, incomplete, busy or unreadable
    Ready,
};

/// The folder of a market below a client's home. Each size has a folder of its own, so that no size
/// replaces another one.
QString sampleMarketDir(const QString& home, const MarketOptions& options);

/// The server's store of a market, and the client's static database.
QString marketStoreFile(const QString& dir);
QString staticDatabaseFile(const QString& dir);

/// Writes both files into the folder, which is created when it is missing. The files get their
/// names when they are complete, so the older ones stay until then. False with a log line and a
/// text on failure, when `progress` stopped it, or while another process makes a market there.
bool makeSampleMarket(const QString& dir, const MarketOptions& options,
                      const MarketProgress& progress, QString* error);

/// What provideSampleMarket() calls meanwhile; each may be empty.
struct MarketWatch {
    MarketProgress progress = {};
    /// Called once, with a line for the user, before waiting for another process.
    std::function<void(const QString& text)> waits = {};
    /// Called several times a second; true ends the wait or the making.
    std::function<bool()> interrupted = {};
};

enum class MarketProvided { Failed, Opened, Made };

/// Ensures that the folder has a market of these options. A missing or outdated market is made, any
/// other is opened as it is; with `rebuild` it is made in any case. While another process makes one
/// there, this one waits and then opens it. Failed with a text that names the remedy otherwise.
MarketProvided provideSampleMarket(const QString& dir, const MarketOptions& options, bool rebuild,
                                   const MarketWatch& watch, QString* error);

/// The state of the folder's market; the text, where given, gets the file and why it is not ready.
MarketState sampleMarketState(const QString& dir, const MarketOptions& options,
                              QString* text = nullptr);
bool sampleMarketReady(const QString& dir, const MarketOptions& options);

/// The logins of every sample market: one that sees the whole tree, and one that sees a few of its
/// accounts and some of its own.
namespace SampleLogin {
inline const QString user = QStringLiteral("demo01");
inline const QString secondUser = QStringLiteral("demo02");
inline const QString password = QStringLiteral("demo");  ///< of both
}  // namespace SampleLogin
