#include "log.h"

#include "never_destroyed.h"

#define VELMAR_CATEGORY(function, name)            \
    const QLoggingCategory& function() {           \
        struct Category : QLoggingCategory {       \
            Category() : QLoggingCategory(name) {} \
        };                                         \
        return neverDestroyed<Category>();         \
    }

VELMAR_CATEGORY(lcBase, "velmar.base")
VELMAR_CATEGORY(lcPlugin, "velmar.plugin")
VELMAR_CATEGORY(lcCore, "velmar.core")
VELMAR_CATEGORY(lcPresenter, "velmar.presenter")
VELMAR_CATEGORY(lcInterface, "velmar.interface")
VELMAR_CATEGORY(lcAccounts, "velmar.accounts")
VELMAR_CATEGORY(lcSymbolRules, "velmar.symbolrules")
VELMAR_CATEGORY(lcOrders, "velmar.orders")
VELMAR_CATEGORY(lcRequests, "velmar.requests")
VELMAR_CATEGORY(lcBusiMsg, "velmar.busimsg")
VELMAR_CATEGORY(lcMenus, "velmar.menus")
VELMAR_CATEGORY(lcHistory, "velmar.history")
VELMAR_CATEGORY(lcHistoryCache, "velmar.history.cache")
VELMAR_CATEGORY(lcMonitor, "velmar.monitor")

#undef VELMAR_CATEGORY
