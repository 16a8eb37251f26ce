#include "data_log.h"

#define PLATFORM_CATEGORY(function, name)                               \
    const QLoggingCategory& function() {                                \
        static const auto* const category = new QLoggingCategory(name); \
        return *category;                                               \
    }

PLATFORM_CATEGORY(lcPlatformData, "velmar.platform.data")
PLATFORM_CATEGORY(lcPlatformSettings, "velmar.platform.settings")
PLATFORM_CATEGORY(lcPlatformStaticData, "velmar.platform.staticdata")
PLATFORM_CATEGORY(lcPlatformQuery, "velmar.platform.query")
PLATFORM_CATEGORY(lcPlatformLock, "velmar.platform.lock")

#undef PLATFORM_CATEGORY
