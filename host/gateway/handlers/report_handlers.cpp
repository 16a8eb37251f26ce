#include "fund_book.h"
#include "handler_families.h"
#include "list_page.h"
#include "message_centre.h"
#include "report_accounts.h"
#include "report_fields.h"
#include "trade_days.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

/// A product, its accounts and the day of a report.
struct ProductDay {
    QString product;
    QString name;
    QVector<ReportAccount> accounts;
    QStringList ids;
    QDate day;
    bool hasFigures = false;
};

/// Reads what a request is about. False with a text for an unknown user or product, an invalid
/// date, and when the store cannot be read.
bool readProductDay(const ServerCall& call, const QString& productField, const QString& dayField,
                    ProductDay* of, QString* refusal) {
    of->product = call.text(productField);
    QString user;
    if (!readReportUser(call, &user, refusal) ||
        !readRequestDate(call, dayField, &of->day, refusal)) {
        return false;
    }
    const QDate today = call.messages.today();
    bool isTradeDay = false;
    if (!readProductAccounts(call.store, user, of->product, &of->accounts, &of->name) ||
        !TradeDays(call.store, TradeDays::shares, today).contains(of->day, &isTradeDay)) {
        *refusal = HandlerAnswer::storeFailed().refusal;
        return false;
    }
    if (of->accounts.isEmpty()) {
        *refusal = QStringLiteral("产品%1不存在或无权限").arg(of->product);
        return false;
    }
    for (const ReportAccount& one : qAsConst(of->accounts)) {
        of->ids.append(one.account);
    }
    of->hasFigures = isTradeDay && of->day <= today;
    return true;
}

/// The fields that identify a row of a product's report. The row of the whole product has an empty
/// account.
QVariantMap productRow(const ProductDay& of, const ReportAccount& account) {
    return {{AppraisementInfo::ProductRecord, of.product},
            {UserAccount::productName, of.name},
            {UserAccount::tradingAccount, QStringLiteral("%1").arg(account.account)},
            {UserAccount::tradingAccountName, QStringLiteral("%1").arg(account.name)},
            {System::queryDate, of.day.toString(DateTimeFormatString::STD_DATE_FORMAT)}};
}

/// What an account, or all of a product together, is worth on a day, in fen.
struct Worth {
    qint64 balance = 0;
    qint64 marketValue = 0;
    qint64 debt = 0;
    qint64 yearProfit = 0;

    qint64 net() const { return balance + marketValue - debt; }
    Worth& operator+=(const Worth& other) {
        balance += other.balance;
        marketValue += other.marketValue;
        debt += other.debt;
        yearProfit += other.yearProfit;
        return *this;
    }
};

QVariantMap worthRow(const ProductDay& of, const ReportAccount& account, const Worth& worth,
                     const Worth& whole) {
    constexpr double kPercent = 100;
    QVariantMap row = productRow(of, account);
    row.insert(ReportField::balance, FundBook::yuan(worth.balance));
    row.insert(ReportField::marketValue, FundBook::yuan(worth.marketValue));
    row.insert(ReportField::totalAsset, FundBook::yuan(worth.balance + worth.marketValue));
    row.insert(ReportField::totalDebt, FundBook::yuan(worth.debt));
    row.insert(ReportField::netAsset, FundBook::yuan(worth.net()));
    row.insert(ReportField::netAssetShare,
               whole.net() == 0 ? 0 : kPercent * double(worth.net()) / double(whole.net()));
    row.insert(AppraisementInfo::benefitTotal, FundBook::yuan(worth.yearProfit));
    return row;
}

