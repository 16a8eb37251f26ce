#include "fund_report_facts.h"

#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

using Arguments = TextArguments;

constexpr int kTimedOut = -1;

inline const QString kNoCashAccount = QStringLiteral("传入账号没有普通账号，查询失败");
inline const QString kNoCreditAccount = QStringLiteral("传入账号没有两融账号，查询失败");

QString completed(const FundFailureText& failure, const QString& accounts, const QString& reason) {
    switch (failure.arguments) {
        case Arguments::None:
            break;
        case Arguments::Accounts:
            return failure.text.arg(accounts);
        case Arguments::Reason:
            return failure.text.arg(reason);
        case Arguments::AccountsAndReason:
            // In one call, so that a placeholder inside an argument stays as it is.
            return failure.text.arg(accounts, reason);
    }
    return failure.text;
}

}  // namespace

const FundReportFacts& historyNormalFund() {
    static const FundReportFacts facts{
        Velmar_MsgType::queryHistoryNormalFundRequest,
        FundAccountType::Cash,
        FundDays::Range,
        kNoCashAccount,
        {QStringLiteral("查询普通历史资产账号失败，失败原因：%1"), Arguments::Reason},
        {QStringLiteral("查询账号列表%1历史普通账号资产信息超时"), Arguments::None},
        {QStringLiteral("查询账号列表%1历史普通账号信息失败，失败原因%2"),
         Arguments::AccountsAndReason}};
    return facts;
}

const FundReportFacts& todayNormalFund() {
    static const FundReportFacts facts{
        Velmar_MsgType::queryTodayNormalFundRequest,
        FundAccountType::Cash,
        FundDays::One,
        kNoCashAccount,
        {QStringLiteral("查询普通当日资产账号失败，失败原因：%1"), Arguments::Reason},
        {QStringLiteral("查询账号列表%1当日普通账号资产信息超时"), Arguments::Accounts},
        {QStringLiteral("查询账号列表%1当日普通账号信息失败，失败原因%2"),
         Arguments::AccountsAndReason}};
    return facts;
}

const FundReportFacts& historyMarginFund() {
    static const FundFailureText failed{
        QStringLiteral("查询账号列表%1历史两融账号资产信息失败，失败原因%2"),
        Arguments::AccountsAndReason};
    static const FundReportFacts facts{
        Velmar_MsgType::queryHistoryMarginFundRequest,
        FundAccountType::Credit,
        FundDays::One,
        kNoCreditAccount,
        failed,
        {QStringLiteral("查询账号列表%1历史两融账号资产信息超时"), Arguments::None},
        failed};
    return facts;
}

QString fundFailureText(const FundReportFacts& report, const QStringList& accounts,
                        const ServerReply& reply) {
    const QString joined = accounts.join(QLatin1Char(','));
    if (reply.code == kTimedOut) {
        return completed(report.timedOut, joined, reply.text);
    }
    return completed(reply.code == 0 ? report.refused : report.failed, joined, reply.text);
}
