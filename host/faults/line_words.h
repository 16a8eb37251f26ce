#pragma once

#include <QString>
#include <QVector>

/// A word of a line of a scenario or of a fault: bare, in double quotes, or a JSON object or list.
/// A name and one of = *= ~= #= %= may precede it without a space.
struct LineWord {
    enum class Kind { Bare, Quoted, Json };

    Kind kind = Kind::Bare;
    QString key;  ///< empty for a word without a name
    QString op;   ///< with a key: "=", "*=", "~=", "#=" or "%="
    QString text;
    int column = 1;       ///< of the word, from 1
    int valueColumn = 1;  ///< of its text
};

/// An error in a line, with its place.
struct LineError {
    int column = 1;
    QString text;

    /// "column 7: ...".
    QString toString() const { return QStringLiteral("column %1: %2").arg(column).arg(text); }
};

/// Splits a line into words; "#" before a word begins a comment. Inside quotes \" \\ \n \t and
/// \uXXXX are escapes. False with the place of the error. Any thread; any text.
bool readLineWords(const QString& line, QVector<LineWord>* words, LineError* error);

/// A whole decimal number from `least` to `most`; false for everything else.
bool readWholeNumber(const QString& text, int least, int most, int* number);
/// The same for the value of a word with a key; false with the place and what the key takes.
bool readNumberOf(const LineWord& word, int least, int most, int* number, LineError* error);

/// Sets the error. Always false, so that a reader can return it.
bool failAt(int column, const QString& text, LineError* error);

/// The text in double quotes as readLineWords() reads it, or unchanged when it is a bare word.
QString quotedWord(const QString& text);
