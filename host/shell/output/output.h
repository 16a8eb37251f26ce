#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QString>
#include <cstdio>

// What the client prints. Names come from a server and may contain anything: control characters,
// which a terminal would obey, and marks that reverse the order of letters never reach it.

/// The text with U+FFFD for every such character except line ends and tabs.
QString printable(const QString& text);

/// One line, or several; a line end is added. False when it cannot be written.
bool printTo(std::FILE* stream, const QString& text);
/// The same on stderr, after the program's name.
void printError(const QString& text);
/// Bytes on stdout, as they are. False when they cannot be written.
bool writeOut(const QByteArray& bytes);
/// A JSON text with \uXXXX for what printable() replaces.
QString escapedJson(const QString& text);
/// A JSON list or object, indented or on one line, with escapedJson().
void printJson(const QJsonValue& value, QJsonDocument::JsonFormat format = QJsonDocument::Indented);

/// Whether everything that was printed on stdout could be written; prints an error if not.
bool outputWritten();
