#pragma once

#include <QSet>
#include <QString>

#include "guarded.h"

class Clock;
class QObject;
class SharedSettings;

/// The symbols whose risk notice the user waived for the day, kept in "riskNoticeSymbol.cfg".
/// Lock: m_ignoreRiskLock.
class RiskNoticeWaiver {
public:
    explicit RiskNoticeWaiver(const Clock& clock) : m_clock(clock) {}

    /// Opens the file in the user's configuration directory, once; `owner` deletes the settings.
    void open(QObject* owner);
    /// Takes the waived symbols of today from the file. A waiver of an earlier day, or none, makes
    /// the set empty and writes today's date with no symbols.
    void load();
    QSet<QString> ignoreRiskSymbols() const;

private:
    struct Tables {
        QSet<QString> m_ignoreRiskSymbols;
    };

    const Clock& m_clock;
    SharedSettings* m_riskNoticeSettings = nullptr;
    Guarded<Tables> m_ignoreRiskLock{"m_ignoreRiskLock", LockRank::Leaf};
};
