#pragma once

#include <QString>
#include <QVariantMap>

#include "platform_export.h"

/// Uploads over the web. Any thread; blocks at most for the write of a line to a file.
class PLATFORM_API VelmarWebLogic {
public:
    static VelmarWebLogic* instance();

    /// Uploads a record. `destination` and `kind` name what the web end does with it; the two other
    /// texts are passed empty. An upload that fails is logged and lost.
    void UpLoad(const QString& destination, const QString& kind, const QString& first,
                const QString& second, QVariantMap record);

private:
    VelmarWebLogic() = default;
};
