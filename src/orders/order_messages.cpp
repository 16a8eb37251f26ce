#include "order_messages.h"

#include <memory>

#include "clock.h"
#include "derived_order_fields.h"
#include "log.h"
#include "order_record.h"
#include "security_accounts_reader.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"

namespace {

inline const QString kNumericNewOrderList = QStringLiteral("261202");
constexpr int kFetchFrom = 500;
inline const QString kNumericOrderCancel = QStringLiteral("261212");

QString textOf(const QVariantMap& record, const QString& field) {
    const auto found = record.constFind(field);
    return found == record.cend() ? QString() : found->toString();
}

void copyPresent(const QVariantMap& record, std::initializer_list<QString> fields,
                 CPackMessageCommon& packer) {
    for (const QString& field : fields) {
        const auto found = record.constFind(field);
        if (found != record.cend()) {
            packer.AddVaule(field, *found);
        }
    }
}

void addLoginAccount(CPackMessageCommon& packer) {
    packer.AddVaule(UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount());
}

void addSizeAndType(const QList<QVariantMap>& list, const QString& msgType,
                    CPackMessageCommon& packer) {
    packer.AddVaule(System::subGroupNumber, list.size() - 1);
    packer.AddVaule(System::msgType, msgType);
}

/// False when a minQty that follows from the order's quantity is empty.
bool addDerivedFields(const OrderRecord& order, CPackMessageCommon& packer) {
    const auto derived = derivedOrderFields(order);
    if (!derived) {
        return true;
    }
    packer.AddVaule(Security::timeInForce, derived->timeInForce);
    packer.AddVaule(Security::maxPriceLevels, derived->maxPriceLevels);
    packer.AddVaule(Security::minQty, derived->minQty);
    return !derived->minQty.isEmpty();
}

void addOrderStation(const OrderRecord& order, CPackMessageCommon& packer) {
    if (order.isEmpty(OrderRecord::OrderStation)) {
        packer.AddVaule(Security::orderStation, VelmarUtils::GetVelmarOrderStation(QString()));
    }
}

void addInstruction(const OrderRecord& order, CPackMessageCommon& packer) {
    if (!order.isEmpty(OrderRecord::InstructionID)) {
        packer.AddVaule(Security::parentOrderID, order.value(OrderRecord::InstructionID));
        packer.AddVaule(Security::orderFlowType, orderFlowType::instructionOrder);
    }
}

CMessageCommon* makeMessage(CPackMessageCommon& packer, const QString& msgType, bool packFlag) {
    auto message = std::make_unique<CMessageCommon>();
    message->SetMsg(packer.GetPackedMsg(packFlag));
    message->SetType(msgType);
    return message.release();
}

}  // namespace

CMessageCommon* OrderMessages::NewOrderList(const QList<QVariantMap>& list, bool numericType,
                                            bool packFlag) const {
    if (list.isEmpty()) {
        return nullptr;
    }
    const QString msgType = numericType ? kNumericNewOrderList : Quindar_MsgType::newOrderList;
    CPackMessageCommon packer;
    addLoginAccount(packer);
    copyPresent(
        list.first(),
        {System::clientMsgID, Security::listID, Security::minEntrustRatio, Security::replyMode},
        packer);
    addSizeAndType(list, msgType, packer);
    addOrders(list, IdLookup::WithoutId, packer);
    return makeMessage(packer, msgType, packFlag);
}

CMessageCommon* OrderMessages::NewOrderListForInstance(const QList<QVariantMap>& list,
                                                       const QString& msgType) const {
    if (list.isEmpty()) {
        return nullptr;
    }
    const QVariantMap& header = list.first();
    CPackMessageCommon packer;
    addLoginAccount(packer);
    packer.AddVaule(Security::listID,
                    textOf(header, Security::listID).isEmpty()
                        ? QVariant(CBusinessDataBase::GetInstance()->getClientOrderID())
                        : header.value(Security::listID));
    packer.AddVaule(Security::replyMode, textOf(header, Security::replyMode).isEmpty()
                                             ? QVariant(ReplyMode::AllResponse)
                                             : header.value(Security::replyMode));
    copyPresent(header,
                {Security::minEntrustRatio, Security::systemNodeId, VelmarStrategy::instanceId,
                 ETF::EtfInstanceStage, Security::symbol, ETF::EtfInstOrderUnit,
                 ETF::EtfInstCancelRedoFlag, ETF::UserReference1},
                packer);
    addSizeAndType(list, msgType, packer);
    addOrders(list, IdLookup::WithoutIdOrSource, packer);
    return makeMessage(packer, msgType, false);
}

