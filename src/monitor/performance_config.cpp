#include "performance_config.h"

#include <cmath>

#include "saturated.h"

namespace {

/// Not by QVariant::toInt() alone, which cuts a large number to 32 bits.
int wholeNumber(const QVariant& value, bool* isNumber) {
    if (value.userType() == QMetaType::QString) {
        return value.toString().toInt(isNumber);
    }
    return saturated<int>(std::round(value.toDouble(isNumber)));
}

PerformanceConfig::Type typeOf(const QVariantMap& record) {
    PerformanceConfig::Type type;
    type.items = record.value(QStringLiteral("items")).toStringList();
    type.stringItems = record.value(QStringLiteral("stringItems")).toStringList();
    type.period = wholeNumber(record.value(QStringLiteral("period")), &type.hasPeriod);
    if (!type.hasPeriod) {
        type.period = PerformanceConfig::usualPeriod;
    }
    return type;
}

}  // namespace

PerformanceConfig PerformanceConfig::of(QVariantMap values) {
    static const QString kUploadDst = QStringLiteral("UploadDst");
    PerformanceConfig config;
    config.hasUploadDst = values.contains(kUploadDst);
    bool isNumber = false;
    config.uploadDst = wholeNumber(values.take(kUploadDst), &isNumber);
    for (auto type = values.cbegin(); type != values.cend(); ++type) {
        config.types.insert(type.key(), typeOf(type->toMap()));
    }
    return config;
}
