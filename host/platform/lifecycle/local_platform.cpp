#include "local_platform.h"

#include <QDir>

#include "data_log.h"
#include "data_stores.h"
#include "event_bus.h"
#include "home_folder.h"
#include "host_source.h"
#include "init_states.h"
#include "message_log.h"
#include "never_destroyed.h"
#include "page_limits.h"
#include "presenter_channel.h"
#include "presenter_registry.h"
#include "request_broker.h"
#include "security_book.h"
#include "tick_delivery.h"

namespace {

void dropData() {
    DataStores::settings().close();
    DataStores::staticDatabase().close();
    DataStores::businessData().clear();
    DataStores::board().clear();
    resetInitStates();
    DataStores::clearReferenceTables();
    SecurityBook::instance().clear();
    TickDelivery::reset();
    NeighbourSlot::set(nullptr);
    HomeFolder::set(QString());
}

/// Settings and databases, in place of what was open; false with a text, and with nothing open.
bool openData(const LocalPlatform::Options& options, QString* why) {
    dropData();
    HomeFolder::set(options.homeDir);
    const QString home = HomeFolder::path();
    bool opened = QDir().mkpath(home);
    if (!opened) {
        *why = QStringLiteral("the home folder %1 cannot be made").arg(home);
    }
    opened = opened &&
             DataStores::settings().open(home + QStringLiteral("/settings/client.ini"), why) &&
             DataStores::staticDatabase().open(options.staticDbFile, why);
    if (!opened) {
        dropData();
    }
    return opened;
}

}  // namespace

LocalPlatform::LocalPlatform() = default;

LocalPlatform& LocalPlatform::instance() {
    return neverDestroyed([] { return new LocalPlatform; });
}

bool LocalPlatform::start(const Options& options, QString* error) {
    RequestBroker::instance().setClosing(false);
    RequestBroker::instance().setBodyLimit(options.bodyLimit);
    PresenterRegistry::instance().setBuildLimit(options.buildLimit);
    PresenterChannel::setMostWaiting(options.mostWaiting);
    setPageLimits({options.mostPages, options.mostRows});
    m_started = true;
    QString why;
    const bool opened = openData(options, &why);
    if (!opened) {
        qCWarning(lcPlatformData) << "the platform's data cannot be opened:" << why;
    }
    if (error) {
        *error = why;
    }
    return opened;
}

bool LocalPlatform::setLink(std::unique_ptr<GatewayLink> link, QString* error) {
    return RequestBroker::instance().setLink(std::move(link), error);
}

void LocalPlatform::setNeighbourData(std::shared_ptr<NeighbourData> provider) {
    NeighbourSlot::set(std::move(provider));
}

void LocalPlatform::beginClose() {
    RequestBroker& broker = RequestBroker::instance();
    broker.setClosing(true);
    broker.failAll(QStringLiteral("the host is closing"));
}

void LocalPlatform::close() {
    // Each step does nothing the second time, except for what was made since the first.
    beginClose();
    PresenterRegistry::instance().disposeAll();
    RequestBroker& broker = RequestBroker::instance();
    broker.setLink(nullptr, nullptr);
    broker.stopDeadlines();
    if (m_started.exchange(false)) {
        qCDebug(lcHost) << "closed";
    }
}

bool LocalPlatform::isClosing() const {
    return RequestBroker::instance().isClosing();
}

void LocalPlatform::publishEvent(int eventId, const QVariant& body) {
    EventBus::instance().publish(kHostSourceId, eventId, body);
}

void LocalPlatform::publishTick(const QString& symbol, const QVariantMap& tick,
                                const QString& source) {
    TickDelivery::publish(symbol, tick, source);
}

void LocalPlatform::setClock(std::function<QDateTime()> clock) {
    DataStores::businessData().setClock(std::move(clock));
}

void LocalPlatform::afterQueued(const std::function<void()>& done) {
    PresenterRegistry::instance().afterQueued(done);
}

int LocalPlatform::presenterCount() const {
    return PresenterRegistry::instance().count();
}

int LocalPlatform::pendingRequestCount() const {
    return RequestBroker::instance().pendingCount();
}

QString LocalPlatform::homeDir() const {
    return HomeFolder::path();
}
