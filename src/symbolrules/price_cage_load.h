#pragma once

#include <QList>
#include <QVariantMap>

#include "price_cage_records.h"

class ZnPresenterClass;

/// One load of the cage from its sources, in tables of its own: the user's record on the server,
/// the local copy of it, the server's defaults, the built-in texts. Each source that fails leaves
/// its place to the next. Used once, on one thread; blocks for its requests; takes no lock.
class PriceCageLoad {
public:
    PriceCageLoad(ZnPresenterClass* presenter, const CageBuiltIn& builtIn)
        : m_presenter(presenter), m_builtIn(builtIn) {}

    /// Asks the server for the user's own record; with a presenter only. False when that failed.
    bool queryUserProfile();
    /// The sources behind the user's record, then the union of what they gave.
    void fillFromOtherSources();

    bool succeeded() const { return !m_applyMap.isEmpty() && !m_userMap.isEmpty(); }
    const CageRecords& cageMap() const { return m_userMap; }
    const CageRecords& applyMap() const { return m_applyMap; }
    const CageIndex& index() const { return m_userIndex; }
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
    QVariantMap systemItem(const QString& itemName, bool* answered) const;
    void logTables(const char* stage) const;

    ZnPresenterClass* const m_presenter;
    const CageBuiltIn& m_builtIn;
    CageRecords m_applyMap;
    CageRecords m_userMap;
    CageIndex m_userIndex;
    CageRecords m_serverMap;
    CageIndex m_serverIndex;
    CageSource m_applySource = CageSource::ServerDefault;
    CageSource m_mapSource = CageSource::ServerDefault;
};
