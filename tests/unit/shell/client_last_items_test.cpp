#include <QTemporaryDir>
#include <QtTest>
#include <atomic>

#include "local_platform.h"
#include "packed_body.h"
#include "process_per_case.h"
#include "small_client.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kMark = QStringLiteral("the last item");

/// Counts the client information items of this test on their way to the server.
class CountingLink final : public GatewayLink {
public:
    CountingLink(std::unique_ptr<GatewayLink> below, std::shared_ptr<std::atomic<int>> items)
        : m_below(std::move(below)), m_items(std::move(items)) {}

    bool start(GatewayLinkListener* listener, QString* error) override {
        return m_below->start(listener, error);
    }
    void stop() override { m_below->stop(); }
    void loseGate(const QString& gate) override { m_below->loseGate(gate); }
    bool send(const GatewayRequest& request) override {
        if (request.msgType == Velmar_MsgType::ClientInfoUploadRequest) {
            for (const QVariantMap& row : rowsOfPackedBody(request.body)) {
                *m_items += row.value(System::itemValue) == kMark ? 1 : 0;
            }
        }
        return m_below->send(request);
    }

private:
    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<std::atomic<int>> m_items;
};

}  // namespace

/// What the real plug-in still sends when the real client ends.
class ClientLastItemsTest : public QObject {
    Q_OBJECT

    static void stopWithAnItemWaiting(bool isInterrupted) {
        const QTemporaryDir home;
        const auto items = std::make_shared<std::atomic<int>>(0);
        Client::Options options = smallClient(home);
        options.wrapLink = [items](std::unique_ptr<GatewayLink> below) {
            return std::unique_ptr<GatewayLink>(
                std::make_unique<CountingLink>(std::move(below), items));
        };
        Client client(options, Client::Listener());
        QString error;
        QVERIFY2(client.start(&error), qPrintable(error));
        constexpr int kStartUpMs = 30000;
        QVERIFY(client.awaitMessages(kStartUpMs));  // so that the presenter is soon free
        const FacadeFunction* const add = client.facade().choose(
            "AddClientInfo", {"UserOperRecord", kMark, "", "1", "", "0"}, &error);
        QVERIFY2(add, qPrintable(error));
        QJsonObject answer;
        constexpr int kNoLimit = -1;
        QVERIFY(client.call(*add, {"UserOperRecord", kMark, "", "1", "", "0"}, kNoLimit, &answer));
        if (isInterrupted) {
            Client::endWaits();
        }
        client.stop();
        QCOMPARE(items->load(), 1);
    }

private slots:
    void stop_itemWaiting_reachesTheServer() { stopWithAnItemWaiting(false); }

    void stop_itemWaitingAfterAnInterrupt_reachesTheServer() { stopWithAnItemWaiting(true); }
};

VELMAR_PROCESS_PER_CASE_MAIN(ClientLastItemsTest)
#include "client_last_items_test.moc"
