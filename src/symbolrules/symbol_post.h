#pragma once

#include <QString>

class SymbolIdentity;

/// The suffix of a symbol ("SH" for "600000.SH"). A symbol without a dot gets the suffix that the
/// static configuration gives its first exchange. Empty when unknown. Any thread.
QString symbolPostOf(const SymbolIdentity& identity, const QString& symbol);
