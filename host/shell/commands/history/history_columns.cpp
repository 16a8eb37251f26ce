#include "history_columns.h"

#include <QHash>

#include "vocabulary/values.h"

namespace {

constexpr bool kDate = true;

QVector<RowColumn> orderColumns() {
    return {{"tradeDate", "Date", kDate},
            {"transActTime", "Time"},
            {"tradingAccount", "Account"},
            {"orderID", "Order"},
            {"securityExchange", "Exchange"},
            {"securityID", "Security"},
            {"side", "Side"},
            {"orderQty", "Quantity"},
            {"orderPrice", "Price"},
            {"cumQty", "Dealt"},
            {"avgPx", "Average"},
            {"cancelledQty", "Cancelled"},
            {"orderStatus", "Status"},
            {"entrustType", "Type"},
            {"orderType", "Order type"},
            {"priceType", "Price type"},
            {"origOrderID", "Cancels"},
            {"clOrdID", "Client id"},
            {"securityAccount", "Security account"},
            {"textDescription", "Text"}};
}

QVector<RowColumn> dealColumns() {
    return {{"tradeDate", "Date", kDate},
            {"transActTime", "Time"},
            {"tradingAccount", "Account"},
            {"orderID", "Order"},
            {"execID", "Deal"},
            {"securityExchange", "Exchange"},
            {"securityID", "Security"},
            {"side", "Side"},
            {"lastQty", "Quantity"},
            {"lastPx", "Price"},
            {"lastAmount", "Amount"},
            {"executionCommission", "Commission"},
            {"ExchangeExecType", "Type"},
            {"ExchangeExecStat", "Status"},
            {"securityAccount", "Security account"}};
}

QVector<RowColumn> deliveryColumns() {
    return {{"tradeDate", "Date", kDate}, {"businessDate", "Settled", kDate},
            {"BusinessTime", "Time"},     {"tradingAccount", "Account"},
            {"symbol", "Symbol"},         {"side", "Side"},
            {"lastQty", "Quantity"},      {"lastPx", "Price"},
            {"lastAmount", "Amount"},     {"executionCommission", "Commission"},
            {"settledAmount", "Paid in"}, {"orderID", "Order"},
            {"execID", "Deal"},           {"securityAccount", "Security account"}};
}

QVector<RowColumn> statisticColumns() {
    return {{"tradeDate", "Date", kDate},
            {"tradingAccount", "Account"},
            {"symbol", "Symbol"},
            {"side", "Side"},
            {"dealCount", "Deals"},
            {"cumQty", "Quantity"},
            {"avgPx", "Average"},
            {"lastAmount", "Amount"},
            {"executionCommission", "Commission"},
            {"securityAccount", "Security account"}};
}

QVector<RowColumn> fundColumns() {
    return {{"tradeDate", "Date", kDate},
            {"tradingAccount", "Account"},
            {"host/openingBalance", "Opening"},
            {"host/boughtAmount", "Bought"},
            {"host/soldAmount", "Sold"},
            {"host/fee", "Fee"},
            {"host/transfer", "Transfer"},
            {"host/balance", "Balance"},
            {"host/valueTransfer", "Securities in"},
            {"host/marketValue", "Market value"},
            {"host/totalAsset", "Total"},
            {"host/dayProfit", "Day's profit"},
            {"host/financedDebt", "Financed"},
            {"host/shortedDebt", "Shorted"},
            {"host/interest", "Interest"},
            {"host/totalDebt", "Debt"},
            {"host/netAsset", "Net"},
            {"host/guaranteeRatio", "Guarantee %"}};
}

QVector<RowColumn> appraisementColumns() {
    return {{"queryDate", "Date", kDate},
            {"ProductRecord", "Product"},
            {"productName", "Name"},
            {"tradingAccount", "Account"},
            {"tradingAccountName", "Account name"},
            {"host/balance", "Balance"},
            {"host/marketValue", "Market value"},
            {"host/totalAsset", "Total"},
            {"host/totalDebt", "Debt"},
            {"host/netAsset", "Net"},
            {"host/netAssetShare", "Share %"},
            {"benefitTotal", "Year's profit"}};
}

const QHash<QString, QVector<RowColumn>>& columnsByList() {
    static const QHash<QString, QVector<RowColumn>> all{
        {QStringLiteral("orders"), orderColumns()},
        {QStringLiteral("deals"), dealColumns()},
        {QStringLiteral("delivery"), deliveryColumns()},
        {QStringLiteral("funds"), fundColumns()},
        {QStringLiteral("statistics"), statisticColumns()},
        {QStringLiteral("appraisement"), appraisementColumns()},
        {QStringLiteral("calendar"), {{"tradeDate", "Trade day", kDate}, {"weekday", "Weekday"}}},
        {QStringLiteral("announcement"), {{"announcement", "Announcement"}}},
        {QStringLiteral("report"), {{"field", "Field"}, {"value", "Value"}}},
        {QStringLiteral("config"), {{"item", "Item"}, {"value", "Value"}}},
    };
    return all;
}

struct ExchangeWord {
    QString word;
    QString code;
};

const QVector<ExchangeWord>& exchangeWords() {
    static const QVector<ExchangeWord> all{
        {QStringLiteral("sh"), Exchange::sh},
        {QStringLiteral("sz"), Exchange::sz},
        {QStringLiteral("cffex"), Exchange::cffex},
        {QStringLiteral("shf"), Exchange::shf},
        {QStringLiteral("czce"), Exchange::czce},
        {QStringLiteral("dcz"), Exchange::dcz},
        {QStringLiteral("hk"), Exchange::hk},
        {QStringLiteral("ssc"), Exchange::ssc},
        {QStringLiteral("szc"), Exchange::szc},
        {QStringLiteral("hhk"), Exchange::hhk},
        {QStringLiteral("szhk"), Exchange::szhk},
        {QStringLiteral("yhj"), Exchange::yhj},
        {QStringLiteral("circulation"), Exchange::HkStockCirculation},
    };
    return all;
}

}  // namespace

const QStringList& historyLists() {
    static const QStringList all{QStringLiteral("orders"),     QStringLiteral("deals"),
                                 QStringLiteral("delivery"),   QStringLiteral("funds"),
                                 QStringLiteral("statistics"), QStringLiteral("appraisement")};
    return all;
}

QVector<RowColumn> historyColumns(const QString& list) {
    return columnsByList().value(list);
}

const QStringList& calendarExchanges() {
    static const QStringList all = [] {
        QStringList words;
        for (const ExchangeWord& one : exchangeWords()) {
            words.append(one.word);
        }
        return words;
    }();
    return all;
}

QString calendarExchange(const QString& word) {
    for (const ExchangeWord& one : exchangeWords()) {
        if (one.word == word) {
            return one.code;
        }
    }
    return QString();
}
