#pragma once

#include <QString>

inline const QString kPluginInstanceId = QStringLiteral("ZNApp.VelmarBusinessDataManager");

/// Brings the plug-in up when the host has not done so yet. The first call does the work and blocks
/// for it, others meanwhile wait, later ones return at once. Any thread. Never called from inside
/// VelmarBusinessDataManager::initialize(), which runs under this function's lock.
void InitVelmarBusinessManagePlugin();

/// Held while a plug-in object takes the instance id and builds its presenter, so that a first load
/// that finds the id taken also finds the presenter.
class InitializeGuard {
public:
    InitializeGuard();
    ~InitializeGuard();
    InitializeGuard(const InitializeGuard&) = delete;
    InitializeGuard& operator=(const InitializeGuard&) = delete;
};
