#pragma once

#include <QList>
#include <QVariantMap>

#include "command_answer.h"
#include "facade_questions.h"

/// Shows the risk marks of a security as the exported functions answer them, beside the server's
/// notice. For one thread.
class RiskCommand {
public:
    RiskCommand(const FacadeLibrary& library, const FacadeAsk& ask);

    /// All rows of a list of the server; `error` says why they are missing, and is empty
    /// otherwise.
    struct ServerList {
        QList<QVariantMap> rows;
        QString error;
    };
    struct ServerLists {
        ServerList notices;
        ServerList types;      ///< symbols by risk type
        ServerList monitored;  ///< the user's key-monitor symbols
    };

    /// A list that is missing, or that differs from the plug-in's answer, is a fault.
    CommandAnswer show(const QString& symbol, const ServerLists& server);

private:
    /// The rows about a symbol.
    QList<QVariantMap> rowsOf(const QString& symbol, const QString& id,
                              const QList<QVariantMap>& rows);

    FacadeQuestions m_facade;
};
