#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include "platform_export.h"

/// Reads a packed body. A stack object, not shared by threads. A value that is not a packed body
/// reads as one with an empty header and no data rows.
class PLATFORM_API CUnPackMessageCommon {
public:
    CUnPackMessageCommon();
    ~CUnPackMessageCommon();

    /// Takes a packed body and goes to its header row. The second argument is always false.
    void SetUnPackMsg(const QVariant& packed, bool compressed);
    /// A field of the current row, or the default when the row does not contain it.
    QVariant GetValue(QString key, QVariant defaultValue);
    /// The whole current row.
    QVariantMap GetRowValue();
    /// Selects a row; 0 is the header. Out of range returns false and changes nothing.
    bool SetCurrentRow(int row);
    /// The number of rows with the header, so 1 for a body without data rows.
    int GetRowCount() const;

private:
    QList<QVariantMap> m_rows;
    int m_current = 0;
};
