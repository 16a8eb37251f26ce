#pragma once

#include <QString>
#include <QVector>

#include "query_conditions.h"

/// Rows of a DayList that an answer contains only when a field of the request is "1".
struct OptionalRows {
    QString field;
    QString otherRows;  ///< a condition that all other rows meet
    QString count;      ///< the column of history_day with the number of these rows
};

/// A list of an account's rows by day, such as its deals. The table history_day counts the rows of
/// each day, so that a page anywhere in the list is found without reading the rows before it.
struct DayList {
    StoreColumns columns;  ///< the fields of an answer's row
    QString table;         ///< with trading_account and trade_date, as its key's first columns
    QString condition;     ///< that every row meets; may be empty
    QString groupBy;       ///< columns that make one row of all that agree in them; may be empty
    QString order;         ///< columns that sort the rows of a day; no two rows agree in them
    QString count;         ///< an expression over history_day: the rows of a day, optional ones too
    QVector<OptionalRows> optional;
    /// Beside accounts and dates. With one of these, the rows that meet it are counted for each
    /// answer.
    QVector<PagedFilter> filters;
};

/// Answers with the rows of the accounts in UserAccount::tradingAccount, joined with ",", from
/// System::startDate to System::endDate, by page or by position, see PageRequest. They are sorted
/// by account (in the order of the tree), day and the list's order; the header is that of
/// answerPaged(). The user is UserAccount::loginUserId or the one who logged in on the session;
/// accounts that he may not see have no rows. Refused are a request without accounts or with more
/// than 10,000 of them, one of an unknown user, invalid fields, and one without a page when the
/// list has more rows than a page may have.
HandlerAnswer answerByDay(const ServerCall& call, const DayList& list);
