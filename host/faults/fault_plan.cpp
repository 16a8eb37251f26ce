#include "fault_plan.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <iterator>

#include "fault_types.h"

namespace {

constexpr int kMostMs = 600000;
constexpr int kMostOccurrence = 1000000;
constexpr int kMostHeld = 100;

/// A kind's name, the keys that it takes besides "ms", and the key without which it does nothing.
struct KindName {
    FaultKind kind;
    const char* name;
    const char* keys;
    const char* required = "";
};

constexpr KindName kKinds[] = {
    {FaultKind::Delay, "delay", "", "ms"},
    {FaultKind::TimeOut, "timeout", "silent"},
    {FaultKind::Failure, "failure", "text"},
    {FaultKind::Refusal, "refusal", "text"},
    {FaultKind::Garbage, "garbage", ""},
    {FaultKind::Truncate, "truncate", "rows"},
    {FaultKind::Extra, "extra", "row", "row"},
    {FaultKind::Duplicate, "duplicate", ""},
    {FaultKind::Late, "late", ""},
    {FaultKind::Reorder, "reorder", "count"},
    {FaultKind::Disconnect, "disconnect", "gate reconnect"},
    {FaultKind::Drip, "drip", "", "ms"},
};

const KindName& nameOf(FaultKind kind) {
    return *std::find_if(std::begin(kKinds), std::end(kKinds),
                         [kind](const KindName& it) { return it.kind == kind; });
}

/// "every", "3", "2-5" or "4+".
bool readOccurrences(const LineWord& word, Fault* fault, LineError* error) {
    if (word.text == QLatin1String("every")) {
        return true;
    }
    const auto number = [](const QString& text, int* value) {
        return readWholeNumber(text, 1, kMostOccurrence, value);
    };
    const int dash = word.text.indexOf(QLatin1Char('-'));
    bool good = false;
    if (word.text.endsWith(QLatin1Char('+'))) {
        good = number(word.text.chopped(1), &fault->first);
    } else if (dash > 0) {
        good = number(word.text.left(dash), &fault->first) &&
               number(word.text.mid(dash + 1), &fault->last) && fault->last >= fault->first;
    } else {
        good = number(word.text, &fault->first);
        fault->last = fault->first;
    }
    return good ||
           failAt(word.column,
                  QStringLiteral("'%1' is not a number of occurrences (every, 3, 2-5 or 4+)")
                      .arg(word.text),
                  error);
}

bool readKind(const LineWord& word, Fault* fault, LineError* error) {
    QStringList names;
    for (const KindName& it : kKinds) {
        if (word.text == QLatin1String(it.name)) {
            fault->kind = it.kind;
            return true;
        }
        names.append(QLatin1String(it.name));
    }
    return failAt(word.column,
                  QStringLiteral("'%1' is not a kind of fault (%2)")
                      .arg(word.text, names.join(QStringLiteral(", "))),
                  error);
}

bool readParameter(const LineWord& word, Fault* fault, LineError* error) {
    const KindName& kind = nameOf(fault->kind);
    const QStringList keys =
        (QStringLiteral("ms ") + QLatin1String(kind.keys)).split(QLatin1Char(' '));
    if (word.key.isEmpty() || word.op != QLatin1String("=") || !keys.contains(word.key)) {
        return failAt(word.column,
                      QStringLiteral("%1 does not take '%2' (%3)")
                          .arg(QLatin1String(kind.name), word.key.isEmpty() ? word.text : word.key,
                               keys.join(QLatin1Char(' ')).trimmed()),
                      error);
    }
    if (word.key == QLatin1String("text")) {
        fault->text = word.text;
        return true;
    }
    if (word.key == QLatin1String("ms")) {
        return readNumberOf(word, 0, kMostMs, &fault->ms, error);
    }
    if (word.key == QLatin1String("reconnect")) {
        return readNumberOf(word, 0, kMostMs, &fault->reconnectMs, error);
    }
    if (word.key == QLatin1String("rows")) {
        return readNumberOf(word, 0, kMostOccurrence, &fault->rows, error);
    }
    if (word.key == QLatin1String("count")) {
        return readNumberOf(word, 2, kMostHeld, &fault->count, error);
    }
    if (word.key == QLatin1String("row")) {
        const QJsonDocument row = QJsonDocument::fromJson(word.text.toUtf8());
        fault->row = row.object().toVariantMap();
        return row.isObject() ||
               failAt(word.valueColumn, QStringLiteral("row takes a JSON object"), error);
    }
    if (word.key == QLatin1String("gate")) {
        fault->gate = word.text;
        return isGateName(word.text) ||
               failAt(word.valueColumn, QStringLiteral("'%1' is not a gate").arg(word.text), error);
    }
    fault->silent = word.text == QLatin1String("true");
    return fault->silent || word.text == QLatin1String("false") ||
           failAt(word.valueColumn, QStringLiteral("silent takes true or false"), error);
}

}  // namespace

