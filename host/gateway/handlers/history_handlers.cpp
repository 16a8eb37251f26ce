#include "day_list.h"
#include "handler_families.h"
#include "trade_field.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

// Of a time in milliseconds, as HHmmss in Shanghai, which has no summer time.
inline const QString kTime =
    QStringLiteral("strftime('%H%M%S', transact_time / 1000 + 28800, 'unixepoch')");
inline const QString kDate = QStringLiteral("CAST(trade_date AS TEXT)");
inline const QString kIsDeal = QStringLiteral("exchange_exec_type NOT IN ('%1', '%2')")
                                   .arg(EntrustType::cancelOrder, ExchangeExeType::innerCancel);
inline const QString kDealsOfDay = QStringLiteral("deals - cancel_reports - inner_cancels");

/// The fields of a row that orders, deals and what is derived from them have in common.
StoreColumns withSecurity(const StoreColumns& others) {
    return StoreColumns{{QStringLiteral("trading_account"), UserAccount::tradingAccount},
                        {kDate, UserAccount::tradeDate},
                        {QStringLiteral("security_account"), UserAccount::securityAccount},
                        {QStringLiteral("security_exchange"), UserAccount::securityExchange},
                        {QStringLiteral("security_id"), Security::securityID},
                        {QStringLiteral("side"), Security::side}} +
           others;
}

QVector<PagedFilter> withSecurityFilters(const QVector<PagedFilter>& others) {
    using Kind = PagedFilter::Kind;
    return QVector<PagedFilter>{
               {Kind::OneOf, UserAccount::securityAccount, QStringLiteral("security_account")},
               {Kind::OneOf, UserAccount::securityExchange, QStringLiteral("security_exchange")},
               {Kind::OneOf, Security::securityID, QStringLiteral("security_id")},
               {Kind::OneOf, Security::side, QStringLiteral("side")}} +
           others;
}

PagedFilter oneOf(const QString& field, const QString& column) {
    return {PagedFilter::Kind::OneOf, field, column};
}

const DayList& orderList() {
    static const DayList list = [] {
        DayList made;
        made.columns = withSecurity({
            {QStringLiteral("order_id"), Security::orderID},
            {QStringLiteral("orig_order_id"), TradeField::origOrderID},
            {QStringLiteral("cl_ord_id"), Security::clOrdID},
            {QStringLiteral("entrust_type"), Security::entrustType},
            {QStringLiteral("order_type"), Security::orderType},
            {QStringLiteral("price_type"), CustomField::priceType},
            {QStringLiteral("order_status"), Security::orderStatus},
            {QStringLiteral("order_qty"), Security::orderQty},
            {QStringLiteral("order_price"), TradeField::orderPrice},
            {QStringLiteral("cum_qty"), Security::cumQty},
            {QStringLiteral("avg_px"), Security::avgPx},
            {QStringLiteral("cancelled_qty"), Security::cancelledQty},
            {kTime, Security::transActTime},
            {QStringLiteral("text_description"), System::textDescription},
        });
        made.table = QStringLiteral("history_order");
        made.order = QStringLiteral("order_id");
        made.count = QStringLiteral("orders");
        made.optional = {{AppraisementCalculate::IsIncludeCancel,
                          QStringLiteral("entrust_type <> '%1'").arg(EntrustType::CancelOrder),
                          QStringLiteral("cancel_requests")}};
        made.filters = withSecurityFilters({
            oneOf(Security::orderID, QStringLiteral("order_id")),
            oneOf(Security::clOrdID, QStringLiteral("cl_ord_id")),
            oneOf(Security::entrustType, QStringLiteral("entrust_type")),
            oneOf(Security::orderType, QStringLiteral("order_type")),
            oneOf(Security::orderStatus, QStringLiteral("order_status")),
        });
        return made;
    }();
    return list;
}

const QVector<PagedFilter>& dealFilters() {
    static const QVector<PagedFilter> filters = withSecurityFilters({
        oneOf(Security::orderID, QStringLiteral("order_id")),
        oneOf(Security::execID, QStringLiteral("exec_id")),
        oneOf(UserAccount::ExchangeExecType, QStringLiteral("exchange_exec_type")),
        oneOf(UserAccount::ExchangeExecStat, QStringLiteral("exchange_exec_stat")),
    });
    return filters;
}

