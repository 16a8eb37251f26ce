#pragma once

#include <QString>

#include "platform_export.h"

/// One SQL statement for CDBWorkInfoManager. A value of its own thread.
class PLATFORM_API ZnSqlQuery {
public:
    ZnSqlQuery();
    ~ZnSqlQuery();

    /// Takes the text of one statement, which comments and semicolons may follow; its SQL is
    /// checked when it is executed. False, with a log line, for a text without a statement, one
    /// with more than one, one that contains a NUL character, and a statement that begins or ends a
    /// transaction; the query is empty then. Does not block.
    bool prepare(const QString& sql);
    /// The statement that prepare() took; empty without one.
    const QString& text() const { return m_text; }

private:
    QString m_text;
};
