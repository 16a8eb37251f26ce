#include <QJsonDocument>
#include <QJsonObject>

#include "log.h"
#include "price_cage.h"
#include "price_cage_keys.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kAccessLevel = 2;

QString jsonOf(const CageRecords& records) {
    QVariantMap map;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        map.insert(it.key(), it.value());
    }
    return QString::fromUtf8(
        QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact));
}

/// The records with the given fields replaced by those of the changes; an unknown key adds a
/// record.
CageRecords changed(CageRecords records, const CageRecords& changes, const QStringList& fields) {
    for (auto it = changes.cbegin(); it != changes.cend(); ++it) {
        QVariantMap& record = records[it.key()];
        for (const QString& field : fields) {
            record.insert(field, it.value().value(field));
        }
    }
    return records;
}

/// Why the figures may not be saved; empty when they may.
QString refusalOf(const CageRecords& cageInfo) {
    for (auto cage = cageInfo.cbegin(); cage != cageInfo.cend(); ++cage) {
        const QStringList refused = refusedCageFigures(*cage);
        if (!refused.isEmpty()) {
            const QString figures = refused.join(QStringLiteral("、"));
            qCWarning(lcSymbolRules)
                << "changes of price cage" << cage.key() << "are refused:" << figures;
            return QStringLiteral(
                       "设置失败，失败原因：价格笼子%1的参数须为不小于0的数值（%2），请重新设置。")
                .arg(cage.key(), figures);
        }
    }
    return {};
}

QVariantMap profileRow(const QString& key, const QString& json) {
    return {{UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount()},
            {System::profileKey, key},
            {System::profileData, json},
            {System::accessLevel, kAccessLevel},
            {Security::alterType, AlterType::create}};
}

}  // namespace

QString PriceCage::updateUserCageInfo(ZnPresenterClass* presenter, const CageRecords& applyInfo,
                                      const CageRecords& cageInfo) {
    if (!presenter) {
        return QStringLiteral("prtClass为空，无法上报价格笼子设置至后台！");
    }
    QString refusal = refusalOf(cageInfo);
    if (!refusal.isEmpty()) {
        return refusal;
    }
    // Held to the end, the request included: no price may be checked against figures that the
    // server is replacing at that moment. The answer needs none of this plug-in's locks.
    const auto tables = m_cageLock.write();
    const CageRecords apply = changed(tables->m_cageApplyMap, applyInfo, {CageField::status});
    const CageRecords cages = changed(tables->m_cageMap, cageInfo, userCageFields());
    const QString applyJson = jsonOf(apply);
    const QString cageJson = jsonOf(cages);
    QString failure = sendUserCageInfo(presenter, applyJson, cageJson);
    if (!failure.isEmpty()) {
        return failure;
    }
    tables->m_cageMap = cages;
    tables->m_cageApplyMap = apply;
    ++tables->saves;
    m_cageMapSource = CageSource::User;
    m_cageApplySource = CageSource::User;
    ZnCore* const settings = ZnCore::instance();
    settings->saveSetting(ETFTradeSetting::Self_AllPriceCageApply, applyJson);
    qCInfo(lcSymbolRules) << "价格笼子应用设置JSON:" << applyJson;
    settings->saveSetting(ETFTradeSetting::Self_AllPriceCageMap, cageJson);
    qCInfo(lcSymbolRules) << "价格笼子参数设置JSON:" << cageJson;
    return {};
}

QString PriceCage::sendUserCageInfo(ZnPresenterClass* presenter, const QString& applyJson,
                                    const QString& cageJson) const {
    ServerRequest request;
    request.msgType = Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest;
    request.rows = {profileRow(CageProfile::kApply, applyJson),
                    profileRow(CageProfile::kCages, cageJson)};
    request.answer = AnswerForm::NamedStatus;
    const ServerReply reply = sendToServer(presenter, request);
    QString failure;
    switch (reply.outcome) {
        case ServerReply::Outcome::Answered:
            break;
        case ServerReply::Outcome::TimedOut:
            failure = QStringLiteral("设置超时，您可点击【刷新】按钮确认结果或重新设置。");
            break;
        case ServerReply::Outcome::Refused:
        case ServerReply::Outcome::Failed:
            // A single arg(), since the server's text may contain a place marker.
            failure = QStringLiteral("设置失败，失败原因：%1，请重新设置。").arg(reply.text);
            break;
    }
    qCDebug(lcSymbolRules) << "价格笼子自定义参数后台更新:" << reply.code << failure;
    return failure;
}
