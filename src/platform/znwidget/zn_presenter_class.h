#pragma once

#include <QObject>
#include <QString>
#include <QVariant>
#include <memory>

#include "platform_export.h"
#include "znwidget/i_message_interface.h"

class CEventMessageCommon;
class CMessageCommon;
class PresenterChannel;

/// A plug-in's connection to the message layer: requests to the server, server pushes, and the
/// event bus between plug-ins.
///
/// Threads. The constructor moves the object to an object thread of its own, which is not started
/// before initPresenter(): a queued signal to it waits until then, and so does all incoming
/// traffic. 10,000 waiting messages are logged as a warning; above 1,000,000, events and pushes are
/// dropped, answers never. The given parent is the logical owner only. A child object made in a
/// derived constructor must be made without a parent, moved to thread(), and only then be given its
/// parent. The four Proc entries are called on the presenter's message thread, one at a time, in
/// the order of arrival. Every other operation may be called from any thread.
///
/// End. A presenter is deleted by deleteLater() only; the platform does the same to all presenters
/// when the application is about to quit.
class PLATFORM_API ZnPresenterClass : public QObject {
    Q_OBJECT

public:
    /// `pluginInstanceId` names the plug-in instance; `type` is IMessageInterface::OwnThreads (11).
    ZnPresenterClass(const QString& pluginInstanceId, QObject* parent,
                     IMessageInterface::ThreadType type);

    /// The id of this presenter in the message layer, unique in the process.
    QString pluginPid() const;

    /// Subscribes to server pushes of a message type, which then reach ProcSubMsg.
    void Sub(QString pluginPid, QVariant msgType, int mode);
    /// Subscribes to an event of the bus, which then reaches ProcEventMsg.
    void SubEvent(QString pluginPid, QVariant eventId, int mode);
    /// Publishes an event and takes its ownership. Always queued, per subscriber and in order: no
    /// subscriber is called before it returns, so it may be called under a lock.
    void PutEvent(QString pluginPid, CEventMessageCommon* event);

    /// Sends and waits for the answer, up to the standing time-out; takes the message's ownership.
    /// Returns 0 with the answer in `response`; 1 on time-out; 2 on failure, `response` then
    /// holding a body whose System::textDescription says why. Blocks the calling thread, never in
    /// an event loop. Once the presenter or the host is closing it returns 2 at once.
    int sendRequest_Sync(CMessageCommon* msg, QVariant& response);
    /// The same; `wait` adds that many milliseconds to the time-out and is always passed as 0.
    int sendRequest_Sync_Block(CMessageCommon* msg, QVariant& response, unsigned long wait);
    /// Sends and returns; takes the message's ownership. The answer reaches ProcResponseMsg, if one
    /// comes, however late. Returns 0 when the message was sent, 2 when it could not be, or while
    /// tens of thousands of such requests have no answer.
    int sendRequest_Async(CMessageCommon* msg);

    /// Sets the standing time-out of requests in seconds, 10 at first. A number below 1 is refused
    /// with a warning and changes nothing.
    void setRequestTimeOut(int seconds);
    /// The standing time-out in seconds, or that of a paged query that is under way with a time-out
    /// of its own.
    int getRequestTimeOut() const;

    /// True once this presenter is being deleted or the host is closing. A wait without a time
    /// limit must poll it and end.
    bool isClosing() const;

    /// Deletes the presenter: fails its pending requests, stops and joins its message thread,
    /// deletes it on its object thread, ends and joins that. Returns when all is done; on one of
    /// the presenter's own threads it lets another thread do the work and returns. A second call
    /// does nothing. Hides QObject's slot, which would need a running event loop.
    void deleteLater();

    /// A subscribed server push; the first argument is the receiver's pluginPid().
    virtual void ProcSubMsg(QString pluginPid, QVariant msgType, QVariant body);
    /// A subscribed event of the bus; the first argument is the publisher's pluginPid().
    virtual void ProcEventMsg(QString srcId, QVariant eventId, QVariant body);
    /// For other traffic; the platform delivers none.
    virtual void ProcOtherMsg(QString, QVariant, QVariant);
    /// The answer to sendRequest_Async: receiver's pluginPid(), the request's System::clientMsgID,
    /// the answer's message type and body.
    virtual void ProcResponseMsg(QString pluginPid, QString clientMsgId, QVariant msgType,
                                 QVariant body);

    /// Starts both threads; what was queued is delivered from here on. The plug-in object calls it
    /// as the last step of its initialize(). A second call does nothing.
    virtual void initPresenter();

protected:
    /// Called by deleteLater() on the object thread.
    ~ZnPresenterClass() override;

private:
    friend class PresenterChannel;
    const std::shared_ptr<PresenterChannel> m_channel;
};
