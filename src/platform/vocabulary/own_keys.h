#pragma once

#include <QString>

/// Keys of files and reports that this system writes and reads itself, and names of its own.
namespace OwnKeys {

// The file of waived risk symbols.
inline const QString ignoreDate = QStringLiteral("IgnoreDate");
inline const QString symbol = QStringLiteral("symbol");

// Item of the web upload.
inline const QString boxInput = QStringLiteral("box_input");

// Item of a product's risk notice.
inline const QString riskInfoItem = QStringLiteral("productinfo.riskInfo");

// A dump report.
inline const QString dumpFileName = QStringLiteral("fileName");
inline const QString dumpCreateTime = QStringLiteral("createTime");

// The wildcard of a rule table: all sub-types of a type.
inline const QString ruleBase = QStringLiteral("BASE");

}  // namespace OwnKeys
