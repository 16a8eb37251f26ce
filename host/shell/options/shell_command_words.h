#pragma once

#include <QString>
#include <QStringList>

struct ShellOptions;

/// Reads the words behind the options: a command, its question and its arguments.
namespace CommandWords {

/// Takes the options that only this command has, such as --json, out of its words. Changes nothing
/// for an unknown command.
void takeFlags(const QString& command, QStringList* words, ShellOptions* options);

/// Reads the remaining words of a command. False with a text for the user when they are wrong; for
/// an unknown command the text lists the commands, similar ones first.
bool take(const QString& command, const QStringList& words, ShellOptions* options, QString* error);

}  // namespace CommandWords
