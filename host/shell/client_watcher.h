#pragma once

#include <QMap>
#include <QString>
#include <functional>
#include <memory>

#include "znwidget/zn_presenter_class.h"

/// What the shell has seen of the running client. Any thread.
class ClientSight {
public:
    ClientSight();
    ~ClientSight();
    Q_DISABLE_COPY(ClientSight)

    /// The plug-in has said that its account table stands.
    bool accountsReady() const;
    /// The plug-in has said that its load of the price cage is over, well or not.
    bool cageLoadOver() const;
    /// Gate to its last state, of the gates that told one.
    QMap<QString, QString> gates() const;

    void setAccountsReady();
    void setCageLoadOver();
    void setGate(const QString& gate, const QString& netState);

private:
    struct Seen;
    const std::unique_ptr<Seen> m_seen;
};

/// The shell's own presenter: listens to the event bus as any plug-in does. Made with new, disposed
/// of by deleteLater() or by the platform's close().
class ClientWatcher : public ZnPresenterClass {
    Q_OBJECT

public:
    /// `onChange` is called on the message thread after each change of `sight`.
    ClientWatcher(std::shared_ptr<ClientSight> sight, std::function<void()> onChange);

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

private:
    const std::shared_ptr<ClientSight> m_sight;
    const std::function<void()> m_onChange;
    const int m_accountsEvent;
    const int m_cageEvent;
};
