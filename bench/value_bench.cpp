// Market values under ticks: 5,000 symbols and 200 accounts with 50 positions each. Measured are
// ticks of held symbols, ticks of symbols that nobody holds with 200 and with 2,000 accounts, and
// ticks of a symbol with 10, 100 and 1,000 holders. The time of publishing alone is subtracted.

#include <QTemporaryDir>

#include "bench_report.h"
#include "commonquotahandler/common_quota_handler.h"
#include "local_platform.h"
#include "market_values.h"
#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kSymbols = 5000;
constexpr int kPositions = 50;
constexpr int kTicks = 50000;
constexpr int kRounds = 7;

QString symbolOf(int number) {
    return QStringLiteral("%1.SH").arg(600000 + number);
}

/// Shares of Shanghai: every id is known, a piece is a display unit.
class Shares : public SymbolDataReader {
public:
    QString symbolOf(const QString& securityID, const QString&) const override {
        return securityID + QStringLiteral(".SH");
    }
    QVariantMap detailsOf(const QString&) const override { return {}; }
    QString securityTypeOf(const QString&) const override { return MdcSecurityType::StockType; }
    int displayFactorOf(const QString&) const override { return 1; }
    QMap<QString, QVariantMap> hongKongRates() const override { return {}; }
};

void hold(MarketValues& values, int account, int symbol) {
    values.slotPositionUpdated({{UserAccount::tradingAccount, QStringLiteral("T%1").arg(account)},
                                {Security::securityID, QString::number(600000 + symbol)},
                                {UserAccount::securityExchange, Exchange::sh},
                                {Security::nominalQty, 100 * (1 + account % 9)},
                                {Security::omsAverageCost, 10.0}});
}

/// Nanoseconds of a tick in these symbols, without its publishing.
template <class SymbolOfTick>
double tickTime(MarketValues& values, SymbolOfTick&& symbolOfTick) {
    std::vector<double> with;
    std::vector<double> without;
    static int step = 0;
    const auto ticks = [&](bool isTaken) {
        return millisecondsOf([&] {
            for (int i = 0; i < kTicks; ++i) {
                const QString symbol = symbolOf(symbolOfTick(i));
                const double price = 10 + (++step % 1000) / 100.0;
                LocalPlatform::instance().publishTick(symbol, {{TickField::lastPrice, price}});
                if (isTaken) {
                    values.takeTick(symbol);
                }
            }
        });
    };
    for (int round = 0; round < kRounds; ++round) {
        without.push_back(ticks(false));
        with.push_back(ticks(true));
    }
    return (medianOf(with) - medianOf(without)) * 1e6 / kTicks;
}

constexpr int kHeldSymbols = 2500;

void fill(MarketValues& values, int accounts) {
    for (int account = 0; account < accounts; ++account) {
        for (int i = 0; i < kPositions; ++i) {
            hold(values, account, (account * 31 + i * 47) % kHeldSymbols);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
    const QTemporaryDir home;
    LocalPlatform::Options options;
    options.homeDir = home.path();
    QString error;
    if (!LocalPlatform::instance().start(options, &error) ||
        !CommonQuotaHandler::instance().Init()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    const Shares shares;
    double unheld[2] = {0, 0};
    int which = 0;
    for (const int accounts : {200, 2000}) {
        MarketValues values(shares);
        values.loadStandardBonds();
        fill(values, accounts);
        const double held = tickTime(values, [](int i) { return i % kSymbols; });
        unheld[which] =
            tickTime(values, [](int i) { return kHeldSymbols + i % (kSymbols - kHeldSymbols); });
        std::printf(
            "%4d accounts of %d positions: %.0f ns a tick over %d symbols (%.0f ticks/s), "
            "%.0f ns for a symbol without a holder\n",
            accounts, kPositions, held, kSymbols, 1e9 / held, unheld[which]);
        ++which;
    }
    std::printf("without a holder: ratio of 2,000 to 200 accounts %.2f (at most 1.3)\n",
                unheld[1] / unheld[0]);
    for (const int holders : {10, 100, 1000}) {
        MarketValues values(shares);
        values.loadStandardBonds();
        for (int account = 0; account < holders; ++account) {
            hold(values, account, 1);
        }
        const double time = tickTime(values, [](int) { return 1; });
        std::printf("%4d holders: %.0f ns a tick, %.0f ns a holder\n", holders, time,
                    time / holders);
    }
    LocalPlatform::instance().close();
    return 0;
}
