#include "local_platform.h"

#include "event_bus.h"
#include "message_log.h"
#include "platform_data.h"
#include "presenter_registry.h"
#include "request_broker.h"
#include "server_query.h"
#include "shut_down_hooks.h"

namespace {

/// The publisher of what the host itself says.
inline const QString kHostSourceId = QStringLiteral("ZNApp.Host");
inline const QString kTickSource = QStringLiteral("feed");

}  // namespace

LocalPlatform::LocalPlatform() = default;

LocalPlatform& LocalPlatform::instance() {
    // Never destroyed: static objects of plug-ins call in until the very end.
    static auto* const platform = new LocalPlatform;
    installShutDownHooks();
    return *platform;
}

bool LocalPlatform::start(const Options& options, QString* error) {
    RequestBroker::instance().setClosing(false);
    RequestBroker::instance().setBodyLimit(options.bodyLimit);
    PresenterRegistry::instance().setBuildLimit(options.buildLimit);
    setMostPagesOfAQuery(options.mostPages);
    return PlatformData::open(options, error);
}

bool LocalPlatform::setLink(std::unique_ptr<GatewayLink> link, QString* error) {
    return RequestBroker::instance().setLink(std::move(link), error);
}

void LocalPlatform::beginClose() {
    RequestBroker& broker = RequestBroker::instance();
    broker.setClosing(true);
    broker.failAll(QStringLiteral("the host is closing"));
}

void LocalPlatform::close() {
    // Each step finds nothing to do the second time; what came up in between is caught by it.
    beginClose();
    PresenterRegistry::instance().disposeAll();
    RequestBroker& broker = RequestBroker::instance();
    broker.setLink(nullptr, nullptr);
    broker.stopDeadlines();
    qCDebug(lcHost) << "closed";
}

bool LocalPlatform::isClosing() const {
    return RequestBroker::instance().isClosing();
}

void LocalPlatform::publishEvent(int eventId, const QVariant& body) {
    EventBus::instance().publish(kHostSourceId, eventId, body);
}

void LocalPlatform::publishTick(const QString& symbol, const QVariantMap& tick) {
    PlatformData::publishTick(symbol, tick, kTickSource);
}

void LocalPlatform::setClock(std::function<QDateTime()> clock) {
    PlatformData::setClock(std::move(clock));
}

int LocalPlatform::presenterCount() const {
    return PresenterRegistry::instance().count();
}

int LocalPlatform::pendingRequestCount() const {
    return RequestBroker::instance().pendingCount();
}

QString LocalPlatform::homeDir() const {
    return PlatformData::homeDir();
}
