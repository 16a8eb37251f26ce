#pragma once

#include <QList>
#include <QVariantMap>

#include "account_rows.h"

/// Risk notices of the flagged shares, risk types, the key-monitor symbols of both logins, and the
/// version of the notices.
QList<TableRow> makeRiskRows(const QList<QVariantMap>& securities);
