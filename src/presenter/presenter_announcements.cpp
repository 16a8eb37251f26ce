#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "znmsg/c_pack_message_common.h"

// What the core tells, published to the other plug-ins.

namespace {

/// A packed body without a value, so that a subscriber may unpack what it gets, as with any event.
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
