#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "znmsg/c_pack_message_common.h"

// Signals of the core, published as events for the other plug-ins.

namespace {

/// A packed body without fields, which subscribers can unpack like that of any other event.
QVariant emptyBody() {
    CPackMessageCommon empty;
    return empty.GetPackedMsg(false);
}

}  // namespace

void VelmarBusinessDataManagerPresenterClass::slotSecurityAccountSettingChanged() {
    VelmarUtils::SendEventMsg(this, EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED, emptyBody());
}

void VelmarBusinessDataManagerPresenterClass::slotPriceCageInfoFinishInit() {
    VelmarUtils::SendEventMsg(this, EventMsgName::PRICE_CAGE_INFO_FINISH_INIT, emptyBody());
}
