// Encodes and decodes a thousand rows of thirty fields in the wire form of a packed body, compared
// with Qt's own CBOR classes, which do not preserve types. Then decodes the most expensive input
// that can be sent, maps with very many keys in falling order, with more and more keys.

#include <QCborValue>
#include <QDateTime>
#include <QVariantMap>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "bench_report.h"
#include "packed_body_wire.h"

namespace {

constexpr int kRows = 1000;
constexpr int kFields = 30;
constexpr int kRounds = 31;

/// A typical answer: texts, some of them Chinese, whole numbers and prices, a few dates.
QVariant valueOf(int field, std::mt19937& random) {
    const auto number = static_cast<int>(random() % 1000000);
    switch (field % 6) {
        case 0:
            return QString::number(600000 + number % 5000) + QStringLiteral(".SH");
        case 1:
            return QStringLiteral("虚岚资产管理稳健%1号").arg(number % 100);
        case 2:
            return number;
        case 3:
            return number / 100.0;
        case 4:
            return field % 4 == 0 ? QVariant(number % 2 == 0) : QVariant(qint64(number) * 100);
        default:
            return QString::number(number);
    }
}

QVariantList makeBody(bool withDates) {
    std::mt19937 random(1);
    QVariantList rows{QVariantMap{{QStringLiteral("totalSize"), kRows}}};
    for (int i = 0; i < kRows; ++i) {
        QVariantMap row;
        for (int field = 0; field < kFields; ++field) {
            row.insert(QStringLiteral("field%1").arg(field, 2, 10, QLatin1Char('0')),
                       withDates && field >= kFields - 2
                           ? QVariant(QTime::fromMSecsSinceStartOfDay(i * 1000))
                           : valueOf(field, random));
        }
        rows.append(row);
    }
    return rows;
}

void orExit(bool good, const QString& error) {
    if (!good) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        std::exit(1);
    }
}

void report(const char* what, const std::vector<double>& ours, const std::vector<double>& qt) {
    std::printf("%s %8.3f ms, Qt's classes %8.3f ms, ratio %.2f (at most 1.2)\n", what,
                medianOf(ours), medianOf(qt), medianOf(ours) / medianOf(qt));
}

/// Two rows with the given number of keys each, in falling order, so that no insertion is at the
/// end, and different ones in each row, so that none is shared.
QByteArray fallingKeys(int keys) {
    QByteArray bytes = QByteArray::fromHex("82");
    for (int row = 0; row < 2; ++row) {
        bytes += char(0xba);
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes += char(keys >> shift & 0xff);
        }
        for (int i = keys; i > 0; --i) {
            bytes += char(0x68);
            bytes += QByteArray::number(row * keys + i).rightJustified(8, '0');
            bytes += char(0x01);
        }
    }
    return bytes;
}

/// The time per key may grow with the depth of a tree and with cache misses, but not in proportion
/// to the number of keys.
void reportFallingKeys() {
    constexpr int kKeyRounds = 5;
    for (const int keys : {20000, 80000, 320000}) {
        const QByteArray bytes = fallingKeys(keys);
        std::vector<double> decode;
        for (int round = 0; round < kKeyRounds; ++round) {
            decode.push_back(millisecondsOf([&] {
                QVariant read;
                QString error;
                orExit(PackedBodyWire::decode(bytes, &read, &error), error);
            }));
        }
        std::printf("decode, keys in falling order: %7d keys a row %8.1f ms, %4.0f ns a key\n",
                    keys, medianOf(decode), medianOf(decode) * 1e6 / (2.0 * keys));
    }
}

void reportRows() {
    const QVariantList body = makeBody(false);
    QString error;
    QByteArray bytes;
    QByteArray qtBytes;
    std::vector<double> encode;
    std::vector<double> qtEncode;
    std::vector<double> decode;
    std::vector<double> qtDecode;
    for (int round = 0; round < kRounds; ++round) {
        encode.push_back(
            millisecondsOf([&] { orExit(PackedBodyWire::encode(body, &bytes, &error), error); }));
        qtEncode.push_back(
            millisecondsOf([&] { qtBytes = QCborValue::fromVariant(QVariant(body)).toCbor(); }));
        decode.push_back(millisecondsOf([&] {
            QVariant read;
            orExit(PackedBodyWire::decode(bytes, &read, &error), error);
        }));
        // Without the conversion back to a QVariant, which a reader of rows would need as well.
        qtDecode.push_back(millisecondsOf([&] {
            const QCborValue read = QCborValue::fromCbor(qtBytes);
            orExit(read.isArray(), QStringLiteral("not decoded"));
        }));
    }
    QVariant read;
    orExit(PackedBodyWire::decode(bytes, &read, &error), error);
    orExit(read == QVariant(body), QStringLiteral("the body came back as another one"));
    std::printf("%d rows of %d fields, median of %d rounds\n", kRows, kFields, kRounds);
    report("encode", encode, qtEncode);
    report("decode", decode, qtDecode);
    std::printf("%.0f bytes per row, Qt's classes %.0f\n",
                static_cast<double>(bytes.size()) / (kRows + 1),
                static_cast<double>(qtBytes.size()) / (kRows + 1));
    orExit(PackedBodyWire::encode(makeBody(true), &bytes, &error), error);
    std::printf("%.0f bytes per row with two times in it\n",
                static_cast<double>(bytes.size()) / (kRows + 1));
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    reportRows();
    reportFallingKeys();
    return 0;
}
