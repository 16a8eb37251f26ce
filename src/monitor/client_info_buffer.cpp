#include "client_info_buffer.h"

#include <QObject>
#include <utility>

#include "log.h"
#include "velmarutils/velmar_delay_buffer.h"
#include "vocabulary/fields.h"

namespace {

inline const QString kTimeForm = QStringLiteral("hh:mm:ss.zzz");

QString timeText(const QTime& time) {
    return time.toString(kTimeForm);
}

}  // namespace

QVariantMap clientInfoItem(const QString& itemType, const QString& itemValue,
                           const QString& itemValueEx, const QVariant& operType, const QTime& time,
                           int logTriggerTime) {
    return {{System::itemType, itemType},
            {System::itemValue, itemValue},
            {System::itemValueEx, itemValueEx},
            {System::operType, operType},
            {System::timeStamp, timeText(time.isValid() ? time : QTime::currentTime())},
            {Strategy::logTriggerTime, logTriggerTime}};
}

ClientInfoBuffer::ClientInfoBuffer(QObject* owner, ClientInfoOutlet& outlet, int window, int most)
    : m_owner(owner), m_outlet(outlet), m_window(window), m_most(most) {}

/// Whether no further item is taken in: a client that nobody takes items from may run for days.
bool ClientInfoBuffer::isFull() {
    if (m_kept < m_most || m_outlet.isClientInfoTaken()) {
        return false;
    }
    if (!m_isDropping) {
        m_isDropping = true;
        qCWarning(lcMonitor) << "client information: further items are dropped, since" << m_kept
                             << "of them wait and no presenter takes them";
    }
    return true;
}

void ClientInfoBuffer::slotClientInfoCollect(QVariantMap dataMap) {
    if (isFull()) {
        return;
    }
    if (!m_clientInfoBuffer) {
        m_clientInfoBuffer = new VelmarDelayBuffer(m_owner, m_window);
        m_owner->setObjectName(QStringLiteral("clientInfoUploadBuffer"));
        QObject::connect(m_clientInfoBuffer, &VelmarDelayBuffer::bufferTimeOut, m_owner,
                         [this] { slotClientInfoTimeOut(); });
    }
    const auto time = dataMap.constFind(System::timeStamp);
    const QTime taken = time == dataMap.cend() ? QTime::currentTime() : time->toTime();
    dataMap.insert(System::timeStamp, timeText(taken));
    m_outlet.clientInfoCollected();
    // An urgent item that nobody takes waits like any other.
    if (dataMap.value(Strategy::logTriggerTime).toInt() != 0 && m_outlet.isClientInfoTaken()) {
        m_outlet.uploadClientInfo({dataMap});
        return;
    }
    m_clientInfoBuffer->AppendItem(dataMap);
    ++m_kept;
}

void ClientInfoBuffer::slotClientInfoTimeOut() {
    if (!m_clientInfoBuffer) {
        return;
    }
    const QList<QVariant> items = m_clientInfoBuffer->GetBufferItems();
    if (!m_outlet.isClientInfoTaken()) {
        // The first of them starts the next window.
        for (const QVariant& item : items) {
            m_clientInfoBuffer->AppendItem(item);
        }
        return;
    }
    m_kept = 0;
    m_isDropping = false;
    QList<QVariantMap> records;
    records.reserve(items.size());
    for (const QVariant& item : items) {
        records.append(item.toMap());
    }
    m_outlet.uploadClientInfo(records);
}

void ClientInfoBuffer::UploadAllClientInfo() {
    if (m_clientInfoBuffer) {
        emit m_clientInfoBuffer->bufferTimeOut();
    }
}
