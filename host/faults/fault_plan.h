#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>
#include <mutex>
#include <optional>

#include "line_words.h"
#include "vocabulary/values.h"

/// What goes wrong with a request.
enum class FaultKind {
    Delay,       ///< the answer comes later
    TimeOut,     ///< no answer; the sender is notified of the time-out
    Failure,     ///< the request fails
    Refusal,     ///< the server refuses it with a text
    Garbage,     ///< the answer's body is not a packed body
    Truncate,    ///< the answer's body has fewer rows than its header states
    Extra,       ///< the answer has an additional row
    Duplicate,   ///< the answer comes twice
    Late,        ///< the time-out first, the answer after it
    Reorder,     ///< answers are held and come in the reverse order
    Disconnect,  ///< a gate goes down and the request fails
    Drip         ///< the answer is delayed for each of its rows
};

struct Fault {
    QString msgType = QStringLiteral("*");  ///< "*" for every type
    int first = 1;                          ///< first request that it applies to, from 1
    int last = 0;                           ///< last such request; 0 for no end
    FaultKind kind = FaultKind::Delay;
    int ms = 0;            ///< how long the outcome is delayed; of Drip for each row
    QString text;          ///< of Failure and Refusal
    int rows = -1;         ///< of Truncate: data rows to keep; negative for half of them
    QVariantMap row;       ///< of Extra
    int count = 2;         ///< of Reorder: how many answers are held
    int reconnectMs = -1;  ///< of Disconnect: when the gate comes back; negative for never
    QString gate = NetGateType::TradeGate;  ///< of Disconnect
    bool silent = false;                    ///< of TimeOut: the sender is not notified

    bool matchesType(const QString& type) const {
        return msgType == QLatin1String("*") || msgType == type;
    }
    /// Whether it applies to the n-th matching request, counted from 1.
    bool isFor(int occurrence) const {
        return occurrence >= first && (last == 0 || occurrence <= last);
    }
};

/// Whether it is one of NetGateType.
bool isGateName(const QString& text);

/// Reads "TYPE OCCURRENCES KIND [key=value]..." (docs/scenarios.md) from the words behind `from`.
/// False with the place of the error.
bool readFault(const QVector<LineWord>& words, int from, Fault* fault, LineError* error);
bool readFault(const QString& line, Fault* fault, LineError* error);
/// The line from which readFault() reads the same fault.
QString faultText(const Fault& fault);
/// How long to delay the outcome of a request whose answer has `dataRows` rows; at most a day.
qint64 heldMs(const Fault& fault, int dataRows);

/// The faults of a link. Each counts the requests of its type since it was added; the first in the
/// list that applies to a request is used. One that can apply to no later request is removed. Any
/// thread.
class FaultPlan {
public:
    void add(const Fault& fault);
    void clear();
    /// faultText() of each, with how many requests it has counted.
    QStringList list() const;
    int size() const;

    /// Counts a request of the type and returns the fault that applies to it, if any.
    std::optional<Fault> take(const QString& msgType);

private:
    struct Entry {
        Fault fault;
        int counted = 0;
    };

    mutable std::mutex m_mutex;  // guards the list
    QVector<Entry> m_entries;
};
