#pragma once

#include "platform_export.h"

/// Forgets every property of every plug-in class. For tests that start anew.
PLATFORM_API void clearPluginObjectProperties();
