#pragma once

#include <QJsonObject>
#include <QString>
#include <memory>
#include <mutex>
#include <vector>

#include "scenario.h"

struct TapeRecord {
    RecordKind kind = RecordKind::Request;
    QString name;  ///< message type, gate, event or symbol; of a log line its level
    QJsonObject fields;
};

/// What a client did, in the order of observation. Any thread.
class ScenarioTape {
public:
    void add(RecordKind kind, const QString& name, const QJsonObject& fields);
    /// The records from a place on.
    std::vector<TapeRecord> from(size_t first) const;

    /// Adds every line of the process's log from now on to the tape; the former message handler
    /// still gets them. One tape in a process, for good.
    static void keepLog(std::shared_ptr<ScenarioTape> tape);

private:
    mutable std::mutex m_mutex;  // guards the records
    // No container of Qt: a shared one would be copied at the next write after from().
    std::vector<TapeRecord> m_records;
};

/// {"header": {...}, "rows": [...]}, or {"body": ...} for anything but a packed body. Integers
/// beyond 2^53 are decimal texts.
QJsonObject jsonOfBody(const QVariant& body);
