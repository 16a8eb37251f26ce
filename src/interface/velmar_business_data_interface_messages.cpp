#include "core.h"
#include "first_load.h"
#include "message_flow.h"
#include "remind_settings.h"
#include "velmar_business_data_interface.h"

void VelmarBusinessDataInterface::AddBusiMsg(const QString& level, const QString& text,
                                             const QString& type, const QString& subType,
                                             const QString& itemName, const QString& itemValue,
                                             bool bSaveDb, const QString& tradingAccount) {
    core().messages().AddBusiMsg(level, text, type, subType, itemName, itemValue, bSaveDb,
                                 tradingAccount);
}

void VelmarBusinessDataInterface::AddBusiMsg(const QString& key, const QString& text,
                                             const QString& itemName, const QString& itemValue,
                                             bool bSaveDb, const QString& tradingAccount) {
    core().messages().AddBusiMsg(key, text, itemName, itemValue, bSaveDb, tradingAccount);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetAllBusiMsgList() {
    InitVelmarBusinessManagePlugin();
    return core().messages().GetAllBusiMsgList();
}

QList<QVariantMap> VelmarBusinessDataInterface::GetUnreadBusiMsgList() {
    InitVelmarBusinessManagePlugin();
    return core().messages().GetUnreadBusiMsgList();
}

QList<QVariantMap> VelmarBusinessDataInterface::GetRemindBusiMsgList() {
    InitVelmarBusinessManagePlugin();
    return core().messages().GetRemindBusiMsgList();
}

bool VelmarBusinessDataInterface::IsBusiMsgRead(const QString& clientMsgId) {
    return core().messages().IsBusiMsgRead(clientMsgId);
}

bool VelmarBusinessDataInterface::SetBusiMsgRead(const QString& clientMsgId) {
    InitVelmarBusinessManagePlugin();
    return core().messages().SetBusiMsgRead(clientMsgId);
}

QVariantMap VelmarBusinessDataInterface::GetBusiMsgRemindSettingInfo(const QString& type,
                                                                     const QString& subType,
                                                                     const QString& level,
                                                                     bool bApplyNoMoreRemind) {
    return core().remindSettings().GetBusiMsgRemindSettingInfo(type, subType, level,
                                                               bApplyNoMoreRemind);
}

bool VelmarBusinessDataInterface::SetBusiMsgRemindSettingInfo(const QString& type,
                                                              const QString& subType,
                                                              const QString& level,
                                                              const QVariantMap& setting) {
    return core().remindSettings().SetBusiMsgRemindSettingInfo(type, subType, level, setting);
}

void VelmarBusinessDataInterface::SetNoMoreRemindInDay() {
    core().remindSettings().SetNoMoreRemindInDay();
}

bool VelmarBusinessDataInterface::GetNoMoreRemindInDayFlag() {
    return core().remindSettings().GetNoMoreRemindInDayFlag();
}
