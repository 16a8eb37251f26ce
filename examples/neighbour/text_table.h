#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVector>
#include <algorithm>

// A table for a terminal whose columns stay aligned although a Chinese character takes two columns.

/// The columns that a code point takes: 0 for a combining mark, 2 for the wide and full-width ones
/// of East Asian scripts and for emoji, else 1.
inline int codePointWidth(uint codePoint) {
    struct Range {
        uint first;
        uint last;
    };
    static constexpr Range wide[] = {
        {0x1100, 0x115F},    // Hangul initial consonants
        {0x231A, 0x231B},    // watch, hourglass
        {0x2329, 0x232A},    // angle brackets
        {0x2E80, 0x303E},    // radicals, CJK punctuation
        {0x3041, 0x33FF},    // kana, bopomofo, CJK compatibility
        {0x3400, 0x4DBF},    // CJK extension A
        {0x4E00, 0x9FFF},    // CJK
        {0xA000, 0xA4CF},    // Yi
        {0xA960, 0xA97F},    // Hangul extension A
        {0xAC00, 0xD7A3},    // Hangul syllables
        {0xF900, 0xFAFF},    // CJK compatibility ideographs
        {0xFE10, 0xFE19},    // vertical forms
        {0xFE30, 0xFE6F},    // CJK compatibility and small forms
        {0xFF00, 0xFF60},    // full-width forms
        {0xFFE0, 0xFFE6},    // full-width signs
        {0x1F300, 0x1F64F},  // pictographs, faces
        {0x1F900, 0x1F9FF},  // more pictographs
        {0x20000, 0x3FFFD},  // CJK extensions B and later
    };
    switch (QChar::category(codePoint)) {
        case QChar::Mark_NonSpacing:
        case QChar::Mark_Enclosing:
        case QChar::Other_Format:
        case QChar::Other_Control:
            return 0;
        default:
            break;
    }
    const Range* const range =
        std::lower_bound(std::begin(wide), std::end(wide), codePoint,
                         [](const Range& one, uint value) { return one.last < value; });
    return range != std::end(wide) && codePoint >= range->first ? 2 : 1;
}

/// The columns that a text takes. Code points outside the first plane are two QChars and count
/// once.
inline int displayWidth(const QString& text) {
    int width = 0;
    for (const uint codePoint : text.toUcs4()) {
        width += codePointWidth(codePoint);
    }
    return width;
}

/// The text cut to at most `columns`, with an ellipsis where something is missing.
inline QString cutToWidth(const QString& text, int columns) {
    if (displayWidth(text) <= columns) {
        return text;
    }
    QString cut;
    int width = 0;
    for (const uint codePoint : text.toUcs4()) {
        const int next = width + codePointWidth(codePoint);
        if (next > columns - 1) {
            break;
        }
        cut += QString::fromUcs4(&codePoint, 1);
        width = next;
    }
    return columns > 0 ? cut + QChar(0x2026) : QString();
}

/// The text cut or filled with spaces to exactly `columns`.
inline QString padToWidth(const QString& text, int columns) {
    const QString cut = cutToWidth(text, columns);
    return cut + QString(qMax(0, columns - displayWidth(cut)), QLatin1Char(' '));
}

/// Whether a terminal acts on a character instead of showing it: a control character, or a mark
/// that changes the writing direction.
inline bool isTerminalControl(QChar letter) {
    const ushort code = letter.unicode();
    return letter.category() == QChar::Other_Control || code == 0x200E || code == 0x200F ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

/// The text with U+FFFD for each such character.
inline QString harmlessText(QString text) {
    std::replace_if(text.begin(), text.end(), isTerminalControl,
                    QChar(QChar::ReplacementCharacter));
    return text;
}

class TextTable {
public:
    explicit TextTable(const QStringList& titles) : m_titles(titles) {}

    /// Missing cells are empty, further ones are dropped. What a terminal would act on is replaced.
    void addRow(const QStringList& cells) {
        QStringList row;
        for (const QString& cell : cells) {
            row.append(harmlessText(cell));
        }
        m_rows.append(row);
    }

    /// Titles, a rule, the rows. What is wider than `columns` first has its widest columns cut,
    /// then loses columns from the right; the first one always stays.
    QStringList lines(int columns) const {
        const QVector<int> widths = fittedWidths(columns);
        QStringList lines{lineOf(m_titles, widths)};
        QStringList rules;
        for (const int width : widths) {
            rules.append(QString(width, QLatin1Char('-')));
        }
        lines.append(rules.join(gap()));
        for (const QStringList& row : m_rows) {
            lines.append(lineOf(row, widths));
        }
        return lines;
    }

private:
    static constexpr int kLeastWidth = 8;

    static QString gap() { return QStringLiteral("  "); }

    static int total(const QVector<int>& widths) {
        int sum = gap().size() * (widths.size() - 1);
        for (const int width : widths) {
            sum += width;
        }
        return sum;
    }

    QVector<int> naturalWidths() const {
        QVector<int> widths;
        for (int column = 0; column < m_titles.size(); ++column) {
            int width = displayWidth(m_titles.at(column));
            for (const QStringList& row : m_rows) {
                width = qMax(width, displayWidth(row.value(column)));
            }
            widths.append(width);
        }
        return widths;
    }

    QVector<int> fittedWidths(int columns) const {
        QVector<int> widths = naturalWidths();
        while (total(widths) > columns) {
            // The key in the first column is worth more than a full name.
            const auto widest = std::max_element(widths.begin() + 1, widths.end());
            if (widest != widths.end() && *widest > kLeastWidth) {
                --*widest;
            } else if (widths.size() > 1) {
                widths.removeLast();
            } else {
                widths[0] = qMax(1, columns);
            }
        }
        return widths;
    }

    static QString lineOf(const QStringList& cells, const QVector<int>& widths) {
        QString line;
        for (int column = 0; column < widths.size(); ++column) {
            line += (column ? gap() : QString()) + padToWidth(cells.value(column), widths[column]);
        }
        while (line.endsWith(QLatin1Char(' '))) {
            line.chop(1);
        }
        return line;
    }

    const QStringList m_titles;
    QList<QStringList> m_rows;
};
