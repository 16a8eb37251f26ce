#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QString>
#include <functional>
#include <memory>

#include "body_size.h"
#include "client_watcher.h"
#include "facade_library.h"
#include "fault_plan.h"
#include "gateway_link.h"
#include "main_loop_gate.h"
#include "plugin_manager.h"
#include "sample_market.h"
#include "status_line.h"

class DayBook;
class Dealer;
class FaultyLink;
class GateDelays;
class ServerEngine;
class TickFeed;

/// The local client: platform, embedded server and plug-ins, brought up step by step and taken down
/// again. One per process, on the main thread.
class Client {
public:
    struct Options {
        QString homeDir;
        QString pluginsDir;
        QStringList pluginFiles;  ///< further plug-in libraries; the start fails without one
        /// Loads every other plug-in library in `pluginsDir` too, and skips those that do not fit.
        bool allPlugins = false;
        QString user;
        bool rebuildMarket = false;
        int accountWaitMs = 60000;
        MarketOptions market;
        QStringList tickSymbols;    ///< get ticks in addition to the subscribed ones
        double ticksPerSecond = 1;  ///< for each symbol; 0: no ticks
        /// Ticks follow the exchanges' timetables instead of playing continuous trading all day.
        bool marketHours = false;
        /// Where the server's clock starts, from there it runs on; the present time when invalid. A
        /// time without a zone is the exchanges' own.
        QDateTime clock;
        /// Orders are dealt for the accounts that may trade, so many deals a second over all of
        /// them; 0: none. Equal market and seed give equal orders and deals.
        double dealsPerSecond = 0;
        quint32 dealSeed = 1;
        bool keepsDeals = false;                ///< lastDeals() has the deals of the day's accounts
        qint64 bodyLimit = kStandingBodyLimit;  ///< most bytes of a body
        /// A crash of the process leaves a dump and a record, which the next start reports. For a
        /// process that is this client and nothing else.
        bool reportsCrashes = false;
        /// What goes wrong between client and server; may change while the client runs.
        std::shared_ptr<FaultPlan> faults = std::make_shared<FaultPlan>();
        /// Puts a link of the caller's own around the client's; may be empty.
        std::function<std::unique_ptr<GatewayLink>(std::unique_ptr<GatewayLink>)> wrapLink;
    };
    struct Listener {
        /// A step has ended; the text says what it did.
        std::function<void(const QString& text)> stepEnded;
        /// The sample market is being made.
        std::function<void(int done, int total)> marketProgress;
        /// A line for the user, before a wait for another process.
        std::function<void(const QString& text)> waits{};
        /// Presenters may be made from here on; nothing is connected yet.
        std::function<void()> platformStarted{};
        /// A plug-in library of the folder is not used; the text names its file and says why.
        std::function<void(const QString& text)> pluginSkipped{};
    };

    Client(const Options& options, const Listener& listener);
    /// Calls stop().
    ~Client();
    Q_DISABLE_COPY(Client)

    /// Everything up to the loaded accounts. Returns false with a text for the user on failure,
    /// with nothing left running. An interrupt is a failure whose text begins with "interrupted".
    bool start(QString* error);
    /// The two halves of start(): up to the log-in, and the wait for the accounts, which may be
    /// repeated.
    bool begin(QString* error);
    bool awaitAccounts(int limitMs, QString* error);
    /// Waits until the plug-in has loaded the price cage; false after the limit or an interrupt.
    bool awaitCage(int limitMs);
    /// Waits until the plug-in has built its realized profits; false after the limit or an
    /// interrupt.
    bool awaitProfits(int limitMs);
    /// Waits until the plug-in has merged what the server had of business messages; false after
    /// the limit or an interrupt.
    bool awaitMessages(int limitMs);
    /// Makes and initialises the plug-in object of that name, of a loaded library.
    bool makePluginObject(const QString& name, QString* error);
    /// Makes and initialises the plug-in objects of all further libraries.
    bool makePluginObjects(QString* error);
    /// Ends the dealing and the streams of ticks and of the book's events, so that figures stand
    /// still.
    void endStreams();
    /// Ends the dealing, the ticks, the book's events and every wait without limit, then plug-ins,
    /// link and platform, in this order. A second call does nothing.
    void stop();
    /// Makes every synchronous request that is under way fail, and each later one, so that a main
    /// thread which waits for an answer returns. For InterruptWatch; any thread, whether a client
    /// is up or not.
    static void endWaits();

