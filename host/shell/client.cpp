#include "client.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <atomic>
#include <thread>
#include <utility>

#include "bottom_bar.h"
#include "client_watcher.h"
#include "crash_handler.h"
#include "day_book.h"
#include "dealer.h"
#include "embedded_link.h"
#include "exchange_clock.h"
#include "faulty_link.h"
#include "gate_events.h"
#include "gate_switch.h"
#include "interrupt_watch.h"
#include "local_platform.h"
#include "market_log.h"
#include "plugin_files.h"
#include "sample_market.h"
#include "server_engine.h"
#include "tick_feed.h"
#include "trade_calendar.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kFirstGatesMs = 2000;

/// The name by which a file's library is known, without what the system adds to it.
QString libraryName(const QString& file) {
    const QString name = QFileInfo(file).completeBaseName();
    return name.startsWith(QLatin1String("lib")) ? name.mid(3) : name;
}

}  // namespace

Client::Client(const Options& options, const Listener& listener)
    : m_options(options),
      m_listener(listener),
      m_sight(std::make_shared<ClientSight>()),
      m_delays(std::make_shared<GateDelays>()) {}

Client::~Client() {
    stop();
}

QStringList Client::platformAccounts() {
    return CBusinessDataBase::GetInstance()->GetTradeAccountList(
        {AuthorityType::AccountQuery, AuthorityType::AccountEdit, AuthorityType::AccountAuthority,
         AuthorityType::AccountSubscribe, AuthorityType::AccountTrade});
}

QString Client::libraryFile(const QString& pluginsDir, const QString& library) {
    return QDir(pluginsDir).filePath(QStringLiteral("lib%1.so").arg(library));
}

QString Client::serverStateFile(const QString& homeDir) {
    return QDir(homeDir).filePath(QStringLiteral("server_state.sqlite"));
}

QString Client::marketDir() const {
    return sampleMarketDir(m_options.homeDir, m_options.market);
}

void Client::ended(const QString& text) const {
    if (m_listener.stepEnded) {
        m_listener.stepEnded(text);
    }
}

bool Client::start(QString* error) {
    return begin(error) && awaitAccounts(m_options.accountWaitMs, error);
}

bool Client::begin(QString* error) {
    m_upSince.start();
    if (beginSteps(error)) {
        return true;
    }
    // The interrupt fails whatever request was under way, so the step's own reason misleads.
    if (InterruptWatch::hasCome()) {
        *error = QStringLiteral("interrupted");
    }
    stop();
    return false;
}

void Client::endWaits() {
    LocalPlatform::instance().endWaits();
}

bool Client::awaitAccounts(int limitMs, QString* error) {
    if (waitForAccounts(limitMs, error)) {
        return true;
    }
    stop();
    return false;
}

bool Client::awaitCage(int limitMs) {
    m_gate.waitUntil([this] { return m_sight->cageLoadOver() || InterruptWatch::hasCome(); },
                     limitMs);
    return m_sight->cageLoadOver();
}

bool Client::awaitProfits(int limitMs) {
    m_gate.waitUntil([this] { return m_sight->profitsReady() || InterruptWatch::hasCome(); },
                     limitMs);
    return m_sight->profitsReady();
}

bool Client::awaitMessages(int limitMs) {
    m_gate.waitUntil([this] { return m_sight->messagesLoaded() || InterruptWatch::hasCome(); },
                     limitMs);
    return m_sight->messagesLoaded();
}

bool Client::beginSteps(QString* error) {
    return prepareMarket(error) && startPlatform(error) && connectServer(error) &&
           loadLibraries(error) && loginUser(error) &&
           makePluginObject(kBusinessDataObject, error) && loadAccounts(error);
}

bool Client::prepareMarket(QString* error) {
    const MarketOptions& market = m_options.market;
    const QString size = QStringLiteral("%1 accounts, %2 symbols")
                             .arg(market.allAccounts())
                             .arg(market.allSymbols());
    MarketWatch watch;
    watch.waits = m_listener.waits;
    watch.interrupted = &InterruptWatch::hasCome;
    watch.progress = [this](int done, int total) {
        if (m_listener.marketProgress) {
            m_listener.marketProgress(done, total);
        }
        return true;
    };
    switch (provideSampleMarket(marketDir(), market, m_options.rebuildMarket, watch, error)) {
        case MarketProvided::Failed:
            return false;
        case MarketProvided::Opened:
            ended(QStringLiteral("sample market opened (%1)").arg(size));
            break;
        case MarketProvided::Made:
            ended(QStringLiteral("sample market made (%1)").arg(size));
            break;
    }
    return true;
}

