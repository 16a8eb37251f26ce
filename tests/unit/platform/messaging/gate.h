#pragma once

#include <functional>
#include <future>

#include "platform_fixture.h"

/// Holds presenters in their entry functions until it is opened.
class Gate {
public:
    std::function<void(const ProbeLog::Call&)> waiter() const {
        return [open = m_open](const ProbeLog::Call&) { open.wait(); };
    }
    void open() { m_mayGo.set_value(); }

private:
    std::promise<void> m_mayGo;
    const std::shared_future<void> m_open = m_mayGo.get_future().share();
};
