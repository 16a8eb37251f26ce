#pragma once

#include <QMap>
#include <QString>
#include <functional>
#include <memory>

#include "znwidget/zn_presenter_class.h"

/// What the events so far say about the running client. Any thread.
class ClientSight {
public:
    ClientSight();
    ~ClientSight();
    Q_DISABLE_COPY(ClientSight)

    /// The plug-in has reported that its account table is loaded.
    bool accountsReady() const;
    /// The plug-in has reported the end of its price cage load, successful or not.
    bool cageLoadOver() const;
    /// The plug-in has reported that its realized profits are built from the deals of the day.
    bool profitsReady() const;
    /// The last reported state of each gate.
    QMap<QString, QString> gates() const;

    void setAccountsReady();
    void setCageLoadOver();
    void setProfitsReady();
    void setGate(const QString& gate, const QString& netState);

private:
    struct Seen;
    const std::unique_ptr<Seen> m_seen;
};

/// The shell's own presenter: subscribes events like any plug-in. Created with new; disposed of by
/// deleteLater() or by the platform's close().
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
    const int m_profitsEvent;
};
