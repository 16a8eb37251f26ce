#pragma once

#include <QLoggingCategory>

// Log categories of the stores, queries and locks. Never destroyed: objects that live to the end of
// the process log from their destructors.
const QLoggingCategory& lcPlatformData();
const QLoggingCategory& lcPlatformSettings();
const QLoggingCategory& lcPlatformStaticData();
const QLoggingCategory& lcPlatformQuery();
const QLoggingCategory& lcPlatformLock();
