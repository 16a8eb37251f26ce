#pragma once

#include <QList>

#include "platform_export.h"
#include "velmarutils/sys_info.h"

/// The screens as the host saw them last. A program with windows sets them on its main thread, at
/// the start and whenever they change; without one they stay empty. Any thread; memory only.
namespace ScreenSnapshot {

/// Replaces the screens; the default screen comes first.
PLATFORM_API void set(const QList<SysScreenInfo>& screens);
QList<SysScreenInfo> screens();

}  // namespace ScreenSnapshot
