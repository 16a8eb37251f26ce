#pragma once

#include <QDateTime>
#include <QVariant>
#include <QVariantMap>

// What a business message that has just arrived contains. Any thread.

/// Whether a record has a field beyond those that every body of the message layer may carry.
bool hasMessageFields(const QVariantMap& record);

/// The time of a message that was pushed or raised: milliseconds since 1970, which count only when
/// they are a number other than zero, otherwise the text form "yyyyMMdd hhmmss" or a QDateTime.
/// Without any of these the result is `businessNow`, and so it is for a time after tomorrow, which
/// no start would ever delete from the table. A time that is present and not used is logged.
QDateTime timeOfMessage(const QVariant& createTime, const QDateTime& businessNow);
/// The time of a message that was queried, which is always in milliseconds; otherwise the same.
QDateTime timeOfQueriedMessage(const QVariant& createTime, const QDateTime& businessNow);

/// The first 64 characters of a value's text, for log lines.
QString logged(const QVariant& value);

/// Logs what a message lacks: its text, its type, or a level that is a number.
void logMissingFields(const QVariantMap& record);
