#pragma once

class ZnPresenterClass;

/// Which one of several presenters does what is done once in a process, such as taking in a notice.
/// It is the first open one in the order in which they were connected to the core, so that a new
/// presenter never takes over from a live one. The role passes on when that presenter closes; what
/// still waits in the queue of a closing presenter is lost. Any thread, also with a lock held;
/// never blocks.
class ResponsiblePresenter {
public:
    /// Makes a presenter a candidate, once it is connected to the core.
    static void add(const ZnPresenterClass* connected);
    /// Removes it, before it is deleted. A presenter that was never added is ignored.
    static void remove(const ZnPresenterClass* removed);
    /// Whether this presenter has the role. If all are closing, the first one has it.
    static bool is(const ZnPresenterClass* presenter);
    /// Whether there is a presenter that is connected to the core and not closing.
    static bool isOpen();
};
