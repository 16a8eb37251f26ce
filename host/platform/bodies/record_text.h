#pragma once

#include <QString>
#include <QVariantMap>

// The text form of a record: compact JSON with sorted keys.
//
// Written as they are: truth values, whole numbers that fit 64 signed bits, finite numbers, texts,
// and maps and lists of these. Byte arrays in UTF-8 and dates and times (ISO form; an invalid one
// is an empty text) become texts; an invalid value becomes null. Anything else is an error.
//
// Read back, every whole number is a 64-bit integer without loss, also one that was written as a
// number with an empty fraction; null is an invalid value. A whole number beyond 64 signed bits is
// an error.
namespace RecordText {

/// False with a text when the record has no text form.
bool write(const QVariantMap& record, QString* text, QString* error);
/// False with a text when this is no record's text; then `record` is empty.
bool read(const QString& text, QVariantMap* record, QString* error);

}  // namespace RecordText
