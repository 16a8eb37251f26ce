#pragma once

#include <QVariantMap>
#include <functional>

#include "client_run.h"
#include "main_loop_gate.h"

/// Shows, exports or records monitoring figures, wherever they come from. Main thread only.
class MonitorJob {
public:
    /// Reads the present figures. False with a text when there is nothing to read any more.
    using Read = std::function<bool(QVariantMap* figures, QString* error)>;

    /// `gate` is where it waits; woken by an interrupt.
    MonitorJob(MainLoopGate& gate, Read read, const ShellOptions& options);

    /// Does what the options ask for and prints why it could not.
    ExitCode run();

private:
    ExitCode watch();
    ExitCode printOnce();
    ExitCode exportText();
    ExitCode record();
    /// Waits until every gate with heartbeats has a sample. False with the reason printed.
    bool awaitAnswers(QVariantMap* figures);
    /// False with the reason printed.
    bool read(QVariantMap* figures) const;

    MainLoopGate& m_gate;
    const Read m_read;
    const ShellOptions& m_options;
};
