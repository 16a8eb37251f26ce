#pragma once

#include <QString>

/// Decodes UTF-8. False when the bytes are not valid UTF-8; `text` is not changed then. Unlike Qt's
/// own conversion it replaces nothing and keeps a byte order mark.
bool textOfUtf8(const uchar* bytes, int size, QString* text);
