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
    /// Reads today's waived symbols from the file. When the file has no waiver or one of an earlier
    /// day, the set becomes empty and the file gets today's date without symbols.
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
