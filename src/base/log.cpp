#include "log.h"

#define VELMAR_CATEGORY(function, name)                                 \
    const QLoggingCategory& function() {                                \
        static const auto* const category = new QLoggingCategory(name); \
        return *category;                                               \
    }

VELMAR_CATEGORY(lcBase, "velmar.base")
VELMAR_CATEGORY(lcPlugin, "velmar.plugin")
VELMAR_CATEGORY(lcCore, "velmar.core")
VELMAR_CATEGORY(lcPresenter, "velmar.presenter")
VELMAR_CATEGORY(lcInterface, "velmar.interface")
VELMAR_CATEGORY(lcAccounts, "velmar.accounts")
VELMAR_CATEGORY(lcSymbolRules, "velmar.symbolrules")
VELMAR_CATEGORY(lcRequests, "velmar.requests")

#undef VELMAR_CATEGORY

void logWithoutReader(const QLoggingCategory& category, const char* what) {
    qCDebug(category) << what << "arrived and nothing here reads it";
}
