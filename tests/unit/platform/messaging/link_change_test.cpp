#include <QtTest>

#include <thread>

#include "client_world.h"
#include "local_platform.h"
#include "platform_fixture.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

constexpr int kInfoGateState = 0x1000B;
inline const QString kSentWhileStarting = QStringLiteral("sent.while.starting");

/// Runs something in the middle of its start.
class SlowToStart : public ScriptedLink {
public:
    std::function<void()> whileStarting;

    bool start(GatewayLinkListener* listener, QString* error) override {
        whileStarting();
        return ScriptedLink::start(listener, error);
    }
};

}  // namespace

class LinkChangeTest : public QObject {
    Q_OBJECT

private slots:
    void linkTakenDown_connectedGate_isReportedDisconnectedSoThatTheNextLinkReconnects() {
        ClientWorld world;
        auto* const presenter = new RecordingPresenter;
        presenter->SubEvent(presenter->pluginPid(), kInfoGateState, 1);
        presenter->initPresenter();
        world.link().gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
        QVERIFY(waitFor([presenter] { return presenter->events().size() == 1; }));

        QString error;
        QVERIFY(LocalPlatform::instance().setLink(nullptr, &error));
        QVERIFY(waitFor([presenter] { return presenter->events().size() == 2; }));
        QCOMPARE(presenter->events().at(1).body.toString(), NET_STATE::NOCONNECT);

        // Every gate is disconnected already, so nothing is reported a second time.
        QVERIFY(LocalPlatform::instance().setLink(nullptr, &error));
        auto next = std::make_unique<ScriptedLink>();
        ScriptedLink* const link = next.get();
        QVERIFY(LocalPlatform::instance().setLink(std::move(next), &error));
        link->gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
        QVERIFY(waitFor([presenter] { return presenter->events().size() == 3; }));
        QCOMPARE(presenter->events().at(2).body.toString(), NET_STATE::CONNECTED);
        presenter->deleteLater();
    }

    void requestWhileALinkStarts_waitsAndGoesToIt() {
        const PlatformFixture platform;
        auto* const presenter = new ProbePresenter;
        presenter->initPresenter();
        QVERIFY(LocalPlatform::instance().setLink(nullptr, nullptr));

        int result = -1;
        std::thread caller;
        auto next = std::make_unique<SlowToStart>();
        next->on(kSentWhileStarting, ScriptedReply::rows({}));
        next->whileStarting = [&]() {
            caller = std::thread([&]() {
                QVariant response;
                result = presenter->sendRequest_Sync(makeMessage(presenter, kSentWhileStarting),
                                                     response);
            });
            // It is pending, and no link can have taken it yet.
            QVERIFY(waitFor([]() { return LocalPlatform::instance().pendingRequestCount() == 1; }));
        };
        QVERIFY(LocalPlatform::instance().setLink(std::move(next), nullptr));
        caller.join();
        QCOMPARE(result, 0);
        presenter->deleteLater();
    }
};

QTEST_GUILESS_MAIN(LinkChangeTest)
#include "link_change_test.moc"
