#include <QSet>
#include <algorithm>

#include "fund_book.h"
#include "handler_families.h"
#include "list_page.h"
#include "message_centre.h"
#include "report_accounts.h"
#include "report_fields.h"
#include "trade_days.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr int kMaxAccounts = 10000;
constexpr int kMaxRows = 500000;
inline const QString kRefusedRow = QStringLiteral("1");
inline const QString kDayFormat = QStringLiteral("yyyyMMdd");

/// The accounts of the request's rows, each once. False with a text when the request has no rows or
/// too many, or when an account is empty.
bool accountsOf(const ServerCall& call, QStringList* accounts, QString* refusal) {
    if (call.rows.isEmpty()) {
        *refusal = QStringLiteral("请求没有账号");
        return false;
    }
    if (call.rows.size() > kMaxAccounts) {
        *refusal = QStringLiteral("一次最多查询%1个账号，请求了%2个")
                       .arg(kMaxAccounts)
                       .arg(call.rows.size());
        return false;
    }
    QSet<QString> known;
    for (const QVariantMap& row : call.rows) {
        const QString account = row.value(UserAccount::tradingAccount).toString();
        if (account.isEmpty()) {
            *refusal = QStringLiteral("请求有空账号");
            return false;
        }
        if (!known.contains(account)) {
            known.insert(account);
            accounts->append(account);
        }
    }
    return true;
}

QVariantMap fundRow(const QString& account, const QString& day, const FundDay& fund) {
    return {{UserAccount::tradingAccount, account},
            {UserAccount::tradeDate, day},
            {System::requestExeStatus, RequestExeStatus::success},
            {ReportField::openingBalance, FundBook::yuan(fund.openingBalance())},
            {ReportField::boughtAmount, FundBook::yuan(fund.bought)},
            {ReportField::soldAmount, FundBook::yuan(fund.sold)},
            {ReportField::fee, FundBook::yuan(fund.fee)},
            {ReportField::transfer, FundBook::yuan(fund.transfer)},
            {ReportField::valueTransfer, FundBook::yuan(fund.valueTransfer)},
            {ReportField::balance, FundBook::yuan(fund.balance)},
            {ReportField::marketValue, FundBook::yuan(fund.marketValue)},
            {ReportField::totalAsset, FundBook::yuan(fund.totalAsset())},
            {ReportField::dayProfit, FundBook::yuan(fund.profit())}};
}

void addDebt(const FundDay& fund, const MarginDebt& debt, QVariantMap* row) {
    constexpr double kPercent = 100;
    const qint64 total = debt.total();
    row->insert(ReportField::financedDebt, FundBook::yuan(debt.financed));
    row->insert(ReportField::shortedDebt, FundBook::yuan(debt.shorted));
    row->insert(ReportField::interest, FundBook::yuan(debt.interest));
    row->insert(ReportField::totalDebt, FundBook::yuan(total));
    row->insert(ReportField::netAsset, FundBook::yuan(fund.totalAsset() - total));
    row->insert(ReportField::guaranteeRatio,
                total > 0 ? kPercent * double(fund.totalAsset()) / double(total) : 0);
}

QVariantMap refusedRow(const QString& account, const QString& text) {
    return {{UserAccount::tradingAccount, account},
            {System::requestExeStatus, kRefusedRow},
            {System::textDescription, text}};
}

/// Those of the accounts that have the kind and that the user may see, in their order.
bool readAccountsOfKind(const MarketStore& store, const QString& user, const QStringList& accounts,
                        const QString& kind, QStringList* ofKind,
                        QHash<QString, ReportAccount>* found) {
    if (!readReportAccounts(store, user, accounts, found)) {
        return false;
    }
    std::copy_if(accounts.cbegin(), accounts.cend(), std::back_inserter(*ofKind),
                 [&](const QString& one) { return found->value(one).fundAccountType == kind; });
    return true;
}

/// One row for each account and trade day from a day with a row of the book on.
void addHistory(const QStringList& accounts, const QVector<FundDay>& funds,
                const QVector<TradeDay>& days, QList<QVariantMap>* rows) {
    QVector<QPair<int, QString>> names;  // the days as numbers and texts
    for (const TradeDay& day : days) {
        names.append({day.date, QString::number(day.date)});
    }
    auto next = funds.cbegin();
    for (int account = 0; account < accounts.size(); ++account) {
        const FundDay* present = nullptr;
        for (const auto& day : qAsConst(names)) {
            for (; next != funds.cend() && next->account == account && next->date <= day.first;
                 ++next) {
                present = &*next;
            }
            if (present) {
                rows->append(
                    fundRow(accounts.at(account), day.second, present->carriedTo(day.first)));
            }
        }
        while (next != funds.cend() && next->account == account) {
            ++next;
        }
    }
}

