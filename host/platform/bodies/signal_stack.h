#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>

/// The stack on which a thread runs its signal handlers. With one, a crash can also be reported
/// when the thread has used up its own stack.
class SignalStack {
public:
    static constexpr std::size_t kBytes = 128 * 1024;

    /// Gives the calling thread a signal stack until it ends. Does nothing when the thread has one
    /// or no memory is left.
    static void provide() {
        static thread_local const SignalStack stack;
        static_cast<void>(stack);
    }

    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

private:
    SignalStack() {
        stack_t present{};
        if (sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) {
            return;
        }
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        void* const memory = mmap(nullptr, kBytes + page, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            return;
        }
        // The stack grows down to a page that nobody may touch.
        mprotect(memory, page, PROT_NONE);
        stack_t own{};
        own.ss_sp = static_cast<char*>(memory) + page;
        own.ss_size = kBytes;
        if (sigaltstack(&own, nullptr) != 0) {
            munmap(memory, kBytes + page);
            return;
        }
        m_memory = memory;
        m_size = kBytes + page;
    }
    ~SignalStack() {
        if (!m_memory) {
            return;
        }
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
        munmap(m_memory, m_size);
    }

    void* m_memory = nullptr;
    std::size_t m_size = 0;
};
