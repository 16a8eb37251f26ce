#include "price_cage_load.h"

#include <utility>

#include "data_query.h"
#include "load_step.h"
#include "log.h"
#include "price_cage_keys.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kFuzzy = QStringLiteral("1");

/// Replaces or adds fields.
void uniteRecord(QVariantMap& into, const QVariantMap& from) {
    for (auto it = from.cbegin(); it != from.cend(); ++it) {
        into.insert(it.key(), it.value());
    }
}

}  // namespace

bool PriceCageLoad::queryUserProfile() {
    const QString& msgType = Quindar_MsgType::getUserProfileDataRequest;
    const ServerReply reply =
        queryRows(m_presenter, msgType,
                  {{UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount()},
                   {System::msgType, msgType},
                   {System::profileKey, CageProfile::kFuzzyKey},
                   {System::fuzzy, kFuzzy}});
    if (!reply.isAnswered()) {
        m_isBrokenOff = LoadStep::isClosing(m_presenter);
        return false;
    }
    for (const QVariantMap& row : reply.rows) {
        const QString key = row.value(System::profileKey).toString();
        if (key != CageProfile::kCages && key != CageProfile::kApply) {
            continue;
        }
        QVariantMap profile;
        if (!VelmarUtils::TransStr2Map(row.value(System::profileData).toString(), profile)
                 .isEmpty()) {
            continue;
        }
        if (key == CageProfile::kCages) {
            takeUserCages(profile);
        } else {
            takeUserApply(profile);
        }
    }
    logTables("user");
    return true;
}

void PriceCageLoad::takeUserCages(const QVariantMap& profile) {
    // The classes of one row only; adding those of a later row would mix two settings.
    const bool takesIndex = m_cageIndex.isEmpty();
    for (auto it = profile.cbegin(); it != profile.cend(); ++it) {
        const QVariantMap record = it.value().toMap();
        uniteRecord(m_cageMap[it.key()], record);
        if (takesIndex) {
            getCageFieldSecurityType(it.key(), record, m_cageIndex);
        }
    }
    m_mapSource = CageSource::User;
}

void PriceCageLoad::takeUserApply(const QVariantMap& profile) {
    for (auto it = profile.cbegin(); it != profile.cend(); ++it) {
        uniteRecord(m_applyMap[it.key()], it.value().toMap());
    }
    m_applySource = CageSource::User;
}

void PriceCageLoad::fillFromOtherSources() {
    if (m_isBrokenOff) {
        return;
    }
    readLocalCopies();
    queryServerCages();
    if (m_applyMap.isEmpty()) {
        queryServerApply();
    }
    if (m_isBrokenOff) {
        return;
    }
    readBuiltIn();
    uniteTables();
    if (m_applyMap.isEmpty()) {
        qCWarning(lcSymbolRules) << "获取价格笼子应用设置失败！";
    }
    if (m_cageMap.isEmpty()) {
        qCWarning(lcSymbolRules) << "获取价格笼子参数设置失败！";
    }
}

void PriceCageLoad::readLocalCopies() {
    ZnCore* const settings = ZnCore::instance();
    if (m_applySource != CageSource::User) {
        const QVariant saved = settings->settings(ETFTradeSetting::Self_AllPriceCageApply);
        if (saved.isValid()) {
            qCInfo(lcSymbolRules) << "读取本地价格笼子应用设置:" << saved;
            m_applySource = CageSource::LocalCopy;
            getCageApplyMapFromJson(saved, m_applyMap);
        }
    }
    if (m_mapSource != CageSource::User) {
        const QVariant saved = settings->settings(ETFTradeSetting::Self_AllPriceCageMap);
        if (saved.isValid()) {
            qCInfo(lcSymbolRules) << "读取本地价格笼子参数设置:" << saved;
            m_mapSource = CageSource::LocalCopy;
            getCageMapUnionFromJson(saved, m_cageMap, m_cageIndex);
        }
    }
    logTables("local");
}

