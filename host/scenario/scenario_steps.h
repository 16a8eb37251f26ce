#pragma once

#include <QVector>

#include "line_words.h"
#include "scenario.h"

/// Reads one directive but "market" and "restart" into a step; its line and text are left alone.
/// False with the place of the error.
bool readScenarioStep(const QVector<LineWord>& words, ScenarioStep* step, LineError* error);
