#pragma once

#include <QtGlobal>

// Marks the symbols that the platform's shared library exports.
#define PLATFORM_API Q_DECL_EXPORT
