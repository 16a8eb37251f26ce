#pragma once

#include <QList>
#include <QString>
#include <QTime>
#include <QVariant>
#include <QVariantMap>
#include <functional>
#include <mutex>

#include "clock.h"
#include "fake_clock.h"
#include "heart_beat.h"
#include "scripted_link.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

/// A clock for heartbeats, moved by the test; it starts on 2026-03-10 at 10:00. Any thread.
class BeatClock final : public Clock {
public:
    QDateTime now() const override { return m_time.now(); }
    void set(const QDateTime& now) { m_time.set(now); }
    void advance(qint64 ms) { m_time.advance(ms); }

private:
    FakeClock m_time{QDateTime(QDate(2026, 3, 10), QTime(10, 0))};
};

/// Keeps what heartbeats do to the outside. Any thread; read it while nothing else calls.
class BeatSink final : public HeartBeatSink {
public:
    struct Beat {
        QString id;
        ServerRequest request;
    };
    struct Published {
        QString gate;
        NetDelayStat stat;
    };
    struct Elapse {
        QString gate;
        QTime time;
        int elapse = 0;
    };

    void sendHeartBeat(const ServerRequest& request) override {
        QString id;
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            id = QStringLiteral("beat%1").arg(++m_lastId);
        }
        request.identified(id);
        const std::lock_guard<std::mutex> guard(m_lock);
        beats.append({id, request});
    }
    void publishHeartBeatStatistic(const QString& gate, const NetDelayStat& stat) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        published.append({gate, stat});
    }
    void netElapseUpdated(const QString& gate, const QTime& time, int elapse) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        publishedBeforeElapse.append(published.size());
        elapses.append({gate, time, elapse});
    }

    QList<Beat> beats;
    QList<Published> published;
    QList<Elapse> elapses;
    QList<int> publishedBeforeElapse;  ///< length of `published` at each entry of `elapses`

private:
    std::mutex m_lock;  // guards the lists while several threads beat
    int m_lastId = 0;
};

/// The body of an answer to a beat.
inline QVariant answerTo(const QString& clientMsgId,
                         const QString& status = RequestExeStatus::success) {
    return packRows({{System::msgType, Velmar_MsgType::BusiHeartBeatResponse},
                     {System::clientMsgID, clientMsgId},
                     {System::requestExeStatus, status}},
                    {});
}
