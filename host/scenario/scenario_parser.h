#pragma once

#include <QByteArray>
#include <QString>

#include "scenario.h"

/// Reads the text of a scenario file (docs/scenarios.md). On failure false with the error
/// "FILE:LINE:COLUMN: ..."; lines and columns count from 1, columns in characters. Any bytes, any
/// thread; `out` is only written on success.
bool parseScenario(const QString& fileName, const QByteArray& text, Scenario* out, QString* error);
