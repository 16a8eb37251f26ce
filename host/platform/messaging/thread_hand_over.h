#pragma once

#include <QMetaObject>
#include <QObject>
#include <utility>

// The thread sanitizer does not see the futexes inside Qt's locks and event queues. These two
// functions report a hand-over to it; in every other build they do nothing.
#ifdef __SANITIZE_THREAD__
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
inline void handOverAcquire(const void* address) {
    __tsan_acquire(const_cast<void*>(address));
}
inline void handOverRelease(const void* address) {
    __tsan_release(const_cast<void*>(address));
}
#else
inline void handOverAcquire(const void*) {}
inline void handOverRelease(const void*) {}
#endif

/// A functor on its way to another thread. The sender's last step is to move it into the queue's
/// memory, so that move releases; the call on the other thread acquires before it reads the
/// functor.
template <class Functor>
class HandedOver {
public:
    explicit HandedOver(Functor functor) : m_functor(std::move(functor)) {}
    HandedOver(HandedOver&& other) noexcept : m_functor(std::move(other.m_functor)) {
        handOverRelease(&s_address);
    }
    HandedOver(const HandedOver&) = delete;
    HandedOver& operator=(const HandedOver&) = delete;
    HandedOver& operator=(HandedOver&&) = delete;
    // The queue's memory is freed on whichever of the two threads releases it last.
    ~HandedOver() { handOverAcquire(&s_address); }

    void operator()() {
        handOverAcquire(&s_address);
        m_functor();
        handOverRelease(&s_address);
    }

private:
    inline static char s_address = 0;
    Functor m_functor;
};

/// Runs a functor on the context object's thread: at once when that is the calling one, else
/// queued. Dropped when the context is gone by then.
template <class Functor>
void runOnThreadOf(QObject* context, Functor functor,
                   Qt::ConnectionType type = Qt::AutoConnection) {
    QMetaObject::invokeMethod(context, HandedOver<Functor>(std::move(functor)), type);
}
