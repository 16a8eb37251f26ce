#pragma once

#include <QByteArray>
#include <QVariant>

#include "platform_export.h"

/// The identifier of a plug-in object.
class PLATFORM_API Id {
public:
    Id(const char* name);

    /// The form that is stored in a property: the name as a text.
    QVariant toSetting() const;

private:
    QByteArray m_name;
};
