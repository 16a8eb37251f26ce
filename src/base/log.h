#pragma once

#include <QLoggingCategory>

// One category per subsystem. They are never destroyed, because objects that live until the process
// exits still log from their destructors.
const QLoggingCategory& lcBase();
const QLoggingCategory& lcPlugin();
const QLoggingCategory& lcCore();
const QLoggingCategory& lcPresenter();
const QLoggingCategory& lcInterface();
const QLoggingCategory& lcAccounts();
const QLoggingCategory& lcSymbolRules();
const QLoggingCategory& lcOrders();
const QLoggingCategory& lcRequests();

/// Logs at debug level that something arrived which no code of this build reads.
void logWithoutReader(const QLoggingCategory& category, const char* what);
