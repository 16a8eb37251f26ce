#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include "facade_function.h"

/// The table of exported functions of a library that is loaded at run time, not linked.
class FacadeLibrary {
public:
    /// Loads the library unless the process has done so; it stays loaded. False with a text that
    /// names the file on failure.
    bool load(const QString& file, QString* error);

    /// The function that name and arguments mean. Null with a text: similar names when no function
    /// has this one, else which argument does not fit and why.
    const FacadeFunction* choose(const QString& name, const QStringList& arguments,
                                 QString* error) const;
    /// False with a text when an argument is not a value of its enumeration.
    static bool knowsValues(const FacadeFunction& function, const QStringList& arguments,
                            QString* error);
    /// One line a function: what the answer depends on, how it is reached, the declaration. Without
    /// a name all functions; empty with a text when no function has the name.
    QStringList listing(const QString& name, QString* error) const;
    /// The same with parameters, units and values of enumerations, several lines a function.
    QStringList explanation(const QString& name, QString* error) const;
    int count() const { return m_count; }

private:
    QVector<const FacadeFunction*> named(const QString& name, QString* error) const;
    QString unknownText(const QString& name) const;

    const FacadeFunction* m_functions = nullptr;
    int m_count = 0;
};

/// The names most similar to a mistyped one, best first.
QStringList closeNames(const QString& name, const QStringList& known);
