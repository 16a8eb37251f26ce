#pragma once

#include <future>
#include <memory>

#include "thread_hand_over.h"
#include "wait_for.h"
#include "znwidget/zn_presenter_class.h"

/// Begins to dispose of a presenter that has been started, and keeps it closing, not yet deleted,
/// until this object is destroyed.
class HeldClose {
public:
    explicit HeldClose(ZnPresenterClass* presenter) {
        const std::shared_future<void> released = m_release.get_future().share();
        const auto isHeld = std::make_shared<std::promise<void>>();
        runOnThreadOf(presenter, [released, isHeld] {
            isHeld->set_value();
            released.wait();
        });
        // A thread whose end is asked for runs no call that it has not taken yet.
        isHeld->get_future().wait();
        m_closer = std::async(std::launch::async, [presenter] { presenter->deleteLater(); });
        m_isClosing = waitFor([presenter] { return presenter->isClosing(); });
    }
    ~HeldClose() {
        m_release.set_value();
        m_closer.get();
    }
    HeldClose(const HeldClose&) = delete;
    HeldClose& operator=(const HeldClose&) = delete;

    /// Whether the presenter began to close in time.
    bool isClosing() const { return m_isClosing; }

private:
    std::promise<void> m_release;
    std::future<void> m_closer;
    bool m_isClosing = false;
};
