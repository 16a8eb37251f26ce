#pragma once

#include <QString>
#include <QVariantMap>

/// A kind of message.
struct RemindKind {
    QString type;
    QString subType;
    QString level;
};

// The keys and values of a file of reminder settings: a group per type, in it a key of sub-type,
// "_" and level, and under it the setting as a compact JSON object. Any thread.

/// The key of a kind, group included. A character that would end a part early ('/' and '\\', and
/// '_' in the sub-type and the level), a '%', and the first letter of a type that is named like the
/// file's own "General" group are written as '%' and two hexadecimal digits.
QString remindKeyOf(const RemindKind& kind);
/// The kind of a key; false for a key of another form. Parts beyond the level are ignored.
bool readRemindKey(const QString& key, RemindKind* kind);

QString remindTextOf(const QVariantMap& setting);
/// False for a text that is not a JSON object, or that nests deeper than 1,024 levels.
bool readRemindText(const QString& text, QVariantMap* setting);
