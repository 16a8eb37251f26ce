#include <QThread>

#include "fund_account_table.h"
#include "hong_kong_prices.h"
#include "log.h"
#include "market_values.h"
#include "price_cage.h"
#include "server_request.h"
#include "symbol_risk_flags.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zn_business_data_manager.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

// Topic subscriptions have an envelope type of their own; their message type is in the body.
inline const QString kTopicEnvelope = QStringLiteral("325005");

}  // namespace

bool VelmarBusinessDataManagerPresenterClass::waitForAccountList() const {
    QVariant ready;
    while (!CBusinessDataBase::GetInstance()->GetCacheData(Constants::USER_ACCOUNTLIST_INITED,
                                                           ready) ||
           !ready.toBool()) {
        if (isClosing()) {
            return false;
        }
        qCDebug(lcPresenter) << "userAccountDataInited check not ready !!!!!!!!!!";
        QThread::msleep(10);
    }
    return !isClosing();
}

bool VelmarBusinessDataManagerPresenterClass::initFundAccountSteps() {
    if (!waitForAccountList()) {
        return false;
    }
    m_dataManager->fundAccounts().InitFundAccountList(this);
    if (isClosing()) {
        return false;
    }
    loadPrices();
    if (isClosing()) {
        return false;
    }
    m_dataManager->InitData([this] { return isClosing(); });
    return !isClosing();
}

/// A load that fails keeps the built-in or locally saved tables, and is logged where it fails. The
/// text that the cage returns is for callers who asked for a refresh, so it is ignored here.
void VelmarBusinessDataManagerPresenterClass::loadPrices() {
    m_dataManager->hongKongPrices().initHKExchangeRate(this);
    m_dataManager->hongKongPrices().initHKPriceUnit(this);
    m_dataManager->cage().initCageMap(this, false);
}

void VelmarBusinessDataManagerPresenterClass::slotInitFundAccount() {
    initFundAccountSteps();
}

void VelmarBusinessDataManagerPresenterClass::slotInitData() {
    if (!initFundAccountSteps()) {
        return;
    }
    startPosTimer();
    m_dataManager->marketValues().initPosData([this] { return isClosing(); });
    subscribeBusiMsgTopic();
    if (isClosing()) {
        return;
    }
    queryBusiMsg();
    if (isClosing()) {
        return;
    }
    startHeartBeats();
    if (!sendStartUpReports()) {
        return;
    }
    subscribePatchPush();
    m_patches->queryClientPatchInfo(this);
    if (isClosing()) {
        return;
    }
    m_dataManager->riskFlags().InitSymbolRiskTypeInfo(this);
}

void VelmarBusinessDataManagerPresenterClass::subscribeBusiMsgTopic() {
    const QString login = CBusinessDataBase::GetInstance()->GetLoginAccount();
    ServerRequest request;
    request.msgType = Quindar_MsgType::subscribeTopicRequest;
    request.envelopeType = kTopicEnvelope;
    request.fields = {{System::subscriptionTopic, Velmar_MsgType::MessageCenterPushMsg},
                      {Security::subscriptionRequestType, SubscribeType::subscribe},
                      {UserAccount::userID, login},
                      {UserAccount::loginUserId, login}};
    postToServer(this, request);
}
