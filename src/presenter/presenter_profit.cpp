#include "log.h"
#include "post.h"
#include "velmar_business_data_manager_presenter_class.h"

// Realized profit: built from the executions of the day, kept current by a stream of deals.

void VelmarBusinessDataManagerPresenterClass::queueRealizedProfitInit() {
    invokeOn(this, [this] {
        if (!m_realizedProfitInited) {
            initRealizedProfit();
            m_realizedProfitInited = true;
        }
    });
}

void VelmarBusinessDataManagerPresenterClass::queueRealizedProfitRefresh() {
    invokeOn(this, [this] {
        if (m_realizedProfitInited) {
            initRealizedProfit();
        }
    });
}

void VelmarBusinessDataManagerPresenterClass::queueDeals(const QVariant& body) {
    invokeOn(this, [this, body] { takeDeals(body); });
}

void VelmarBusinessDataManagerPresenterClass::initRealizedProfit() {}

void VelmarBusinessDataManagerPresenterClass::takeDeals(const QVariant&) {}
