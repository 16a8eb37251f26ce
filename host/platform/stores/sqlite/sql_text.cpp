#include "sql_text.h"

#include <QStringList>

namespace {

constexpr int kHeadLength = 200;

bool isAt(const QString& text, int at, char first, char second) {
    return at + 1 < text.size() && text.at(at) == QLatin1Char(first) &&
           text.at(at + 1) == QLatin1Char(second);
}

int behind(int found, int length, const QString& text) {
    return found < 0 ? text.size() : found + length;
}

/// Where the comment that begins at a place ends; the place itself when no comment does.
int skipComment(const QString& text, int at) {
    if (isAt(text, at, '-', '-')) {
        return behind(text.indexOf(QLatin1Char('\n'), at + 2), 1, text);
    }
    if (isAt(text, at, '/', '*')) {
        return behind(text.indexOf(QLatin1String("*/"), at + 2), 2, text);
    }
    return at;
}

/// Where the quoted text or name that begins at a place ends; the place itself when none does. A
/// doubled quote inside reads as the end of one and the beginning of the next, which comes to the
/// same end.
int skipQuoted(const QString& text, int at) {
    switch (text.at(at).unicode()) {
        case '\'':
        case '"':
        case '`':
            return behind(text.indexOf(text.at(at), at + 1), 1, text);
        case '[':
            return behind(text.indexOf(QLatin1Char(']'), at + 1), 1, text);
        default:
            return at;
    }
}

/// The next place at or behind `at` that is neither white space nor a comment nor, where
/// `semicolons` is set, a semicolon.
int skipBlank(const QString& text, int at, bool semicolons) {
    while (at < text.size()) {
        const QChar c = text.at(at);
        if (c.isSpace() || (semicolons && c == QLatin1Char(';'))) {
            ++at;
            continue;
        }
        const int next = skipComment(text, at);
        if (next == at) {
            return at;
        }
        at = next;
    }
    return at;
}

/// The semicolon that ends the statement which begins at a place, or the end of the text.
int endOfStatement(const QString& text, int at) {
    while (at < text.size() && text.at(at) != QLatin1Char(';')) {
        const int next = skipComment(text, skipQuoted(text, at));
        at = next == at ? at + 1 : next;
    }
    return at;
}

/// The word at a place, in capitals; `at` moves behind it and the blanks that follow.
QString takeWord(const QString& text, int& at) {
    const int from = at;
    while (at < text.size() && text.at(at).isLetter()) {
        ++at;
    }
    QString word = text.mid(from, at - from).toUpper();
    at = skipBlank(text, at, false);
    return word;
}

bool controlsTransaction(const QString& word) {
    static const QStringList words{QStringLiteral("BEGIN"),     QStringLiteral("COMMIT"),
                                   QStringLiteral("END"),       QStringLiteral("ROLLBACK"),
                                   QStringLiteral("SAVEPOINT"), QStringLiteral("RELEASE")};
    return words.contains(word);
}

/// Whether a trigger is created, whose statements end in semicolons of their own.
bool createsTrigger(const QString& text, int at) {
    if (takeWord(text, at) != QLatin1String("CREATE")) {
        return false;
    }
    QString word = takeWord(text, at);
    if (word == QLatin1String("TEMP") || word == QLatin1String("TEMPORARY")) {
        word = takeWord(text, at);
    }
    return word == QLatin1String("TRIGGER");
}

SqlText refused(const QString& why) {
    return {QString(), why};
}

}  // namespace

SqlText SqlText::read(const QString& text) {
    if (text.contains(QChar::Null)) {
        return refused(QStringLiteral("it contains a NUL character"));
    }
    const int begin = skipBlank(text, 0, true);
    if (begin == text.size()) {
        return refused(QStringLiteral("it has no statement"));
    }
    int at = begin;
    const QString word = takeWord(text, at);
    if (controlsTransaction(word)) {
        return refused(QStringLiteral("it begins or ends a transaction (%1)").arg(word));
    }
    if (createsTrigger(text, begin)) {
        // Its end is left to SQLite, which refuses a second statement as well.
        return {text.mid(begin), QString()};
    }
    const int end = endOfStatement(text, begin);
    if (skipBlank(text, end, true) != text.size()) {
        return refused(QStringLiteral("it has more than one statement"));
    }
    const bool isWhole = begin == 0 && end + 1 >= text.size();
    return {isWhole ? text : text.mid(begin, end - begin), QString()};
}

QString SqlText::head(const QString& text) {
    return text.size() <= kHeadLength
               ? text
               : QStringLiteral("%1... (%2 characters)")
                     .arg(text.left(kHeadLength), QString::number(text.size()));
}
