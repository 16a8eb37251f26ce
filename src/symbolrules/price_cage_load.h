#pragma once

#include <QList>
#include <QVariantMap>

#include "price_cage_records.h"

class ZnPresenterClass;

/// One load of the cage from its sources, in tables of its own: the user's record on the server,
/// the local copy of it, the server's defaults, the built-in texts. Where a source fails, the next
/// one is used. Used once, on one thread; blocks for its requests; takes no lock.
class PriceCageLoad {
public:
    PriceCageLoad(ZnPresenterClass* presenter, const CageBuiltIn& builtIn)
        : m_presenter(presenter), m_builtIn(builtIn) {}

    /// Asks the server for the user's own record. Needs a presenter. False when the query failed.
    bool queryUserProfile();
    /// Reads the sources behind the user's record and unites what they gave. Does nothing once the
    /// load is broken off.
    void fillFromOtherSources();
    /// Logs one warning for each cage with an unknown control type or a figure that is not a
    /// number.
    void warnOfUnusableFigures() const;

    /// Whether a query failed because the presenter is closing.
    bool isBrokenOff() const { return m_isBrokenOff; }
    bool succeeded() const { return !m_applyMap.isEmpty() && !m_cageMap.isEmpty(); }
    const CageRecords& cageMap() const { return m_cageMap; }
    const CageRecords& applyMap() const { return m_applyMap; }
    const CageIndex& index() const { return m_cageIndex; }
    CageSource mapSource() const { return m_mapSource; }
    CageSource applySource() const { return m_applySource; }

private:
    void takeUserCages(const QVariantMap& profile);
    void takeUserApply(const QVariantMap& profile);
    void readLocalCopies();
    void queryServerCages();
    void queryServerApply();
    void readBuiltIn();
    void uniteTables();
    QVariantMap systemItem(const QString& itemName, bool* answered);
    void logTables(const char* stage) const;

    ZnPresenterClass* const m_presenter;
    const CageBuiltIn& m_builtIn;
    CageRecords m_applyMap;
    CageRecords m_cageMap;
    CageIndex m_cageIndex;
    CageRecords m_serverMap;
    CageIndex m_serverIndex;
    CageSource m_applySource = CageSource::ServerDefault;
    CageSource m_mapSource = CageSource::ServerDefault;
    bool m_isBrokenOff = false;
};
