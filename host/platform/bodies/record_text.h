#pragma once

#include <QString>
#include <QVariantMap>

// The text form of a record: compact JSON with sorted keys.
//
// Booleans, whole numbers that fit 64 signed bits, finite numbers, texts, and maps and lists of
// these are written as they are. Byte arrays in UTF-8 and dates and times (ISO form; an invalid one
// is an empty text) become texts; an invalid value becomes null. Other values are an error.
//
// When the text is read, every whole number becomes a 64-bit integer without loss, including one
// that was written with an empty fraction; null becomes an invalid value. A whole number beyond 64
// signed bits is an error.
namespace RecordText {

/// False with a text when the record has no text form.
bool write(const QVariantMap& record, QString* text, QString* error);
/// False with a text when `text` is not a record; `record` is empty then.
bool read(const QString& text, QVariantMap* record, QString* error);

}  // namespace RecordText
