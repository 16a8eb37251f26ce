#pragma once

#include <QString>
#include <QVariantMap>

#include "server_request.h"
#include "velmarutils/velmar_utils.h"

// Queries through the platform's helpers, which send a record, check the answer and return its
// rows. They block the caller for their requests and may be called from any thread. A query that
// does not succeed has no rows, has a text, and is logged as a warning, as with sendToServer().

/// One request.
ServerReply queryRows(ZnPresenterClass* presenter, const QString& msgType,
                      const QVariantMap& fields, QueryDataMode mode = QueryDataMode::Normal);

/// All pages of a list, by page number. `timeOutMs` holds for each page, 0 for the presenter's
/// standing time-out. A page that does not succeed fails the query; whether it timed out or was
/// refused is only in the text.
ServerReply queryPages(ZnPresenterClass* presenter, const QString& msgType,
                       const QVariantMap& fields, int timeOutMs = 0);

/// All pages of a list, by position cursor, from `startPosition` on; otherwise as queryPages().
ServerReply queryPositions(ZnPresenterClass* presenter, const QString& msgType,
                           const QVariantMap& fields, const QString& startPosition);
