#include "commonquotahandler/common_quota_handler.h"

#include <QCoreApplication>

#include "application_object.h"
#include "data_log.h"
#include "data_stores.h"
#include "never_destroyed.h"
#include "tick_board.h"

namespace {

constexpr int kUnsubscribe = 0;
constexpr int kSubscribe = 1;
constexpr int kFiveLevels = 0;

}  // namespace

CommonQuotaHandler::CommonQuotaHandler() {
    moveToApplicationThread(this);
}

CommonQuotaHandler::~CommonQuotaHandler() = default;

CommonQuotaHandler& CommonQuotaHandler::instance() {
    // Never destroyed: plug-ins stay connected while static objects are destroyed.
    return neverDestroyed([] { return new CommonQuotaHandler; });
}

bool CommonQuotaHandler::Init() {
    if (!QCoreApplication::instance()) {
        qCWarning(lcPlatformData) << "the tick feed needs an application to deliver on";
        return false;
    }
    TickBoard::instance().open();
    return true;
}

double CommonQuotaHandler::getLastPrice(const QString& symbol) const {
    return TickBoard::instance().lastPrice(symbol);
}

void CommonQuotaHandler::subscribe(const QStringList& symbols, int action, int depth) {
    if ((action != kSubscribe && action != kUnsubscribe) || depth != kFiveLevels) {
        qCWarning(lcPlatformData) << "unknown tick subscription: action" << action << "depth"
                                  << depth << "for" << symbols.size() << "symbols";
        return;
    }
    DataStores::tickSubscriptions().change(symbols, action == kSubscribe);
}
