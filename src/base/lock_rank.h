#pragma once

#include <QtGlobal>

/// The order in which one thread may take locks: a lock may be taken only while every lock that the
/// thread holds has a smaller rank. docs/locks.md lists the locks with the reasons for their order.
enum class LockRank : int {
    FirstLoad = 10,          ///< the first load's mutex
    Initialize = 20,         ///< building the presenter
    NormalFund = 110,        ///< m_normalFundLock
    MarginFund = 120,        ///< m_marginFundLock
    Subscribe = 130,         ///< m_subscribeLock
    Menu = 140,              ///< m_menuLock
    Authority = 150,         ///< m_authorityLock
    AllSecurity = 170,       ///< m_allSecurityLock
    CurrentSecurity = 180,   ///< m_currentSecurityLock
    MainSecurity = 190,      ///< m_mainSecurityLock
    Account = 200,           ///< m_accountLock
    AccountOrder = 210,      ///< m_accountOrderLock
    AccountRows = 220,       ///< m_accountRowsLock
    BusiMsg = 230,           ///< m_busiMsgLock
    BusiMsgQueue = 240,      ///< the message writer's mutex
    Remind = 250,            ///< m_remindLock
    Cage = 300,              ///< m_cageLock
    Risk = 320,              ///< m_riskLock
    RiskType = 330,          ///< m_riskTypeLock
    IgnoreRisk = 340,        ///< m_ignoreRiskLock
    HeartBeatPending = 390,  ///< m_heartBeatMutex
    HeartBeat = 400,         ///< m_heartBeatLock
    Profit = 450,            ///< m_profitLock
    Position = 500,          ///< m_positionLock
    LastPrice = 510,         ///< m_lastPriceLock
    MarketValue = 520,       ///< m_marketValueLock
    Leaf = 900               ///< held for one access only
};

/// Records the ranks of the locks that each thread holds, and ends the process with a message when
/// a lock is taken out of order. Does nothing in builds without debug checks.
class HeldLocks {
public:
#ifdef QT_NO_DEBUG
    static void taken(LockRank, const char*) {}
    static void released(LockRank) {}
#else
    static void taken(LockRank rank, const char* name);
    static void released(LockRank rank);
#endif
    /// Whether the calling thread holds any lock; always false without debug checks.
    static bool any();
};
