#include "price_cage_records.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <limits>

#include "log.h"
#include "saturated.h"
#include "vocabulary/values.h"

namespace {

inline const QString kBuiltInApply = QStringLiteral(
    R"({"ETF":{"title":"ETF套利","status":"1"},"MultiArbitrage":{"title":"多品种套利","status":"0"},)"
    R"("Strategy":{"title":"策略交易","status":"0"}})");

inline const QString kBuiltInCage = QStringLiteral(
    R"({"1":{"title":"沪市（非科创板）和深市（含创业板）股票：","securityType":["1-2-*","2-2-*"],)"
    R"("buyPriceLimitRatio":0.02,"buyPriceLimitUnit":10,"sellPriceLimitRatio":0.02,)"
    R"("sellPriceLimitUnit":10,"controlType":3},"2":{"title":"科创板股票：",)"
    R"("securityType":["1-2-02200"],"buyPriceLimitRatio":0.02,"buyPriceLimitUnit":10,)"
    R"("sellPriceLimitRatio":0.02,"sellPriceLimitUnit":10,"controlType":1},"3":{"title":)"
    R"("港股通股票：","securityType":["G-2-*","S-2-*"],"buyPriceLimitRatio":0.02,)"
    R"("buyPriceLimitUnit":9,"sellPriceLimitRatio":0.02,"sellPriceLimitUnit":9,"controlType":2}})");

QVariantMap objectOf(const QVariant& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json.toByteArray());
    return document.isObject() ? document.object().toVariantMap() : QVariantMap();
}

bool isTicks(const QString& field) {
    return field == CageField::userBuyUnit || field == CageField::userSellUnit;
}

/// Whether a figure reads as a finite number: as a whole one where it counts ticks.
bool isNumber(const QString& field, const QVariant& value) {
    switch (value.userType()) {
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            return true;
        case QMetaType::Double:
        case QMetaType::Float:
            return std::isfinite(value.toDouble());
        case QMetaType::QString:
        case QMetaType::QByteArray:
            break;
        default:
            return false;
    }
    bool isRead = false;
    if (isTicks(field)) {
        value.toLongLong(&isRead);
        return isRead;
    }
    const double number = value.toDouble(&isRead);
    return isRead && std::isfinite(number);
}

QString asText(const QString& field, const QVariant& value) {
    return QStringLiteral("%1=%2").arg(field, value.toString());
}

QString textOf(CageSource source) {
    switch (source) {
        case CageSource::Nothing:
            return QStringLiteral("初始化失败");
        case CageSource::ServerDefault:
            return QStringLiteral("当前使用后台默认配置");
        case CageSource::LocalCopy:
            return QStringLiteral("当前使用本地用户配置");
        case CageSource::BuiltIn:
            return QStringLiteral("当前使用本地默认配置");
        case CageSource::User:
        case CageSource::United:
            break;
    }
    return {};
}

}  // namespace

CageBuiltIn CageBuiltIn::standard() {
    return {kBuiltInApply, kBuiltInCage};
}

void getCageApplyMapFromJson(const QVariant& json, CageRecords& out) {
    const QVariantMap records = objectOf(json);
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        out.insert(it.key(), it.value().toMap());
    }
    qCDebug(lcSymbolRules) << "读取本地价格笼子应用设置:" << out;
}

void getCageMapUnionFromJson(const QVariant& json, CageRecords& out, CageIndex& index) {
    const QVariantMap records = objectOf(json);
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const QVariantMap record = it.value().toMap();
        out.insert(it.key(), record);
        getCageFieldSecurityType(it.key(), record, index);
    }
    qCDebug(lcSymbolRules) << "读取本地价格笼子参数设置:" << out;
    qCDebug(lcSymbolRules) << "本地SecurityType证券索引:" << index;
}

void getCageFieldSecurityType(const QString& cageId, const QVariantMap& record, CageIndex& out) {
    const QVariantList classes = record.value(CageField::securityType).toList();
    for (const QVariant& entry : classes) {
        const QStringList levels = entry.toString().split(QLatin1Char('-'));
        if (levels.size() != 3) {
            qCWarning(lcSymbolRules) << "securityType配置有误" << entry;
            continue;
        }
        out[levels.at(0)][levels.at(1)][levels.at(2)] = cageId;
    }
}

QString getCageStatusText(CageSource mapSource, CageSource applySource) {
    QString text;
    if (applySource != CageSource::User) {
        text = QStringLiteral("价格笼子应用设置:") + textOf(applySource);
    }
    if (mapSource != CageSource::User) {
        text += QStringLiteral("\n价格笼子参数设置:") + textOf(mapSource);
    }
    return text;
}

int wholeOf(const QVariantMap& cage, const QString& field) {
    const QVariant value = cage.value(field);
    if (value.userType() == QMetaType::Double || value.userType() == QMetaType::Float) {
        return saturated<int>(std::round(value.toDouble()));
    }
    return static_cast<int>(qBound<qint64>(std::numeric_limits<int>::min(), value.toLongLong(),
                                           std::numeric_limits<int>::max()));
}

const QStringList& userCageFields() {
    static const QStringList fields{CageField::userBuyPercent, CageField::userBuyUnit,
                                    CageField::userSellPercent, CageField::userSellUnit};
    return fields;
}

QStringList unusableCageFields(const QVariantMap& cage) {
    QStringList unusable;
    const int control = wholeOf(cage, CageField::controlType);
    if (control < static_cast<int>(CageControl::RatioOnly) ||
        control > static_cast<int>(CageControl::RatioAndTicks)) {
        unusable.append(asText(CageField::controlType, cage.value(CageField::controlType)));
    }
    for (const QString& field : userCageFields()) {
        const QVariant value = cage.value(field);
        if (!value.isNull() && !isNumber(field, value)) {
            unusable.append(asText(field, value));
        }
    }
    return unusable;
}

QStringList refusedCageFigures(const QVariantMap& cage) {
    QStringList refused;
    for (const QString& field : userCageFields()) {
        const QVariant value = cage.value(field);
        if (!value.isNull() && (!isNumber(field, value) || value.toDouble() < 0)) {
            refused.append(asText(field, value));
        }
    }
    return refused;
}
