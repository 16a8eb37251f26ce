#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>
#include <functional>

class Client;
class ZnPresenterClass;

/// Sends queries to the server through a presenter of the shell's own, to compare the plug-in with
/// what the server has. Made and used on the main thread of a client that is up; ends before it.
class ServerAsker {
public:
    struct Answer {
        bool interrupted = false;
        QString error;  ///< empty on success
        QList<QVariantMap> rows;
    };

    explicit ServerAsker(Client& client);
    ~ServerAsker();
    Q_DISABLE_COPY(ServerAsker)

    /// One request.
    Answer ask(const QString& msgType, const QVariantMap& request);
    /// All pages of a list.
    Answer askPages(const QString& msgType, const QVariantMap& request);

private:
    Answer run(const std::function<QList<QVariantMap>(QString& error)>& query);

    Client& m_client;
    ZnPresenterClass* const m_presenter;  // deletes itself
};
