#pragma once

#include "vocabulary/text_constant.h"

/// Keys of files and reports that this system writes and reads itself, and names of its own.
namespace OwnKeys {

// The file of waived risk symbols.
VELMAR_TEXT(ignoreDate, "IgnoreDate");
VELMAR_TEXT(symbol, "symbol");

// Item of the web upload.
VELMAR_TEXT(boxInput, "box_input");

// Item of a product's risk notice.
VELMAR_TEXT(riskInfoItem, "productinfo.riskInfo");

// A dump report.
VELMAR_TEXT(dumpFileName, "fileName");
VELMAR_TEXT(dumpCreateTime, "createTime");

// The wildcard of a rule table: all sub-types of a type.
VELMAR_TEXT(ruleBase, "BASE");

// The event that a query of the past publishes while it runs, and the fields of its record.
VELMAR_TEXT(historyQueryProgress, "HISTORY_QUERY_PROGRESS");
VELMAR_TEXT(queryId, "queryId");
VELMAR_TEXT(queryFunction, "queryFunction");
VELMAR_TEXT(pagesDone, "pagesDone");
VELMAR_TEXT(pagesTotal, "pagesTotal");

}  // namespace OwnKeys
