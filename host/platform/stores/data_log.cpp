#include "data_log.h"

#include "never_destroyed.h"

#define PLATFORM_CATEGORY(function, name)                                       \
    const QLoggingCategory& function() {                                        \
        return neverDestroyed([] { return new const QLoggingCategory(name); }); \
    }

PLATFORM_CATEGORY(lcPlatformData, "velmar.platform.data")
PLATFORM_CATEGORY(lcPlatformSettings, "velmar.platform.settings")
PLATFORM_CATEGORY(lcPlatformStaticData, "velmar.platform.staticdata")
PLATFORM_CATEGORY(lcPlatformQuery, "velmar.platform.query")
PLATFORM_CATEGORY(lcPlatformLock, "velmar.platform.lock")

#undef PLATFORM_CATEGORY
