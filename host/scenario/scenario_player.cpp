#include "scenario_player.h"

#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>
#include <utility>

#include "scenario_check.h"

namespace {

constexpr int kIdleLimitMs = 10000;
constexpr int kMostShownRecords = 12;
constexpr int kMostShownLetters = 400;

using Kind = ScenarioStep::Kind;

bool allHold(const ScenarioStep& step, const QJsonValue& value) {
    return std::all_of(step.checks.cbegin(), step.checks.cend(),
                       [&value](const ScenarioCheck& check) { return checkHolds(check, value); });
}

/// The values at the paths of the checks that fail.
QString missed(const ScenarioStep& step, const QJsonValue& value) {
    QStringList lines;
    for (const ScenarioCheck& check : step.checks) {
        if (!checkHolds(check, value)) {
            lines.append(
                QStringLiteral("%1 is %2")
                    .arg(check.path, jsonText(jsonAt(value, check.path)).left(kMostShownLetters)));
        }
    }
    return lines.join(QStringLiteral("; "));
}

QVariant bodyOf(const ScenarioStep& step) {
    QVariantList rows;
    for (const QVariantMap& row : step.rows) {
        rows.append(row);
    }
    return rows;
}

}  // namespace

ScenarioPlayer::ScenarioPlayer(ScenarioStage& stage, std::shared_ptr<const ScenarioTape> tape)
    : m_stage(stage), m_tape(std::move(tape)) {}

bool ScenarioPlayer::fail(const QString& came) {
    m_came = came;
    return false;
}

bool ScenarioPlayer::play(const QString& fileName, const ScenarioSection& section,
                          QString* report) {
    if (!listenToEvents(fileName, section, report)) {
        return false;
    }
    for (const ScenarioStep& step : section.steps) {
        if (!playStep(step)) {
            *report = QStringLiteral("%1:%2: failed\n  expected: %3\n  came: %4")
                          .arg(fileName, QString::number(step.line), step.text, m_came);
            return false;
        }
    }
    return true;
}

/// Before the first step, since some events are published during the start.
bool ScenarioPlayer::listenToEvents(const QString& fileName, const ScenarioSection& section,
                                    QString* report) {
    QStringList known;
    for (const ScenarioStep& step : section.steps) {
        if (step.kind != Kind::Expect || step.record != RecordKind::Event ||
            known.contains(step.name)) {
            continue;
        }
        QString error;
        if (!m_stage.listenTo(step.name, &error)) {
            *report = QStringLiteral("%1:%2:%3: %4")
                          .arg(fileName, QString::number(step.line),
                               QString::number(step.nameColumn), error);
            return false;
        }
        known.append(step.name);
    }
    return true;
}

bool ScenarioPlayer::playStep(const ScenarioStep& step) {
    QString error;
    switch (step.kind) {
        case Kind::Setting:
            return m_stage.setSetting(step.name, step.value, &error) || fail(error);
        case Kind::Fault:
            m_stage.faults().add(step.fault);
            return true;
        case Kind::ClearFaults:
            m_stage.faults().clear();
            return true;
        case Kind::ClockSet:
            m_stage.setClock(step.time);
            return true;
        case Kind::ClockAdvance:
            m_stage.advanceClock(step.ms);
            return true;
        case Kind::Start:
        case Kind::Begin:
        case Kind::StartFails:
            return playStart(step);
        case Kind::Ready:
            return m_stage.ready(step.limitMs, &error) || fail(error);
        case Kind::Push:
            return playPush(step);
        case Kind::Message:
            return playMessage(step);
        case Kind::Patch:
            return playPatch(step);
        case Kind::Tick:
            m_stage.tick(step.name, step.rows.first(), step.value);
            return true;
        case Kind::Gate:
            m_stage.setGate(step.name, step.value);
            return true;
        case Kind::Deal:
        case Kind::Position:
        case Kind::Order:
            return playBookRecord(step);
        case Kind::Book:
            return playBook(step);
        case Kind::BookReload:
            return m_stage.reloadBook(&error) || fail(error);
        case Kind::Messages:
        case Kind::MessagesRepair:
            return playMessages(step);
        case Kind::Call:
            return playCall(step);
        case Kind::Expect:
            return playExpect(step);
        case Kind::ExpectIdle:
            return m_stage.waitUntil([this] { return m_stage.pendingRequests() == 0; },
                                     kIdleLimitMs) ||
                   fail(QStringLiteral("%1 requests under way").arg(m_stage.pendingRequests()));
    }
    return fail(QStringLiteral("unknown step"));
}

