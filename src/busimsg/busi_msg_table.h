#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <array>

/// The table "BUSI_MSG_CENTER" of the work database: its columns, the record fields that they keep,
/// and the texts of its statements. Pure functions; any thread.
namespace BusiMsgTable {

/// How the value of a column is written.
enum class Form {
    Text,     ///< as text
    Integer,  ///< the value as an integer
    Time,     ///< digits of the local time, to the second; a QDateTime in memory
    Flag      ///< 1 or 0; a bool in memory
};

struct Column {
    QString name;
    QString field;  ///< key of the record
    Form form;
};

/// In the order of the table.
const std::array<Column, 13>& columns();

/// Creates the table when it is missing.
QString createStatement();
/// The time as the table contains it, "yyyyMMddhhmmss" in local time. Empty for an invalid time.
QString timeText(const QDateTime& time);
/// The beginning of the day as the table contains it, also of a day without a midnight: some time
/// zones put their clocks forward then.
QString dayText(const QDate& date);
/// Whether the time has the 14 digits by which rows of earlier days are found.
bool isStorable(const QDateTime& time);
/// Deletes the rows that are older than this time.
QString deleteStatement(const QString& timeText);
/// Selects the rows that are not older than this time.
QString selectStatement(const QString& timeText);
/// One record in the parentheses of an INSERT. The values are not escaped and are filled in one
/// after the other: a "%1" in one of them is replaced by a later value.
QString valuesOf(const QVariantMap& record);
/// INSERT statements of at most 100 rows each from the texts of valuesOf().
QStringList insertStatements(const QStringList& values);
/// The update of a record's read state and position, by its client id.
QString updateStatement(const QVariantMap& record);

/// The fields of a record whose text contains "%" before a digit, which valuesOf() does not keep.
QStringList fieldsWithPlaceMarker(const QVariantMap& record);

/// The record of a row that was read from the table; a missing column gives an empty value. The
/// time is invalid when the row's text is not one.
QVariantMap recordOf(const QVariantMap& row);

}  // namespace BusiMsgTable
