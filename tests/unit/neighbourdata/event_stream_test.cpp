#include "event_stream.h"

#include <QtTest>

#include "log_capture.h"
#include "wait_for.h"

namespace {

/// Keeps what is published; the first event waits for release().
class Publisher {
public:
    EventStream::Options options(size_t mostWaiting, size_t mostAtClose) {
        EventStream::Options made;
        made.reloadEvents = {1000, 1001};
        made.mostWaiting = mostWaiting;
        made.mostWaitingAtClose = mostAtClose;
        made.publish = [this](int id, const QVariant&) {
            std::unique_lock<std::mutex> lock(m_lock);
            m_ids.append(id);
            m_changed.notify_all();
            m_changed.wait(lock, [this] { return m_released; });
        };
        return made;
    }
    void awaitFirst() {
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [this] { return !m_ids.isEmpty(); });
    }
    void release() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_released = true;
        m_changed.notify_all();
    }
    QList<int> ids() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_ids;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    QList<int> m_ids;
    bool m_released = false;
};

void put(EventStream& stream, int first, int last) {
    for (int id = first; id <= last; ++id) {
        stream.put(id, {});
    }
}

}  // namespace

class EventStreamTest : public QObject {
    Q_OBJECT

private slots:
    void moreThanTheBound_isReplacedByOneReload() {
        Publisher publisher;
        EventStream stream(publisher.options(10, 10));
        stream.put(1, {});
        publisher.awaitFirst();
        put(stream, 2, 26);  // the 12th and the 21st find ten waiting
        publisher.release();
        stream.awaitPublished();
        QCOMPARE(publisher.ids(), (QList<int>{1, 1000, 1001, 22, 23, 24, 25, 26}));
        put(stream, 30, 31);
        stream.close();
        QCOMPARE(publisher.ids().mid(8), (QList<int>{30, 31}));
    }

    void closeWithMuchWaiting_publishesOneReloadOnly() {
        Publisher publisher;
        EventStream stream(publisher.options(100, 10));
        stream.put(1, {});
        publisher.awaitFirst();
        put(stream, 2, 60);
        const LogCapture log;
        std::thread closer([&stream] { stream.close(); });
        const bool isReplaced =
            waitFor([&log] { return log.contains(QtWarningMsg, "replaced by a reload"); });
        publisher.release();
        closer.join();
        QVERIFY(isReplaced);
        QCOMPARE(publisher.ids(), (QList<int>{1, 1000, 1001}));
    }

    void closeWithLittleWaiting_publishesIt() {
        Publisher publisher;
        EventStream stream(publisher.options(100, 10));
        put(stream, 1, 5);
        publisher.release();
        stream.close();
        QCOMPARE(publisher.ids(), (QList<int>{1, 2, 3, 4, 5}));
    }
};

QTEST_GUILESS_MAIN(EventStreamTest)
#include "event_stream_test.moc"
