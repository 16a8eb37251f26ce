#pragma once

#include <QString>
#include <QVector>
#include <memory>

#include "scenario.h"
#include "scenario_stage.h"
#include "scenario_tape.h"

/// Plays the steps of one section in order, up to the first that fails. Main thread only.
class ScenarioPlayer {
public:
    ScenarioPlayer(ScenarioStage& stage, std::shared_ptr<const ScenarioTape> tape);

    /// False with a report of several lines: "FILE:LINE: ...", what was expected and what came. An
    /// unknown event is reported before anything is played, as "FILE:LINE:COLUMN: ...".
    bool play(const QString& fileName, const ScenarioSection& section, QString* report);

private:
    bool listenToEvents(const QString& fileName, const ScenarioSection& section, QString* report);
    bool playStep(const ScenarioStep& step);
    bool playStart(const ScenarioStep& step);
    bool playPush(const ScenarioStep& step);
    bool playMessage(const ScenarioStep& step);
    bool playPatch(const ScenarioStep& step);
    bool playBookRecord(const ScenarioStep& step);
    bool endPut(const ScenarioStep& step, bool stored, const QString& error);
    bool playBook(const ScenarioStep& step);
    bool playMessages(const ScenarioStep& step);
    bool playCall(const ScenarioStep& step);
    bool playExpect(const ScenarioStep& step);
    bool isMet(const ScenarioStep& step) const;
    void readTape();
    QVector<TapeRecord> named(const ScenarioStep& step) const;
    QString whatCame(const ScenarioStep& step) const;
    bool fail(const QString& came);

    ScenarioStage& m_stage;
    const std::shared_ptr<const ScenarioTape> m_tape;
    QVector<TapeRecord> m_records;  // those of the tape that were read so far
    QString m_came;
};
