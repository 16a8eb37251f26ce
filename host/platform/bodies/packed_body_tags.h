#pragma once

#include <QVariant>

/// What the two directions of PackedBodyWire agree on.
namespace WireTag {

enum Major { Unsigned, Negative, Bytes, Text, Array, Map, Tag, Simple };

constexpr quint64 kLongLong = 41001;
constexpr quint64 kUInt = 41002;
constexpr quint64 kULongLong = 41003;
constexpr quint64 kDate = 41004;
constexpr quint64 kTime = 41005;
constexpr quint64 kDateTime = 41006;
constexpr quint64 kStringList = 41007;

// Second half of a head's first byte.
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

/// The numbers that a tag may stand before; false for a tag of anything else.
bool rangeOf(quint64 tag, qint64* from, qint64* to);
/// The value of such a tag.
QVariant numberOf(quint64 tag, qint64 number);
/// What null is behind a tag of dates and times: an invalid one.
QVariant nothingOf(quint64 tag);

}  // namespace WireTag
