#include "ini_file_codec.h"

#include <QString>
#include <QTextCodec>

namespace {

/// The first half of a character, kept from one call to the next.
struct FirstHalf {
    QChar unit;
    const QChar* next = nullptr;  ///< where the second half of the same text would be
};

// Of the thread, since a file is written by one thread at a time.
thread_local FirstHalf t_half;

class SettingsCodec final : public QTextCodec {
public:
    QByteArray name() const override { return QByteArrayLiteral("velmar-settings"); }
    int mibEnum() const override { return -5102; }

protected:
    QString convertToUnicode(const char* text, int length, ConverterState*) const override {
        return QString::fromUtf8(text, length);
    }

    QByteArray convertFromUnicode(const QChar* text, int length, ConverterState*) const override {
        QByteArray bytes;
        for (int i = 0; i < length; ++i) {
            const QChar unit = text[i];
            const FirstHalf half = t_half;
            t_half = unit.isHighSurrogate() ? FirstHalf{unit, text + i + 1} : FirstHalf();
            if (unit.isLowSurrogate() && half.next == text + i) {
                const QChar pair[] = {half.unit, unit};
                bytes += QString::fromRawData(pair, 2).toUtf8();
            } else if (!unit.isSurrogate()) {
                bytes += QString::fromRawData(&unit, 1).toUtf8();
            }
        }
        return bytes;
    }
};

}  // namespace

QTextCodec* iniFileCodec() {
    // Qt lists every codec and deletes it at the end of the process.
    static auto* const codec = new SettingsCodec;
    return codec;
}
