#pragma once

#include <QByteArray>
#include <QVariant>

#include "platform_export.h"

/// The identifier of a plug-in object.
class PLATFORM_API Id {
public:
    Id(const char* name);

    /// The name as a text, the form in which properties store it.
    QVariant toSetting() const;

private:
    QByteArray m_name;
};
