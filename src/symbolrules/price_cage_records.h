#pragma once

#include <QMap>
#include <QString>
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
    LocalCopy = 3,  ///< what the last change left in the application's settings
    BuiltIn = 4,
    United = 5  ///< the user's over the server's or the built-in
};

/// The texts to fall back to when nothing else is to be had.
struct CageBuiltIn {
    QString apply;
    QString cage;

    static CageBuiltIn standard();
};

/// The records of a JSON text, each in the place of any before it. A text that is no object leaves
/// everything as it is.
void getCageApplyMapFromJson(const QVariant& json, CageRecords& out);
/// The same, with the classes of each record entered into the index.
void getCageMapUnionFromJson(const QVariant& json, CageRecords& out, CageIndex& index);
/// Enters the classes of a record, each "exchange-type-subtype"; a later record wins. A class of
/// another form is told and left out.
void getCageFieldSecurityType(const QString& cageId, const QVariantMap& record, CageIndex& out);
/// Tells the user where the tables came from, of those that are not his own.
QString getCageStatusText(CageSource mapSource, CageSource applySource);
