#pragma once

#include <QString>
#include <chrono>
#include <functional>

#include "platform_export.h"

/// Downloads one file by a file, http or https address. The file gets its name once it is whole,
/// in place of an older one; until then its bytes are in a temporary file of the same folder, which
/// is removed after a failure.
class PLATFORM_API FileDownload {
public:
    struct Limits {
        qint64 mostBytes = qint64(256) * 1024 * 1024;
        std::chrono::milliseconds total = std::chrono::seconds(60);  ///< from first to last
        int mostRedirects = 5;
    };

    /// `isClosing` is called several times a second during a download, on the caller's thread or on
    /// one of the download's own; true ends the download.
    FileDownload(const Limits& limits, std::function<bool()> isClosing);

    /// Blocks until the file is there or the download has failed. The folder is made when missing.
    /// Returns an empty text on success, otherwise why it failed. Any thread; several downloads may
    /// run at the same time.
    QString fetch(const QString& address, const QString& path) const;

private:
    const Limits m_limits;
    const std::function<bool()> m_isClosing;
};
