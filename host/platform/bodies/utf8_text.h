#pragma once

#include <QString>

/// The text of exactly these bytes; false, the text then being left alone, when they are no UTF-8.
/// Unlike Qt's own conversion it replaces nothing and keeps a byte order mark.
bool textOfUtf8(const uchar* bytes, int size, QString* text);
