#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include "platform_export.h"

/// Writes a packed body: a table of rows of key to value. Row 0 is the header and the packer starts
/// on it; data rows are numbered from 1. A stack object, not shared by threads.
class PLATFORM_API CPackMessageCommon {
public:
    CPackMessageCommon();
    ~CPackMessageCommon();

    /// Sets a field of the current row. Returns 0.
    int AddVaule(QString key, QVariant value);
    /// Merges a record into the current row; other fields of the row stay. Returns 0.
    int AddRowVaule(const QVariantMap& row);
    /// Opens a new row at the end and makes it current. Returns its number.
    int AddRow();
    /// Selects a row. Out of range returns false and changes nothing.
    bool SetCurrentRow(int row);
    /// The number of rows written so far, with the header.
    int GetRowCount() const;
    /// A field of the current row, an invalid value when absent. Exception: when the header has no
    /// System::clientMsgID, asking for it creates one there; an asynchronous request gets the id
    /// that its answer repeats this way.
    QVariant GetValue(QString key);
    /// Removes a field from the current row.
    void delValue(const QString& key);
    /// The packed body. The argument is always false.
    const QVariant GetPackedMsg(bool compressed);

private:
    QVariantList m_rows;  // of records, and of rows that are being written
    int m_current = 0;
};