QVariantMap PriceCageLoad::systemItem(const QString& itemName, bool* answered) {
    const ServerReply reply =
        queryRows(m_presenter, Velmar_MsgType::getSysConfigRequest, {{System::itemName, itemName}});
    *answered = !reply.rows.isEmpty();
    m_isBrokenOff = m_isBrokenOff || (!reply.isAnswered() && LoadStep::isClosing(m_presenter));
    QVariantMap item;
    if (*answered) {
        VelmarUtils::TransStr2Map(reply.rows.first().value(System::itemValue).toString(), item);
    }
    return item;
}

void PriceCageLoad::queryServerCages() {
    static const std::pair<QString, QString> kInForce[] = {
        {CageField::buyPercent, CageField::userBuyPercent},
        {CageField::buyUnit, CageField::userBuyUnit},
        {CageField::sellPercent, CageField::userSellPercent},
        {CageField::sellUnit, CageField::userSellUnit}};
    bool answered = false;
    const QVariantMap item = systemItem(SystemItemName::TagPriceCage, &answered);
    if (!answered) {
        return;
    }
    for (auto it = item.cbegin(); it != item.cend(); ++it) {
        QVariantMap record = it.value().toMap();
        for (const auto& field : kInForce) {
            record.insert(field.second, record.value(field.first));
        }
        m_serverMap.insert(it.key(), record);
        getCageFieldSecurityType(it.key(), record, m_serverIndex);
    }
    if (m_cageMap.isEmpty()) {
        m_mapSource = CageSource::ServerDefault;
    }
    logTables("server");
}

void PriceCageLoad::queryServerApply() {
    bool answered = false;
    const QVariantMap item = systemItem(SystemItemName::TagPriceCageApply, &answered);
    if (!answered) {
        return;
    }
    for (auto it = item.cbegin(); it != item.cend(); ++it) {
        m_applyMap.insert(it.key(), it.value().toMap());
    }
    m_applySource = CageSource::ServerDefault;
}

void PriceCageLoad::readBuiltIn() {
    if (m_applyMap.isEmpty()) {
        qCInfo(lcSymbolRules) << "读取内置价格笼子应用设置:" << m_builtIn.apply;
        m_applySource = CageSource::BuiltIn;
        getCageApplyMapFromJson(m_builtIn.apply, m_applyMap);
    }
    if (m_serverMap.isEmpty()) {
        qCInfo(lcSymbolRules) << "读取内置价格笼子参数设置:" << m_builtIn.cage;
        if (m_cageMap.isEmpty()) {
            m_mapSource = CageSource::BuiltIn;
        }
        getCageMapUnionFromJson(m_builtIn.cage, m_serverMap, m_serverIndex);
    }
}

void PriceCageLoad::uniteTables() {
    // A user with as many cages as the server keeps only the own ones.
    if (m_serverMap.size() > m_cageMap.size()) {
        for (auto it = m_cageMap.cbegin(); it != m_cageMap.cend(); ++it) {
            m_serverMap.insert(it.key(), it.value());
        }
        for (auto it = m_cageIndex.cbegin(); it != m_cageIndex.cend(); ++it) {
            m_serverIndex.insert(it.key(), it.value());
        }
        m_cageMap = m_serverMap;
        m_cageIndex = m_serverIndex;
        m_mapSource = CageSource::United;
    }
    logTables("united");
}

void PriceCageLoad::warnOfUnusableFigures() const {
    for (auto cage = m_cageMap.cbegin(); cage != m_cageMap.cend(); ++cage) {
        const QStringList fields = unusableCageFields(*cage);
        if (!fields.isEmpty()) {
            qCWarning(lcSymbolRules)
                << "price cage" << cage.key()
                << "has unusable figures:" << fields.join(QStringLiteral(", "));
        }
    }
}

void PriceCageLoad::logTables(const char* stage) const {
    qCDebug(lcSymbolRules) << "ZnBusinessDataManager::initCageMap" << stage << m_applyMap
                           << m_cageMap << m_cageIndex << m_serverMap << m_serverIndex;
}
