#pragma once

#include <QVariant>

/// The CBOR types and tags that PackedBodyWire writes and reads.
namespace WireTag {

enum Major { Unsigned, Negative, Bytes, Text, Array, Map, Tag, Simple };

constexpr quint64 kLongLong = 41001;
constexpr quint64 kUInt = 41002;
constexpr quint64 kULongLong = 41003;
constexpr quint64 kDate = 41004;
constexpr quint64 kTime = 41005;
constexpr quint64 kDateTime = 41006;
constexpr quint64 kStringList = 41007;

// The lower five bits of an item's first byte.
constexpr int kFalse = 20;
constexpr int kTrue = 21;
constexpr int kNull = 22;
constexpr int kOneByte = 24;
constexpr int kTwoBytes = 25;
constexpr int kFourBytes = 26;
constexpr int kEightBytes = 27;
constexpr int kFloat = kFourBytes;
constexpr int kDouble = kEightBytes;

constexpr qint64 kLastJulianDay = 5373484;  // 9999-12-31
constexpr int kMillisecondsOfDay = 24 * 3600 * 1000;
constexpr int kSecondsOfDay = 24 * 3600;

/// The range of the number after a tag; false for a tag that is not followed by a number.
bool rangeOf(quint64 tag, qint64* from, qint64* to);
/// The value of a tag and the number after it.
QVariant numberOf(quint64 tag, qint64 number);
/// The value of null after a tag of dates and times: an invalid date or time.
QVariant nothingOf(quint64 tag);

}  // namespace WireTag
