#pragma once

#include <QDate>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include "guarded.h"

class Clock;
class QObject;
class SharedSettings;

/// The symbols whose risk notice is not raised again on the same day, kept in
/// "riskNoticeSymbol.cfg". Lock: m_ignoreRiskLock, never held while the file is read or written.
class RiskNoticeWaiver {
public:
    explicit RiskNoticeWaiver(const Clock& clock) : m_clock(clock) {}

    /// Opens the file in the user's configuration directory, once; `owner` deletes the settings.
    void open(QObject* owner);
    /// Reads today's waived symbols from the file. When the file has no waiver or one of an earlier
    /// day, the set becomes empty and the file gets today's date without symbols.
    void load();
    /// Any thread.
    QSet<QString> ignoreRiskSymbols() const;

    // One thread at a time, so that the file gets the sets in their order. They block for the file;
    // when it cannot be written, the set holds for this process.

    /// The set on a day. A day later than the set's begins with an empty set, which is written with
    /// that day, and so does a day later than that of the last call or of the load: the set of a
    /// file with a date far ahead ends with the day on which the file was read.
    QSet<QString> symbolsOn(const QDate& today);
    void addSymbols(const QSet<QString>& symbols);

private:
    struct Tables {
        QDate m_ignoreDate;  ///< the last day on which the set holds
        QDate m_lastDay;     ///< of the load or of the last call of symbolsOn()
        QSet<QString> m_ignoreRiskSymbols;
    };

    void beginDay(const QDate& today);
    void save(const QVariantMap& values);

    const Clock& m_clock;
    SharedSettings* m_riskNoticeSettings = nullptr;
    Guarded<Tables> m_ignoreRiskLock{"m_ignoreRiskLock", LockRank::IgnoreRisk};
};
