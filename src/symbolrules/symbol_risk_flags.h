#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <atomic>
#include <mutex>

#include "guarded.h"

class Clock;
class RiskMessageSink;
class RiskNoticeWaiver;
class SymbolIdentity;
class ZnPresenterClass;
struct RiskFindings;

/// Risk marks of symbols: risk warnings, coming delistings, prices below issue price or net value,
/// key-monitor list, growth flag. Any thread. Locks: m_riskLock, m_riskTypeLock, m_keyMonitorLock,
/// m_riskTypeLoadLock.
class SymbolRiskFlags {
public:
    SymbolRiskFlags(const SymbolIdentity& identity, RiskNoticeWaiver& waiver, const Clock& clock,
                    RiskMessageSink& sink)
        : m_identity(identity), m_waiver(waiver), m_clock(clock), m_sink(sink) {}

    /// Replaces the risk notices. Rows of unknown symbols are logged and left out.
    void slotNoticeSymbolChanged(const QList<QVariantMap>& noticeInfoList);
    /// Raises the warnings of symbols that are about to be traded, each symbol once a day. Returns
    /// whether there was one; false before the first notices. Blocks for the file of the reported
    /// symbols.
    bool CheckSymbolRiskInfo(const QStringList& symbols, const QString& moduleName);

    /// Requests the symbols by risk type, unless that has succeeded before. A call while another
    /// one requests waits for its outcome, at most until the presenter is closing.
    void InitSymbolRiskTypeInfo(ZnPresenterClass* presenter);
    /// Requests the key-monitor list.
    void InitKeyMonitorSymbols(ZnPresenterClass* presenter);
    bool IsSymbolKeyMonitor(const QString& symbol) const;
    bool IsSymbolBreakingIssuePrice(const QString& symbol) const;
    bool IsSymbolBrokenNetPrice(const QString& symbol) const;
    bool IsSymbolInST(const QString& symbol) const;
    /// `text` is changed only for a flag that has a text.
    QString GetSymbolStType(const QString& symbol, QString& text) const;
    int GetScienTechGrowFlagBySymbol(const QString& symbol) const;

private:
    struct NoticeTables {
        bool m_riskNoticeReady = false;
        QMap<QString, QString> m_riskRemindMap;
        QSet<QString> m_riskStSymbols;
        QMap<QString, QDate> m_delistDateMap;
    };
    struct TypeTables {
        QMap<int, QSet<QString>> m_riskTypeMap;
    };
    struct MonitorTables {
        QSet<QString> m_keyMonitorSymbols;
    };

    void addNotice(const QVariantMap& row, NoticeTables& tables) const;
    /// Whether the symbol has a risk that is reported; what is reported is added to `findings`.
    bool findRisks(const QString& symbol, const NoticeTables& notices, bool takesBreakers,
                   const QDate& today, RiskFindings& findings) const;
    QString stFlagOf(const QString& symbol) const;
    bool queryRiskTypes(ZnPresenterClass* presenter);
    bool isOfType(const QString& symbol, int riskType) const;

    const SymbolIdentity& m_identity;
    RiskNoticeWaiver& m_waiver;
    const Clock& m_clock;
    RiskMessageSink& m_sink;
    Guarded<NoticeTables> m_riskLock{"m_riskLock", LockRank::Risk};
    Guarded<TypeTables> m_riskTypeLock{"m_riskTypeLock", LockRank::RiskType};
    Guarded<MonitorTables> m_keyMonitorLock{"m_keyMonitorLock", LockRank::Leaf};
    std::atomic<int> m_riskTypeInited{0};
    // One request of the risk types at a time; guards no table, and is held across the request.
    std::mutex m_riskTypeLoadLock;
};
