#pragma once

#include <QMetaObject>
#include <QObject>
#include <utility>

#include "sanitizer.h"

/// A functor on its way to another thread. The last thing that the sender does is to move it into
/// the queue's memory, so that move is what releases; whoever calls it acquires before it reads
/// anything of it.
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
    // The queue's memory goes on whichever of the two threads lets go of it last.
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

/// Runs a functor on the context object's thread: at once when that is the calling one, else
/// queued. Dropped when the context is gone by then.
template <class Functor>
void invokeOn(QObject* context, Functor functor) {
    QMetaObject::invokeMethod(context, PostedFunctor<Functor>(std::move(functor)));
}
