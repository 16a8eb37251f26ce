#pragma once

/// How a presenter gets its incoming traffic.
class IMessageInterface {
public:
    enum ThreadType {
        /// An object thread (slots, timers, destructor) and a message thread (the Proc entries) of
        /// its own.
        OwnThreads = 11
    };
};
