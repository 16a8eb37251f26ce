#pragma once

#include <QtGlobal>

// The local platform is one shared library; whoever builds or uses it sees these symbols.
#define PLATFORM_API Q_DECL_EXPORT
