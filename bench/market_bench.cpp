// The sample market of the standard size, or of the scale in the argument: making it, opening it,
// and checking every page. For comparison, the time of writing as many bytes.

#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>

#include "bench_report.h"
#include "market_store.h"
#include "sample_market.h"

namespace {

constexpr int kMakings = 3;
constexpr int kOpenings = 15;

struct Making {
    double milliseconds = 0;
    int rows = 0;
};

/// Without rows on failure.
Making make(const QString& dir, const MarketOptions& options) {
    Making making;
    QString error;
    bool made = false;
    making.milliseconds = millisecondsOf([&] {
        made = makeSampleMarket(
            dir, options,
            [&making](int, int total) {
                making.rows = total;
                return true;
            },
            &error);
    });
    if (!made) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        making.rows = 0;
    }
    return making;
}

double writeBytes(const QString& path, qint64 size) {
    return millisecondsOf([&] {
        QFile file(path);
        const QByteArray block(1 << 20, 'x');
        if (file.open(QIODevice::WriteOnly)) {
            for (qint64 left = size; left > 0; left -= block.size()) {
                file.write(block);
            }
        }
    });
}

double checkEveryPage(const QString& file) {
    QString error;
    const auto store = MarketStore::open(file, &error);
    return store ? millisecondsOf([&store] {
        store->select(QStringLiteral("PRAGMA quick_check"), {}, [](const QSqlQuery&) {});
    })
                 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    MarketOptions options;
    options.scale = argc > 1 ? QByteArray(argv[1]).toInt() : 1;
    const QTemporaryDir dir;
    std::vector<double> makings;
    int rows = 0;
    for (int run = 0; run < kMakings; ++run) {
        const Making making = make(dir.path(), options);
        if (making.rows == 0) {
            return 1;
        }
        makings.push_back(making.milliseconds);
        rows = making.rows;
    }
    const QString store = marketStoreFile(dir.path());
    const QString statics = staticDatabaseFile(dir.path());
    const qint64 bytes = QFileInfo(store).size() + QFileInfo(statics).size();
    const double made = medianOf(makings);
    std::printf("scale %d: %d rows, %.1f MB; median of %d makings, %d openings\n", options.scale,
                rows, static_cast<double>(bytes) / 1e6, kMakings, kOpenings);
    std::printf("%9.2f ms  made, %.0f rows/s\n", made, rows / made * 1000);
    std::printf("%9.2f ms  as many bytes written\n",
                writeBytes(dir.filePath(QStringLiteral("floor")), bytes));
    std::vector<double> openings;
    for (int run = 0; run < kOpenings; ++run) {
        openings.push_back(millisecondsOf([&] { (void)sampleMarketReady(dir.path(), options); }));
    }
    std::printf("%9.2f ms  both files opened and checked\n", medianOf(openings));
    std::printf("%9.2f ms  every page of both files checked\n",
                checkEveryPage(store) + checkEveryPage(statics));
    return 0;
}
