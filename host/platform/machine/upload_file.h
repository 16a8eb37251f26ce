#pragma once

#include <QString>
#include <QVariantMap>
#include <mutex>

#include "platform_export.h"

/// Uploads of the web, as JSON lines in a file. When the file has reached its size it becomes
/// "<name>.1", in place of the one before. Any thread.
class PLATFORM_API UploadFile {
public:
    /// `mostBytes` is the size at which a new file begins.
    explicit UploadFile(qint64 mostBytes) : m_mostBytes(mostBytes) {}

    /// Appends a line; the file and its folder are made when missing. False with a text when the
    /// line cannot be written; nothing of it stays in the file then. Blocks for the write.
    bool append(const QString& name, const QVariantMap& record, QString* error);

private:
    const qint64 m_mostBytes;
    std::mutex m_lock;  // one writer at a time
};
