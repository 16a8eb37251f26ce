#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform_export.h"

/// The real-time tick feed. Any thread.
class PLATFORM_API CommonQuotaHandler : public QObject {
    Q_OBJECT

public:
    static CommonQuotaHandler& instance();

    /// Starts the feed. Returns false with a log line on failure. A second call does nothing.
    bool Init();

    /// "LastPx" of the symbol's last tick; 0 before its first one. Memory only.
    virtual double getLastPrice(const QString& symbol) const;

    /// Subscribes to the ticks of these symbols. The subscriptions are shared by all callers:
    /// `action` 1 adds the symbols, 0 removes them. `depth` 0 selects ticks with five levels on
    /// either side; no other depth exists. Other numbers are refused with a log line. Returns at
    /// once; the feed takes the symbols up at its next step.
    virtual void subscribe(const QStringList& symbols, int action, int depth);

signals:
    /// Emitted on the application's thread, without a lock held.
    void sigTickDataUpdate(const QString& symbol, const QVariantMap& tick, const QString& source);

private:
    CommonQuotaHandler();
    ~CommonQuotaHandler() override;
};
