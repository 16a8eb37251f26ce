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

#undef VELMAR_CATEGORY

void logWithoutReader(const QLoggingCategory& category, const char* what) {
    qCDebug(category) << what << "arrived; this build has no reader for it";
}
