#pragma once

#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVector>
#include <optional>

#include "query_conditions.h"
#include "server_call.h"

/// How to read a paged list from the store.
struct PagedSource {
    StoreColumns columns;  ///< the fields of an answer's row
    QString from;          ///< tables and joins; answerPaged() binds values to each "?" in it
    /// An expression whose value is a whole number from 1 to 9,999,999,999,999,999 (a position has
    /// 16 digits), different for each row. The list is sorted by it.
    QString position;
    QVector<PagedFilter> filters;
    int maxPageSize = 5000;
    /// For a position without an index: indexed columns that sort the list in the same way, so that
    /// the database need not sort it again for each page.
    QString order = {};
    /// For a position without an index: a condition on an indexed column with one "?" for a
    /// position. It holds for all rows behind that position, so that reading starts near it.
    QString seek = {};
    bool positionInRows = false;  ///< each row has its System::positionStr
    /// For a list with one row for each account, the OneOf field with the requested accounts: rows
    /// get System::requestExeStatus, and a request for the whole list gets a row with a refusal for
    /// each account that has none. Empty for other lists.
    QString statusField = {};
};

/// The part of a list that a request asks for.
/// - By page: System::pageNo, from 1 on, and System::pageSize.
/// - By position: System::positionStr, that of the client's last row, and System::requestNumber. An
///   empty position, or zeros, is before the first row.
/// - Without these fields: the whole list.
struct PageRequest {
    enum class Mode { All, Page, Position };

    Mode mode = Mode::All;
    int count = 0;      ///< the largest number of rows
    int pageNo = 0;     ///< by page
    qint64 offset = 0;  ///< by page: the number of rows before it
    qint64 after = 0;   ///< by position: that of the client's last row
    QString requested;  ///< by position: the text in the request

    /// Empty, with a text for the client, when the request's fields are invalid or ask for more
    /// than `maxCount` rows.
    static std::optional<PageRequest> of(const ServerCall& call, int maxCount, QString* refusal);
    /// Adds the fields of the page to the header of an answer that has its rows.
    void addFields(qint64 lastPosition, HandlerAnswer* answer) const;
};

/// A position as a text of 16 digits; the texts sort like the numbers.
QString positionText(qint64 position);

/// Answers with the part of the list that the request asks for, sorted by `position`. The header
/// gets System::totalSize, the number of rows that meet the filters, and the fields of the page:
/// its System::pageNo and System::pageSize, or the System::positionStr of its last row, which for
/// an empty page is the request's. Invalid fields are refused.
HandlerAnswer answerPaged(const ServerCall& call, const PagedSource& source,
                          const QVariantList& fromValues = {});
