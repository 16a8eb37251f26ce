#include "list_page.h"

#include <algorithm>

#include "paged_query.h"
#include "vocabulary/fields.h"

HandlerAnswer answerList(const ServerCall& call, const QList<QVariantMap>& rows, int maxPageSize) {
    using Mode = PageRequest::Mode;
    HandlerAnswer answer;
    const auto page = PageRequest::of(call, maxPageSize, &answer.refusal);
    if (!page) {
        return answer;
    }
    answer.totalSize = rows.size();
    if (page->mode == Mode::All) {
        answer.rows = rows;
        return answer;
    }
    const qint64 wanted = page->mode == Mode::Page ? page->offset : page->after;
    const int first = static_cast<int>(std::min<qint64>(wanted, rows.size()));
    answer.rows = rows.mid(first, page->count);
    if (page->mode == Mode::Page) {
        answer.header = {{System::pageNo, page->pageNo}, {System::pageSize, page->count}};
    } else {
        answer.header.insert(System::positionStr, answer.rows.isEmpty()
                                                      ? page->requested
                                                      : positionText(first + answer.rows.size()));
    }
    return answer;
}

bool readRequestDate(const ServerCall& call, const QString& field, QDate* date, QString* refusal) {
    *date = dateOf(call.value(field));
    if (!date->isValid()) {
        *refusal = QStringLiteral("%1的日期无效：%2").arg(field, call.text(field));
    }
    return date->isValid();
}
