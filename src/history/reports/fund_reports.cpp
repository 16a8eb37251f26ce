#include "fund_reports.h"

#include "account_type_reader.h"
#include "fund_report_facts.h"
#include "log.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

QString dayText(const QDate& day) {
    return day.toString(DateTimeFormatString::TRANS_DATE_FROMAT);
}

QStringList chosenAccounts(const AccountTypeReader& reader, const FundReportFacts& report,
                           const QStringList& accounts) {
    QStringList chosen = reader.accountsOfType(accounts, report.fundAccountType);
    if (chosen.isEmpty()) {
        qCDebug(lcHistory).noquote() << report.noAccount;
    }
    return chosen;
}

QVariantMap dayFields(const FundReportFacts& report, const QDate& startDate, const QDate& endDate) {
    if (report.days == FundDays::One) {
        return {{System::queryDate, dayText(startDate)}};
    }
    return {{System::startDate, dayText(startDate)}, {System::endDate, dayText(endDate)}};
}

/// The rows for the `missing` ones of the `chosen` accounts; empty, with a log line, after a
/// failure.
QList<QVariantMap> requestRows(ZnPresenterClass* presenter, const FundReportFacts& report,
                               const QStringList& chosen, const QStringList& missing,
                               const QVariantMap& days) {
    ServerRequest request{report.msgType, days};
    for (const QString& account : missing) {
        request.rows.append({{UserAccount::tradingAccount, account}});
    }
    const ServerReply reply = sendToServer(presenter, request);
    if (!reply.isAnswered()) {
        qCDebug(lcHistory).noquote() << fundFailureText(report, chosen, reply);
    }
    return reply.rows;
}

/// The rows by trading account, without those whose own status is not a success.
QMap<QString, QVariantMap> rowsByAccount(const QList<QVariantMap>& rows) {
    QMap<QString, QVariantMap> byAccount;
    for (const QVariantMap& row : rows) {
        if (row.value(System::requestExeStatus).toString() == RequestExeStatus::success) {
            byAccount.insert(row.value(UserAccount::tradingAccount).toString(), row);
        }
    }
    return byAccount;
}

}  // namespace

QList<QVariantMap> FundReports::GetHistoryNormalFundInfo(ZnPresenterClass* presenter,
                                                         const QStringList& accounts,
                                                         const QDate& startDate,
                                                         const QDate& endDate) {
    const FundReportFacts& report = historyNormalFund();
    const QStringList chosen = chosenAccounts(m_accounts, report, accounts);
    if (chosen.isEmpty()) {
        return {};
    }
    const auto oneAtATime = m_normalFundLock.lock();
    return requestRows(presenter, report, chosen, chosen, dayFields(report, startDate, endDate));
}

QMap<QString, QVariantMap> FundReports::GetTodayNormalFundInfo(ZnPresenterClass* presenter,
                                                               const QStringList& accounts,
                                                               const QDate& date) const {
    const FundReportFacts& report = todayNormalFund();
    const QStringList chosen = chosenAccounts(m_accounts, report, accounts);
    if (chosen.isEmpty()) {
        return {};
    }
    return rowsByAccount(
        requestRows(presenter, report, chosen, chosen, dayFields(report, date, date)));
}

QMap<QString, QVariantMap> FundReports::GetHistoryMarginFundInfo(ZnPresenterClass* presenter,
                                                                 const QStringList& accounts,
                                                                 const QDate& date) {
    const FundReportFacts& report = historyMarginFund();
    const QStringList chosen = chosenAccounts(m_accounts, report, accounts);
    QMap<QString, QVariantMap> result;
    if (chosen.isEmpty()) {
        return result;
    }
    const auto tables = m_marginFundLock.lock();
    auto& held = tables->m_marginFundCache;
    QStringList missing;
    for (const QString& account : chosen) {
        const auto days = held.constFind(account);
        if (days != held.cend() && days->contains(date)) {
            result.insert(account, days->value(date));
        } else {
            missing.append(account);
        }
    }
    if (missing.isEmpty()) {
        return result;
    }
    const QMap<QString, QVariantMap> fetched = rowsByAccount(
        requestRows(presenter, report, chosen, missing, dayFields(report, date, date)));
    for (auto row = fetched.cbegin(); row != fetched.cend(); ++row) {
        result.insert(row.key(), row.value());
        if (date.isValid()) {
            held[row.key()].insert(date, row.value());
        }
    }
    return result;
}
