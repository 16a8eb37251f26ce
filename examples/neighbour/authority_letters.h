#pragma once

#include <QString>
#include <QStringList>
#include <array>

// The rights of the login on an account as one letter each, with a legend.

/// A right by its bit in the exported masks.
struct Authority {
    int bit;
    const char* word;
    char letter;
};

inline constexpr std::array<Authority, 5> kAuthorities{{{1, "query", 'Q'},
                                                        {2, "edit", 'E'},
                                                        {4, "authority", 'A'},
                                                        {8, "subscribe", 'S'},
                                                        {16, "trade", 'T'}}};

/// A letter for each right that the mask contains, "-" for each other one.
inline QString authorityLetters(int flags) {
    QString letters;
    for (const Authority& one : kAuthorities) {
        letters += QLatin1Char(flags & one.bit ? one.letter : '-');
    }
    return letters;
}

/// What the letters mean, in one line.
inline QString authorityLegend() {
    QStringList texts;
    for (const Authority& one : kAuthorities) {
        texts.append(
            QStringLiteral("%1 %2").arg(QLatin1Char(one.letter)).arg(QLatin1String(one.word)));
    }
    return QStringLiteral("May: ") + texts.join(QStringLiteral(", "));
}