bool ScenarioPlayer::playStart(const ScenarioStep& step) {
    QString error;
    const bool begun = m_stage.begin(step.user, &error);
    if (step.kind == Kind::Begin) {
        return begun || fail(error);
    }
    const bool started = begun && m_stage.ready(step.limitMs, &error);
    if (step.kind == Kind::Start) {
        return started || fail(error);
    }
    if (started) {
        return fail(QStringLiteral("the client started"));
    }
    const QJsonObject result{{QStringLiteral("error"), error}};
    return allHold(step, result) || fail(missed(step, result));
}

/// The client may subscribe at any time of its start-up, so this waits for a subscriber.
bool ScenarioPlayer::playPush(const ScenarioStep& step) {
    const auto isSent = [this, &step] {
        return m_stage.push(step.name, bodyOf(step), step.user) > 0;
    };
    return m_stage.waitUntil(isSent, step.limitMs) ||
           fail(QStringLiteral("nobody subscribed to it within %1 ms").arg(step.limitMs));
}

/// A client that is still starting may subscribe later, so this waits for a subscriber; with a
/// limit of 0 the user may be away.
bool ScenarioPlayer::playMessage(const ScenarioStep& step) {
    const bool maySend =
        step.limitMs == 0 || !step.checks.isEmpty() ||
        m_stage.waitUntil([&] { return m_stage.hasMessageSubscriber(step.user); }, step.limitMs);
    if (!maySend) {
        return fail(QStringLiteral("nobody subscribed to the messages within %1 ms; within=0 sends "
                                   "them to a user who is away")
                        .arg(step.limitMs));
    }
    QString error;
    return endPut(step, m_stage.putMessage(step.user, step.rows.first(), &error), error);
}

/// Waits for a subscriber like playMessage().
bool ScenarioPlayer::playPatch(const ScenarioStep& step) {
    const bool maySend =
        step.limitMs == 0 || !step.checks.isEmpty() ||
        m_stage.waitUntil([this] { return m_stage.hasPatchSubscriber(); }, step.limitMs);
    if (!maySend) {
        return fail(
            QStringLiteral("nobody subscribed to patches within %1 ms; within=0 offers them "
                           "to clients that are away")
                .arg(step.limitMs));
    }
    QString error;
    return endPut(step, m_stage.putPatch(step.rows.first(), &error), error);
}

bool ScenarioPlayer::playBookRecord(const ScenarioStep& step) {
    const QVariantMap& record = step.rows.first();
    QString error;
    const bool stored = step.kind == Kind::Deal    ? m_stage.putDeal(record, &error)
                        : step.kind == Kind::Order ? m_stage.putOrder(record, &error)
                                                   : m_stage.putPosition(record, &error);
    return endPut(step, stored, error);
}

/// A record must be stored, or refused with a text that passes the step's checks.
bool ScenarioPlayer::endPut(const ScenarioStep& step, bool stored, const QString& error) {
    if (step.checks.isEmpty()) {
        return stored || fail(error);
    }
    if (stored) {
        return fail(QStringLiteral("the record was accepted"));
    }
    const QJsonObject result{{QStringLiteral("error"), error}};
    return allHold(step, result) || fail(missed(step, result));
}

