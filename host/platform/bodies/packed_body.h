#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "platform_export.h"

// A packed body is a list of rows, each a map of key to value or a FlatRow, kept as Qt values so
// that every type survives. The first row is the header, which every body has.

/// False for everything else, an empty list included.
PLATFORM_API bool isPackedBody(const QVariant& value);
/// The rows, the header first; one empty row when the value is not a packed body.
PLATFORM_API QList<QVariantMap> rowsOfPackedBody(const QVariant& value);
/// A body that describes a failure and has a header only: System::requestExeStatus "1", and the
/// text under System::textDescription and under "58", where readers of the older messages look.
PLATFORM_API QVariant makeErrorBody(const QString& text);
