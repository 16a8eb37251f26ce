#include "scenario_steps.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <cmath>
#include <utility>

#include "vocabulary/net_state.h"

namespace {

constexpr int kMostMs = 600000;
constexpr int kMostCount = 1000000;
constexpr int kStandardLimitMs = 10000;
constexpr int kStandardStartMs = 30000;

using Words = QVector<LineWord>;
using Kind = ScenarioStep::Kind;

int endOf(const Words& words) {
    const LineWord& last = words.last();
    return last.valueColumn + last.text.size();
}

/// Reads the word at a place, which must exist and have no name.
bool takePlain(const Words& words, int at, const char* what, QString* text, LineError* error) {
    if (at >= words.size()) {
        return failAt(endOf(words), QStringLiteral("%1 is missing").arg(QLatin1String(what)),
                      error);
    }
    if (!words.at(at).key.isEmpty() || words.at(at).text.isEmpty()) {
        return failAt(words.at(at).column,
                      QStringLiteral("%1 is expected here").arg(QLatin1String(what)), error);
    }
    *text = words.at(at).text;
    return true;
}

bool takeNothingMore(const Words& words, int from, LineError* error) {
    return words.size() <= from ||
           failAt(words.at(from).column,
                  QStringLiteral("'%1' takes nothing more").arg(words.first().text), error);
}

bool isNamed(const LineWord& word, const char* key) {
    return word.op == QLatin1String("=") && word.key == QLatin1String(key);
}

bool takeMap(const LineWord& word, QVariantMap* map, LineError* error) {
    const QJsonDocument document = QJsonDocument::fromJson(word.text.toUtf8());
    if (word.kind != LineWord::Kind::Json || !word.key.isEmpty() || !document.isObject()) {
        return failAt(word.column, QStringLiteral("a JSON object is expected here"), error);
    }
    *map = document.object().toVariantMap();
    return true;
}

/// The word as JSON inside a list, since a document cannot be a bare value.
bool takeJson(const LineWord& word, QString* json, LineError* error) {
    *json = QLatin1Char('[') + word.text + QLatin1Char(']');
    if (word.kind == LineWord::Kind::Quoted) {
        *json =
            QString::fromUtf8(QJsonDocument(QJsonArray{word.text}).toJson(QJsonDocument::Compact));
    }
    const bool good = !word.text.trimmed().isEmpty() || word.kind == LineWord::Kind::Quoted;
    return (good && QJsonDocument::fromJson(json->toUtf8()).array().size() == 1) ||
           failAt(word.valueColumn, QStringLiteral("'%1' is not a JSON value").arg(word.text),
                  error);
}

bool takeCheck(const LineWord& word, ScenarioCheck* check, LineError* error) {
    check->path = word.key;
    check->value = word.text;
    check->text = word.key + word.op + word.text;
    int ignored = 0;
    if (word.op == QLatin1String("*=")) {
        check->op = ScenarioCheck::Op::Contains;
    } else if (word.op == QLatin1String("~=")) {
        check->op = ScenarioCheck::Op::Matches;
        const QRegularExpression pattern(word.text);
        return pattern.isValid() ||
               failAt(word.valueColumn + qMax(0, pattern.patternErrorOffset()),
                      QStringLiteral("not a regular expression: %1").arg(pattern.errorString()),
                      error);
    } else if (word.op == QLatin1String("%=")) {
        check->op = ScenarioCheck::Op::Near;
        bool isNumber = false;
        const double number = word.text.toDouble(&isNumber);
        return (isNumber && std::isfinite(number)) ||
               failAt(word.valueColumn, QStringLiteral("'%1' is not a number").arg(word.text),
                      error);
    } else if (word.op == QLatin1String("#=")) {
        check->op = ScenarioCheck::Op::Count;
        return readNumberOf(word, 0, kMostCount, &ignored, error);
    } else if (word.kind == LineWord::Kind::Json) {
        check->op = ScenarioCheck::Op::Same;
        return takeJson(word, &check->value, error);
    }
    return true;
}

bool readSetting(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Setting;
    return takePlain(words, 1, "the setting's name", &step->name, error) &&
           takePlain(words, 2, "the setting's value", &step->value, error) &&
           takeNothingMore(words, 3, error);
}

bool readFaultStep(const Words& words, ScenarioStep* step, LineError* error) {
    if (words.size() == 2 && words.at(1).text == QLatin1String("clear")) {
        step->kind = Kind::ClearFaults;
        return true;
    }
    step->kind = Kind::Fault;
    return readFault(words, 1, &step->fault, error);
}

bool readClock(const Words& words, ScenarioStep* step, LineError* error) {
    QString how;
    QString value;
    if (!takePlain(words, 1, "set or advance", &how, error) ||
        !takePlain(words, 2, "a time", &value, error) || !takeNothingMore(words, 3, error)) {
        return false;
    }
    if (how == QLatin1String("set")) {
        step->kind = Kind::ClockSet;
        step->time = QDateTime::fromString(value, Qt::ISODateWithMs);
        return step->time.isValid() ||
               failAt(words.at(2).column,
                      QStringLiteral("'%1' is not a time such as 2026-01-05T09:30:00").arg(value),
                      error);
    }
    step->kind = Kind::ClockAdvance;
    int ms = 0;
    if (how != QLatin1String("advance")) {
        return failAt(words.at(1).column, QStringLiteral("clock takes set or advance"), error);
    }
    constexpr int kWeekMs = 7 * 24 * 3600 * 1000;
    if (!readWholeNumber(value, 0, kWeekMs, &ms)) {
        return failAt(words.at(2).column,
                      QStringLiteral("the clock advances by up to %1 ms").arg(kWeekMs), error);
    }
    step->ms = ms;
    return true;
}

/// Reads what start and ready have in common: "within=MS", "user=NAME".
bool readStartWords(const Words& words, int from, ScenarioStep* step, LineError* error) {
    step->limitMs = kStandardStartMs;
    for (int i = from; i < words.size(); ++i) {
        const LineWord& word = words.at(i);
        if (isNamed(word, "within")) {
            if (!readNumberOf(word, 1, kMostMs, &step->limitMs, error)) {
                return false;
            }
        } else if (isNamed(word, "user") && step->kind != Kind::Ready) {
            step->user = word.text;
        } else if (step->kind == Kind::StartFails && word.key == QLatin1String("error")) {
            ScenarioCheck check;
            if (!takeCheck(word, &check, error)) {
                return false;
            }
            step->checks.append(check);
        } else {
            return failAt(word.column, QStringLiteral("'%1' does not belong here").arg(word.text),
                          error);
        }
    }
    return true;
}

bool readStart(const Words& words, ScenarioStep* step, LineError* error) {
    const QString how =
        words.size() > 1 && words.at(1).key.isEmpty() ? words.at(1).text : QString();
    if (how == QLatin1String("nowait")) {
        step->kind = Kind::Begin;
    } else if (how == QLatin1String("fails")) {
        step->kind = Kind::StartFails;
    } else {
        step->kind = Kind::Start;
    }
    return readStartWords(words, step->kind == Kind::Start ? 1 : 2, step, error);
}

bool readReady(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Ready;
    return readStartWords(words, 1, step, error);
}

bool readPush(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Push;
    step->limitMs = kStandardLimitMs;
    if (!takePlain(words, 1, "the topic", &step->name, error)) {
        return false;
    }
    for (int i = 2; i < words.size(); ++i) {
        if (isNamed(words.at(i), "user")) {
            step->user = words.at(i).text;
            continue;
        }
        if (isNamed(words.at(i), "within")) {
            if (!readNumberOf(words.at(i), 1, kMostMs, &step->limitMs, error)) {
                return false;
            }
            continue;
        }
        QVariantMap row;
        if (!takeMap(words.at(i), &row, error)) {
            return false;
        }
        step->rows.append(row);
    }
    return !step->rows.isEmpty() ||
           failAt(endOf(words), QStringLiteral("the header of the push is missing"), error);
}

bool readTick(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Tick;
    step->value = QStringLiteral("scenario");
    QVariantMap fields;
    if (!takePlain(words, 1, "the symbol", &step->name, error)) {
        return false;
    }
    if (words.size() < 3) {
        return failAt(endOf(words), QStringLiteral("the fields of the tick are missing"), error);
    }
    if (!takeMap(words.at(2), &fields, error)) {
        return false;
    }
    step->rows.append(fields);
    if (words.size() > 3 && isNamed(words.at(3), "source")) {
        step->value = words.at(3).text;
        return takeNothingMore(words, 4, error);
    }
    return takeNothingMore(words, 3, error);
}

bool readGate(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Gate;
    QString state;
    if (!takePlain(words, 1, "the gate", &step->name, error) ||
        !takePlain(words, 2, "up, down or connecting", &state, error)) {
        return false;
    }
    if (!isGateName(step->name)) {
        return failAt(words.at(1).column, QStringLiteral("'%1' is not a gate").arg(step->name),
                      error);
    }
    if (state == QLatin1String("up")) {
        step->value = NET_STATE::CONNECTED;
    } else if (state == QLatin1String("down")) {
        step->value = NET_STATE::NOCONNECT;
    } else if (state == QLatin1String("connecting")) {
        step->value = NET_STATE::CONNECTTING;
    } else {
        return failAt(words.at(2).column, QStringLiteral("a gate goes up, down or connecting"),
                      error);
    }
    return takeNothingMore(words, 3, error);
}

/// Reads "user=", which a message may have, and "within=", which a patch may have too; `isRead` is
/// whether it was one.
bool readMessageWord(const LineWord& word, ScenarioStep* step, bool* isRead, LineError* error) {
    const bool isUser = step->kind == Kind::Message && isNamed(word, "user");
    *isRead = isUser || ((step->kind == Kind::Message || step->kind == Kind::Patch) &&
                         isNamed(word, "within"));
    if (isUser) {
        step->user = word.text;
        return true;
    }
    return !*isRead || readNumberOf(word, 0, kMostMs, &step->limitMs, error);
}

/// "deal RECORD", "position RECORD", "order RECORD", "message RECORD", "patch RECORD", each with
/// "error" when it is to be refused.
bool readRecord(const Words& words, ScenarioStep* step, LineError* error) {
    static const QHash<QString, Kind> kinds{{QStringLiteral("deal"), Kind::Deal},
                                            {QStringLiteral("order"), Kind::Order},
                                            {QStringLiteral("position"), Kind::Position},
                                            {QStringLiteral("message"), Kind::Message},
                                            {QStringLiteral("patch"), Kind::Patch}};
    const QString& what = words.first().text;
    step->kind = kinds.value(what);
    step->limitMs = kStandardLimitMs;
    if (words.size() < 2) {
        return failAt(endOf(words), QStringLiteral("the record of the %1 is missing").arg(what),
                      error);
    }
    QVariantMap record;
    if (!takeMap(words.at(1), &record, error)) {
        return false;
    }
    step->rows.append(record);
    for (int i = 2; i < words.size(); ++i) {
        ScenarioCheck check;
        bool isRead = false;
        if (!readMessageWord(words.at(i), step, &isRead, error)) {
            return false;
        }
        if (isRead) {
            continue;
        }
        if (words.at(i).key != QLatin1String("error")) {
            return takeNothingMore(words, i, error);
        }
        if (!takeCheck(words.at(i), &check, error)) {
            return false;
        }
        step->checks.append(check);
    }
    return true;
}

/// Reads "=>" at a place and the checks behind it.
bool readAnswerChecks(const Words& words, int at, ScenarioStep* step, LineError* error) {
    for (++at; at < words.size(); ++at) {
        const LineWord& word = words.at(at);
        ScenarioCheck check;
        if (isNamed(word, "within")) {
            if (!readNumberOf(word, 1, kMostMs, &step->limitMs, error)) {
                return false;
            }
            continue;
        }
        if (word.key.isEmpty()) {
            check = {QStringLiteral("result"), ScenarioCheck::Op::Same, {}, word.text};
            if (!takeJson(word, &check.value, error)) {
                return false;
            }
        } else if (!takeCheck(word, &check, error)) {
            return false;
        }
        step->checks.append(check);
    }
    return !step->checks.isEmpty() ||
           failAt(endOf(words), QStringLiteral("'=>' and the checks of the answer are missing"),
                  error);
}

bool readCall(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Call;
    if (!takePlain(words, 1, "the function", &step->name, error)) {
        return false;
    }
    int at = 2;
    for (; at < words.size() && words.at(at).text != QLatin1String("=>"); ++at) {
        if (!words.at(at).key.isEmpty()) {
            return failAt(words.at(at).column,
                          QStringLiteral("put an argument that contains '=' in quotes"), error);
        }
        step->values.append(words.at(at).text);
    }
    return readAnswerChecks(words, at, step, error);
}

bool readBook(const Words& words, ScenarioStep* step, LineError* error) {
    if (words.size() == 2 && words.at(1).key.isEmpty() &&
        words.at(1).text == QLatin1String("reload")) {
        step->kind = Kind::BookReload;
        return true;
    }
    step->kind = Kind::Book;
    if (!takePlain(words, 1, "the account", &step->name, error)) {
        return false;
    }
    if (words.size() > 2 && words.at(2).text != QLatin1String("=>")) {
        return failAt(words.at(2).column, QStringLiteral("'=>' is expected here"), error);
    }
    return readAnswerChecks(words, 2, step, error);
}

/// "messages check [repair] [within=MS] [=> CHECKS]"; without checks the places must agree.
bool readMessages(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Messages;
    step->limitMs = kStandardLimitMs;
    QString what;
    if (!takePlain(words, 1, "check", &what, error)) {
        return false;
    }
    if (what != QLatin1String("check")) {
        return failAt(words.at(1).column, QStringLiteral("messages takes check"), error);
    }
    int at = 2;
    for (; at < words.size() && words.at(at).text != QLatin1String("=>"); ++at) {
        const LineWord& word = words.at(at);
        if (word.key.isEmpty() && word.text == QLatin1String("repair")) {
            step->kind = Kind::MessagesRepair;
        } else if (!isNamed(word, "within")) {
            return takeNothingMore(words, at, error);
        } else if (!readNumberOf(word, 1, kMostMs, &step->limitMs, error)) {
            return false;
        }
    }
    if (at < words.size()) {
        return readAnswerChecks(words, at, step, error);
    }
    const QString agrees = QStringLiteral("agrees");
    step->checks.append({agrees, ScenarioCheck::Op::Equals, QStringLiteral("true"),
                         agrees + QStringLiteral("=true")});
    return true;
}

bool readRecordKind(const LineWord& word, ScenarioStep* step, LineError* error) {
    static const std::pair<const char*, RecordKind> kinds[] = {
        {"request", RecordKind::Request}, {"answer", RecordKind::Answer},
        {"failure", RecordKind::Failure}, {"timeout", RecordKind::TimeOut},
        {"push", RecordKind::Push},       {"gate", RecordKind::Gate},
        {"event", RecordKind::Event},     {"tick", RecordKind::Tick},
        {"log", RecordKind::Log},
    };
    for (const auto& [name, kind] : kinds) {
        if (word.key.isEmpty() && word.text == QLatin1String(name)) {
            step->record = kind;
            return true;
        }
    }
    return failAt(
        word.column,
        QStringLiteral("'%1' cannot be expected (request, answer, failure, timeout, push, "
                       "gate, event, tick, log, idle)")
            .arg(word.text),
        error);
}

bool readExpectWord(const LineWord& word, ScenarioStep* step, LineError* error) {
    if (word.key.isEmpty()) {
        return failAt(word.column, QStringLiteral("'%1' does not belong here").arg(word.text),
                      error);
    }
    if (isNamed(word, "within")) {
        return readNumberOf(word, 1, kMostMs, &step->limitMs, error);
    }
    if (isNamed(word, "count")) {
        return readNumberOf(word, 0, kMostCount, &step->count, error);
    }
    if (isNamed(word, "occurrence")) {
        return readNumberOf(word, 1, kMostCount, &step->occurrence, error);
    }
    ScenarioCheck check;
    if (!takeCheck(word, &check, error)) {
        return false;
    }
    step->checks.append(check);
    return true;
}

bool readExpect(const Words& words, ScenarioStep* step, LineError* error) {
    step->kind = Kind::Expect;
    step->limitMs = kStandardLimitMs;
    int at = 1;
    if (words.size() > at && words.at(at).key.isEmpty() &&
        words.at(at).text == QLatin1String("no")) {
        step->negative = true;
        ++at;
    }
    QString what;
    if (!takePlain(words, at, "what is expected", &what, error)) {
        return false;
    }
    if (what == QLatin1String("idle") && !step->negative) {
        step->kind = Kind::ExpectIdle;
        return takeNothingMore(words, at + 1, error);
    }
    if (!readRecordKind(words.at(at), step, error)) {
        return false;
    }
    ++at;
    if (step->record != RecordKind::Log) {
        if (!takePlain(words, at, "the type, gate, event or symbol", &step->name, error)) {
            return false;
        }
        step->nameColumn = words.at(at++).column;
    }
    for (; at < words.size(); ++at) {
        if (!readExpectWord(words.at(at), step, error)) {
            return false;
        }
    }
    if (step->record == RecordKind::Log && step->checks.isEmpty()) {
        return failAt(endOf(words), QStringLiteral("log takes level or text to look for"), error);
    }
    if ((step->negative || step->occurrence > 0) && step->count >= 0) {
        return failAt(words.first().column,
                      QStringLiteral("count cannot be combined with no or occurrence"), error);
    }
    return true;
}

}  // namespace

bool readScenarioStep(const QVector<LineWord>& words, ScenarioStep* step, LineError* error) {
    using Reader = bool (*)(const Words&, ScenarioStep*, LineError*);
    static const std::pair<const char*, Reader> readers[] = {
        {"setting", readSetting},   {"fault", readFaultStep}, {"clock", readClock},
        {"start", readStart},       {"ready", readReady},     {"push", readPush},
        {"message", readRecord},    {"tick", readTick},       {"gate", readGate},
        {"deal", readRecord},       {"order", readRecord},    {"position", readRecord},
        {"call", readCall},         {"book", readBook},       {"expect", readExpect},
        {"messages", readMessages}, {"patch", readRecord},
    };
    const LineWord& directive = words.first();
    for (const auto& [name, reader] : readers) {
        if (directive.key.isEmpty() && directive.text == QLatin1String(name)) {
            return reader(words, step, error);
        }
    }
    return failAt(directive.column,
                  QStringLiteral("'%1' is not a directive")
                      .arg(directive.key + directive.op + directive.text),
                  error);
}