bool isGateName(const QString& text) {
    return text == NetGateType::TradeGate || text == NetGateType::InfoGate ||
           text == NetGateType::MarketTcpGate || text == NetGateType::MarketGrpcGate;
}

bool readFault(const QVector<LineWord>& words, int from, Fault* fault, LineError* error) {
    *fault = Fault();
    const int end = words.isEmpty() ? 1 : words.last().valueColumn + words.last().text.size();
    if (words.size() < from + 3) {
        return failAt(end, QStringLiteral("a fault takes TYPE OCCURRENCES KIND"), error);
    }
    for (int i = from; i < from + 3; ++i) {
        if (!words.at(i).key.isEmpty() || words.at(i).text.isEmpty()) {
            return failAt(words.at(i).column,
                          QStringLiteral("a fault begins with TYPE OCCURRENCES KIND"), error);
        }
    }
    fault->msgType = words.at(from).text;
    if (fault->msgType != QLatin1String("*") && !faultTypes().contains(fault->msgType)) {
        return failAt(words.at(from).column,
                      QStringLiteral("the server answers no message type '%1' (%2)")
                          .arg(fault->msgType, faultTypes().join(QStringLiteral(", "))),
                      error);
    }
    if (!readOccurrences(words.at(from + 1), fault, error) ||
        !readKind(words.at(from + 2), fault, error)) {
        return false;
    }
    const QString required = QLatin1String(nameOf(fault->kind).required);
    bool isComplete = required.isEmpty();
    for (int i = from + 3; i < words.size(); ++i) {
        if (!readParameter(words.at(i), fault, error)) {
            return false;
        }
        isComplete = isComplete || words.at(i).key == required;
    }
    return isComplete || failAt(end,
                                QStringLiteral("%1 takes %2=")
                                    .arg(QLatin1String(nameOf(fault->kind).name), required),
                                error);
}

bool readFault(const QString& line, Fault* fault, LineError* error) {
    QVector<LineWord> words;
    return readLineWords(line, &words, error) && readFault(words, 0, fault, error);
}

QString faultText(const Fault& fault) {
    QString occurrences = QString::number(fault.first);
    if (fault.last == 0) {
        occurrences = fault.first == 1 ? QStringLiteral("every") : occurrences + QLatin1Char('+');
    } else if (fault.last != fault.first) {
        occurrences += QLatin1Char('-') + QString::number(fault.last);
    }
    QStringList words{quotedWord(fault.msgType), occurrences,
                      QLatin1String(nameOf(fault.kind).name)};
    const Fault standard;
    const auto add = [&words](const char* key, const QString& value) {
        words.append(QLatin1String(key) + QLatin1Char('=') + value);
    };
    const auto addNumber = [&add](const char* key, int value, int usual) {
        if (value != usual) {
            add(key, QString::number(value));
        }
    };
    // A required key is written even with its usual value.
    if (qstrcmp(nameOf(fault.kind).required, "ms") == 0) {
        add("ms", QString::number(fault.ms));
    } else {
        addNumber("ms", fault.ms, standard.ms);
    }
    addNumber("rows", fault.rows, standard.rows);
    addNumber("count", fault.count, standard.count);
    addNumber("reconnect", fault.reconnectMs, standard.reconnectMs);
    if (fault.gate != standard.gate) {
        add("gate", fault.gate);
    }
    if (fault.kind == FaultKind::Extra) {
        add("row", QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(fault.row))
                                         .toJson(QJsonDocument::Compact)));
    }
    if (!fault.text.isEmpty()) {
        add("text", quotedWord(fault.text));
    }
    if (fault.silent) {
        add("silent", QStringLiteral("true"));
    }
    return words.join(QLatin1Char(' '));
}

qint64 heldMs(const Fault& fault, int dataRows) {
    constexpr qint64 kDayMs = 24LL * 3600 * 1000;
    const qint64 ms = fault.ms;
    return fault.kind == FaultKind::Drip ? std::min(ms * dataRows, kDayMs) : ms;
}

void FaultPlan::add(const Fault& fault) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.append({fault, 0});
}

void FaultPlan::clear() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.clear();
}

QStringList FaultPlan::list() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    QStringList lines;
    for (const Entry& entry : m_entries) {
        lines.append(QStringLiteral("%1 # %2").arg(faultText(entry.fault)).arg(entry.counted));
    }
    return lines;
}

int FaultPlan::size() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_entries.size();
}

std::optional<Fault> FaultPlan::take(const QString& msgType) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::optional<Fault> decided;
    for (Entry& entry : m_entries) {
        // Each counts, whichever of them is returned.
        if (entry.fault.matchesType(msgType) && entry.fault.isFor(++entry.counted) && !decided) {
            decided = entry.fault;
        }
    }
    const auto isOver = [](const Entry& entry) {
        return entry.fault.last > 0 && entry.counted >= entry.fault.last;
    };
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), isOver), m_entries.end());
    return decided;
}
