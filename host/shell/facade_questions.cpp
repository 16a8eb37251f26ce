#include "facade_questions.h"

FacadeQuestions::FacadeQuestions(const FacadeLibrary& library, const FacadeAsk& ask)
    : m_library(library), m_ask(ask) {}

QJsonObject FacadeQuestions::call(const QString& function, const QStringList& arguments) {
    QString error;
    const FacadeFunction* const found = m_library.choose(function, arguments, &error);
    if (!found) {
        if (!m_absent.contains(function)) {
            m_absent.append(function);
        }
        return {};
    }
    QJsonObject answer;
    if (m_interrupted || !m_ask(*found, arguments, &answer)) {
        m_interrupted = true;
        return {};
    }
    return answer;
}

QJsonValue FacadeQuestions::ask(const QString& function, const QStringList& arguments) {
    return call(function, arguments).value(QLatin1String("result"));
}
