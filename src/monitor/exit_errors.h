#pragma once

#include "client_info_sink.h"
#include "clock.h"

// What the last run left in the folder "log" of the application's folder. On the thread that makes
// the core; reads and removes files. A file that cannot be opened counts as an empty one, and a
// line that is not the text form of a record is left out.

/// Reports each error of the update program and removes its file. A file that cannot be removed
/// stays and is reported again by the next call.
void uploadClientUpdateError(ClientInfoSink& sink);
/// Reports each record of an exception exit ("dmpLog_" files) and removes their files, and the
/// monitor's logs ("monitorLog_" files) that were made before yesterday. The last record of each
/// file is on the host's board afterwards: under ClientMonitor::TagDump, by file name. Ends early
/// when the host closes; the other files are left to the next start.
void uploadDmpMonitorInfo(ClientInfoSink& sink, const Clock& clock);
