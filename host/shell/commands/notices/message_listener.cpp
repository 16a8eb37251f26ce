#include "message_listener.h"

#include <utility>

#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

constexpr int kSubscribe = 1;

}  // namespace

MessageListener::MessageListener(std::function<void(const QVariantMap& record)> onMessage)
    : ZnPresenterClass(QStringLiteral("ZNApp.MessageListener"), nullptr,
                       IMessageInterface::OwnThreads),
      m_onMessage(std::move(onMessage)),
      m_updatedEvent(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_UPDATED)) {
    SubEvent(pluginPid(), m_updatedEvent, kSubscribe);
}

void MessageListener::ProcEventMsg(QString, QVariant eventId, QVariant body) {
    if (eventId.toInt() == m_updatedEvent) {
        CUnPackMessageCommon unpacker;
        unpacker.SetUnPackMsg(body, false);
        m_onMessage(unpacker.GetRowValue());
    }
}
