#include "line_words.h"

#include <QJsonDocument>
#include <algorithm>
#include <utility>

namespace {

constexpr int kMostWords = 64;
constexpr int kDeepestJson = 64;

bool isKeyLetter(QChar letter) {
    return letter.isLetterOrNumber() || letter == QLatin1Char('_') || letter == QLatin1Char('.') ||
           letter == QLatin1Char('-');
}

bool isWordLetter(QChar letter) {
    return !letter.isSpace() && letter != QLatin1Char('"');
}

/// Reads one line word by word.
class Reader {
public:
    Reader(const QString& line, LineError* error) : m_line(line), m_error(error) {}

    bool read(QVector<LineWord>* words) {
        for (skipSpace(); !atEnd() && now() != QLatin1Char('#'); skipSpace()) {
            LineWord word;
            if (words->size() >= kMostWords) {
                return fail(m_at, QStringLiteral("more than %1 words").arg(kMostWords));
            }
            if (!readWord(&word)) {
                return false;
            }
            words->append(word);
        }
        return true;
    }

private:
    bool atEnd() const { return m_at >= m_line.size(); }
    QChar now() const { return m_line.at(m_at); }

    bool fail(int at, const QString& text) {
        *m_error = {at + 1, text};
        return false;
    }

    void skipSpace() {
        while (!atEnd() && now().isSpace()) {
            ++m_at;
        }
    }

    /// Reads "name=" and the like, if the word begins with it.
    void readKey(LineWord* word) {
        int end = m_at;
        while (end < m_line.size() && isKeyLetter(m_line.at(end))) {
            ++end;
        }
        for (const QLatin1String op : {QLatin1String("="), QLatin1String("*="), QLatin1String("~="),
                                       QLatin1String("#="), QLatin1String("%=")}) {
            // "=>" is a word of its own, even directly behind a name.
            if (end > m_at && m_line.midRef(end, op.size()) == op &&
                m_line.midRef(end, 2) != QLatin1String("=>")) {
                word->key = m_line.mid(m_at, end - m_at);
                word->op = op;
                m_at = end + op.size();
                return;
            }
        }
    }

    bool readWord(LineWord* word) {
        word->column = m_at + 1;
        readKey(word);
        word->valueColumn = m_at + 1;
        if (atEnd()) {
            return true;
        }
        if (now() == QLatin1Char('"')) {
            return readQuoted(word) && endsHere();
        }
        if (now() == QLatin1Char('{') || now() == QLatin1Char('[')) {
            return readJson(word) && endsHere();
        }
        const int begin = m_at;
        while (!atEnd() && isWordLetter(now())) {
            ++m_at;
        }
        word->text = m_line.mid(begin, m_at - begin);
        return atEnd() || now().isSpace() ||
               fail(m_at, QStringLiteral("a quote inside a word; put the whole of it in quotes"));
    }

    bool endsHere() {
        return atEnd() || now().isSpace() || fail(m_at, QStringLiteral("a space is missing here"));
    }

    bool readQuoted(LineWord* word) {
        const int begin = m_at++;
        word->kind = LineWord::Kind::Quoted;
        while (!atEnd() && now() != QLatin1Char('"')) {
            if (now() != QLatin1Char('\\')) {
                word->text.append(now());
                ++m_at;
            } else if (!readEscape(&word->text)) {
                return false;
            }
        }
        if (atEnd()) {
            return fail(begin, QStringLiteral("the quote that begins here is not closed"));
        }
        ++m_at;
        return true;
    }

    bool readEscape(QString* text) {
        const int begin = m_at++;
        const QChar letter = atEnd() ? QChar() : now();
        ++m_at;
        switch (letter.unicode()) {
            case u'"':
            case u'\\':
                text->append(letter);
                return true;
            case u'n':
                text->append(QLatin1Char('\n'));
                return true;
            case u't':
                text->append(QLatin1Char('\t'));
                return true;
            case u'u':
                return readUnicode(begin, text);
            default:
                return fail(begin,
                            QStringLiteral("an unknown escape; \\\" \\\\ \\n \\t and \\uXXXX "
                                           "are known"));
        }
    }

