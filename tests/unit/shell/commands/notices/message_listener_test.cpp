#include "message_listener.h"

#include <QTemporaryDir>
#include <QtTest>
#include <mutex>

#include "message_places.h"
#include "server_engine.h"
#include "small_client.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

namespace {

constexpr int kLimitMs = 30000;

}  // namespace

/// One client in this process, whose server gets messages to push.
class MessageListenerTest : public QObject {
    Q_OBJECT

private slots:
    void pushedMessage_reachesTheListenerAndAllPlaces() {
        const QTemporaryDir home;
        std::mutex lock;  // guards texts
        QStringList texts;
        Client::Listener listener;
        listener.platformStarted = [&] {
            auto* const presenter = new MessageListener([&](const QVariantMap& record) {
                const std::lock_guard<std::mutex> guard(lock);
                texts.append(record.value(System::textDescription).toString());
            });
            presenter->initPresenter();
        };
        Client client(smallClient(home), listener);
        QString error;
        QVERIFY2(client.start(&error), qPrintable(error));
        QVERIFY(client.awaitMessages(kLimitMs));
        QVERIFY(waitFor([&] { return client.server()->hasMessageSubscriber(SampleLogin::user); },
                        kLimitMs));

        QVERIFY2(client.server()->publishMessage(SampleLogin::user,
                                                 {{System::textDescription, "紧急通知"},
                                                  {System::BusiMsgType, BusiMsgType::SystemMsg},
                                                  {System::BusiMsgLevel, BusiMsgLevel::Emergency}},
                                                 nullptr, nullptr, &error),
                 qPrintable(error));
        QVERIFY(waitFor(
            [&] {
                const std::lock_guard<std::mutex> guard(lock);
                return texts.contains("紧急通知");
            },
            kLimitMs));

        MessagePlacesCheck places(client, [&](const FacadeFunction& function,
                                              const QStringList& arguments, QJsonObject* answer) {
            return client.call(function, arguments, kLimitMs, answer);
        });
        MessageCheck check;
        QVERIFY(
            waitFor([&] { return places.compare(&check, &error) && check.agrees(); }, kLimitMs));
        QVERIFY(check.server > 0);
        // A second push of a message that is there changes nothing.
        QList<QVariantMap> rows;
        QVERIFY2(client.server()->messagesOf(SampleLogin::user, MessageCentre::Extent::Day, &rows,
                                             &error),
                 qPrintable(error));
        const int before = check.memory;
        QCOMPARE(places.pushAgain({rows.last()}), 1);
        const CommandAnswer answer = places.answer(false, 100);
        QVERIFY2(!answer.isFault, qPrintable(answer.lines.join('\n')));
        QCOMPARE(answer.json.toObject().value("memory").toInt(), before);
        client.stop();
    }
};

QTEST_GUILESS_MAIN(MessageListenerTest)
#include "message_listener_test.moc"
