#include "price_cage_records.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include "log.h"
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
