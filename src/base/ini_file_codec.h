#pragma once

class QTextCodec;

/// The codec for INI files: plain UTF-8. QSettings hands a text to its codec one UTF-16 unit at a
/// time, and with Qt's own UTF-8 codec both halves of a character beyond U+FFFF are lost on the
/// way. This one keeps the first half until the second one comes. A half without the other one is
/// left out. Any thread.
QTextCodec* iniFileCodec();
