#pragma once

#include <QLoggingCategory>

// One category per subsystem. They are never destroyed, since objects that live to the end of the
// process log from their destructors.
const QLoggingCategory& lcBase();
const QLoggingCategory& lcPlugin();
const QLoggingCategory& lcCore();
const QLoggingCategory& lcPresenter();
const QLoggingCategory& lcInterface();
const QLoggingCategory& lcAccounts();
const QLoggingCategory& lcSymbolRules();
const QLoggingCategory& lcRequests();

/// Tells at debug level that what arrived has no reader in this build.
void logWithoutReader(const QLoggingCategory& category, const char* what);
