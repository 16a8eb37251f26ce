#include "utf8_text.h"

#include <algorithm>

namespace {

constexpr uint kFirstSurrogate = 0xd800;
constexpr uint kLastSurrogate = 0xdfff;
constexpr uint kLastCharacter = 0x10ffff;

struct Form {
    int more;       ///< number of bytes after the first one
    uint bits;      ///< of the character that are in the first byte
    uint smallest;  ///< smallest character that needs this many bytes
};

/// False for a byte that cannot begin a character.
bool formOf(uint first, Form* form) {
    if (first >= 0xc2 && first <= 0xdf) {
        *form = {1, first & 0x1f, 0x80};
    } else if (first >= 0xe0 && first <= 0xef) {
        *form = {2, first & 0x0f, 0x800};
    } else if (first >= 0xf0 && first <= 0xf4) {
        *form = {3, first & 0x07, 0x10000};
    } else {
        return false;
    }
    return true;
}

/// Reads the character at `at` and moves `at` past it.
bool nextCharacter(const uchar** at, const uchar* end, uint* character) {
    const uint first = *(*at)++;
    if (first < 0x80) {
        *character = first;
        return true;
    }
    Form form{};
    if (!formOf(first, &form) || end - *at < form.more) {
        return false;
    }
    uint value = form.bits;
    for (int i = 0; i < form.more; ++i) {
        const uint byte = *(*at)++;
        if ((byte & 0xc0) != 0x80) {
            return false;
        }
        value = value << 6 | (byte & 0x3f);
    }
    *character = value;
    return value >= form.smallest && value <= kLastCharacter &&
           (value < kFirstSurrogate || value > kLastSurrogate);
}

}  // namespace

bool textOfUtf8(const uchar* bytes, int size, QString* text) {
    const uchar* const end = bytes + size;
    if (std::all_of(bytes, end, [](uchar byte) { return byte < 0x80; })) {
        *text = QString::fromLatin1(reinterpret_cast<const char*>(bytes), size);
        return true;
    }
    // A character has at most as many UTF-16 units as UTF-8 bytes.
    QString made(size, Qt::Uninitialized);
    QChar* to = made.data();
    for (const uchar* at = bytes; at != end;) {
        uint character = 0;
        if (!nextCharacter(&at, end, &character)) {
            return false;
        }
        if (QChar::requiresSurrogates(character)) {
            *to++ = QChar(QChar::highSurrogate(character));
            *to++ = QChar(QChar::lowSurrogate(character));
        } else {
            *to++ = QChar(static_cast<ushort>(character));
        }
    }
    made.truncate(static_cast<int>(to - made.constData()));
    *text = made;
    return true;
}