const DayList& dealList() {
    static const DayList list = [] {
        DayList made;
        made.columns = withSecurity({
            {QStringLiteral("order_id"), Security::orderID},
            {QStringLiteral("exec_id"), Security::execID},
            {QStringLiteral("exchange_exec_type"), UserAccount::ExchangeExecType},
            {QStringLiteral("exchange_exec_stat"), UserAccount::ExchangeExecStat},
            {QStringLiteral("last_qty"), Security::lastQty},
            {QStringLiteral("last_px"), TradeField::dealPrice},
            {QStringLiteral("last_amount"), Security::lastAmount},
            {QStringLiteral("execution_commission"), Margin::executionCommission},
            {kTime, Security::transActTime},
        });
        const QString isNot = QStringLiteral("exchange_exec_type <> '%1'");
        made.table = QStringLiteral("history_deal");
        made.order = QStringLiteral("order_id, exec_id");
        made.count = QStringLiteral("deals");
        made.optional = {
            {AppraisementCalculate::IsIncludeCancel, isNot.arg(EntrustType::cancelOrder),
             QStringLiteral("cancel_reports")},
            {AppraisementCalculate::IsIncludeDischarge, isNot.arg(ExchangeExeType::innerCancel),
             QStringLiteral("inner_cancels")}};
        made.filters = dealFilters();
        return made;
    }();
    return list;
}

/// The deals of an account, day, security and side as one row, in display units: pieces divided by
/// the display factor, and the price of such a unit.
const DayList& statisticList() {
    static const DayList list = [] {
        // The market's history has shares and funds of the mainland only: one factor for all.
        const int factor =
            VelmarBusiUtils::GetDispFactorByExchange(MdcSecurityType::StockType, Exchange::sh);
        DayList made;
        made.columns = withSecurity({
            {QStringLiteral("SUM(last_qty) / %1.0").arg(factor), Security::cumQty},
            {QStringLiteral("SUM(last_amount) * %1 / SUM(last_qty)").arg(factor), Security::avgPx},
            {QStringLiteral("ROUND(SUM(last_amount), 2)"), Security::lastAmount},
            {QStringLiteral("ROUND(SUM(execution_commission), 2)"), Margin::executionCommission},
            {QStringLiteral("COUNT(*)"), TradeField::dealCount},
        });
        made.table = QStringLiteral("history_deal");
        made.condition = kIsDeal;
        // Those that deal_groups counts; an account has one security account for each of them.
        made.groupBy = QStringLiteral("security_exchange, security_id, side");
        made.order = made.groupBy;
        made.count = QStringLiteral("deal_groups");
        made.filters = withSecurityFilters({});
        return made;
    }();
    return list;
}

/// A row for each deal. It is settled on its own day.
const DayList& deliveryList() {
    static const DayList list = [] {
        const QStringList buys{SideUnion::normalBuy, SideUnion::marginOrderSideList.first(),
                               SideUnion::financingBuy};
        const QString settled = QStringLiteral(
            "ROUND(CASE WHEN side IN ('%1') THEN -last_amount ELSE last_amount END"
            " - execution_commission, 2)");
        DayList made;
        made.columns = withSecurity({
            {kDate, System::businessDate},
            {kTime, AssetDeliver::BusinessTime},
            {QStringLiteral("order_id"), Security::orderID},
            {QStringLiteral("exec_id"), Security::execID},
            {QStringLiteral("last_qty"), Security::lastQty},
            {QStringLiteral("last_px"), TradeField::dealPrice},
            {QStringLiteral("last_amount"), Security::lastAmount},
            {QStringLiteral("execution_commission"), Margin::executionCommission},
            {settled.arg(buys.join(QStringLiteral("', '"))), TradeField::settledAmount},
        });
        made.table = QStringLiteral("history_deal");
        made.condition = kIsDeal;
        made.order = QStringLiteral("order_id, exec_id");
        made.count = kDealsOfDay;
        made.filters = dealFilters();
        return made;
    }();
    return list;
}

}  // namespace

void addHistoryHandlers(ServerHandlers& handlers) {
    const auto add = [&handlers](const QString& msgType, const DayList& list) {
        handlers.insert(msgType,
                        [&list](const ServerCall& call) { return answerByDay(call, list); });
    };
    add(Velmar_MsgType::queryHistoryExchangeOrderRequest, orderList());
    add(Velmar_MsgType::queryHistoryExecutionRequest, dealList());
    add(Velmar_MsgType::salesTradeRealGatherHistoryRequest, statisticList());
    add(Velmar_MsgType::queryHistoryAssetDeliveryRequest, deliveryList());
}
