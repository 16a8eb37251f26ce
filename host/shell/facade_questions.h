#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <functional>

#include "facade_library.h"

/// Calls one exported function; false when an interrupt came before its answer.
using FacadeAsk = std::function<bool(const FacadeFunction& function, const QStringList& arguments,
                                     QJsonObject* answer)>;

/// Asks exported functions by name and keeps which of them the library lacks. After an interrupt
/// nothing more is asked. For one thread.
class FacadeQuestions {
public:
    FacadeQuestions(const FacadeLibrary& library, const FacadeAsk& ask);

    /// All that a function answered; empty where there is no answer.
    QJsonObject call(const QString& function, const QStringList& arguments);
    /// Its result alone; undefined where there is no answer.
    QJsonValue ask(const QString& function, const QStringList& arguments);

    /// Functions that could not be called, each once, in the order in which they were asked.
    const QStringList& absent() const { return m_absent; }
    bool interrupted() const { return m_interrupted; }

private:
    const FacadeLibrary& m_library;
    const FacadeAsk m_ask;
    QStringList m_absent;
    bool m_interrupted = false;
};
