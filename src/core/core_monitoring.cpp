#include <QCoreApplication>
#include <QMetaMethod>
#include <QThread>

#include "post.h"
#include "skin_report.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

// The core's part of the monitoring: client information items and the skin.

void ZnBusinessDataManager::connectMonitoring() {
    connect(this, &ZnBusinessDataManager::signalClientInfoCollect, this,
            &ZnBusinessDataManager::slotClientInfoCollect);
    connect(ZnCore::instance(), &ZnCore::signalSkinChanged, this, [this] {
        VelmarUtils::ResetSkin();
        uploadSkinChangeInfo(static_cast<ClientInfoSink&>(*this));
    });
    // Direct: the host waits for what the slot has queued when it returns.
    connect(
        ZnCore::instance(), &ZnCore::signalAboutToClose, this, [this] { uploadBeforeTheClose(); },
        Qt::DirectConnection);
}

void ZnBusinessDataManager::uploadBeforeTheClose() {
    if (QThread::currentThread() != thread()) {
        UploadAllClientInfo();
        return;
    }
    // The event loop of this thread may never run again, so the items that other threads queued are
    // collected here.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    m_clientInfo.UploadAllClientInfo();
}

void ZnBusinessDataManager::slotNetDisconnected(QString netType) {
    reportNetStatus(netType, 1);
}

/// An item about a gate that has connected (0) or was lost (1).
void ZnBusinessDataManager::reportNetStatus(const QString& netType, int operType) {
    AddClientInfo(ClinetInfoUpload::NetStatusInfo, netType, QString(), operType, QTime(), 0);
}

void ZnBusinessDataManager::AddClientInfo(const QString& itemType, const QString& itemValue,
                                          const QString& itemValueEx, const QVariant& operType,
                                          const QTime& time, int logTriggerTime) {
    collectClientInfo(
        clientInfoItem(itemType, itemValue, itemValueEx, operType, time, logTriggerTime));
}

void ZnBusinessDataManager::UploadAllClientInfo() {
    // Queued also on this object's own thread, behind the items that other threads queued before.
    queueOn(this, [this] { m_clientInfo.UploadAllClientInfo(); });
}

void ZnBusinessDataManager::slotClientInfoCollect(QVariantMap dataMap) {
    m_clientInfo.slotClientInfoCollect(std::move(dataMap));
}

void ZnBusinessDataManager::slotClientInfoTimeOut() {
    m_clientInfo.slotClientInfoTimeOut();
}

void ZnBusinessDataManager::collectClientInfo(const QVariantMap& item) {
    emit signalClientInfoCollect(item);
}

bool ZnBusinessDataManager::isClientInfoTaken() const {
    return isSignalConnected(
        QMetaMethod::fromSignal(&ZnBusinessDataManager::signalClientInfoUpload));
}

void ZnBusinessDataManager::clientInfoCollected() {
    m_monitorBoard.clientInfoCollected();
}

void ZnBusinessDataManager::uploadClientInfo(const QList<QVariantMap>& items) {
    m_monitorBoard.clientInfoTaken(items.size());
    emit signalClientInfoUpload(items);
}
