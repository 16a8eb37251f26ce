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

    /// Makes the feed ready; false with a log line when it cannot be. A second call does nothing.
    bool Init();

    /// "LastPx" of the symbol's last tick; 0 before its first one. Memory only.
    virtual double getLastPrice(const QString& symbol) const;

    /// What ticks are wanted of, shared by everybody who asks: `action` 1 adds the symbols, 0 takes
    /// them out again; `depth` is the kind of tick, 0 the one with five levels on either side, the
    /// only kind there is. Other numbers are refused with a log line. Returns at once, before any
    /// tick; the feed adds the symbols to those that it runs on its own at its next step.
    virtual void subscribe(const QStringList& symbols, int action, int depth);

signals:
    /// On the application's thread, with no lock held.
    void sigTickDataUpdate(const QString& symbol, const QVariantMap& tick, const QString& source);

private:
    CommonQuotaHandler();
    ~CommonQuotaHandler() override;
};
