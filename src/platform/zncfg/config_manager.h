#pragma once

#include <QVariantMap>

#include "platform_export.h"

/// The configuration of the client as its plug-ins see it. Any thread.
class PLATFORM_API ConfigManager {
public:
    static ConfigManager* instance();

    /// Every configuration key that is in effect, with its value: those that the user saved over
    /// those of the system settings. A key that belongs to a group is "group/name". Does not block.
    QVariantMap getAlleffectiveKeyAndValues() const;

private:
    ConfigManager() = default;
};
