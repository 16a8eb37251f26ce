#pragma once

#include <QList>
#include <QString>

#include "command_answer.h"

/// The patches that the client has downloaded, as its settings file lists them; plays the party
/// that applies them. Needs no client. One that is running with the same home reports an applied
/// patch at its next start, as any other. For one thread.
class PatchesCommand {
public:
    /// The file is that of the user's files in this home; it may be missing.
    explicit PatchesCommand(const QString& homeDir);

    /// Every patch with its name, state and zip file.
    CommandAnswer list(int columns) const;
    /// Marks a patch applied once its zip file is there. An unknown one is an error, a zip file
    /// that is missing or not one is a fault, and so is a settings file that cannot be written.
    CommandAnswer apply(const QString& patchId) const;

private:
    struct Patch {
        QString id;
        QString name;
        QString timeStamp;
        QString status;
        QString file;
    };

    /// False with a text when the settings file cannot be read.
    bool read(QList<Patch>* patches, QString* error) const;
    bool markApplied(const QString& patchId) const;

    const QString m_file;
};
