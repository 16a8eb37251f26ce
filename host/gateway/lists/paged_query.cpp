#include "paged_query.h"

#include <QSet>
#include <QSqlQuery>
#include <QStringList>
#include <algorithm>

#include "vocabulary/fields.h"
#include "whole_number.h"

namespace {

constexpr int kPositionWidth = 16;
inline const QString kRefusedRow = QStringLiteral("1");

bool isPositive(const QVariant& value, int* number) {
    *number = wholeNumberOf(value).value_or(0);
    return *number > 0;
}

/// Reads the rows and the position of the last one.
bool readRows(const ServerCall& call, const PagedSource& source, const QVariantList& fromValues,
              QueryConditions conditions, const PageRequest& page, HandlerAnswer* answer,
              qint64* lastPosition) {
    if (page.mode == PageRequest::Mode::Position) {
        conditions.add(QStringLiteral("%1 > ?").arg(source.position), {page.after});
        if (!source.seek.isEmpty()) {
            conditions.add(source.seek, {page.after});
        }
    }
    QString sql =
        QStringLiteral("SELECT %1, %2 FROM %3%4 ORDER BY %5")
            .arg(columnList(source.columns), source.position, source.from, conditions.where(),
                 source.order.isEmpty() ? source.position : source.order);
    QVariantList values = fromValues + conditions.values;
    if (page.mode != PageRequest::Mode::All) {
        sql += QStringLiteral(" LIMIT ? OFFSET ?");
        values << page.count << page.offset;
    }
    return call.store.select(sql, values, [&](const QSqlQuery& query) {
        QVariantMap row = recordOf(query, source.columns);
        *lastPosition = query.value(source.columns.size()).toLongLong();
        if (source.positionInRows) {
            row.insert(System::positionStr, positionText(*lastPosition));
        }
        answer->rows.append(row);
    });
}

/// Adds a status to each row and, to a whole list, a row for each requested account without one.
void addStatuses(const ServerCall& call, const QString& field, bool isWhole,
                 HandlerAnswer* answer) {
    QSet<QString> answered;
    for (QVariantMap& row : answer->rows) {
        row.insert(System::requestExeStatus, RequestExeStatus::success);
        answered.insert(row.value(field).toString());
    }
    const QStringList requested = call.text(field).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& account : requested) {
        if (isWhole && !answered.contains(account)) {
            answered.insert(account);
            answer->rows.append(
                {{field, account},
                 {System::requestExeStatus, kRefusedRow},
                 {System::textDescription, QStringLiteral("账号%1不存在或无权限").arg(account)}});
        }
    }
}

}  // namespace

std::optional<PageRequest> PageRequest::of(const ServerCall& call, int maxCount, QString* refusal) {
    PageRequest page;
    const QVariant position = call.value(System::positionStr);
    const QVariant pageNo = call.value(System::pageNo);
    const QVariant count =
        call.value(position.isValid() ? System::requestNumber : System::pageSize);
    if (!position.isValid() && !pageNo.isValid() && !count.isValid()) {
        return page;
    }
    if (!isPositive(count, &page.count) || page.count > maxCount) {
        *refusal =
            QStringLiteral("每页条数无效：%1，应为1到%2").arg(count.toString()).arg(maxCount);
        return std::nullopt;
    }
    if (!position.isValid()) {
        page.mode = Mode::Page;
        if (!isPositive(pageNo, &page.pageNo)) {
            *refusal = QStringLiteral("页码无效：%1").arg(pageNo.toString());
            return std::nullopt;
        }
        page.offset = qint64(page.pageNo - 1) * page.count;
        return page;
    }
    page.mode = Mode::Position;
    page.requested = position.toString();
    const auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    if (!isSingleValue(position) || page.requested.size() > kPositionWidth ||
        !std::all_of(page.requested.cbegin(), page.requested.cend(), isDigit)) {
        *refusal = QStringLiteral("查询位置无效：%1").arg(page.requested);
        return std::nullopt;
    }
    page.after = page.requested.toLongLong();
    return page;
}

void PageRequest::addFields(qint64 lastPosition, HandlerAnswer* answer) const {
    if (mode == Mode::Page) {
        answer->header.insert(System::pageNo, pageNo);
        answer->header.insert(System::pageSize, count);
    } else if (mode == Mode::Position) {
        answer->header.insert(System::positionStr,
                              answer->rows.isEmpty() ? requested : positionText(lastPosition));
    }
}

QString positionText(qint64 position) {
    constexpr int kDecimal = 10;
    return QStringLiteral("%1").arg(position, kPositionWidth, kDecimal, QLatin1Char('0'));
}

HandlerAnswer answerPaged(const ServerCall& call, const PagedSource& source,
                          const QVariantList& fromValues) {
    QString refusal;
    const auto page = PageRequest::of(call, source.maxPageSize, &refusal);
    QueryConditions conditions;
    if (!page || !conditions.addFilters(call, source.filters, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    HandlerAnswer answer;
    const QString counting =
        QStringLiteral("SELECT count(*) FROM %1%2").arg(source.from, conditions.where());
    qint64 last = 0;
    const bool read = call.store.select(counting, fromValues + conditions.values,
                                        [&answer](const QSqlQuery& query) {
                                            answer.totalSize = query.value(0).toLongLong();
                                        }) &&
                      readRows(call, source, fromValues, conditions, *page, &answer, &last);
    if (!read) {
        return HandlerAnswer::storeFailed();
    }
    if (!source.statusField.isEmpty()) {
        addStatuses(call, source.statusField, page->mode == PageRequest::Mode::All, &answer);
    }
    page->addFields(last, &answer);
    return answer;
}
