#pragma once

#include <QObject>
#include <future>
#include <memory>

#include "thread_hand_over.h"

/// Runs a functor on the context object's thread and waits until it has returned. Unlike a blocking
/// queued call of Qt, the thread sanitizer sees that this thread has waited.
template <class Functor>
void runOnThreadAndWait(QObject* context, Functor functor) {
    const auto done = std::make_shared<std::promise<void>>();
    std::future<void> ended = done->get_future();
    runOnThreadOf(context, [functor, done]() mutable {
        functor();
        done->set_value();
    });
    ended.wait();
}
