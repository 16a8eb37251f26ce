#pragma once

#include <QLoggingCategory>

// Categories of the platform's data side. They are never destroyed, since objects that live to the
// end of the process log from their destructors.
const QLoggingCategory& lcPlatformData();
const QLoggingCategory& lcPlatformSettings();
const QLoggingCategory& lcPlatformStaticData();
const QLoggingCategory& lcPlatformQuery();
const QLoggingCategory& lcPlatformLock();
