#include <QElapsedTimer>
#include <utility>

#include "account_authority.h"
#include "account_lookups.h"
#include "businessdatamanager/business_data_interface.h"
#include "log.h"
#include "post.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_delay_buffer.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "zn_business_data_manager.h"
#include "znmsg/c_un_pack_message_common.h"

// Realized profit: built from the executions of the day, kept current by a stream of deals.
//
// The neighbouring data plug-in stores a deal before it publishes it. A deal that is dropped before
// the first load has begun is therefore in the list that the load reads; so is one that waits in
// the buffer when a rebuild begins. A deal that is queued behind a rebuild may be in the list or
// not, which its id decides.

namespace {

constexpr int kDealDelayMs = 1000;
constexpr int kFromFirst = 0;
constexpr int kAll = -1;
constexpr bool kIncludeDistributed = true;
constexpr bool kWait = false;  // has waited already

constexpr const char* kInitTag = "VelmarBusinessDataManagerPresenterClass::initRealizedProfit";

}  // namespace

void VelmarBusinessDataManagerPresenterClass::queueRealizedProfitInit() {
    invokeOn(this, [this] {
        if (!isClosing() && m_realizedProfitInited == ProfitState::None) {
            initRealizedProfit();
        }
    });
}

void VelmarBusinessDataManagerPresenterClass::queueRealizedProfitRefresh() {
    invokeOn(this, [this] {
        if (!isClosing() && m_realizedProfitInited == ProfitState::Loaded) {
            initRealizedProfit();
        }
    });
}

void VelmarBusinessDataManagerPresenterClass::queueDeals(const QVariant& body) {
    if (m_realizedProfitInited != ProfitState::None) {
        invokeOn(this, [this, body] { takeDeals(body); });
    }
}

void VelmarBusinessDataManagerPresenterClass::initRealizedProfit() {
    QElapsedTimer elapsed;
    elapsed.start();
    // Not by the wait of the look-up itself: that ends with the host alone, and this presenter may
    // be closed earlier.
    m_dataManager->lookups().waitUntilLoaded([this] { return isClosing(); });
    if (isClosing()) {
        return;
    }
    const QList<tagUserAccountInfo> accounts =
        m_dataManager->lookups().GetFundAccountListByFundProp(kCashAndMargin, kTradeBit,
                                                              kIncludeDistributed, {}, kWait);
    // Set before the list is read: a deal that comes too late for the list finds this state and is
    // queued.
    m_realizedProfitInited = ProfitState::Loading;
    QList<QVariantMap> executions;
    for (const tagUserAccountInfo& account : accounts) {
        if (isClosing()) {
            return;
        }
        int count = 0;
        executions += BusinessDataInterface::GetExecutionListByAccount(
            {{UserAccount::tradingAccount, account.tradingAccount}}, count, kFromFirst, kAll, {},
            {});
    }
    qCDebug(lcPresenter) << kInitTag << "get execution list" << elapsed.restart();

    auto fresh = RealizedProfit::build(executions, [this] { return isClosing(); });
    if (!fresh || isClosing()) {
        return;
    }
    if (m_dealBuffer) {
        m_dealBuffer->GetBufferItems();
    }
    m_realizedProfit.replace(std::move(*fresh), [this, &elapsed] {
        qCDebug(lcPresenter) << kInitTag << "calc realize profit" << elapsed.elapsed();
        VelmarUtils::SendEventMsg(this, EventMsgName::RealizedProfitInitedEvent, QVariant());
    });
    m_realizedProfitInited = ProfitState::Loaded;
}

void VelmarBusinessDataManagerPresenterClass::takeDeals(const QVariant& body) {
    if (isClosing()) {
        return;
    }
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    if (!m_dealBuffer) {
        m_dealBuffer = new VelmarDelayBuffer(this, kDealDelayMs);
        connect(m_dealBuffer, &VelmarDelayBuffer::bufferTimeOut, this,
                &VelmarBusinessDataManagerPresenterClass::addBufferedDeals);
    }
    const QVariantMap deal = unpacker.GetRowValue();
    if (deal.isEmpty()) {
        qCDebug(lcPresenter) << "deal event ignored: it carries no record";
    } else if (deal.value(UserAccount::ExchangeExecType) != EntrustType::cancelOrder) {
        m_dealBuffer->AppendItem(deal);
    }
}

void VelmarBusinessDataManagerPresenterClass::addBufferedDeals() {
    if (isClosing()) {
        return;
    }
    m_realizedProfit.addDeals(m_dealBuffer->GetBufferItems(), [this](const QVariantList& records) {
        VelmarUtils::SendEventMsg(this, EventMsgName::RealizedProfitUpdateEvent, records);
    });
}
