#pragma once

#include <QVector>

#include "line_words.h"
#include "scenario.h"

/// Reads any directive except "market" and "restart" into a step; does not set its line and text.
/// False with the place of the error.
bool readScenarioStep(const QVector<LineWord>& words, ScenarioStep* step, LineError* error);
