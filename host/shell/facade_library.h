#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include "facade_function.h"

/// The table of exported functions of a loaded library, found by its symbol: nothing is linked.
class FacadeLibrary {
public:
    /// Loads the library when the process does not hold it yet; it stays loaded. False with a text
    /// that names the file on failure.
    bool load(const QString& file, QString* error);

    /// The function that name and arguments mean; null with a text, which tells close names when
    /// there is none of that name.
    const FacadeFunction* choose(const QString& name, const QStringList& arguments,
                                 QString* error) const;
    /// The lines of the table: signature and how it reaches its answer, aligned.
    QStringList listing() const;

private:
    const FacadeFunction* m_functions = nullptr;
    int m_count = 0;
};

/// The names closest to one that was mistyped, best first.
QStringList closeNames(const QString& name, const QStringList& known);
