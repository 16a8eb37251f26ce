#pragma once

#include "platform_export.h"

/// The system settings that come with the static database. Any thread.
class PLATFORM_API ZnSystemSettingDataMgr {
public:
    static ZnSystemSettingDataMgr& instance();

    /// Reads the settings; false with a log line when the database cannot be read. A second call
    /// reads again.
    bool init();

private:
    ZnSystemSettingDataMgr() = default;
};
