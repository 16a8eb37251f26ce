#pragma once

#include "platform_export.h"

/// Forgets every property of every plug-in class, for tests.
PLATFORM_API void clearPluginObjectProperties();
