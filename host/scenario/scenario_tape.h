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

/// What a client did, in the order in which it was seen. Any thread.
class ScenarioTape {
public:
    void add(RecordKind kind, const QString& name, const QJsonObject& fields);
    /// The records from a place on.
    std::vector<TapeRecord> from(size_t first) const;

    /// From now on every line of the process's log is kept, and goes to the handler before as well.
    /// One tape in a process; it is never given back.
    static void keepLog(std::shared_ptr<ScenarioTape> tape);

private:
    mutable std::mutex m_mutex;  // guards the records
    // Never shared with what from() gave, as a container of Qt would be.
    std::vector<TapeRecord> m_records;
};

/// {"header": {...}, "rows": [...]}, or {"body": ...} of what is no packed body.
QJsonObject jsonOfBody(const QVariant& body);
