#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

/// Records by their id: cages by cage id, switches by function.
using CageRecords = QMap<QString, QVariantMap>;
/// Exchange to security type to sub-type to cage id; "*" is a wildcard at each level.
using CageIndex = QMap<QString, QMap<QString, QMap<QString, QString>>>;

/// Where a table of the cage came from.
enum class CageSource : int {
    Nothing = 0,
    ServerDefault = 1,
    User = 2,       ///< the user's record on the server
    LocalCopy = 3,  ///< the copy that the last save left in the application's settings
    BuiltIn = 4,
    United = 5  ///< the server's or the built-in table with the user's records in it
};

/// CageField::controlType: which of the two limits of a cage holds.
enum class CageControl : int { RatioOnly = 1, TicksOnly = 2, RatioAndTicks = 3 };

/// The texts that are used when no other source has anything.
struct CageBuiltIn {
    QString apply;
    QString cage;

    static CageBuiltIn standard();
};

/// Adds the records of a JSON text, each replacing a record of the same key. A text that is not an
/// object changes nothing.
void getCageApplyMapFromJson(const QVariant& json, CageRecords& out);
/// The same, and enters the classes of each record into the index.
void getCageMapUnionFromJson(const QVariant& json, CageRecords& out, CageIndex& index);
/// Enters the classes of a record, each "exchange-type-subtype"; a later record wins. A class of
/// another form is left out, with a log line.
void getCageFieldSecurityType(const QString& cageId, const QVariantMap& record, CageIndex& out);
/// A text for the user that says where the tables come from, unless they are the user's own.
QString getCageStatusText(CageSource mapSource, CageSource applySource);

/// A whole number of a record that may come from anywhere. It is read as an integer: a double is
/// rounded, a text that is not a whole number counts as 0, and a number that an int cannot hold
/// gives the smallest or largest int.
int wholeOf(const QVariantMap& cage, const QString& field);
/// The fields of a cage with which no limit can be computed, each as "name=value": a control type
/// that is not one of CageControl, and figures in force that are given but are not finite numbers.
/// Numeric texts count as numbers, for a number of ticks those of whole numbers.
QStringList unusableCageFields(const QVariantMap& cage);
/// The figures in force that a user may not save: those above, and negative ones. A figure that is
/// left out or null may be saved.
QStringList refusedCageFigures(const QVariantMap& cage);
/// The four fields of the figures in force, which the user may change.
const QStringList& userCageFields();
