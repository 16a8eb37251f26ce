#pragma once

#include <QString>
#include <QStringList>

#include "server_request.h"

/// What the texts of a fund report's failures are completed with. A text without arguments is
/// logged as it stands, with its placeholders.
enum class TextArguments { None, Accounts, Reason, AccountsAndReason };

struct FundFailureText {
    QString text;
    TextArguments arguments = TextArguments::None;
};

/// The days of a report: one, or a range.
enum class FundDays { One, Range };

/// What distinguishes one fund report from the others.
struct FundReportFacts {
    QString msgType;
    QString fundAccountType;  ///< FundAccountType of the accounts it is about
    FundDays days = FundDays::One;
    QString noAccount;  ///< logged when no account has the type
    FundFailureText refused;
    FundFailureText timedOut;
    FundFailureText failed;
};

const FundReportFacts& historyNormalFund();
const FundReportFacts& todayNormalFund();
const FundReportFacts& historyMarginFund();

/// The log text for an answer that is no success; a pure function. Only a send that returned -1
/// counts as a time-out here; every other number, 1 included, is a failure. `accounts` are those
/// that the report was requested for.
QString fundFailureText(const FundReportFacts& report, const QStringList& accounts,
                        const ServerReply& reply);
