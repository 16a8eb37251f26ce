#pragma once

#include <QString>
#include <functional>

inline constexpr int kMaxMarketScale = 20;

/// What a market is made of; equal options give equal files, byte for byte.
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

/// Told now and then how many rows of how many are written, all rows of both files being counted,
/// and once when all are; false ends the making.
using MarketProgress = std::function<bool(int done, int total)>;

enum class MarketState {
    Missing,  ///< one of the files does not stand
    Other,    ///< whole, but of other options or of another layout: to be made anew
    Damaged,  ///< a file cannot be read or is not whole
    Ready,
};

/// The server's store of a market, and the client's static database.
QString marketStoreFile(const QString& dir);
QString staticDatabaseFile(const QString& dir);

/// Writes both files into the folder, which is made when missing. They get their names when they
/// are whole, so an end at any moment leaves what stood there before. Two processes take turns.
/// False with a text on failure, or when the progress ended it.
bool makeSampleMarket(const QString& dir, const MarketOptions& options,
                      const MarketProgress& progress, QString* error);

/// What stands in the folder; the text, where wanted, tells why it is not ready and names the file.
MarketState sampleMarketState(const QString& dir, const MarketOptions& options,
                              QString* text = nullptr);
bool sampleMarketReady(const QString& dir, const MarketOptions& options);

/// The logins of every sample market: one that sees the whole tree, and one with a few accounts of
/// it and some of its own.
namespace SampleLogin {
inline const QString user = QStringLiteral("demo01");
inline const QString secondUser = QStringLiteral("demo02");
inline const QString password = QStringLiteral("demo");  ///< of both
}  // namespace SampleLogin
