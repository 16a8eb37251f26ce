#pragma once

#include <QList>
#include <QString>
#include <QTime>
#include <QVariant>
#include <QVariantMap>

class QObject;
class VelmarDelayBuffer;

/// An item as AddClientInfo builds it: `time` as "hh:mm:ss.zzz", the current time of day when it is
/// invalid. A pure function but for that.
QVariantMap clientInfoItem(const QString& itemType, const QString& itemValue,
                           const QString& itemValueEx, const QVariant& operType, const QTime& time,
                           int logTriggerTime);

/// Where items go from the buffer. Called on the thread of the buffer's owner.
class ClientInfoOutlet {
public:
    virtual ~ClientInfoOutlet() = default;

    /// Whether anybody takes items to the server at present.
    virtual bool isClientInfoTaken() const = 0;
    /// An item was taken in; it waits until it is handed over.
    virtual void clientInfoCollected() = 0;
    /// Hands items over to be sent; the list may be empty.
    virtual void uploadClientInfo(const QList<QVariantMap>& items) = 0;
};

/// Collects client information items for fifteen seconds from the first one on and hands them over
/// together; an urgent one goes at once and alone. While nobody takes items, all of them stay,
/// urgent ones too, and the fifteen seconds start anew; once `mostKept` wait for somebody, further
/// ones are dropped, with one warning. On the thread of the owner only.
class ClientInfoBuffer {
public:
    static constexpr int windowMs = 15000;
    /// About 100 MB of memory, and a batch that the platform still takes in one message.
    static constexpr int mostKept = 100000;

    /// `window` in milliseconds; owner and outlet outlive this object.
    ClientInfoBuffer(QObject* owner, ClientInfoOutlet& outlet, int window = windowMs,
                     int most = mostKept);
    Q_DISABLE_COPY(ClientInfoBuffer)

    /// Sets or rewrites the item's time as "hh:mm:ss.zzz" (empty for a text that is no time) and
    /// keeps the item, or hands it over at once when Strategy::logTriggerTime is not 0. The first
    /// item gives the owner the object name "clientInfoUploadBuffer".
    void slotClientInfoCollect(QVariantMap dataMap);
    /// The end of the fifteen seconds: hands over what is kept, also an empty list. Does nothing
    /// before the first item.
    void slotClientInfoTimeOut();
    /// Ends the fifteen seconds now. Does nothing before the first item.
    void UploadAllClientInfo();

private:
    bool isFull();

    QObject* const m_owner;
    ClientInfoOutlet& m_outlet;
    const int m_window;
    const int m_most;
    int m_kept = 0;  // items in the buffer
    bool m_isDropping = false;
    VelmarDelayBuffer* m_clientInfoBuffer = nullptr;  // a child of the owner
};
