#pragma once

#include <QMap>
#include <QMutex>
#include <QPair>
#include <QSet>
#include <QString>
#include <QVariantMap>
#include <functional>

#include "guarded.h"

class ZnPresenterClass;

/// Subscriptions of server pushes, each made once however many subscribers it has, and made again
/// when its gate has connected again, also during its request. A refused one is tried again on the
/// presenter's object thread after 5, 10, 15 and 20 s; a subscription that waits for that on a gate
/// is not scheduled twice. Any thread. The object must outlive the presenters. Locks:
/// m_subscribeLock, held across the request of a subscriber, so that subscribers come one after the
/// other; m_subscribeMapsLock for the maps.
class PushSubscriptions {
public:
    PushSubscriptions() = default;
    virtual ~PushSubscriptions();
    Q_DISABLE_COPY(PushSubscriptions)

    /// Whether the subscription stands: true at once for one that does; otherwise the outcome of
    /// the first attempt, for which it blocks. False without a presenter, and for a topic that
    /// contains "_" or a content without a text form, which are logged.
    bool SubscribePushMsgFromServer(ZnPresenterClass* presenter, const QString& topic,
                                    const QVariantMap& content, const QString& netType);
    /// One attempt, counted from 0. Blocks for the request. A failure is logged and schedules the
    /// next attempt, up to `maxAttempts` of them and while the presenter is open.
    bool subPushMessage(ZnPresenterClass* presenter, const QString& topic,
                        const QVariantMap& content, const QString& netType, int attempt,
                        int maxAttempts);
    /// Makes every subscription of the trade or information gate again, in the order of their
    /// texts, until the presenter is closing. Does nothing for other gates. Blocks for the
    /// requests, and for that of a subscriber that came before.
    void subscribeAgain(ZnPresenterClass* presenter, const QString& netType);
    /// The subscribers of a topic with that content; 0 for one that never stood.
    int subscriberCount(const QString& topic, const QVariantMap& content) const;

protected:
    /// Runs the retry on the presenter's object thread after the delay, unless the presenter is
    /// deleted before.
    virtual void startTimer(ZnPresenterClass* presenter, int delayMs,
                            const std::function<void()>& retry);

private:
    struct Subscription {
        QString topic;
        QVariantMap content;
        QString contentText;
        QString netType;

        /// Topic and content as one text, which the maps are keyed by.
        QString key() const;
    };
    class PendingRetry;
    /// Which retry is scheduled. Its number distinguishes it from a later one of the subscription.
    struct Scheduled {
        QString presenterPid;
        quint64 number = 0;
    };
    using GateAndKey = QPair<QString, QString>;

    struct NoTables {};
    struct Tables {
        QMap<QString, int> m_subscribeCountMap;           ///< subscription key to subscribers
        QMap<QString, QSet<QString>> m_subscribeGateMap;  ///< gate to subscription keys
        QMap<GateAndKey, Scheduled> retries;
        quint64 lastRetry = 0;
        QMap<QString, quint64> connections;  ///< how often each gate has connected again
    };

    /// False with a log line when the maps cannot have such a subscription.
    static bool describe(const QString& topic, const QVariantMap& content, const QString& netType,
                         Subscription* subscription);
    /// Counts one more subscriber of a subscription that stands; false when it does not.
    bool addSubscriber(const QString& key);
    bool attemptOnce(ZnPresenterClass* presenter, const Subscription& subscription, int attempt,
                     int maxAttempts);
    /// How often the gate has connected again.
    quint64 connectionOf(const QString& netType) const;
    /// False when the gate has connected again since: the server may have forgotten a subscription
    /// that it took before, and subscribeAgain() did not find it.
    bool noteSuccess(const Subscription& subscription, quint64 connection);
    void scheduleRetry(ZnPresenterClass* presenter, const Subscription& subscription, int attempt,
                       int maxAttempts);
    /// Ends a scheduled retry. False when it was replaced or is no longer needed.
    bool takeRetry(const GateAndKey& which, quint64 number);

    Guarded<NoTables> m_subscribeLock{"m_subscribeLock", LockRank::Subscribe};
    mutable Guarded<Tables, QMutex> m_subscribeMapsLock{"m_subscribeMapsLock", LockRank::Leaf};
};
