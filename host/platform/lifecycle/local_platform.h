#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantMap>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

#include "body_size.h"
#include "gateway_link.h"
#include "neighbour_data.h"
#include "page_limits.h"
#include "platform_export.h"

/// The host's side of the local platform: what a shell or a test does to bring it up, drive it and
/// take it down. Plug-ins never see it. One per process. Functions are called on the main thread
/// unless stated otherwise.
class PLATFORM_API LocalPlatform {
public:
    struct Options {
        QString homeDir;       ///< settings, configuration and logs; made when missing
        QString staticDbFile;  ///< SQLite: static configuration and reference data; may be empty
        /// Bytes that a body may take on a wire; larger requests and answers fail, larger pushes
        /// are dropped. See bodySize().
        qint64 bodyLimit = kStandingBodyLimit;
        /// How long beginClose() waits for what plug-ins still send.
        std::chrono::milliseconds lastSendLimit = std::chrono::seconds(2);
        /// How long close() waits for a presenter that another thread is still making.
        std::chrono::milliseconds buildLimit = std::chrono::seconds(2);
        /// How long close() waits for the plug-ins' threads (ZnThread) to end.
        std::chrono::milliseconds threadLimit = std::chrono::seconds(10);
        /// Pages and rows after which VelmarUtils' paged queries give up.
        int mostPages = PageLimits().pages;
        int mostRows = PageLimits().rows;
        /// Messages that may wait for a presenter; further events and pushes are dropped, but for
        /// one event of each id among those without a body.
        int mostWaiting = 1000000;
        /// Asynchronous requests that may be under way; further ones are refused.
        int mostAsyncRequests = 50000;
    };

    static LocalPlatform& instance();

    /// Opens settings and databases, and sets the application object's property
    /// "velmar.applicationFolder" to the home, where plug-ins read it; the work database opens its
    /// file at its first use. False with a text that names the damaged or missing file; then
    /// nothing is open. May be called again with other options, as tests do: the data of the former
    /// start is dropped and the closing state taken back.
    bool start(const Options& options, QString* error);

    /// Takes the link over and starts it. The link before is stopped first: its pending requests
    /// fail, and its gates are reported as NOCONNECT. A null link disconnects. Blocks until the one
    /// has stopped and the other started. False with a text when it does not start; the platform
    /// has no link then. `error` may be null.
    bool setLink(std::unique_ptr<GatewayLink> link, QString* error);

    /// Replaces what answers BusinessDataInterface; null leaves it empty. Any thread.
    void setNeighbourData(std::shared_ptr<NeighbourData> provider);

    /// Logs in over the link and loads the account tree. Blocks for both requests, 10 s each. Sets
    /// the cache's Constants::USER_ACCOUNTLIST_INITED at the end. False with a text on failure.
    bool login(const QString& userId, const QString& password, QString* error);
    /// The two steps of login() apart.
    bool loginUser(const QString& userId, const QString& password, QString* error);
    bool loadAccountTree(QString* error);

    /// Ends every wait of plug-ins: marks the host closing, so that every wait without limit ends,
    /// and fails every pending and every later synchronous request with 2. Asynchronous requests
    /// still go out. Any thread; does not block. The shut-down itself starts with beginClose().
    void endWaits();
    /// The first step of the shut-down: raises ZnCore::signalAboutToClose while every request still
    /// goes out, then does what endWaits() does. When a slot is connected to the signal, it waits,
    /// up to Options::lastSendLimit, until the presenters have worked off what is queued for their
    /// object threads and the asynchronous requests that this sent are answered; not when it is
    /// called on a presenter's thread. From then on every pending and every later request fails
    /// with 2. Presenters, events, settings and databases keep working. To be called before waiting
    /// for a presenter to end. Any thread; on another than the application's it also waits for
    /// what the slots queued for that one. A second call does nothing.
    void beginClose();
    /// Shut-down: beginClose(), then disposes of every live presenter, ends and joins the plug-ins'
    /// threads, stops the link and closes the work database. Also run when the application is about
    /// to quit and once more from a post routine. A second call does nothing. A presenter that
    /// another thread has not finished making within the build limit is left undeleted, and a
    /// thread that does not end within the thread limit is left running, each with a critical log
    /// line.
    void close();
    /// Any thread.
    bool isClosing() const;

    /// Publishes an event as the host itself; any thread.
    void publishEvent(int eventId, const QVariant& body);
    /// Publishes one tick to the readers of CommonQuotaHandler. Any thread: on the application's
    /// thread the readers are called at once, from other threads the tick is queued for it. Dropped
    /// before the handler's Init(), and with a log line while 10,000 ticks wait for the
    /// application's thread.
    void publishTick(const QString& symbol, const QVariantMap& tick,
                     const QString& source = QStringLiteral("feed"));

    /// Shows another skin: saves its id as the setting "skin" and raises ZnCore::signalSkinChanged
    /// on the application's thread, also for the skin that is shown. False, with a log line and
    /// nothing changed, for an empty id. Any thread.
    bool setSkin(const QString& skinId);

    /// Replaces the server-aligned clock, which is the machine's clock in the exchanges' zone
    /// (exchange_clock.h); null brings that one back. `clock` is called on any thread.
    void setClock(std::function<QDateTime()> clock);

    /// Calls `done`, on any thread, once every live presenter has worked off what is queued for its
    /// object thread now. Any thread.
    void afterQueued(const std::function<void()>& done);

    /// Live presenters, for status lines and tests. Any thread.
    int presenterCount() const;
    /// Requests that were sent and have no outcome yet. Any thread.
    int pendingRequestCount() const;

    QString homeDir() const;

private:
    LocalPlatform();
    ~LocalPlatform() = default;
    Q_DISABLE_COPY(LocalPlatform)

    void letPlugInsSend();

    std::atomic<bool> m_started{false};
    std::atomic<std::chrono::milliseconds> m_lastSendLimit{Options().lastSendLimit};
    std::atomic<std::chrono::milliseconds> m_threadLimit{Options().threadLimit};
};
