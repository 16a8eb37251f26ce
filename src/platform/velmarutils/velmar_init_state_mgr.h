#pragma once

#include <QString>

#include "platform_export.h"

/// How far a one-shot initialisation step is. A finished state compares at least 2.
enum class InitState { None = 0, Running = 1, Failed = 2, DoneWithoutData = 3, Done = 4 };

/// The registry of one-shot initialisation steps, by key. Any thread; never blocks.
class PLATFORM_API VelmarInitStateMgr {
public:
    static VelmarInitStateMgr& instance();

    /// Claims a step. Returns false when it is running or finished, also after a failure, so that
    /// no step runs twice.
    bool StartInit(const QString& key);
    /// Ends a step, claimed or not. Returns true.
    bool FinishInit(const QString& key, bool success, bool hasData);
    /// True in both done states.
    bool IsInited(const QString& key) const;
    InitState GetInitState(const QString& key) const;

private:
    VelmarInitStateMgr() = default;
};