bool Client::startPlatform(QString* error) {
    LocalPlatform::Options platform;
    platform.homeDir = m_options.homeDir;
    platform.staticDbFile = staticDatabaseFile(marketDir());
    platform.bodyLimit = m_options.bodyLimit;
    if (!LocalPlatform::instance().start(platform, error)) {
        return false;
    }
    m_platformStarted = true;
    if (m_options.reportsCrashes) {
        CrashHandler::install(VelmarUtils::GetUserCfgFileDir(),
                              QDir(m_options.homeDir).filePath(QStringLiteral("log")));
    }
    // start() took back an endWaits() that came before it.
    if (InterruptWatch::hasCome()) {
        return false;
    }
    setClock();
    // It must have subscribed before anything can publish what it waits for.
    auto* const watcher = new ClientWatcher(
        m_sight, [this] { m_gate.wake(); }, m_options.keepsDeals);
    watcher->initPresenter();
    (new BottomBar(m_delays))->initPresenter();
    if (m_listener.platformStarted) {
        m_listener.platformStarted();
    }
    ended(QStringLiteral("local platform started (%1)").arg(m_options.homeDir));
    startTicks();
    openBook();
    return true;
}

void Client::openBook() {
    m_book = std::make_shared<DayBook>(storedOpening(marketStoreFile(marketDir()), m_options.user));
    LocalPlatform::instance().setNeighbourData(m_book);
}

bool Client::loadBook(QString* error) {
    if (!m_book->load(error)) {
        *error = QStringLiteral("the positions were not loaded: %1").arg(*error);
        return false;
    }
    ended(QStringLiteral("positions of the day loaded (%1)").arg(m_book->positionCount(QString())));
    return true;
}

void Client::startDeals() {
    if (!(m_options.dealsPerSecond > 0)) {
        return;
    }
    // Prices go on from deal to deal instead of following the ticks: their timing differs from run
    // to run, and the seed is to give the same day.
    Dealer::Options dealer;
    dealer.dealsPerSecond = m_options.dealsPerSecond;
    dealer.seed = m_options.dealSeed;
    dealer.staticDatabaseFile = staticDatabaseFile(marketDir());
    m_dealer = std::make_unique<Dealer>(m_book, dealer);
    m_dealer->start();
    ended(QStringLiteral("orders are dealt for the accounts that may trade (%1 deals a second, "
                         "seed %2)")
              .arg(m_options.dealsPerSecond)
              .arg(m_options.dealSeed));
}

void Client::endStreams() {
    m_dealer.reset();
    m_ticks.reset();
    if (m_book) {
        m_book->close();
    }
}

void Client::setClock() {
    if (!m_options.clock.isValid()) {
        return;
    }
    const QDateTime start = inExchangeZone(m_options.clock);
    const qint64 shift = exchangeNow().msecsTo(start);
    LocalPlatform::instance().setClock([shift] { return exchangeNow().addMSecs(shift); });
    ended(QStringLiteral("server clock set to %1").arg(start.toString(Qt::ISODate)));
}

void Client::startTicks() {
    if (!(m_options.ticksPerSecond > 0)) {
        return;
    }
    TickFeed::Options feed;
    feed.symbols = m_options.tickSymbols;
    feed.ticksPerSecond = m_options.ticksPerSecond;
    feed.ratePerSymbol = true;
    feed.aroundTheClock = !m_options.marketHours;
    feed.staticDatabaseFile = staticDatabaseFile(marketDir());
    const auto calendar = std::make_shared<TradeCalendar>();
    QString error;
    if (calendar->load(&error)) {
        feed.calendar = calendar;
    } else {
        qCWarning(lcMarket) << "ticks ignore holidays:" << error;
    }
    m_ticks = std::make_unique<TickFeed>(feed);
    m_ticks->start();
    ended(ticksText());
}

QString Client::ticksText() const {
    return m_options.marketHours
               ? QStringLiteral("ticks keep to the trading hours of the exchanges")
               : QStringLiteral(
                     "ticks play continuous trading around the clock (--market-hours "
                     "keeps to the exchanges' hours)");
}

