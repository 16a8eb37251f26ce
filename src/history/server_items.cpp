#include "server_items.h"

#include "log.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

using Outcome = ServerReply::Outcome;

QString loginAccount() {
    return CBusinessDataBase::GetInstance()->GetLoginAccount();
}

/// A single item stands in the first data row.
QVariantMap itemOf(const ServerReply& reply) {
    return reply.rows.value(0);
}

}  // namespace

QString ServerItems::GetSystemAnnoucement(ZnPresenterClass* presenter, bool withValue) const {
    ServerRequest request;
    request.msgType = Velmar_MsgType::getSysConfigRequest;
    request.fields = {{System::itemName, SystemItemName::TagAnnoucement}};
    if (withValue) {
        request.fields.insert(System::itemValue, QStringLiteral("1"));
    }
    const ServerReply reply = sendToServer(presenter, request);
    if (reply.isAnswered()) {
        return itemOf(reply).value(System::itemDesp).toString();
    }
    qCInfo(lcHistory).noquote()
        << "ZnBusinessDataManager::GetSystemAnnoucement"
        << (reply.outcome == Outcome::TimedOut
                ? QStringLiteral("查询系统公告超时")
                : QStringLiteral("查询系统公告失败，失败原因：%1").arg(reply.text));
    return {};
}

QVariantMap ServerItems::GetAnnualReport(ZnPresenterClass* presenter, QString& error) const {
    error.clear();
    ServerRequest request;
    request.msgType = Velmar_MsgType::getAnnualReportRequest;
    request.fields = {{UserAccount::userID, loginAccount()}};
    const ServerReply reply = sendToServer(presenter, request);
    if (reply.isAnswered()) {
        return itemOf(reply);
    }
    error = reply.outcome == Outcome::TimedOut ? QStringLiteral("查询年度报告超时。")
                                               : QStringLiteral("查询年度报告失败：") + reply.text;
    qCDebug(lcHistory).noquote() << "ZnBusinessDataManager::GetAnnualReport" << error;
    return {};
}

QString ServerItems::getSysConfigValue(ZnPresenterClass* presenter, const QString& itemName) {
    if (!presenter) {
        return {};
    }
    {
        const auto tables = m_sysConfigLock.read();
        QString held = tables->m_sysConfigMap.value(itemName);
        if (!held.isEmpty()) {
            return held;
        }
    }
    ServerRequest request;
    request.msgType = Velmar_MsgType::getSysConfigRequest;
    request.fields = {{UserAccount::userID, loginAccount()}, {System::itemName, itemName}};
    request.hasSourceId = false;
    request.send = SendKind::SyncBlock;
    const ServerReply reply = sendToServer(presenter, request);
    if (!reply.isAnswered()) {
        if (reply.code == 0) {
            qCDebug(lcHistory).noquote() << "ZnBusinessDataManager::getSysConfigValue"
                                         << "query failed " << itemName << reply.text;
        }
        return {};
    }
    QString value = itemOf(reply).value(System::itemValue).toString();
    const auto tables = m_sysConfigLock.write();
    tables->m_sysConfigMap.insert(itemName, value);
    return value;
}