bool ScenarioPlayer::playBook(const ScenarioStep& step) {
    QJsonObject answer;
    QString error;
    const auto isFinal = [&] {
        return !m_stage.readBook(step.name, &answer, &error) || allHold(step, answer);
    };
    if (!m_stage.waitUntil(isFinal, step.limitMs)) {
        return fail(missed(step, answer));
    }
    return error.isEmpty() || fail(error);
}

/// Repairs once; the comparison is repeated, since the table is written behind the memory.
bool ScenarioPlayer::playMessages(const ScenarioStep& step) {
    QJsonObject answer;
    QString error;
    if (step.kind == Kind::MessagesRepair && !m_stage.repairMessages(&error)) {
        return fail(error);
    }
    const auto isFinal = [&] {
        return !m_stage.checkMessages(&answer, &error) || allHold(step, answer);
    };
    if (!m_stage.waitUntil(isFinal, step.limitMs)) {
        constexpr int kShown = 3;
        QString text = missed(step, answer);
        const QJsonArray differences = answer.value(QLatin1String("differences")).toArray();
        for (int i = 0; i < qMin(kShown, differences.size()); ++i) {
            const QJsonObject one = differences.at(i).toObject();
            text += QStringLiteral("; %1%2: %3")
                        .arg(one.value(QLatin1String("serverId")).toString(),
                             one.value(QLatin1String("clientId")).toString(),
                             one.value(QLatin1String("what")).toString());
        }
        return fail(text);
    }
    return error.isEmpty() || fail(error);
}

bool ScenarioPlayer::playCall(const ScenarioStep& step) {
    QJsonObject answer;
    QString error;
    const auto isFinal = [&] {
        return !m_stage.call(step.name, step.values, &answer, &error) || allHold(step, answer);
    };
    if (!m_stage.waitUntil(isFinal, step.limitMs)) {
        return fail(missed(step, answer));
    }
    return error.isEmpty() || fail(error);
}

void ScenarioPlayer::readTape() {
    for (const TapeRecord& record : m_tape->from(static_cast<size_t>(m_records.size()))) {
        m_records.append(record);
    }
}

/// The records of the kind and name that the step expects, whatever their fields.
QVector<TapeRecord> ScenarioPlayer::named(const ScenarioStep& step) const {
    QVector<TapeRecord> found;
    for (const TapeRecord& record : m_records) {
        if (record.kind == step.record &&
            (step.record == RecordKind::Log || record.name == step.name)) {
            found.append(record);
        }
    }
    return found;
}

bool ScenarioPlayer::isMet(const ScenarioStep& step) const {
    const QVector<TapeRecord> records = named(step);
    const auto holds = [&step](const TapeRecord& record) { return allHold(step, record.fields); };
    if (step.occurrence > 0) {
        return records.size() >= step.occurrence && holds(records.at(step.occurrence - 1));
    }
    const int found = static_cast<int>(std::count_if(records.cbegin(), records.cend(), holds));
    return step.count < 0 ? found > 0 : found == step.count;
}

bool ScenarioPlayer::playExpect(const ScenarioStep& step) {
    readTape();
    if (step.negative) {
        return !isMet(step) || fail(whatCame(step));
    }
    const auto come = [this, &step] {
        readTape();
        return isMet(step);
    };
    return m_stage.waitUntil(come, step.limitMs) || fail(whatCame(step));
}

QString ScenarioPlayer::whatCame(const ScenarioStep& step) const {
    QVector<TapeRecord> records = named(step);
    if (step.negative) {
        const auto rest = std::remove_if(
            records.begin(), records.end(),
            [&step](const TapeRecord& record) { return !allHold(step, record.fields); });
        records.erase(rest, records.end());
    }
    QStringList lines{QStringLiteral("%1 of them").arg(records.size())};
    for (const TapeRecord& record : records.mid(qMax(0, records.size() - kMostShownRecords))) {
        const QString wrong = missed(step, record.fields);
        lines.append(QStringLiteral("    ") +
                     (wrong.isEmpty() ? jsonText(record.fields).left(kMostShownLetters) : wrong));
    }
    return lines.join(QLatin1Char('\n'));
}
