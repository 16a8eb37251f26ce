#pragma once

#include <QMap>
#include <QString>
#include <QTime>
#include <QVariantMap>
#include <QVector>
#include <functional>
#include <memory>

#include "znwidget/zn_presenter_class.h"

/// A deal of the neighbouring data plug-in as its event had it, and when the event came.
struct SeenDeal {
    QTime at;
    QVariantMap record;
};

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
    /// The plug-in has reported the end of its query for messages, successful or not.
    bool messagesLoaded() const;
    /// The last reported state of each gate.
    QMap<QString, QString> gates() const;
    /// The last few deals, the latest one last; empty unless the watcher keeps them.
    QVector<SeenDeal> lastDeals() const;

    void setAccountsReady();
    void setCageLoadOver();
    void setProfitsReady();
    void setMessagesLoaded();
    void setGate(const QString& gate, const QString& netState);
    void addDeal(const SeenDeal& deal);

private:
    struct Seen;
    const std::unique_ptr<Seen> m_seen;
};

/// The shell's own presenter: subscribes events like any plug-in. Created with new; disposed of by
/// deleteLater() or by the platform's close().
class ClientWatcher : public ZnPresenterClass {
    Q_OBJECT

public:
    /// `onChange` is called on the message thread after each change of `sight`, except for deals,
    /// which only a watcher that keeps them receives.
    ClientWatcher(std::shared_ptr<ClientSight> sight, std::function<void()> onChange,
                  bool keepsDeals = false);

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

private:
    void procDeal(const QVariant& body);

    const std::shared_ptr<ClientSight> m_sight;
    const std::function<void()> m_onChange;
    const int m_accountsEvent;
    const int m_cageEvent;
    const int m_profitsEvent;
    const int m_messagesEvent;
};
