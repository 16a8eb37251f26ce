#include "option_values.h"

#include <cmath>
#include <utility>

#include "exchange_clock.h"
#include "line_words.h"

namespace {

constexpr int kBytesPerKiB = 1024;
constexpr int kBytesPerMiB = 1024 * kBytesPerKiB;
constexpr int kMostSize = 1024 * kBytesPerMiB;

}  // namespace

bool OptionValues::readSize(QString text, qint64* bytes) {
    int unit = 1;
    for (const auto& [suffix, size] : {std::pair{QLatin1String("KiB"), kBytesPerKiB},
                                       std::pair{QLatin1String("MiB"), kBytesPerMiB}}) {
        if (text.endsWith(suffix)) {
            text.chop(suffix.size());
            unit = size;
            break;
        }
    }
    int number = 0;
    if (!readWholeNumber(text, 1, kMostSize / unit, &number)) {
        return false;
    }
    *bytes = static_cast<qint64>(number) * unit;
    return true;
}

QDateTime OptionValues::timeOf(QString text) {
    const QTime time = QTime::fromString(text, Qt::ISODate);
    if (time.isValid()) {
        return inExchangeZone(QDateTime(exchangeNow().date(), time));
    }
    const QDateTime moment =
        QDateTime::fromString(text.replace(QLatin1Char(' '), QLatin1Char('T')), Qt::ISODate);
    return moment.isValid() ? inExchangeZone(moment) : QDateTime();
}

bool OptionValues::readRate(const QString& text, double most, double* rate) {
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (!ok || !std::isfinite(number) || !(number > 0) || number > most) {
        return false;
    }
    *rate = number;
    return true;
}

bool OptionValues::readSeed(const QString& text, quint32* seed) {
    bool ok = false;
    const quint32 number = text.toUInt(&ok);
    if (!ok || text.startsWith(QLatin1Char('-'))) {
        return false;
    }
    *seed = number;
    return true;
}
