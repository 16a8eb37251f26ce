#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <QVector>

/// A record of a file with the number of its line, from 1.
struct FileRecord {
    int line = 0;
    QVariantMap fields;
};

/// A line that is not a record.
struct RecordFault {
    int line = 0;
    int column = 0;  ///< from 1, in characters
    QString text;

    /// "line 3, column 7: ..."
    QString toString() const;
};

/// The records of a file in its order, and the lines that are not records.
struct RecordFile {
    QVector<FileRecord> records;
    QVector<RecordFault> faults;
};

enum class RecordFormat {
    ByContent,  ///< JSON lines when the first letter is a brace, otherwise CSV
    JsonLines,  ///< one JSON object a line
    Csv  ///< field names in the first line; an empty cell leaves its field out, "" is an empty text
};

/// Reads UTF-8 with or without a byte order mark, lines that end in LF or CRLF, empty lines
/// between. A record ends with its line. Of JSON, values are texts, numbers, true and false, and
/// null leaves its field out. Cells of CSV are texts, in double quotes or without, with commas
/// between. A line that is not a record is a fault, and the next one is read; without usable field
/// names, CSV has no records.
RecordFile parseRecords(const QByteArray& bytes, RecordFormat format = RecordFormat::ByContent);

/// Reads a file; its name decides on the format when it ends in .csv, .json, .jsonl or .ndjson.
/// False with a text for the user when the file cannot be read or has more than 64 MiB.
bool readRecordFile(const QString& file, RecordFile* records, QString* error);
