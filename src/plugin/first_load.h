#pragma once

#include <QString>

inline const QString kPluginInstanceId = QStringLiteral("ZNApp.VelmarBusinessDataManager");

/// Starts the plug-in when the host has not done so yet. The first call does the work and blocks
/// until it is done, calls at the same time wait for it, later calls return at once. Any thread.
/// Must not be called from inside VelmarBusinessDataManager::initialize(), which runs under this
/// function's lock.
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
