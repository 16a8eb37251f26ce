#pragma once

#include <QString>

/// The languages of commands that speak more than one.
enum class TextLanguage { English, Chinese };

/// One text in every language.
struct LocalText {
    const char* english;
    const char* chinese;

    QString in(TextLanguage language) const {
        return QString::fromUtf8(language == TextLanguage::Chinese ? chinese : english);
    }
};

/// The language of a locale's name such as "zh_CN.UTF-8": Chinese when it begins with "zh".
TextLanguage languageOf(const QString& locale);
/// The language of the environment: the first of LC_ALL, LC_MESSAGES and LANG that is set decides.
TextLanguage languageOfEnvironment();
