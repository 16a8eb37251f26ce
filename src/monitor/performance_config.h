#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// Which figures of the board are reported, how often and where to, as the server configures it.
struct PerformanceConfig {
    struct Type {
        QStringList items;        ///< keys of the board
        QStringList stringItems;  ///< those of them whose value is a text
        /// Seconds between two reports. Below 1 means one report at the start and none later.
        int period = 0;
        bool hasPeriod = true;  ///< false when the usual period stands for one that is no number
    };

    /// Seconds, for a type whose period is missing or no number.
    static constexpr int usualPeriod = 60;

    bool hasUploadDst = false;
    int uploadDst = 0;  ///< bit 0: the web, bit 1: client information
    QMap<QString, Type> types;

    /// Reads "UploadDst" and, under every other key, a type with "items", "stringItems" and
    /// "period". A number beyond 32 bits counts as the nearest one of them; a text that is no
    /// 32-bit number is no number. What is missing or of another kind is empty or 0; nothing fails.
    static PerformanceConfig of(QVariantMap values);
};
