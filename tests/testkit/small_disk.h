#pragma once

#include <QString>
#include <functional>

// A disk of 256 KiB that a test can fill, in a child process of its own, since mounting needs a
// name space of its own. For tests without threads.
namespace SmallDisk {

enum class Result {
    Done,
    NotAllowed,  ///< the system does not allow a test to mount a disk
    Failed,      ///< the child crashed or returned nothing
};

/// Runs `body` in a child process that has a small disk mounted at `dir`. `text` gets what it
/// returned.
Result run(const QString& dir, const std::function<QString()>& body, QString* text);

/// Fills the disk with one file except for `left` bytes; removes that file.
void fill(const QString& dir, int left);
void removeFill(const QString& dir);

}  // namespace SmallDisk
