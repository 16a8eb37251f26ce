#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "znmsg/c_pack_message_common.h"

// What the core tells, published to the other plug-ins.

void VelmarBusinessDataManagerPresenterClass::slotSecurityAccountSettingChanged() {
    VelmarUtils::SendEventMsg(this, EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED, QVariant());
}

void VelmarBusinessDataManagerPresenterClass::slotPriceCageInfoFinishInit() {
    CPackMessageCommon empty;
    VelmarUtils::SendEventMsg(this, EventMsgName::PRICE_CAGE_INFO_FINISH_INIT,
                              empty.GetPackedMsg(false));
}