bool Client::connectServer(QString* error) {
    const auto state = ServerState::open(serverStateFile(m_options.homeDir), error);
    if (!state) {
        return false;
    }
    m_server = ServerEngine::open(marketStoreFile(marketDir()), error, state);
    if (!m_server) {
        return false;
    }
    m_server->setClock(
        [] { return CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime(); });
    auto faulty =
        std::make_unique<FaultyLink>(std::make_unique<EmbeddedLink>(m_server), m_options.faults);
    FaultyLink* const link = faulty.get();
    std::unique_ptr<GatewayLink> outer = std::move(faulty);
    if (m_options.wrapLink) {
        outer = m_options.wrapLink(std::move(outer));
    }
    if (!LocalPlatform::instance().setLink(std::move(outer), error)) {
        return false;
    }
    m_link = link;
    // The platform deletes presenters before the link.
    auto* const gateSwitch = new GateSwitch(
        [link](const QString& gate, const QString& netState) { link->setGate(gate, netState); });
    gateSwitch->initPresenter();
    // Every start publishes the first states before a plug-in can subscribe to them.
    m_gate.waitUntil(
        [this] {
            return m_sight->gates().size() == int(gateEvents().size()) || InterruptWatch::hasCome();
        },
        kFirstGatesMs);
    ended(QStringLiteral("embedded gateway connected (%1 message types)")
              .arg(m_server->messageTypes().size()));
    return true;
}

bool Client::loadLibrary(const QString& file, QString* error) {
    if (!m_plugins.load(file, error)) {
        return false;
    }
    ended(QStringLiteral("plug-in library loaded (%1)").arg(libraryName(file)));
    return true;
}

void Client::skip(const QString& why) const {
    if (m_listener.pluginSkipped) {
        m_listener.pluginSkipped(why);
    }
}

bool Client::loadLibraries(QString* error) {
    const QString businessData = libraryFile(m_options.pluginsDir, kBusinessDataLibrary);
    if (!loadLibrary(businessData, error)) {
        return false;
    }
    if (m_options.allPlugins) {
        const QStringList found =
            pluginFilesIn(m_options.pluginsDir, m_options.pluginFiles + QStringList(businessData));
        for (const QString& file : found) {
            QString why;
            if (loadLibrary(file, &why)) {
                m_furtherPlugins.append(file);
            } else {
                skip(why);
            }
        }
    }
    for (const QString& file : m_options.pluginFiles) {
        if (!loadLibrary(file, error)) {
            return false;
        }
        m_furtherPlugins.append(file);
    }
    if (m_options.reportsCrashes) {
        CrashHandler::refresh();
    }
    m_plugins.extensionsInitialized();
    return m_facade.load(businessData, error);
}

bool Client::makePluginObjects(QString* error) {
    for (const QString& file : qAsConst(m_furtherPlugins)) {
        QStringList errors;
        const QStringList made = m_plugins.makePluginObjects(file, &errors);
        for (const QString& name : made) {
            ended(QStringLiteral("plug-in object initialised (%1)").arg(name));
        }
        if (!errors.isEmpty() && m_options.pluginFiles.contains(file)) {
            *error = errors.first();
            return false;
        }
        for (const QString& why : qAsConst(errors)) {
            skip(why);
        }
    }
    m_plugins.objectsInitialized();
    return true;
}

bool Client::makePluginObject(const QString& name, QString* error) {
    ZnPluginBaseObject* const object = m_plugins.makePluginObject(name, error);
    if (!object) {
        return false;
    }
    ended(QStringLiteral("plug-in object initialised (%1)").arg(name));
    m_plugins.objectsInitialized();
    return true;
}

/// Before plug-in objects are made: the login decides which files and databases they open.
bool Client::loginUser(QString* error) {
    if (!LocalPlatform::instance().loginUser(m_options.user, SampleLogin::password, error)) {
        *error = QStringLiteral("the log-in of %1 failed: %2").arg(m_options.user, *error);
        return false;
    }
    ended(QStringLiteral("logged in (%1)").arg(m_options.user));
    return true;
}

