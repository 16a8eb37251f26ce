#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include "platform_export.h"

// A packed body as bytes: CBOR, an array of maps with text keys. A reader of plain CBOR that skips
// the tags sees the same numbers and texts; decode() restores every value with its type:
//
//   invalid value   null
//   bool            true, false
//   int             a number
//   qlonglong       a number; with tag 41001 when it would fit an int
//   uint            a number with tag 41002
//   qulonglong      a number; with tag 41003 when it would fit a qlonglong
//   double, float   a number of 64 bits, of 32 bits
//   QString         a text; a lone half of a surrogate pair is replaced
//   QByteArray      a string of bytes
//   QDate           the Julian day with tag 41004
//   QTime           milliseconds of the day with tag 41005
//   QDateTime       [day, milliseconds] of the local time, whatever the zone; [day, milliseconds,
//                   null] of UTC; [day, milliseconds, offset in seconds]; with tag 41006. A named
//                   zone becomes its offset at that moment.
//   QStringList     an array of texts with tag 41007
//   list, map       an array, a map with text keys
//
// An invalid date or time is null after its tag; a valid one is in the years -4713 to 9999. Smaller
// integer types become int. Other types have no wire form.
namespace PackedBodyWire {

struct Limits {
    int bytes = 64 * 1024 * 1024;
    int values = 8 * 1024 * 1024;  ///< rows, fields and elements in all
    int depth = 32;                ///< of lists and maps inside a row
};

/// False with a text that names row and field when the body is not a packed body, contains a value
/// without a wire form, or exceeds the standing limits; `bytes` is empty then. Any thread.
PLATFORM_API bool encode(const QVariant& body, QByteArray* bytes, QString* error);

/// Accepts any bytes: false with a text that names the place when they are not exactly one whole
/// packed body or exceed the limits; `body` is invalid then. Lengths that are not stated
/// beforehand, keys that occur twice and unknown tags are refused. Memory and time are bounded by
/// the number of bytes given. Any thread.
PLATFORM_API bool decode(const QByteArray& bytes, QVariant* body, QString* error,
                         const Limits& limits = {});

}  // namespace PackedBodyWire
