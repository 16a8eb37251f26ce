#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "client_info_sink.h"
#include "clock.h"

class ZnPresenterClass;

/// The class of a crash by its call stack: 2, 3 or 4 for a known component, 1 for any other and for
/// a stack that is no list or map. A pure function.
int callStackClass(const QVariant& callStack);

/// Copies the fields of the earliest exception record within 60 seconds of a dump into its report,
/// and sets System::operType to the class of the record's call stack; to 0 without such a record,
/// unless the report has one. A dump without a valid time has no such record. Logs the differences.
void addException(const QDateTime& dumpTime, const QMap<QDateTime, QVariantMap>& exceptionByTime,
                  QVariantMap* report);

/// Reports the crash dumps of former runs that were not reported yet, at most 1,000 of them, and
/// leaves further ones to later starts; removes dumps that were last changed 7 or more days ago;
/// and publishes EventMsgName::LogUploadEvent for each dump with an exception record of the same
/// minute when the server wants it. The dumps are the files "*.dmp" of the application's folder,
/// looked up by their bare names, thus relative to the current directory, and those of the user's
/// configuration directory. On the presenter's object thread; reads, removes and writes files, and
/// blocks for a request. Ends early when the presenter is closing: what was not reported by then
/// counts as new at the next start, except for a dump that was old enough to be removed, which
/// comes before the reports.
void uploadDmpInfo(ZnPresenterClass* presenter, ClientInfoSink& sink, const Clock& clock);
