#include "message_log.h"

namespace {

const QLoggingCategory& leaked(const char* name) {
    return *new QLoggingCategory(name);
}

}  // namespace

const QLoggingCategory& lcMessage() {
    static const QLoggingCategory& category = leaked("velmar.platform.message");
    return category;
}

const QLoggingCategory& lcEventBus() {
    static const QLoggingCategory& category = leaked("velmar.platform.events");
    return category;
}

const QLoggingCategory& lcChannel() {
    static const QLoggingCategory& category = leaked("velmar.platform.presenter");
    return category;
}

const QLoggingCategory& lcRequest() {
    static const QLoggingCategory& category = leaked("velmar.platform.request");
    return category;
}

const QLoggingCategory& lcPluginHost() {
    static const QLoggingCategory& category = leaked("velmar.platform.plugins");
    return category;
}

const QLoggingCategory& lcHost() {
    static const QLoggingCategory& category = leaked("velmar.platform.host");
    return category;
}
