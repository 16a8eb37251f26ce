#include "log.h"
#include "post.h"
#include "server_request.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znmsg/c_un_pack_message_common.h"

void VelmarBusinessDataManagerPresenterClass::ProcSubMsg(QString, QVariant msgType, QVariant body) {
    const QString type = msgType.toString();
    if (type == Velmar_MsgType::MessageCenterPushMsg) {
        procMessagePush(body);
    } else if (type == Velmar_MsgType::ClientPatchInfoPush) {
        procPatchPush(body);
    }
}

void VelmarBusinessDataManagerPresenterClass::procPatchPush(const QVariant& body) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    const QString subType = unpacker.GetValue(System::SubMsgType, QString()).toString();
    if (subType != SubscribeTopicSubType::clientPatchInfo) {
        return;
    }
    QVariantMap patch;
    const QString error = VelmarUtils::TransStr2Map(
        unpacker.GetValue(System::textDescription, QString()).toString(), patch);
    if (!error.isEmpty()) {
        qCDebug(lcPresenter) << "ClientPatchInfoPush not understood:" << error;
        return;
    }
    // On the object thread: the download would hold up the heartbeats' answers, and the query at
    // the start would clear what it writes.
    invokeOn(this, [this, patch] { m_patches->writePatchInfoFile(this, {patch}); });
}

void VelmarBusinessDataManagerPresenterClass::ProcResponseMsg(QString, QString, QVariant msgType,
                                                              QVariant body) {
    const QString type = msgType.toString();
    reportRefusedResponse(type, body);
    if (type == Velmar_MsgType::BusiHeartBeatResponse ||
        type == Velmar_MsgType::BusiHeartBeatRequest) {
        m_heartBeats.takeAnswer(body);
        noteBeatsOnTheirWay();
    }
}