    /// Runs the work on another thread while the main loop goes on, which the work may need.
    /// Returns false after an interrupt or after `limitMs` (negative: no limit); the platform is
    /// closed then, and the work has ended.
    bool run(const std::function<void()>& work, int limitMs);
    /// Calls an exported function in run().
    bool call(const FacadeFunction& function, const QStringList& arguments, int limitMs,
              QJsonObject* answer);

    const FacadeLibrary& facade() const { return m_facade; }
    /// Null before the server is connected and after stop().
    ServerEngine* server() const { return m_server.get(); }
    FaultyLink* link() const { return m_link; }
    /// What answers the neighbouring data plug-in's interfaces; loaded once the login has its
    /// accounts. Null before the market is opened and after stop().
    DayBook* book() const { return m_book.get(); }
    ClientStatus status() const;
    /// The last few deals, the latest one last; empty unless the options say keepsDeals.
    QVector<SeenDeal> lastDeals() const;
    /// Where the main thread waits; woken when the client's state changes.
    MainLoopGate& gate() { return m_gate; }
    /// One line for the user: whether ticks keep to the exchanges' hours.
    QString ticksText() const;

    /// The trading accounts on which the login holds any authority, as listed by the platform.
    static QStringList platformAccounts();
    /// What the embedded server keeps of what clients wrote. Beside the market, so that it survives
    /// when the market is made again.
    static QString serverStateFile(const QString& homeDir);
    /// The file of a plug-in library by its name.
    static QString libraryFile(const QString& pluginsDir, const QString& library);

private:
    bool beginSteps(QString* error);
    bool prepareMarket(QString* error);
    bool startPlatform(QString* error);
    void setClock();
    void startTicks();
    void startDeals();
    void openBook();
    bool connectServer(QString* error);
    bool loadLibraries(QString* error);
    bool loadLibrary(const QString& file, QString* error);
    void skip(const QString& why) const;
    bool loginUser(QString* error);
    bool loadAccounts(QString* error);
    bool loadBook(QString* error);
    bool waitForAccounts(int limitMs, QString* error);
    void countAccounts(const QStringList& accounts);
    QString marketDir() const;
    void ended(const QString& text) const;

    const Options m_options;
    const Listener m_listener;
    const std::shared_ptr<ClientSight> m_sight;
    const std::shared_ptr<GateDelays> m_delays;
    MainLoopGate m_gate;
    PluginManager m_plugins;
    QStringList m_furtherPlugins;  // files, in the order of loading
    FacadeLibrary m_facade;
    std::unique_ptr<TickFeed> m_ticks;
    std::shared_ptr<DayBook> m_book;
    std::unique_ptr<Dealer> m_dealer;
    std::shared_ptr<ServerEngine> m_server;
    FaultyLink* m_link = nullptr;  // owned by the platform
    QElapsedTimer m_upSince;
    int m_loadedAccounts = 0;
    int m_frozenAccounts = 0;
    bool m_accountsReady = false;  // the profits are requested, the dealing is started
    bool m_platformStarted = false;
};

/// Names of plug-in libraries (without "lib" and ".so") and of plug-in objects.
inline const QString kBusinessDataLibrary = QStringLiteral("VelmarBusinessDataManager");
inline const QString kBusinessDataObject = QStringLiteral("VelmarBusinessDataManager");
