#pragma once

#include <QString>

#include "platform_export.h"

class QSqlError;

/// Why a SQLite file cannot be used. Only damage calls for another file: what is busy, full or out
/// of reach is sound and worth keeping.
struct PLATFORM_API DatabaseFault {
    enum class Kind {
        None,
        Missing,
        Unreadable,  ///< the system lets nobody open, read or write it
        Busy,        ///< another process or thread holds it
        DiskFull,
        Damaged,
        OtherFormat,  ///< sound, and written by another version of this program
        Foreign,      ///< sound, but of something else
        Other,        ///< a statement that SQLite refuses
    };

    Kind kind = Kind::None;
    QString text;  ///< follows the name of the file: "is damaged (…)"

    explicit operator bool() const { return kind != Kind::None; }

    /// What went wrong with a statement or with opening `file`.
    static DatabaseFault of(const QSqlError& error, const QString& file);
    static DatabaseFault damaged(const QString& what);
    static DatabaseFault foreign(const QString& text) { return {Kind::Foreign, text}; }

    /// "FILE is damaged (…); REPAIR". Where the file itself is not at fault, the advice is what
    /// clears the way to it, and `repair` is left out.
    QString sentence(const QString& file, const QString& repair) const;
};
