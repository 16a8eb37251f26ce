#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <functional>

#include "facade_library.h"

/// Calls one exported function; false when an interrupt came before the answer.
using FacadeAsk = std::function<bool(const FacadeFunction& function, const QStringList& arguments,
                                     QJsonObject* answer)>;

/// Calls exported functions by name and collects the names that the library lacks. After an
/// interrupt nothing is called any more. For one thread.
class FacadeQuestions {
public:
    FacadeQuestions(const FacadeLibrary& library, const FacadeAsk& ask);

    /// The whole answer of a function; empty if it could not be called.
    QJsonObject call(const QString& function, const QStringList& arguments);
    /// Only the result; undefined if it could not be called.
    QJsonValue ask(const QString& function, const QStringList& arguments);

    /// The functions that the library lacks, each once, in the order of the calls.
    const QStringList& absent() const { return m_absent; }
    bool interrupted() const { return m_interrupted; }

private:
    const FacadeLibrary& m_library;
    const FacadeAsk m_ask;
    QStringList m_absent;
    bool m_interrupted = false;
};
