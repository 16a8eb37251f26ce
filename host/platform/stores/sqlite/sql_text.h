#pragma once

#include <QString>

/// One statement of SQL, read from a text. Any thread.
struct SqlText {
    QString statement;  ///< without what follows its end
    QString refusal;    ///< why the text cannot be executed; empty when it can

    /// Reads a text of exactly one statement. White space, comments and semicolons may follow it.
    /// Refused are a text without a statement, one with several, one with a NUL character, at which
    /// SQLite would stop reading, and a statement that begins or ends a transaction. Whether the
    /// statement is valid SQL is not checked.
    static SqlText read(const QString& text);

    /// The beginning of a text, for log lines.
    static QString head(const QString& text);
};
