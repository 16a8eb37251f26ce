#pragma once

#include <QDate>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVector>
#include <optional>

#include "server_call.h"

/// A condition that a request may put on a list, by one of its fields; a field that the request
/// does not hold, or holds empty, puts none.
struct PagedFilter {
    enum class Kind {
        OneOf,    ///< values joined with ",": the column holds one of them
        Equal,    ///< the column holds this value
        NotLess,  ///< a date: the column is not before it
        NotMore,  ///< a date: the column is not after it
        SameDate  ///< a date: the column is that day
    };

    Kind kind;
    QString field;
    QString column;         ///< of a date: a plain column that holds yyyyMMdd, as number or text
    bool required = false;  ///< a request without it is refused
};

/// All that a handler of a paged list states of it.
struct PagedSource {
    StoreColumns columns;  ///< what a row of the answer holds
    QString from;          ///< tables and joins; each "?" in it gets a value at the call
    /// Expression: a whole number from 1 to 9,999,999,999,999,999, which is what a position's 16
    /// digits hold, another for each row; the order.
    QString position;
    QVector<PagedFilter> filters;
    int maxPageSize = 5000;
    /// Where no index is on the position itself. Columns that give the same order and that the
    /// database can walk along, so that it need not sort the list for each part of it:
    QString order = {};
    /// and a condition with one "?", which gets a position, on such a column: all rows behind that
    /// position fulfil it, so that a cursor begins near its place.
    QString seek = {};
    bool positionInRows = false;  ///< rows hold System::positionStr, each its own
    /// For a list of one row per account: rows hold System::requestExeStatus, and an account of
    /// this OneOf field that has no row gets one that refuses, when no page is asked for. Empty:
    /// neither.
    QString statusField = {};
};

/// Which part of a list a request asks for.
/// - By page: System::pageNo, from 1 on, and System::pageSize.
/// - By position: System::positionStr, which is behind the rows that the client has, and
///   System::requestNumber. Empty, or zeros, stands before the first row.
/// - With none of them: all of it.
struct PageRequest {
    enum class Mode { All, Page, Position };

    Mode mode = Mode::All;
    int count = 0;      ///< rows at most
    int pageNo = 0;     ///< by page
    qint64 offset = 0;  ///< by page: rows before it
    qint64 after = 0;   ///< by position: that of the last row that the client has
    QString asked;      ///< by position: as the request tells it

    /// Nothing, with a text for the client, when the request's fields make no sense or ask for more
    /// rows at once than `maxCount`.
    static std::optional<PageRequest> of(const ServerCall& call, int maxCount, QString* refusal);
};

/// A position of at most 16 digits as text: all of one width, so that they are in order as texts
/// too.
QString positionText(qint64 position);
/// A date given as a number (20260105) or a text ("20260105", "2026-01-05"), or a date itself; an
/// invalid one when it is none.
QDate dateOf(const QVariant& value);

/// Answers with the part of the list that the request asks for, in the order of `position`. The
/// header gets System::totalSize, the rows that fulfil the filters in all, and as the request asks
/// System::pageNo and System::pageSize, or System::positionStr of the last row, which for an empty
/// part is the one of the request. What makes no sense is refused.
HandlerAnswer answerPaged(const ServerCall& call, const PagedSource& source,
                          const QVariantList& fromValues = {});
