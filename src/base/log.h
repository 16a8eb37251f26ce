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
const QLoggingCategory& lcBusiMsg();
const QLoggingCategory& lcMenus();
const QLoggingCategory& lcHistory();
/// The whole deal cache as one text, which may be very large.
const QLoggingCategory& lcHistoryCache();
const QLoggingCategory& lcMonitor();
