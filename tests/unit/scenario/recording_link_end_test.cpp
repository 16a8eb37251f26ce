#include <QtTest>
#include <atomic>

#include "recording_link.h"
#include "scripted_link.h"

namespace {

const quint64 kRequest = 7;

class CountingListener : public GatewayLinkListener {
public:
    void onAnswer(quint64, const QString&, const QVariant&) override {}
    void onFailure(quint64, const QString&) override { ++failures; }
    void onTimeOut(quint64) override {}
    void onPush(const QString&, const QVariant&) override {}
    void onGateState(const QString&, const QString&) override {}

    std::atomic<int> failures{0};
};

/// Fails pending requests when it is stopped, as every link does; it does not stop by itself.
class FailingLink : public GatewayLink {
public:
    struct Seen {
        int stops = 0;
        bool endedRunning = false;
    };

    explicit FailingLink(std::shared_ptr<Seen> seen) : m_seen(std::move(seen)) {}
    ~FailingLink() override { m_seen->endedRunning = m_listener; }

    bool start(GatewayLinkListener* listener, QString*) override {
        m_listener = listener;
        return true;
    }
    void stop() override {
        ++m_seen->stops;
        if (m_listener) {
            m_listener->onFailure(kRequest, QStringLiteral("stopped"));
            m_listener = nullptr;
        }
    }
    bool send(const GatewayRequest&) override { return true; }

private:
    const std::shared_ptr<Seen> m_seen;
    GatewayLinkListener* m_listener = nullptr;
};

}  // namespace

class RecordingLinkEndTest : public QObject {
    Q_OBJECT

private slots:
    void end_whileItRuns_stopsTheLinkBelowFirst();
};

void RecordingLinkEndTest::end_whileItRuns_stopsTheLinkBelowFirst() {
    const auto seen = std::make_shared<FailingLink::Seen>();
    const auto tape = std::make_shared<ScenarioTape>();
    CountingListener listener;
    auto link = std::make_unique<RecordingLink>(std::make_unique<FailingLink>(seen), tape);
    QString error;
    QVERIFY(link->start(&listener, &error));
    GatewayRequest request;
    request.envelopeId = kRequest;
    request.msgType = QStringLiteral("120006");
    request.body = packRows({}, {});
    QVERIFY(link->send(request));
    link.reset();
    QCOMPARE(seen->stops, 1);
    QVERIFY(!seen->endedRunning);
    // The failure at the end was still recorded, with its type.
    QCOMPARE(listener.failures.load(), 1);
    const auto records = tape->from(0);
    QCOMPARE(static_cast<int>(records.size()), 2);
    QVERIFY(records.at(1).kind == RecordKind::Failure);
    QCOMPARE(records.at(1).name, QStringLiteral("120006"));
}

QTEST_GUILESS_MAIN(RecordingLinkEndTest)
#include "recording_link_end_test.moc"
