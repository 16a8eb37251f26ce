#pragma once

#include <QString>
#include <QStringList>

#include "platform_export.h"

// VELMAR_TEXT(name, text) is a `const QString name` with this text, VELMAR_CONSTANT(type, name,
// values...) a constant of another type. The platform's library contains the objects, and only the
// file that is compiled for them (host/platform/libraries/vocabulary/text_constants.cpp, which
// includes every such header) gets their definitions: hundreds of inline variables, initialised by
// each source that includes them, would take up to half of the time that it compiles in. They are
// initialised before all other objects of the library, so that tables may be made of them.
#ifdef VELMAR_DEFINE_CONSTANTS
#define VELMAR_CONSTANT(type, name, ...)                  \
    extern PLATFORM_API const type name;                  \
    const type name __attribute__((init_priority(101))) { \
        __VA_ARGS__                                       \
    }
#else
#define VELMAR_CONSTANT(type, name, ...) extern PLATFORM_API const type name
#endif
#define VELMAR_TEXT(name, text) VELMAR_CONSTANT(QString, name, QStringLiteral(text))
