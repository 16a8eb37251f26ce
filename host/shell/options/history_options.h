#pragma once

#include <QDate>
#include <QString>
#include <QStringList>

#include "row_writer.h"

class QCommandLineParser;

/// The options of the commands about the past.
struct HistoryOptions {
    QDate from;            ///< invalid for the default
    QDate to;              ///< the same
    QStringList accounts;  ///< each once; empty for all
    RowFormat format = RowFormat::Table;
    bool hasFormat = false;  ///< format was given
    QString outFile;         ///< empty for stdout
};

namespace HistoryOptionWords {

/// The names of the options; each takes a value.
const QStringList& names();
/// Reads those that the parser has. False with a text for the user when a value is wrong.
bool take(const QCommandLineParser& parser, HistoryOptions* options, QString* error);
/// False with a text when --from is after --to, or the range is longer than the plug-in answers.
bool isRangeGood(const QDate& from, const QDate& to, QString* error);
/// A date as yyyy-MM-dd or yyyyMMdd; invalid for every other text.
QDate dateOf(const QString& text);

}  // namespace HistoryOptionWords
