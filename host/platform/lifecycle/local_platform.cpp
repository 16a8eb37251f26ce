#include "local_platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QMetaMethod>
#include <QThread>
#include <future>

#include "data_log.h"
#include "data_stores.h"
#include "event_bus.h"
#include "home_folder.h"
#include "host_source.h"
#include "init_states.h"
#include "message_log.h"
#include "message_totals.h"
#include "never_destroyed.h"
#include "page_limits.h"
#include "presenter_channel.h"
#include "presenter_registry.h"
#include "request_broker.h"
#include "resource_history.h"
#include "resource_sampler.h"
#include "security_book.h"
#include "suspend_watch.h"
#include "thread_hand_over.h"
#include "thread_registry.h"
#include "tick_delivery.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kClosing = QStringLiteral("the host is closing");

void dropData() {
    DataStores::workDatabase().close();
    DataStores::settings().close();
    DataStores::staticDatabase().close();
    DataStores::businessData().clear();
    DataStores::board().clear();
    MessageTotals::instance().reset();
    resetInitStates();
    DataStores::clearReferenceTables();
    SecurityBook::instance().clear();
    ResourceHistory::instance().clear();
    TickDelivery::reset();
    NeighbourSlot::set(nullptr);
    HomeFolder::set(QString());
}

/// Where plug-ins keep files of the installation; they read it from the application object.
void setApplicationFolder(const QString& folder) {
    if (QCoreApplication::instance()) {
        QCoreApplication::instance()->setProperty("velmar.applicationFolder", folder);
    }
}

/// Waits until every presenter has worked off what is queued for its object thread; first, on
/// another thread than the application's, until that one has run what is queued for it. False when
/// the time is over before.
bool waitUntilWorkedOff(std::chrono::steady_clock::time_point until) {
    const auto workedOff = std::make_shared<std::promise<void>>();
    const std::future<void> ended = workedOff->get_future();
    const auto follow = [workedOff] {
        PresenterRegistry::instance().afterQueued([workedOff] { workedOff->set_value(); });
    };
    QCoreApplication* const application = QCoreApplication::instance();
    if (!application || application->thread() == QThread::currentThread()) {
        follow();
    } else {
        runOnThreadOf(application, follow);
    }
    return ended.wait_until(until) == std::future_status::ready;
}

/// Settings and databases, in place of what was open; false with a text, and with nothing open.
bool openData(const LocalPlatform::Options& options, QString* why) {
    dropData();
    HomeFolder::set(options.homeDir);
    const QString home = HomeFolder::path();
    setApplicationFolder(home);
    bool opened = QDir().mkpath(home);
    if (!opened) {
        *why = QStringLiteral("the home folder %1 cannot be made").arg(home);
    }
    opened = opened &&
             DataStores::settings().open(home + QStringLiteral("/settings/client.ini"), why) &&
             DataStores::staticDatabase().open(options.staticDbFile, why);
    if (!opened) {
        dropData();
        return false;
    }
    WorkDatabase::Options work;
    work.folder = home + QStringLiteral("/work_database");
    work.login = [] { return DataStores::businessData().loginAccount(); };
    DataStores::workDatabase().open(work);
    return true;
}

}  // namespace

LocalPlatform::LocalPlatform() = default;

LocalPlatform& LocalPlatform::instance() {
    return neverDestroyed([] { return new LocalPlatform; });
}

bool LocalPlatform::start(const Options& options, QString* error) {
    RequestBroker::instance().setClosing(false);
    RequestBroker::instance().setBodyLimit(options.bodyLimit);
    RequestBroker::instance().setMostAsync(options.mostAsyncRequests);
    PresenterRegistry::instance().setBuildLimit(options.buildLimit);
    PresenterChannel::setMostWaiting(options.mostWaiting);
    m_lastSendLimit = options.lastSendLimit;
    SuspendWatch::instance().start();
    ResourceSampler::instance().begin();
    m_threadLimit = options.threadLimit;
    ThreadRegistry::instance().setOpen();
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

void LocalPlatform::endWaits() {
    RequestBroker& broker = RequestBroker::instance();
    broker.setClosing(true);
    broker.failSync(kClosing);
}

void LocalPlatform::beginClose() {
    RequestBroker& broker = RequestBroker::instance();
    if (!broker.refusesAsync()) {
        letPlugInsSend();
    }
    broker.refuseAsync();
    broker.failAll(kClosing);
}

void LocalPlatform::letPlugInsSend() {
    RequestBroker& broker = RequestBroker::instance();
    ZnCore* const core = ZnCore::instance();
    const auto until = std::chrono::steady_clock::now() + m_lastSendLimit.load();
    const quint64 lastBefore = broker.lastEnvelopeId();
    const bool isHeard =
        core->isSignalConnected(QMetaMethod::fromSignal(&ZnCore::signalAboutToClose));
    emit core->signalAboutToClose();
    // A presenter that waits or that has sent a synchronous request gets to what is queued for it.
    endWaits();
    if (!isHeard || PresenterRegistry::instance().isPresenterThread()) {
        return;
    }
    if (!waitUntilWorkedOff(until) || !broker.waitForAsync(lastBefore, until)) {
        qCInfo(lcHost) << "closing while plug-ins still send: not done within"
                       << m_lastSendLimit.load().count() << "ms";
    }
}

void LocalPlatform::close() {
    // Each step does nothing the second time, except for what was made since the first.
    beginClose();
    PresenterRegistry::instance().disposeAll();
    ThreadRegistry::instance().endAll(m_threadLimit.load());
    RequestBroker::instance().setLink(nullptr, nullptr);
    // Last: what ended above wrote to it to the end.
    DataStores::workDatabase().close();
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

bool LocalPlatform::setSkin(const QString& skinId) {
    if (skinId.isEmpty()) {
        qCWarning(lcHost) << "a skin without an id is not shown";
        return false;
    }
    ZnCore* const core = ZnCore::instance();
    core->saveSetting(QStringLiteral("skin"), skinId);
    runOnThreadOf(core, [core, skinId] { emit core->signalSkinChanged(skinId); });
    return true;
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
