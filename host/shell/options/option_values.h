#pragma once

#include <QDateTime>
#include <QString>

/// Values of options that are neither texts nor small numbers. Any thread.
namespace OptionValues {

/// Bytes, or with a suffix KiB or MiB, at most 1024 MiB; false for everything else.
bool readSize(QString text, qint64* bytes);
/// A time of the exchanges; a time of day is taken as one of today. Invalid for any other text.
QDateTime timeOf(QString text);
/// A decimal number above 0, up to `most`; false for everything else.
bool readRate(const QString& text, double most, double* rate);
/// A whole number of 32 bits that is not negative; false for everything else.
bool readSeed(const QString& text, quint32* seed);

}  // namespace OptionValues
