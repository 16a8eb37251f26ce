#include "remind_settings.h"

#include <QDir>
#include <QFileInfo>

#include "application_folder.h"
#include "clock.h"
#include "log.h"
#include "remind_setting_text.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

namespace {

constexpr const char* kTag = "ZnBusinessDataManager::initBusiMsgRemindSetting";
constexpr int kKindParts = 3;
inline const QString kDefault = QStringLiteral("default");
/// The sub-type that stands for a type as a whole.
inline const QString kBase = OwnKeys::ruleBase;

QMap<QString, QString> sectionOf(const QString& name) {
    return CDataBase::GetInstance()->GetStaticValuesBySection(name);
}

QString settingsFile() {
    const QString login = CBusinessDataBase::GetInstance()->GetLoginAccount();
    QString file = QDir::cleanPath(applicationFolder() + QStringLiteral("/work/") + login +
                                   QStringLiteral("/busiMsgSetting.ini"));
    if (login.isEmpty()) {
        qCWarning(lcBusiMsg).noquote()
            << "reminder settings without a login are in" << file << "for every user";
    }
    return file;
}

/// The setting of a kind, empty without one. Reads only, so that no lock is needed for a tree that
/// does not change.
QVariantMap settingOf(const RemindTree& tree, const RemindKind& kind, bool* isThere) {
    const auto ofType = tree.constFind(kind.type);
    if (ofType == tree.cend()) {
        return {};
    }
    const auto ofSubType = ofType->constFind(kind.subType);
    if (ofSubType == ofType->cend()) {
        return {};
    }
    const auto setting = ofSubType->constFind(kind.level);
    *isThere = setting != ofSubType->cend();
    return *isThere ? *setting : QVariantMap();
}

/// The user's choice for a kind: that of its sub-type, otherwise that of the whole type.
QVariantMap userSettingOf(const RemindTree& tree, RemindKind kind) {
    if (!tree.value(kind.type).contains(kind.subType)) {
        kind.subType = kBase;
    }
    bool isThere = false;
    return settingOf(tree, kind, &isThere);
}

/// Puts a setting into the tree. An empty one takes the kind's place away, with what is empty then,
/// as if the file had been read again.
void putSetting(const RemindKind& kind, const QVariantMap& setting, RemindTree* tree) {
    if (!setting.isEmpty()) {
        (*tree)[kind.type][kind.subType][kind.level] = setting;
        return;
    }
    const auto ofType = tree->find(kind.type);
    if (ofType == tree->end()) {
        return;
    }
    const auto ofSubType = ofType->find(kind.subType);
    if (ofSubType == ofType->end()) {
        return;
    }
    ofSubType->remove(kind.level);
    if (ofSubType->isEmpty()) {
        ofType->erase(ofSubType);
    }
    if (ofType->isEmpty()) {
        tree->erase(ofType);
    }
}

/// A setting with values that JSON does not have, or one that nests too deeply, is in effect until
/// the end of the process only.
void warnWhenNotReadBack(const RemindKind& kind, const QVariantMap& setting, const QString& text) {
    QVariantMap again;
    if (!readRemindText(text, &again)) {
        qCWarning(lcBusiMsg).noquote() << "the reminder setting" << remindKeyOf(kind)
                                       << "nests too deeply to be read at the next start";
    } else if (again != setting) {
        qCWarning(lcBusiMsg).noquote() << "the reminder setting" << remindKeyOf(kind)
                                       << "has values that are not read back as they are: JSON "
                                          "does not have their types";
    }
}

bool popsUp(const QVariantMap& setting) {
    return setting.value(BusiMsgCenter::RemindSwitch).toBool() &&
           setting.value(BusiMsgCenter::PopSwitch).toBool();
}

void addPopUps(const RemindTree& tree, QMap<QString, QMap<QString, QMap<QString, bool>>>* popUps) {
    for (auto type = tree.cbegin(); type != tree.cend(); ++type) {
        for (auto subType = type->cbegin(); subType != type->cend(); ++subType) {
            for (auto level = subType->cbegin(); level != subType->cend(); ++level) {
                (*popUps)[type.key()][subType.key()][level.key()] = popsUp(*level);
            }
        }
    }
}

}  // namespace

void RemindSettings::initBusiMsgRemindSetting(QObject* owner) {
    loadDefaults();
    openFile(owner);
    loadSubTypes();
    loadTypeDict();
}

void RemindSettings::loadDefaults() {
    const QMap<QString, QString> texts = sectionOf(DictionaryKey::VelmarBusiMsgDefaultSetting);
    for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
        const QStringList parts = it.key().split(QLatin1Char('_'), Qt::SkipEmptyParts);
        const bool isCatchAll = it.key() == kDefault;
        if (!isCatchAll && parts.size() < kKindParts) {
            qCWarning(lcBusiMsg).noquote() << "the key" << it.key()
                                           << "of a default reminder setting does not have the "
                                              "form type_sub-type_level";
            continue;
        }
        QVariantMap setting;
        const QString error = VelmarUtils::TransStr2Map(it.value(), setting);
        if (!error.isEmpty()) {
            qCWarning(lcBusiMsg).noquote()
                << "the default reminder setting" << it.key() << "is empty:" << error;
        }
        qCDebug(lcBusiMsg).noquote() << kTag << it.value() << setting;
        if (isCatchAll) {
            m_defaultRemindInfo = setting;
        } else {
            m_defaultRemindTree[parts.at(0)][parts.at(1)][parts.at(2)] = setting;
        }
    }
}

