#include <QHash>
#include <utility>

#include "data_log.h"
#include "event_bus.h"
#include "host_source.h"
#include "never_destroyed.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/velmar_event_msg_id.h"
#include "znevent/c_event_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

/// The id of each named event. It follows from the name's place here, so a new name goes to the
/// end.
QHash<QString, int> numberedEvents() {
    const QString* const names[] = {
        &EventMsgName::BUSI_HEART_BEAT_STATISTIC,
        &EventMsgName::BUSI_MSG_ADD,
        &EventMsgName::BUSI_MSG_LOADED,
        &EventMsgName::BUSI_MSG_UPDATED,
        &EventMsgName::CalcRealizedProfitInitEvent,
        &EventMsgName::ClientPatchUpdateEvent,
        &EventMsgName::ETFTRADESETTING_TRADEFEECHANGE,
        &EventMsgName::LogUploadEvent,
        &EventMsgName::PRICE_CAGE_INFO_FINISH_INIT,
        &EventMsgName::RealizedProfitInitedEvent,
        &EventMsgName::RealizedProfitUpdateEvent,
        &EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED,
        &EventMsgName::Velmar_Fundaccount_Inited,
        &OwnKeys::historyQueryProgress,
    };
    QHash<QString, int> ids;
    int next = VelmarEventMsgID::TORVI_BASE_TYPE;
    for (const QString* name : names) {
        ids.insert(*name, ++next);
    }
    return ids;
}

}  // namespace

int VelmarUtils::GetTorviEventMsgIdByStr(const QString& name) {
    const auto& ids = neverDestroyed([] { return new QHash<QString, int>(numberedEvents()); });
    const int id = ids.value(name, 0);
    if (id == 0) {
        qCWarning(lcPlatformData) << "no event has the name" << name;
    }
    return id;
}

int VelmarUtils::SendEventMsg(ZnPresenterClass* p, int eventId, const QVariant& body) {
    if (!p || eventId == 0) {
        qCWarning(lcPlatformData) << "event" << eventId << "is not published:"
                                  << (p ? "it has no id" : "the presenter is null");
        return -1;
    }
    auto* event = new CEventMessageCommon;
    event->SetSrcid(p->pluginPid());
    event->SetType(eventId);
    event->SetMsg(body);
    p->PutEvent(p->pluginPid(), event);
    return 0;
}

int VelmarUtils::SendEventMsg(ZnPresenterClass* p, const QString& eventName, const QVariant& body) {
    return SendEventMsg(p, GetTorviEventMsgIdByStr(eventName), body);
}

void VelmarUtils::PutBusiMsg(ZnPresenterClass* p, const QString& level, const QString& text,
                             const QString& type, const QString& subType, const QString& itemName,
                             const QString& itemValue, const QString& tradingAccount) {
    const std::pair<const QString&, const QString&> fields[] = {
        {System::BusiMsgLevel, level},
        {System::textDescription, text},
        {System::BusiMsgType, type},
        {System::BusiMsgSubType, subType},
        {System::itemName, itemName},
        {System::itemValue, itemValue},
        {UserAccount::tradingAccount, tradingAccount},
    };
    CPackMessageCommon packer;
    for (const auto& [key, value] : fields) {
        // A reader takes a key that is present for a statement: a trading account that is empty
        // would be one that the user does not have.
        if (!value.isEmpty()) {
            packer.AddVaule(key, value);
        }
    }
    const QVariant body = packer.GetPackedMsg(false);
    if (p) {
        SendEventMsg(p, EventMsgName::BUSI_MSG_ADD, body);
    } else {
        EventBus::instance().publish(kHostSourceId,
                                     GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD), body);
    }
}
