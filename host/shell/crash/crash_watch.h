#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <mutex>

#include "gateway_link.h"
#include "znwidget/zn_presenter_class.h"

/// What a client reports about a crash of the run before. Any thread.
class CrashSight {
public:
    /// `dump` is the dump's file name. `onChange` is called after each change, on any thread.
    CrashSight(const QString& dump, std::function<void()> onChange);

    /// An item of client information has gone out to the gateway.
    void takeItem(const QVariantMap& item);
    /// The logs were requested, by this title.
    void takeLogRequest(const QString& title);

    bool hasDump() const;
    bool hasExit() const;
    bool hasLogRequest() const;
    /// What was seen, a line each, in this order: dump, exit, log request.
    QStringList lines() const;

private:
    void changed(QString* line, const QString& text);

    const QString m_dump;
    const std::function<void()> m_onChange;
    mutable std::mutex m_mutex;  // guards everything below
    QString m_dumpLine;
    QString m_exitLine;
    QString m_logLine;
};

/// A link that shows its client information items to a CrashSight.
class CrashWatchLink : public GatewayLink {
public:
    CrashWatchLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<CrashSight> sight);

    bool start(GatewayLinkListener* listener, QString* error) override;
    void stop() override;
    bool send(const GatewayRequest& request) override;
    void loseGate(const QString& gate) override;
    QString address() const override;

private:
    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<CrashSight> m_sight;
};

/// A presenter that shows EventMsgName::LogUploadEvent to a CrashSight. Created with new; disposed
/// of by the platform's close().
class CrashWatchPresenter : public ZnPresenterClass {
    Q_OBJECT

public:
    explicit CrashWatchPresenter(std::shared_ptr<CrashSight> sight);

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

private:
    const std::shared_ptr<CrashSight> m_sight;
    const int m_event;
};