/// The product's worth, then that of each of its accounts. No rows for a day without figures.
HandlerAnswer appraisement(const ServerCall& call) {
    ProductDay of;
    QString refusal;
    if (!readProductDay(call, AppraisementInfo::ProductRecord, System::queryDate, &of, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    QVector<FundDay> funds;
    QVector<MarginDebt> debts;
    QVector<FundProfit> profits;
    const FundBook book(call.store, of.ids);
    if (of.hasFigures && (!book.readDay(of.day, &funds) || !book.readDebts(of.day, &debts) ||
                          !book.readProfits(of.day, &profits))) {
        return HandlerAnswer::storeFailed();
    }
    Worth whole;
    QVector<Worth> worths;
    for (const FundDay& fund : qAsConst(funds)) {
        worths.append({fund.balance, fund.marketValue, debts.at(fund.account).total(),
                       profits.at(fund.account).year});
        whole += worths.last();
    }
    QList<QVariantMap> rows;
    if (!worths.isEmpty()) {
        rows.append(worthRow(of, {}, whole, whole));
    }
    for (int i = 0; i < worths.size(); ++i) {
        rows.append(worthRow(of, of.accounts.at(funds.at(i).account), worths.at(i), whole));
    }
    return answerList(call, rows);
}

QVariantMap profitRow(const ProductDay& of, const ReportAccount& account,
                      const FundProfit& profit) {
    QVariantMap row = productRow(of, account);
    row.insert(ReportField::dayProfit, FundBook::yuan(profit.day));
    row.insert(ReportField::monthProfit, FundBook::yuan(profit.month));
    row.insert(AppraisementInfo::benefitTotal, FundBook::yuan(profit.year));
    return row;
}

/// The profit of the product, then that of each of its accounts, up to the day.
HandlerAnswer profit(const ServerCall& call) {
    ProductDay of;
    QString refusal;
    if (!readProductDay(call, AppraisementInfo::ProductRecord, System::endTime, &of, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    QVector<FundDay> funds;
    QVector<FundProfit> profits;
    const FundBook book(call.store, of.ids);
    if (of.hasFigures && (!book.readDay(of.day, &funds) || !book.readProfits(of.day, &profits))) {
        return HandlerAnswer::storeFailed();
    }
    QList<QVariantMap> rows;
    if (!funds.isEmpty()) {
        FundProfit whole;
        for (const FundDay& fund : qAsConst(funds)) {
            whole.day += profits.at(fund.account).day;
            whole.month += profits.at(fund.account).month;
            whole.year += profits.at(fund.account).year;
        }
        rows.append(profitRow(of, {}, whole));
    }
    for (const FundDay& fund : qAsConst(funds)) {
        rows.append(profitRow(of, of.accounts.at(fund.account), profits.at(fund.account)));
    }
    HandlerAnswer answer = answerList(call, rows);
    answer.header.insert(AppraisementInfo::ProductRecord, of.product);
    return answer;
}

/// The movements of the accounts' money on the day, each with the balance after it.
HandlerAnswer equityFlow(const ServerCall& call) {
    ProductDay of;
    QString refusal;
    if (!readProductDay(call, PanfenEquityFlowInfo::ProductRecord,
                        PanfenEquityFlowInfo::OccurredDate, &of, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    QVector<FundDay> funds;
    if (of.hasFigures && !FundBook(call.store, of.ids).readDay(of.day, &funds)) {
        return HandlerAnswer::storeFailed();
    }
    QList<QVariantMap> rows;
    for (const FundDay& fund : qAsConst(funds)) {
        const ReportAccount& account = of.accounts.at(fund.account);
        qint64 balance = fund.openingBalance();
        const auto add = [&](const QString& kind, qint64 amount) {
            if (amount == 0) {
                return;
            }
            balance += amount;
            rows.append({{PanfenEquityFlowInfo::ProductRecord, of.product},
                         {PanfenEquityFlowInfo::OccurredDate,
                          of.day.toString(DateTimeFormatString::TRANS_DATE_FROMAT)},
                         {UserAccount::tradingAccount, account.account},
                         {UserAccount::tradingAccountName, account.name},
                         {ReportField::flowNo, rows.size() + 1},
                         {ReportField::flowKind, kind},
                         {ReportField::flowAmount, FundBook::yuan(amount)},
                         {ReportField::balance, FundBook::yuan(balance)}});
        };
        add(QStringLiteral("证券卖出"), fund.sold);
        add(QStringLiteral("证券买入"), -fund.bought);
        add(QStringLiteral("交易费用"), -fund.fee);
        add(fund.transfer < 0 ? QStringLiteral("资金转出") : QStringLiteral("资金转入"),
            fund.transfer);
    }
    return answerList(call, rows);
}

}  // namespace

void addReportHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::queryHistoryAppraisementRequest, appraisement);
    handlers.insert(Velmar_MsgType::queryHistoryProfitRequest, profit);
    handlers.insert(Velmar_MsgType::QueryPanfenFlowRequest, equityFlow);
}
