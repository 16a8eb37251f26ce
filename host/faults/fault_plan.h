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
    TimeOut,     ///< no answer; the sender is told so
    Failure,     ///< the request fails
    Refusal,     ///< the server refuses it with a text
    Garbage,     ///< the answer's body is none
    Truncate,    ///< the answer's header tells of more rows than its body holds
    Extra,       ///< the answer has a row too many
    Duplicate,   ///< the answer comes twice
    Late,        ///< the time-out first, the answer after it
    Reorder,     ///< answers are held and come in the reverse order
    Disconnect,  ///< a gate goes down, and the request with it
    Drip         ///< the answer comes the later the more rows it has
};

struct Fault {
    QString msgType = QStringLiteral("*");  ///< "*" for every type
    int first = 1;                          ///< the requests that it is for, counted from 1
    int last = 0;                           ///< 0 for all from the first on
    FaultKind kind = FaultKind::Delay;
    int ms = 0;            ///< how long the outcome is held; of Drip for each row
    QString text;          ///< of Failure and Refusal
    int rows = -1;         ///< of Truncate: data rows that are left; negative for half of them
    QVariantMap row;       ///< of Extra
    int count = 2;         ///< of Reorder: how many answers are held
    int reconnectMs = -1;  ///< of Disconnect: when the gate comes back; negative for never
    QString gate = NetGateType::TradeGate;  ///< of Disconnect
    bool silent = false;                    ///< of TimeOut: nobody is told

    bool matchesType(const QString& type) const {
        return msgType == QLatin1String("*") || msgType == type;
    }
    /// Whether it is for the how-manieth matching request, from 1.
    bool isFor(int occurrence) const {
        return occurrence >= first && (last == 0 || occurrence <= last);
    }
};

/// Whether it is one of NetGateType.
bool isGateName(const QString& text);

/// "TYPE OCCURRENCES KIND [key=value]...", as docs/scenarios.md tells it; the words from `from` on.
bool readFault(const QVector<LineWord>& words, int from, Fault* fault, LineError* error);
bool readFault(const QString& line, Fault* fault, LineError* error);
/// The line that reads back as the fault.
QString faultText(const Fault& fault);
/// How long the outcome of a request is held whose answer has so many data rows; a day at most.
qint64 heldMs(const Fault& fault, int dataRows);

/// The faults of a link. Each counts the requests that match its type, from the moment that it was
/// added; the first one in the list that is for a request decides. One that is for no later request
/// is dropped. Any thread.
class FaultPlan {
public:
    void add(const Fault& fault);
    void clear();
    /// faultText() of each, with how many requests it has counted.
    QStringList list() const;
    int size() const;

    /// Counts a request of the type and says what goes wrong with it; nothing for most.
    std::optional<Fault> take(const QString& msgType);

private:
    struct Entry {
        Fault fault;
        int counted = 0;
    };

    mutable std::mutex m_mutex;  // guards the list
    QVector<Entry> m_entries;
};
