#pragma once

#include <QDeadlineTimer>
#include <QThread>

#include "platform_export.h"

/// A thread that the host knows: one that still runs when the host closes is asked to end and
/// joined, after the presenters and before the databases close. One that does not end within 10 s
/// is left running, with a critical log line. A thread that is started while the host is closing is
/// asked to end at once. To be ended by its owner before it is destroyed.
class PLATFORM_API ZnThread : public QThread {
    Q_OBJECT

public:
    explicit ZnThread(QObject* parent = nullptr);
    /// A thread that still runs is an error of its owner, with a critical log line: it is asked to
    /// end and waited for, up to 5 s; after that Qt ends the process.
    ~ZnThread() override;

    /// As QThread's.
    void start(Priority priority = InheritPriority);
    /// As QThread's: waits for the end of run(); false after the deadline.
    bool wait(QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));

    /// Asks run() to return soon; called by the host when it closes. Requests an interruption and
    /// ends the event loop; a class that waits in another way wakes that up too. Any thread; must
    /// not wait for the end of run().
    virtual void requestEnd();

protected:
    /// Takes the thread off the host's list, and waits while the host uses it. Each class calls it
    /// first in its destructor, so that the host does not call a virtual function of an object of
    /// which a part is gone.
    void withdraw();
};