/// Figures of each account and trade day up to today. Accounts of another kind, and those that the
/// user may not see, have no rows.
HandlerAnswer historyFunds(const ServerCall& call) {
    QStringList requested;
    QString user;
    QString refusal;
    QDate from;
    QDate to;
    if (!readReportUser(call, &user, &refusal) || !accountsOf(call, &requested, &refusal) ||
        !readRequestDate(call, System::startDate, &from, &refusal) ||
        !readRequestDate(call, System::endDate, &to, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    const QDate today = call.messages.today();
    const QDate last = std::min(to, today);
    QStringList accounts;
    QHash<QString, ReportAccount> found;
    QVector<TradeDay> days;
    QVector<FundDay> funds;
    if (!readAccountsOfKind(call.store, user, requested, FundAccountType::Cash, &accounts,
                            &found) ||
        !TradeDays(call.store, TradeDays::shares, today).read(from, last, &days)) {
        return HandlerAnswer::storeFailed();
    }
    if (qint64(accounts.size()) * days.size() > kMaxRows) {
        return HandlerAnswer::refused(
            QStringLiteral("结果超过%1行，请减少账号或缩短日期").arg(kMaxRows));
    }
    if (!FundBook(call.store, accounts).read(from, last, &funds)) {
        return HandlerAnswer::storeFailed();
    }
    HandlerAnswer answer;
    addHistory(accounts, funds, days, &answer.rows);
    return answer;
}

/// What a query of one day differs in.
struct DayQuery {
    QString kind;
    QString kindName;
    bool tradeDaysOnly;
    bool withDebts;
};

/// A row for each requested account: its figures of the day, or the reason why it has no figures.
HandlerAnswer fundsOfDay(const ServerCall& call, const DayQuery& of) {
    QStringList requested;
    QString user;
    QString refusal;
    QDate day;
    if (!readReportUser(call, &user, &refusal) || !accountsOf(call, &requested, &refusal) ||
        !readRequestDate(call, System::queryDate, &day, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    const QDate today = call.messages.today();
    QStringList accounts;
    QHash<QString, ReportAccount> found;
    QVector<FundDay> funds;
    QVector<MarginDebt> debts;
    bool isTradeDay = false;
    if (!readAccountsOfKind(call.store, user, requested, of.kind, &accounts, &found) ||
        !TradeDays(call.store, TradeDays::shares, today).contains(day, &isTradeDay)) {
        return HandlerAnswer::storeFailed();
    }
    const FundBook book(call.store, accounts);
    const bool hasFigures = day <= today && (isTradeDay || !of.tradeDaysOnly);
    if (!book.readDebts(day, &debts) || (hasFigures && !book.readDay(day, &funds))) {
        return HandlerAnswer::storeFailed();
    }
    const QString dayText = day.toString(kDayFormat);
    QHash<QString, QVariantMap> figures;
    for (const FundDay& fund : qAsConst(funds)) {
        QVariantMap row = fundRow(accounts.at(fund.account), dayText, fund);
        if (of.withDebts) {
            addDebt(fund, debts.at(fund.account), &row);
        }
        figures.insert(accounts.at(fund.account), row);
    }
    HandlerAnswer answer;
    for (const QString& account : qAsConst(requested)) {
        const auto known = found.constFind(account);
        if (figures.contains(account)) {
            answer.rows.append(figures.value(account));
        } else if (known == found.cend()) {
            answer.rows.append(
                refusedRow(account, QStringLiteral("账号%1不存在或无权限").arg(account)));
        } else if (known->fundAccountType != of.kind) {
            answer.rows.append(
                refusedRow(account, QStringLiteral("账号%1不是%2账号").arg(account, of.kindName)));
        } else {
            answer.rows.append(refusedRow(
                account, QStringLiteral("账号%1在%2没有资产数据").arg(account, dayText)));
        }
    }
    return answer;
}

HandlerAnswer todayFunds(const ServerCall& call) {
    return fundsOfDay(call, {FundAccountType::Cash, QStringLiteral("普通"), false, false});
}

HandlerAnswer marginFunds(const ServerCall& call) {
    return fundsOfDay(call, {FundAccountType::Credit, QStringLiteral("两融"), true, true});
}

}  // namespace

void addFundHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::queryHistoryNormalFundRequest, historyFunds);
    handlers.insert(Velmar_MsgType::queryTodayNormalFundRequest, todayFunds);
    handlers.insert(Velmar_MsgType::queryHistoryMarginFundRequest, marginFunds);
}
