#include "zncm/id.h"

#include <QString>

Id::Id(const char* name) : m_name(name) {}

QVariant Id::toSetting() const {
    return QString::fromUtf8(m_name);
}