CMessageCommon* OrderMessages::OrderCancelRequest(const QVariantMap& order,
                                                  bool numericType) const {
    const QString msgType = numericType ? kNumericOrderCancel : Quindar_MsgType::orderCancelRequest;
    CPackMessageCommon packer;
    packer.AddRowVaule(order);
    for (const QString& field : {System::clientMsgID, Security::orderID, Security::clOrdID,
                                 UserAccount::tradingAccount, UserAccount::securityAccount}) {
        const QString text = textOf(order, field);
        if (!text.isEmpty()) {
            packer.AddVaule(field, text);
        }
    }
    packer.AddVaule(Security::transActTime, transActTime());
    const QString station = textOf(order, Security::orderStation);
    qCInfo(lcOrders).noquote() << "OrderCancelRequest get orderStation" << station;
    packer.AddVaule(Security::orderStation,
                    station.isEmpty() ? VelmarUtils::GetVelmarOrderStation(QString()) : station);
    packer.AddVaule(System::msgType, msgType);
    return makeMessage(packer, msgType, false);
}

QString OrderMessages::transActTime() const {
    return QString::number(m_clock.msSinceEpoch());
}

void OrderMessages::addOrders(const QList<QVariantMap>& list, IdLookup idLookup,
                              CPackMessageCommon& packer) const {
    // One time for the whole batch.
    const QString time = transActTime();
    int withoutMinQty = 0;
    Choice choice;
    for (int i = 1; i < list.size(); ++i) {
        if (list.size() > kFetchFrom && i % RecordBlock::kTogether == 1) {
            RecordBlock::fetch(list, i);
        }
        const OrderRecord order(list.at(i));
        const QString symbol = order.text(OrderRecord::Symbol);
        packer.AddRow();
        packer.AddRowVaule(list.at(i));
        packer.delValue(Security::symbol);
        withoutMinQty += addDerivedFields(order, packer) ? 0 : 1;
        packer.AddVaule(Security::transActTime, time);
        const bool needsId = order.isEmpty(OrderRecord::SecurityID) ||
                             (idLookup == IdLookup::WithoutIdOrSource &&
                              order.isEmpty(OrderRecord::SecurityIDSource));
        if (needsId) {
            packer.AddVaule(Security::securityID,
                            CBusinessDataBase::GetInstance()->getSecurityIDBySymbol(
                                symbol, QString(), SecurityIDSource::securityID));
        }
        addOrderStation(order, packer);
        addInstruction(order, packer);
        addSecurityAccount(order, symbol, &choice, packer);
    }
    if (withoutMinQty > 0) {
        qCWarning(lcOrders) << "order list: the quantity is missing or not finite, so minQty is "
                               "empty; orders:"
                            << withoutMinQty;
    }
}

void OrderMessages::addSecurityAccount(const OrderRecord& order, const QString& symbol,
                                       Choice* last, CPackMessageCommon& packer) const {
    if (!order.isEmpty(OrderRecord::SecurityAccount)) {
        return;
    }
    QString exchange = order.text(OrderRecord::SecurityExchange);
    if (exchange.isEmpty()) {
        exchange =
            CBusinessDataBase::GetInstance()->GetSecurityExchangeBySymbol(symbol, true).value(0);
    }
    if (exchange.isEmpty()) {
        return;
    }
    const QString tradingAccount = order.text(OrderRecord::TradingAccount);
    if (exchange != last->exchange || tradingAccount != last->tradingAccount) {
        *last = {tradingAccount, exchange,
                 m_securityAccounts.GetCurrentSecurityAccountByTradingAndExchange(tradingAccount,
                                                                                  exchange)};
    }
    packer.AddVaule(UserAccount::securityAccount, last->securityAccount);
    packer.AddVaule(UserAccount::securityExchange, exchange);
}
