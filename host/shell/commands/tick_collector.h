#pragma once

#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>
#include <QVariantMap>

class MainLoopGate;

/// Keeps the last tick of each of some symbols. Main thread.
class TickCollector : public QObject {
    Q_OBJECT

public:
    explicit TickCollector(const QSet<QString>& symbols);

    /// Takes ticks from now on. `gate` must outlive the ticks.
    void listen(MainLoopGate& gate);
    /// Waits until every symbol has a tick; false after the limit or an interrupt.
    bool await(int limitMs);

    const QMap<QString, QVariantMap>& ticks() const { return m_ticks; }

private:
    const QSet<QString> m_symbols;
    MainLoopGate* m_gate = nullptr;
    QMap<QString, QVariantMap> m_ticks;
};