bool Client::loadAccounts(QString* error) {
    if (!LocalPlatform::instance().loadAccountTree(error)) {
        *error = QStringLiteral("the account list was not received: %1").arg(*error);
        return false;
    }
    ended(QStringLiteral("account list received (%1 accounts)").arg(platformAccounts().size()));
    return loadBook(error);
}

bool Client::waitForAccounts(int limitMs, QString* error) {
    const auto seen = [this] { return m_sight->accountsReady() || InterruptWatch::hasCome(); };
    const bool inTime = m_gate.waitUntil(seen, limitMs);
    if (InterruptWatch::hasCome()) {
        *error = QStringLiteral("interrupted while the accounts were loading");
        return false;
    }
    if (!inTime) {
        *error = QStringLiteral(
                     "the accounts were not loaded within %1 s (requests without an answer: %2); "
                     "--wait, in a scenario within=, sets the limit")
                     .arg(limitMs / 1000)
                     .arg(LocalPlatform::instance().pendingRequestCount());
        return false;
    }
    const QStringList accounts = platformAccounts();
    countAccounts(accounts);
    ended(QStringLiteral("accounts loaded (%1 of %2, %3 of them frozen)")
              .arg(m_loadedAccounts)
              .arg(accounts.size())
              .arg(m_frozenAccounts));
    if (!std::exchange(m_accountsReady, true)) {
        // Some plug-in of a real client requests the profits once it is up.
        LocalPlatform::instance().publishEvent(
            VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::CalcRealizedProfitInitEvent), {});
        startDeals();
    }
    return true;
}

void Client::countAccounts(const QStringList& accounts) {
    // The lists of the exported class leave frozen accounts out, so each record is looked up.
    QString error;
    for (const QString& account : accounts) {
        const QStringList arguments{account, QStringLiteral("false")};
        const FacadeFunction* const lookUp =
            m_facade.choose(QStringLiteral("GetAccountInfoByTradingAccount"), arguments, &error);
        if (!lookUp) {
            return;
        }
        const QJsonObject record =
            lookUp->call(arguments).value(QLatin1String("result")).toObject();
        if (record.value(QLatin1String("tradingAccount")).toString() == account) {
            ++m_loadedAccounts;
            m_frozenAccounts +=
                record.value(QLatin1String("accountStatus")) == AccountStatus::freezing ? 1 : 0;
        }
    }
}

bool Client::run(const std::function<void()>& work, int limitMs) {
    std::atomic<bool> isDone{false};
    std::thread worker([&] {
        work();
        isDone = true;
        m_gate.wake();
    });
    m_gate.waitUntil([&] { return isDone || InterruptWatch::hasCome(); }, limitMs);
    const bool inTime = isDone;
    if (!inTime) {
        endStreams();
        // Ends what the work waits for; stop() takes plug-ins and presenters down in order.
        LocalPlatform::instance().beginClose();
    }
    worker.join();
    return inTime;
}

bool Client::call(const FacadeFunction& function, const QStringList& arguments, int limitMs,
                  QJsonObject* answer) {
    return run([&] { *answer = function.call(arguments); }, limitMs);
}

ClientStatus Client::status() const {
    const LocalPlatform& platform = LocalPlatform::instance();
    ClientStatus status;
    status.accounts = m_loadedAccounts;
    status.presenters = platform.presenterCount();
    status.pendingRequests = platform.pendingRequestCount();
    status.gates = m_sight->gates();
    const QMap<QString, GateDelay> delays = m_delays->all();
    for (auto it = delays.cbegin(); it != delays.cend(); ++it) {
        if (it->lastTime.isValid()) {
            status.delaysMs.insert(it.key(), it->lastMs);
        }
    }
    status.upSeconds = m_upSince.elapsed() / 1000;
    return status;
}

QVector<SeenDeal> Client::lastDeals() const {
    return m_sight->lastDeals();
}

void Client::stop() {
    if (!m_platformStarted) {
        return;
    }
    m_platformStarted = false;
    m_accountsReady = false;
    endStreams();
    // A plug-in object waits for its presenter to end, which in turn may wait for an answer.
    LocalPlatform::instance().beginClose();
    m_plugins.shutdown();
    m_link = nullptr;
    m_server.reset();
    LocalPlatform::instance().close();
    LocalPlatform::instance().setNeighbourData(nullptr);
    m_book.reset();
    // Deletes the objects whose deletion waits for the main thread's event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
