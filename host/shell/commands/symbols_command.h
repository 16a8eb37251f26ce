#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "command_answer.h"

/// Finds the securities whose symbol or Chinese name contains the text, in any case, among records
/// by symbol: exact codes first, then codes that begin with the text, then the others, each in the
/// order of their symbols. Lines wider than `columns` are cut.
CommandAnswer findSymbols(const QHash<QString, QVariantMap>& records, const QString& text,
                          int columns);
