#include <QTimer>

#include "market_values.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "zn_business_data_manager.h"

// Positions: read again at intervals and when the neighbouring data plug-in reports a reload.

namespace {

constexpr int kPositionsMs = 180000;

void startUnlessActive(QTimer* timer) {
    if (!timer->isActive()) {
        timer->start();
    }
}

}  // namespace

void VelmarBusinessDataManagerPresenterClass::startPosTimer() {
    if (!m_posTimer) {
        m_posTimer = new QTimer(this);
        m_posTimer->setInterval(kPositionsMs);
        connect(m_posTimer, &QTimer::timeout, this,
                &VelmarBusinessDataManagerPresenterClass::slotInitPosData);
    }
    startUnlessActive(m_posTimer);
}

void VelmarBusinessDataManagerPresenterClass::slotInitPosData() {
    if (isClosing()) {
        return;
    }
    if (m_posTimer) {
        startUnlessActive(m_posTimer);
    }
    m_dataManager->marketValues().initPosData([this] { return isClosing(); });
}
