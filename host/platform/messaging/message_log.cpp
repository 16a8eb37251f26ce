#include "message_log.h"

#include "never_destroyed.h"

#define PLATFORM_CATEGORY(function, name)                                       \
    const QLoggingCategory& function() {                                        \
        return neverDestroyed([] { return new const QLoggingCategory(name); }); \
    }

PLATFORM_CATEGORY(lcMessage, "velmar.platform.message")
PLATFORM_CATEGORY(lcEventBus, "velmar.platform.events")
PLATFORM_CATEGORY(lcChannel, "velmar.platform.presenter")
PLATFORM_CATEGORY(lcRequest, "velmar.platform.request")
PLATFORM_CATEGORY(lcPluginHost, "velmar.platform.plugins")
PLATFORM_CATEGORY(lcHost, "velmar.platform.host")

#undef PLATFORM_CATEGORY

const QLoggingCategory& lcTraffic() {
    return neverDestroyed(
        [] { return new const QLoggingCategory("velmar.platform.traffic", QtInfoMsg); });
}
