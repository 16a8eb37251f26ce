#include <QTimer>
#include <algorithm>

#include "data_query.h"
#include "log.h"
#include "menu_plugin_table.h"
#include "message_flow.h"
#include "message_record.h"
#include "message_store.h"
#include "responsible_presenter.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/velmar_msg_type.h"
#include "zn_business_data_manager.h"
#include "znbusinessdata/c_business_data_base.h"
#include "znmsg/c_pack_message_common.h"
#include "znmsg/c_un_pack_message_common.h"

// Business messages: pushes of the message centre, notices of this client, and the catch-up query.

namespace {

constexpr const char* kAddTag = "VelmarBusinessDataManagerPresenterClass::slotBusiMsgAdd";
constexpr int kRetryMs = 1000;

QVariant packedRow(const QVariantMap& record) {
    CPackMessageCommon packer;
    packer.AddRowVaule(record);
    return packer.GetPackedMsg(false);
}

QString newClientId() {
    return CBusinessDataBase::GetInstance()->getClientOrderID();
}

QDateTime checkedTime(const QVariantMap& record) {
    return timeOfMessage(record.value(System::createTime),
                         CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime());
}

}  // namespace

void VelmarBusinessDataManagerPresenterClass::procMessagePush(const QVariant& body) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    QVariantMap record = unpacker.GetRowValue();
    if (!hasMessageFields(record)) {
        qCInfo(lcPresenter) << "MessageCenterPushMsg ignored: it carries no message";
        return;
    }
    // Without a server id nothing else shows that every presenter got the same message.
    const bool isResponsible = ResponsiblePresenter::is(this);
    if (!isResponsible && record.value(BusiMsgCenter::ServerMsgId).toString().isEmpty()) {
        return;
    }
    logMissingFields(record);
    const QString clientId = newClientId();
    record.insert(System::clientMsgID, clientId);
    record.insert(System::createTime, checkedTime(record));
    record.insert(BusiMsgCenter::ReadStatus, false);
    constexpr bool kSaved = true;
    emit signalBusiMsgRecved(record, kSaved);
    const QString kept = keptClientId(record);
    if (!kept.isEmpty() && kept != clientId) {
        qCDebug(lcPresenter) << "MessageCenterPushMsg: the message is already there as" << kept;
        return;
    }
    // A message that was not kept is published all the same, by one presenter.
    if (kept == clientId || isResponsible) {
        publishBusiMsg(record);
    }
}

QString VelmarBusinessDataManagerPresenterClass::keptClientId(const QVariantMap& record) const {
    return m_dataManager->messages().clientIdOf(
        record.value(BusiMsgCenter::ServerMsgId).toString());
}

/// On the object thread: at once when the notice is raised there, otherwise queued with a copy of
/// the record. Every presenter is called; the responsible one takes the notice in.
void VelmarBusinessDataManagerPresenterClass::slotBusiMsgAdd(QVariantMap& msgMap) {
    if (!ResponsiblePresenter::is(this)) {
        return;
    }
    if (msgMap.value(System::textDescription).toString().isEmpty()) {
        qCInfo(lcPresenter) << kAddTag << "接收到空消息，废弃之";
        return;
    }
    const QString type = msgMap.value(System::BusiMsgType).toString();
    if (!m_busiMsgMenuRight.value(type, true)) {
        qCInfo(lcPresenter) << kAddTag << "收到菜单权限控制外的消息，屏蔽之";
        return;
    }
    logMissingFields(msgMap);
    if (!m_busiMsgMenuRight.contains(type)) {
        judgeByMenus(type);
    }
    if (msgMap.value(System::clientMsgID).toString().isEmpty()) {
        msgMap.insert(System::clientMsgID, newClientId());
    }
    msgMap.insert(System::createTime, checkedTime(msgMap));
    msgMap.insert(BusiMsgCenter::ReadStatus, false);
    const bool isSaved = m_alwaysSaveDB || msgMap.value(BusiMsgCenter::SaveDB).toBool();
    emit signalBusiMsgRecved(msgMap, isSaved);
    const QString kept = isSaved ? keptClientId(msgMap) : QString();
    if (!kept.isEmpty() && kept != msgMap.value(System::clientMsgID).toString()) {
        qCDebug(lcPresenter) << kAddTag << "the message is already there as" << kept;
        return;
    }
    publishBusiMsg(msgMap);
}

/// The message that asks for the verdict passes whatever the verdict is.
void VelmarBusinessDataManagerPresenterClass::judgeByMenus(const QString& type) {
    const QStringList menuIds = m_busiMsgMenuMap.value(type);
    if (menuIds.isEmpty()) {
        m_busiMsgMenuRight.insert(type, true);
        return;
    }
    MenuPluginTable& menus = m_dataManager->menus();
    // The first question loads the user's menus if they are missing. The others are answered from
    // what it loaded, so that a server that does not answer delays a notice once.
    menus.IsUserHasMenuId(this, menuIds.first());
    const QMap<QString, QString> userMenus = menus.userMenus();
    if (userMenus.isEmpty()) {
        return;
    }
    m_busiMsgMenuRight.insert(
        type, std::any_of(menuIds.cbegin(), menuIds.cend(), [&userMenus](const QString& menuId) {
            return userMenus.contains(menuId);
        }));
}

/// May be called with m_busiMsgLock held.
void VelmarBusinessDataManagerPresenterClass::slotBusiMsgRead(QVariantMap busiMsg) {
    if (ResponsiblePresenter::is(this)) {
        publishBusiMsg(busiMsg);
    }
}

void VelmarBusinessDataManagerPresenterClass::publishBusiMsg(const QVariantMap& record) {
    VelmarUtils::SendEventMsg(this, EventMsgName::BUSI_MSG_UPDATED, packedRow(record));
}

void VelmarBusinessDataManagerPresenterClass::queryBusiMsg() {
    QString position;
    if (!m_dataManager->messageStore().getBusiMsgPos(position)) {
        if (!m_busiMsgRetryTimer) {
            m_busiMsgRetryTimer = new QTimer(this);
            m_busiMsgRetryTimer->setInterval(kRetryMs);
            m_busiMsgRetryTimer->setSingleShot(true);
            connect(m_busiMsgRetryTimer, &QTimer::timeout, this,
                    &VelmarBusinessDataManagerPresenterClass::queryBusiMsg);
        }
        m_busiMsgRetryTimer->start();
        return;
    }
    const ServerReply reply = queryPositions(
        this, Velmar_MsgType::queryBusiMessagesRequest,
        {{UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount()}}, position);
    if (isClosing()) {
        return;
    }
    // A query that failed has no rows, and was logged where it failed.
    m_dataManager->messages().mergeQueriedBusiMsg(reply.rows);
    VelmarUtils::SendEventMsg(this, EventMsgName::BUSI_MSG_LOADED, QVariant());
}
