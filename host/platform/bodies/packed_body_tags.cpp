#include "packed_body_tags.h"

#include <QDateTime>
#include <limits>

bool WireTag::rangeOf(quint64 tag, qint64* from, qint64* to) {
    using Int = std::numeric_limits<int>;
    *from = tag == kLongLong ? Int::min() : 0;
    switch (tag) {
        case kLongLong:
            *to = Int::max();
            return true;
        case kUInt:
            *to = std::numeric_limits<uint>::max();
            return true;
        case kULongLong:
            *to = std::numeric_limits<qint64>::max();
            return true;
        case kDate:
            *to = kLastJulianDay;
            return true;
        case kTime:
            *to = kMillisecondsOfDay - 1;
            return true;
        default:
            return false;
    }
}

QVariant WireTag::nothingOf(quint64 tag) {
    return tag == kDate ? QVariant(QDate()) : tag == kTime ? QVariant(QTime()) : QDateTime();
}

QVariant WireTag::numberOf(quint64 tag, qint64 number) {
    switch (tag) {
        case kLongLong:
            return number;
        case kUInt:
            return static_cast<uint>(number);
        case kULongLong:
            return static_cast<quint64>(number);
        case kDate:
            return QDate::fromJulianDay(number);
        default:
            return QTime::fromMSecsSinceStartOfDay(static_cast<int>(number));
    }
}
