#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "platform_export.h"

/// Reads a packed body. A stack object, not shared by threads. Anything that is no packed body is
/// read as one with an empty header and no data rows.
class PLATFORM_API CUnPackMessageCommon {
public:
    CUnPackMessageCommon();
    ~CUnPackMessageCommon();

    /// Takes a packed body and goes to its header row. The second argument is always false.
    void SetUnPackMsg(const QVariant& packed, bool compressed);
    /// A field of the current row, or the default when the row does not hold it.
    QVariant GetValue(QString key, QVariant defaultValue);
    /// The whole current row.
    QVariantMap GetRowValue();
    /// Selects a row, the header being 0. Out of range returns false and moves nothing.
    bool SetCurrentRow(int row);
    /// Rows of the body, the header counted, so that a body without data rows has 1.
    int GetRowCount() const;

private:
    QList<QVariantMap> m_rows;
    int m_current = 0;
};
