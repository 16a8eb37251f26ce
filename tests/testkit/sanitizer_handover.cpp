// Qt is not built with the thread sanitizer, which therefore does not see that an event handed to
// another thread orders what came before it against what the receiver does, nor that
// QThread::wait() returns after the thread's work. Every signal emission releases one address and
// every delivered event acquires it; a thread's finished() releases another, which the end of any
// object acquires: code that deletes a thread, or an object that it used, has waited for it.
#ifdef __SANITIZE_THREAD__

#include <qnamespace.h>
#include <QList>
#include <QMap>
#include <QMetaMethod>
#include <QMetaType>
#include <QObject>
#include <QThread>
#include <QVariantMap>
#include <new>

extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);

// As Qt's library exports it; its header is not part of the public ones.
QT_BEGIN_NAMESPACE
struct QSignalSpyCallbackSet {
    using BeginCallback = void (*)(QObject* caller, int index, void** arguments);
    using EndCallback = void (*)(QObject* caller, int index);
    BeginCallback signalBegin;
    BeginCallback slotBegin;
    EndCallback signalEnd;
    EndCallback slotEnd;
};
Q_CORE_EXPORT void qt_register_signal_spy_callbacks(QSignalSpyCallbackSet* callbacks);
extern Q_CORE_EXPORT quintptr qtHookData[];
QT_END_NAMESPACE

namespace {

char s_handOver;
char s_threadEnd;

/// The signal index that Qt's emission hook passes counts signals only, not slots.
template <class Signal>
int signalIndex(Signal signal) {
    const QMetaMethod method = QMetaMethod::fromSignal(signal);
    int index = 0;
    for (int i = 0; i < method.methodIndex(); ++i) {
        if (method.enclosingMetaObject()->method(i).methodType() == QMetaMethod::Signal) {
            ++index;
        }
    }
    return index;
}

// Place of the hook that every object's destructor calls, in Qt's table of hooks.
constexpr int kRemoveObjectHook = 4;

int s_finished = -1;

void onEmission(QObject* sender, int index, void**) {
    __tsan_release(&s_handOver);
    if (index == s_finished && qobject_cast<QThread*>(sender)) {
        __tsan_release(&s_threadEnd);
    }
}

void onObjectGone(QObject*) {
    __tsan_acquire(&s_threadEnd);
}

bool onDelivery(void**) {
    __tsan_acquire(&s_handOver);
    return false;  // the event is delivered as usual
}

template <class T>
void* constructAndRelease(void* where, const void* original) {
    void* const made = original ? new (where) T(*static_cast<const T*>(original)) : new (where) T;
    __tsan_release(&s_handOver);
    return made;
}

template <class T>
void destruct(void* object) {
    static_cast<T*>(object)->~T();
}

/// A queued emission copies its arguments after the hook ran and before it is queued, so the copy
/// itself has to release. Only for types whose code is ours, not Qt's own: the first registration
/// of a type is the one that counts.
template <class T>
void registerQueuedType(const char* name) {
    QMetaType::registerNormalizedType(
        QMetaObject::normalizedType(name), destruct<T>, constructAndRelease<T>, int(sizeof(T)),
        QMetaType::TypeFlags(QtPrivate::QMetaTypeTypeFlags<T>::Flags), nullptr);
}

struct Registration {
    Registration() {
        s_finished = signalIndex(&QThread::finished);
        static QSignalSpyCallbackSet callbacks{onEmission, nullptr, nullptr, nullptr};
        qt_register_signal_spy_callbacks(&callbacks);
        QInternal::registerCallback(QInternal::EventNotifyCallback, onDelivery);
        registerQueuedType<QList<QVariantMap>>("QList<QVariantMap>");
        registerQueuedType<QMap<int, QVariantMap>>("QMap<int, QVariantMap>");
        qtHookData[kRemoveObjectHook] = reinterpret_cast<quintptr>(&onObjectGone);
    }
};

const Registration s_registration;

}  // namespace

#endif
