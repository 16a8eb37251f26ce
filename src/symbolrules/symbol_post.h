#pragma once

#include <QString>

class SymbolIdentity;

/// The suffix of a symbol, "SH" of "600000.SH"; of one without a dot that of its first exchange.
/// Empty when unknown. Any thread.
QString symbolPostOf(const SymbolIdentity& identity, const QString& symbol);
