#pragma once

#include <QMetaObject>
#include <QObject>
#include <utility>

#include "sanitizer.h"

/// A functor that is queued to another thread, with the hand-over marked for the thread sanitizer.
/// The sender's last access is the move into the queue's memory, so the move releases; the receiver
/// acquires before it reads the functor.
template <class Functor>
class PostedFunctor {
public:
    explicit PostedFunctor(Functor functor) : m_functor(std::move(functor)) {}
    PostedFunctor(PostedFunctor&& other) noexcept : m_functor(std::move(other.m_functor)) {
        sanitizerRelease(&s_address);
    }
    PostedFunctor(const PostedFunctor&) = delete;
    PostedFunctor& operator=(const PostedFunctor&) = delete;
    PostedFunctor& operator=(PostedFunctor&&) = delete;
    // The queue's memory is freed by whichever of the two threads uses it last.
    ~PostedFunctor() { sanitizerAcquire(&s_address); }

    void operator()() {
        sanitizerAcquire(&s_address);
        m_functor();
        sanitizerRelease(&s_address);
    }

private:
    inline static char s_address = 0;
    Functor m_functor;
};

/// Runs a functor on the context object's thread: at once when that is the calling thread,
/// otherwise queued. It is dropped when the context is destroyed before.
template <class Functor>
void invokeOn(QObject* context, Functor functor) {
    QMetaObject::invokeMethod(context, PostedFunctor<Functor>(std::move(functor)));
}

/// Queues a functor for the context object's thread, behind what is queued there, also when that is
/// the calling thread. It is dropped when the context is destroyed before.
template <class Functor>
void queueOn(QObject* context, Functor functor) {
    QMetaObject::invokeMethod(context, PostedFunctor<Functor>(std::move(functor)),
                              Qt::QueuedConnection);
}
