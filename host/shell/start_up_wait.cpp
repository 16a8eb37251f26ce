#include "start_up_wait.h"

#include <QCoreApplication>
#include <atomic>
#include <memory>

#include "client.h"
#include "interrupt_watch.h"
#include "local_platform.h"

bool awaitStartUp(Client& client, int limitMs, QString* error) {
    // The plug-in does it in one slot on its presenter's object thread, so what is queued there now
    // runs after it.
    const auto isOver = std::make_shared<std::atomic<bool>>(false);
    // The gate outlives the presenters, which the client disposes of when it stops.
    LocalPlatform::instance().afterQueued([isOver, &gate = client.gate()] {
        *isOver = true;
        gate.wake();
    });
    client.gate().waitUntil([&isOver] { return *isOver || InterruptWatch::hasCome(); }, limitMs);
    if (InterruptWatch::hasCome()) {
        *error = QStringLiteral("interrupted");
        return false;
    }
    if (*isOver) {
        // The slot hands the risk notices over to the main thread, where they are still queued.
        QCoreApplication::sendPostedEvents();
        return true;
    }
    const QString step = client.awaitMessages(0) ? QStringLiteral("risk notices and risk types")
                         : client.awaitCage(0)
                             ? QStringLiteral("new share issues, subscriptions and messages")
                             : QStringLiteral("Hong Kong prices and the price cage");
    *error = QStringLiteral(
                 "the start-up was not over within %1 s, still loading: %2; --early "
                 "calls without waiting, --wait sets the limit")
                 .arg(limitMs / 1000)
                 .arg(step);
    return false;
}
