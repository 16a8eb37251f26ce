#pragma once

#include <QList>
#include <QVariantMap>
#include <atomic>
#include <condition_variable>
#include <mutex>

#include "guarded.h"
#include "znutils/zn_thread.h"

class MessageWriterSink;

/// The thread that writes business messages to the table; it alone writes while the client runs.
/// Callers only append to its lists and never wait for SQL. It looks at its lists once a second and
/// writes without a pause while they fill.
class VelmarBusiMsgDataBase : public ZnThread {
    Q_OBJECT

public:
    /// Records that may wait for an INSERT; further ones are discarded, except emergencies.
    static constexpr int kMostInserts = 10000;

    explicit VelmarBusiMsgDataBase(MessageWriterSink& sink);
    /// As endAndJoin(). What was queued after the thread's end is lost, with a log line.
    ~VelmarBusiMsgDataBase() override;

    /// Starts the thread; does nothing while it runs. One caller at a time.
    void startWriting();
    /// Makes the thread return after one last pass over both lists; does not wait for that. Any
    /// thread.
    void requestEnd() override;
    /// requestEnd(), then waits for the end of the thread. Not on the thread itself.
    void endAndJoin();

    /// Queues a copy of the record, to be inserted or to update its row. Any thread; does not block
    /// on SQL. The first call after the end of the thread logs a warning, since nothing is written
    /// until the next startWriting(); before the first start nothing is logged.
    void appendBusiMsg(const QVariantMap& record, bool bInsert);

protected:
    void run() override;

private:
    struct Lists {
        QList<QVariantMap> m_insertList;
        QList<QVariantMap> m_updateList;

        bool isEmpty() const { return m_insertList.isEmpty() && m_updateList.isEmpty(); }
    };

    Lists takeLists();
    void write(const Lists& lists);
    bool waitASecondForTheEnd();

    MessageWriterSink& m_sink;
    Guarded<Lists, std::mutex> m_listsLock{"VelmarBusiMsgDataBase::m_listsLock",
                                           LockRank::BusiMsgQueue};
    std::mutex m_stopLock;  // guards m_stopFlag; held for one access, or waited on
    std::condition_variable m_stopped;
    bool m_stopFlag = false;
    std::atomic<bool> m_hasEnded{false};  // and no call of appendBusiMsg() has warned of it
    std::atomic<int> m_discardCount{0};   // refused since the last report
};