    bool readUnicode(int begin, QString* text) {
        const QString digits = m_line.mid(m_at, 4);
        const bool allHex = std::all_of(digits.cbegin(), digits.cend(), [](QChar digit) {
            return QStringLiteral("0123456789abcdefABCDEF").contains(digit);
        });
        if (digits.size() != 4 || !allHex) {
            return fail(begin, QStringLiteral("\\u takes four hexadecimal digits"));
        }
        text->append(QChar(digits.toUShort(nullptr, 16)));
        m_at += 4;
        return true;
    }

    bool readJson(LineWord* word) {
        const int begin = m_at;
        if (!skipJson()) {
            return false;
        }
        word->kind = LineWord::Kind::Json;
        word->text = m_line.mid(begin, m_at - begin);
        QJsonParseError error;
        QJsonDocument::fromJson(word->text.toUtf8(), &error);
        if (error.error == QJsonParseError::NoError) {
            return true;
        }
        // The parser counts bytes.
        const int letters = QString::fromUtf8(word->text.toUtf8().left(error.offset)).size();
        return fail(begin + letters, QStringLiteral("not JSON: %1").arg(error.errorString()));
    }

    /// Skips to the bracket that closes the one here.
    bool skipJson() {
        const int begin = m_at;
        int depth = 0;
        bool inText = false;
        for (; !atEnd(); ++m_at) {
            const QChar letter = now();
            if (inText) {
                m_at += letter == QLatin1Char('\\') ? 1 : 0;
                inText = letter != QLatin1Char('"');
                continue;
            }
            inText = letter == QLatin1Char('"');
            if (letter == QLatin1Char('{') || letter == QLatin1Char('[')) {
                ++depth;
            } else if (letter == QLatin1Char('}') || letter == QLatin1Char(']')) {
                --depth;
            }
            if (depth > kDeepestJson) {
                return fail(m_at, QStringLiteral("JSON nested deeper than %1").arg(kDeepestJson));
            }
            if (depth == 0) {
                ++m_at;
                return true;
            }
        }
        return fail(begin, QStringLiteral("the JSON that begins here is not closed"));
    }

    const QString& m_line;
    LineError* const m_error;
    int m_at = 0;
};

}  // namespace

bool readLineWords(const QString& line, QVector<LineWord>* words, LineError* error) {
    words->clear();
    return Reader(line, error).read(words);
}

bool readWholeNumber(const QString& text, int least, int most, int* number) {
    const bool digits =
        !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](QChar letter) {
            return letter >= QLatin1Char('0') && letter <= QLatin1Char('9');
        });
    bool fits = false;
    const int value = digits ? text.toInt(&fits) : 0;
    if (!fits || value < least || value > most) {
        return false;
    }
    *number = value;
    return true;
}

bool readNumberOf(const LineWord& word, int least, int most, int* number, LineError* error) {
    return readWholeNumber(word.text, least, most, number) ||
           failAt(
               word.valueColumn,
               QStringLiteral("%1 takes a number from %2 to %3").arg(word.key).arg(least).arg(most),
               error);
}

bool failAt(int column, const QString& text, LineError* error) {
    *error = {column, text};
    return false;
}

QString quotedWord(const QString& text) {
    QVector<LineWord> words;
    LineError error;
    if (readLineWords(text, &words, &error) && words.size() == 1 &&
        words.first().kind == LineWord::Kind::Bare && words.first().text == text) {
        return text;
    }
    QString quoted = text;
    for (const auto& [from, to] : {std::pair{"\\", "\\\\"}, std::pair{"\"", "\\\""},
                                   std::pair{"\n", "\\n"}, std::pair{"\t", "\\t"}}) {
        quoted.replace(QLatin1String(from), QLatin1String(to));
    }
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}
