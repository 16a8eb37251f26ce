#pragma once

#include <QString>

/// Whether the vocabulary has a field of this name for records of orders, accounts and instances.
/// Any thread.
bool isOrderField(const QString& name);
