#include "text_language.h"

TextLanguage languageOf(const QString& locale) {
    return locale.startsWith(QLatin1String("zh"), Qt::CaseInsensitive) ? TextLanguage::Chinese
                                                                       : TextLanguage::English;
}

TextLanguage languageOfEnvironment() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QByteArray locale = qgetenv(name);
        if (!locale.isEmpty()) {
            return languageOf(QString::fromLocal8Bit(locale));
        }
    }
    return TextLanguage::English;
}
