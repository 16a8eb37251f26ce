#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "gateway_link.h"

/// A packed body from its parts; System::subGroupNumber is added when the header lacks it.
QVariant packRows(const QVariantMap& header, const QList<QVariantMap>& rows);
/// The body of a successful answer: status, number of rows, the request's type and clientMsgID, and
/// the fields of `header`, which take precedence.
QVariant makeAnswer(const QVariant& requestBody, const QList<QVariantMap>& rows,
                    const QVariantMap& header = {});
/// The body of a refusal.
QVariant makeRefusal(const QVariant& requestBody, const QString& text,
                     const QString& status = QStringLiteral("1"));
QVariantMap headerOf(const QVariant& body);
QList<QVariantMap> rowsOf(const QVariant& body);

/// What the scripted server does with one request.
class ScriptedReply {
public:
    using Function = std::function<QVariant(const QVariant& requestBody)>;

    /// A successful answer with these rows.
    static ScriptedReply rows(const QList<QVariantMap>& rows, const QVariantMap& header = {});
    /// An answer made from the request, on the link's thread. A packed body without a clientMsgID
    /// gets the request's.
    static ScriptedReply with(Function makeBody);
    static ScriptedReply refusal(const QString& text, const QString& status = QStringLiteral("1"));
    static ScriptedReply failure(const QString& text);
    static ScriptedReply timeOut();
    /// An answer whose body is not a packed body.
    static ScriptedReply garbage(const QVariant& body = QStringLiteral("garbage"));
    /// The trade gate changes to NOCONNECT; the request gets no outcome of its own.
    static ScriptedReply disconnect();
    static ScriptedReply never();

    /// The same, but only after ScriptedLink::release().
    ScriptedReply held() const;
    /// The same, twice.
    ScriptedReply twice() const;
    /// A time-out first, and this reply after it, too late.
    ScriptedReply late() const;

private:
    friend class ScriptedLink;
    enum class Kind { Answer, Failure, TimeOut, Disconnect, Never };
    Kind m_kind = Kind::Never;
    Function m_makeBody;
    QString m_text;
    bool m_held = false;
    bool m_twice = false;
    bool m_late = false;
};

/// A server that answers by script. Any thread may call it; outcomes are reported to the platform
/// on the link's own thread, in order, never from inside send().
///
/// The type of a request is its body's System::msgType, or the envelope's type when that is
/// missing. A script for the envelope's type is used when the body's type has no script. Without a
/// script the request is refused with a text that names the type.
class ScriptedLink : public GatewayLink {
public:
    struct Request {
        QString type;
        QString envelopeType;
        QString sourceId;
        quint64 envelopeId = 0;
        QVariantMap header;
        QList<QVariantMap> rows;
        QVariant body;
        int timeOutMs = 0;
        int occurrence = 0;  ///< number of the request among those of its type, from 1
    };

    ScriptedLink();
    ~ScriptedLink() override;

    bool start(GatewayLinkListener* listener, QString* error) override;
    void stop() override;
    bool send(const GatewayRequest& request) override;

    /// Replies to every request of the type, except those with a reply of their own.
    void on(const QString& type, const ScriptedReply& reply);
    void on(const QString& type, ScriptedReply::Function makeBody);
    /// Replies to each request of the type as the function chooses; the function runs inside
    /// send(), one request at a time, and must not call the link.
    void onEach(const QString& type, std::function<ScriptedReply(const Request&)> choose);
    /// Replies to the request of the type with this number, from 1.
    void onOccurrence(const QString& type, int occurrence, const ScriptedReply& reply);
    void forget(const QString& type);

    /// Continues held requests, in the order of their arrival or in reverse. An empty type means
    /// all. Returns their number.
    int release(const QString& type = {});
    int releaseReversed(const QString& type = {});
    int heldCount(const QString& type = {}) const;

    void push(const QString& msgType, const QVariant& body);
    void gateState(const QString& gate, const QString& netState);
    /// While sends are refused, send() returns false and records nothing.
    void refuseSends(bool refuse);
    void failStart(const QString& text);

    /// All requests in order of arrival, or those whose type or envelope type is the given one.
    QList<Request> requests(const QString& type = {}) const;
    int requestCount(const QString& type = {}) const;
    /// The latest request; a default one before the first.
    Request lastRequest(const QString& type = {}) const;
    /// Forgets the requests; occurrences count from 1 again.
    void clearRequests();
    /// Runs queued calls of the application's thread meanwhile.
    bool waitForRequestCount(const QString& type, int count, int limitMs = 5000) const;
    /// Waits until every outcome, push and state so far was reported to the platform.
    bool waitUntilIdle(int limitMs = 5000) const;

private:
    struct Held {
        Request request;
        ScriptedReply reply;
    };
    using Action = std::function<void(GatewayLinkListener&)>;

    void run();
    void postLocked(Action action);
    void playLocked(const Request& request, const ScriptedReply& reply);
    ScriptedReply replyLocked(const Request& request) const;
    int releaseHeld(const QString& type, bool reversed);

    mutable std::mutex m_mutex;  // guards everything below but the thread
    std::condition_variable m_changed;
    std::deque<Action> m_actions;
    std::vector<Held> m_held;
    QList<Request> m_requests;
    std::map<QString, int> m_occurrences;
    std::map<QString, ScriptedReply> m_standing;
    std::map<std::pair<QString, int>, ScriptedReply> m_numbered;
    std::map<QString, std::function<ScriptedReply(const Request&)>> m_choosers;
    GatewayLinkListener* m_listener = nullptr;
    QString m_startFailure;
    bool m_busy = false;
    bool m_stopped = false;
    bool m_refuseSends = false;
    std::thread m_thread;
};
