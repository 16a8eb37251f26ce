#pragma once

#include <QThread>
#include <QTimer>
#include <atomic>

#include "platform_fixture.h"

inline constexpr int kLivingEvent = 0x777;
inline const QString kLivingType = QStringLiteral("type.1");

/// What a LivingPresenter records; outlives it.
struct Trace {
    std::atomic<int> destroyed{0};
    std::atomic<int> slotCalls{0};
    std::atomic<int> procCalls{0};
    std::atomic<bool> entered{false};
    std::atomic<QThread*> slotThread{nullptr};
    std::atomic<QThread*> procThread{nullptr};
    std::atomic<QThread*> destructorThread{nullptr};
    std::atomic<int> sendResult{-1};
};

/// A presenter with a slot, an event and a child timer; a test sets what they do.
class LivingPresenter : public ZnPresenterClass {
public:
    explicit LivingPresenter(QObject* parent = nullptr)
        : ZnPresenterClass(QStringLiteral("Test.Living"), parent, IMessageInterface::OwnThreads),
          trace(std::make_shared<Trace>()),
          child(new QTimer) {
        SubEvent(pluginPid(), kLivingEvent, 1);
        child->moveToThread(thread());
        child->setParent(this);
    }
    ~LivingPresenter() override {
        trace->destructorThread = QThread::currentThread();
        if (sendsAtTheEnd) {
            QVariant response;
            trace->sendResult = sendRequest_Sync(makeMessage(this, kLivingType), response);
        }
        ++trace->destroyed;
    }

    void ProcEventMsg(QString, QVariant, QVariant) override {
        trace->procThread = QThread::currentThread();
        trace->entered = true;
        if (onEvent) {
            onEvent();
        }
        ++trace->procCalls;
    }

    void waitForTheEnd() {
        while (!isClosing()) {
            QThread::yieldCurrentThread();
        }
    }
    void sendAndKeepTheResult() {
        QVariant response;
        trace->sendResult = sendRequest_Sync(makeMessage(this, kLivingType), response);
    }

    const std::shared_ptr<Trace> trace;
    QTimer* const child;
    std::function<void()> onSlot;
    std::function<void()> onEvent;
    bool sendsAtTheEnd = false;
    QVariantMap received;
    QList<QVariantMap> receivedList;
    ZnPresenterClass* receivedPresenter = nullptr;

    void slotWork() {
        trace->slotThread = QThread::currentThread();
        trace->entered = true;
        if (onSlot) {
            onSlot();
        }
        ++trace->slotCalls;
    }
    void slotRecord(QVariantMap& record) {
        received = record;
        record.clear();
        slotWork();
    }
    void slotList(QList<QVariantMap>& list) {
        receivedList = list;
        slotWork();
    }
    void slotPresenter(ZnPresenterClass* presenter) {
        receivedPresenter = presenter;
        slotWork();
    }
};