void RemindSettings::openFile(QObject* owner) {
    const QString file = settingsFile();
    m_remindSettings = new SharedSettings(file, owner, SharedSettings::WhenNotWritten::WarnOnce);
    qCInfo(lcBusiMsg).noquote() << QStringLiteral("获取到消息中心设置文件%1，设置是否存在：%2")
                                       .arg(file, QString::number(m_remindSettings != nullptr));
    if (!QFileInfo::exists(file)) {
        return;
    }
    const QVariantMap values = m_remindSettings->lockedAll();
    if (!m_remindSettings->lockedIsReadable()) {
        qCWarning(lcBusiMsg).noquote() << "reminder settings" << file << "cannot be read whole";
    }
    const auto tables = m_remindLock.write();
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        loadUserValue(it.key(), it.value().toString(), &tables->m_userRemindTree);
    }
}

void RemindSettings::loadUserValue(const QString& key, const QString& value, RemindTree* tree) {
    const bool isDate = key.contains(OwnKeys::ignoreDate);
    RemindKind kind;
    QVariantMap setting;
    if (!readRemindKey(key, &kind)) {
        if (!isDate) {
            qCDebug(lcBusiMsg).noquote()
                << "reminder settings:" << key << "is not the key of a setting";
        }
    } else if (!readRemindText(value, &setting)) {
        qCDebug(lcBusiMsg).noquote()
            << "reminder settings: the value of" << key << "is not a JSON object";
    } else if (!setting.isEmpty()) {
        putSetting(kind, setting, tree);
    }
    if (isDate) {
        m_noMoreRemindInDay =
            QDate::fromString(value, DateTimeFormatString::TRANS_DATE_FROMAT) == m_clock.today();
    }
}

void RemindSettings::loadSubTypes() {
    const QStringList types = sectionOf(System::BusiMsgType).keys();
    const QStringList subTypes = sectionOf(System::BusiMsgSubType).keys();
    for (const QString& type : types) {
        QStringList& ofType = m_busiMsgSubTypeTable[type];
        ofType.append(kBase);
        for (const QString& subType : subTypes) {
            if (subType.startsWith(type)) {
                ofType.append(subType);
            }
        }
    }
}

void RemindSettings::loadTypeDict() {
    const QMap<QString, QString> texts = sectionOf(DictionaryKey::VelmarBusiMsgTypeDict);
    for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
        const QStringList parts = it.value().split(QLatin1Char('|'), Qt::SkipEmptyParts);
        if (parts.size() < kKindParts) {
            qCWarning(lcBusiMsg).noquote() << "the message kind" << it.key() << "is" << it.value()
                                           << "and not type|sub-type|level";
            continue;
        }
        m_busiMsgTypeDict.insert(it.key(), parts);
    }
}

QVariantMap RemindSettings::GetBusiMsgRemindSettingInfo(const QString& type, const QString& subType,
                                                        const QString& level,
                                                        bool bApplyNoMoreRemind) const {
    const RemindKind kind{type, subType, level};
    const auto tables = m_remindLock.read();
    QVariantMap setting = userSettingOf(tables->m_userRemindTree, kind);
    if (setting.isEmpty()) {
        bool isThere = false;
        setting = settingOf(m_defaultRemindTree, kind, &isThere);
        if (!isThere) {
            setting = m_defaultRemindInfo;
        }
    }
    if (bApplyNoMoreRemind) {
        const bool popSwitch = setting.value(BusiMsgCenter::PopSwitch).toBool();
        setting.insert(BusiMsgCenter::PopSwitch, popSwitch && !m_noMoreRemindInDay);
    }
    return setting;
}

bool RemindSettings::SetBusiMsgRemindSettingInfo(const QString& type, const QString& subType,
                                                 const QString& level, const QVariantMap& setting) {
    if (level.isEmpty() || type.isEmpty()) {
        return false;
    }
    const QStringList subTypes =
        subType.isEmpty() ? m_busiMsgSubTypeTable.value(type) : QStringList{subType};
    if (subTypes.isEmpty()) {
        qCWarning(lcBusiMsg).noquote()
            << "a reminder setting for the whole type" << type
            << "is not stored: the message dictionary does not contain the type";
        return true;
    }
    const QString text = remindTextOf(setting);
    warnWhenNotReadBack({type, subTypes.first(), level}, setting, text);
    QVariantMap values;
    for (const QString& one : subTypes) {
        values.insert(remindKeyOf({type, one, level}), text);
    }
    // Held during the write, so that of two calls the later one is in the tree and in the file.
    const auto tables = m_remindLock.write();
    for (const QString& one : subTypes) {
        putSetting({type, one, level}, setting, &tables->m_userRemindTree);
    }
    if (m_remindSettings) {
        m_remindSettings->lockedSetValues(values);
    }
    return true;
}

void RemindSettings::SetNoMoreRemindInDay() {
    m_noMoreRemindInDay = true;
    if (m_remindSettings) {
        m_remindSettings->lockedSetValue(
            OwnKeys::ignoreDate, m_clock.today().toString(DateTimeFormatString::TRANS_DATE_FROMAT));
    }
}

QMap<QString, QMap<QString, QMap<QString, bool>>> RemindSettings::popUpTree() const {
    QMap<QString, QMap<QString, QMap<QString, bool>>> popUps;
    addPopUps(m_defaultRemindTree, &popUps);
    const auto tables = m_remindLock.read();
    addPopUps(tables->m_userRemindTree, &popUps);
    return popUps;
}
