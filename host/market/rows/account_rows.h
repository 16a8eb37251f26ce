#pragma once

#include <QList>
#include <QString>
#include <QVariantList>

#include "account_tree.h"

/// A row to be written, its values in the order of the table's columns.
struct TableRow {
    QString table;
    QVariantList values;
};

/// The rows of the server's store for the logins, both trees and the authorities. The first login
/// sees the first tree, the second one some accounts of it and all of the second tree.
QList<TableRow> makeStoreRows(const AccountTree& tree, const AccountTree& ofSecond);
