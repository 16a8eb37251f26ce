#include "zip_archive.h"

namespace {

// The signatures of the parts of an archive (APPNOTE 6.3.10, sections 4.3.7, 4.3.12, 4.3.16).
constexpr quint32 kLocalHeader = 0x04034b50;
constexpr quint32 kDirectoryEntry = 0x02014b50;
constexpr quint32 kDirectoryEnd = 0x06054b50;
constexpr quint16 kVersionNeeded = 20;
constexpr quint16 kFirstDate = (1U << 5U) | 1U;  // day 1 of month 1 of 1980

void add16(quint32 value, QByteArray* bytes) {
    bytes->append(static_cast<char>(value & 0xFFU));
    bytes->append(static_cast<char>((value >> 8U) & 0xFFU));
}

void add32(quint32 value, QByteArray* bytes) {
    add16(value & 0xFFFFU, bytes);
    add16(value >> 16U, bytes);
}

/// The CRC-32 of zip, bit by bit: the files are small.
quint32 checksumOf(const QByteArray& content) {
    constexpr quint32 kPolynomial = 0xEDB88320;
    quint32 sum = 0xFFFFFFFF;
    for (const char byte : content) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? kPolynomial : 0U);
        }
    }
    return ~sum;
}

/// What the local header and the directory's entry have in common.
QByteArray entryOf(const QByteArray& name, const QByteArray& content) {
    const auto size = static_cast<quint32>(content.size());
    QByteArray entry;
    add16(kVersionNeeded, &entry);
    add16(0, &entry);  // flags
    add16(0, &entry);  // stored, not compressed
    add16(0, &entry);  // midnight
    add16(kFirstDate, &entry);
    add32(checksumOf(content), &entry);
    add32(size, &entry);
    add32(size, &entry);
    add16(static_cast<quint32>(name.size()), &entry);
    add16(0, &entry);  // no further fields
    return entry;
}

}  // namespace

QByteArray zipOf(const QString& name, const QByteArray& content) {
    const QByteArray fileName = name.toLatin1();
    const QByteArray entry = entryOf(fileName, content);
    QByteArray zip;
    add32(kLocalHeader, &zip);
    zip += entry + fileName + content;
    const auto directoryAt = static_cast<quint32>(zip.size());
    add32(kDirectoryEntry, &zip);
    add16(kVersionNeeded, &zip);  // made by
    zip += entry;
    add16(0, &zip);  // no comment
    add16(0, &zip);  // on the first disk
    add16(0, &zip);  // internal attributes
    add32(0, &zip);  // external attributes
    add32(0, &zip);  // offset of the local header
    zip += fileName;
    const auto directorySize = static_cast<quint32>(zip.size()) - directoryAt;
    add32(kDirectoryEnd, &zip);
    add16(0, &zip);  // this disk
    add16(0, &zip);  // the directory's disk
    add16(1, &zip);  // entries on this disk
    add16(1, &zip);  // entries in all
    add32(directorySize, &zip);
    add32(directoryAt, &zip);
    add16(0, &zip);  // no comment
    return zip;
}
